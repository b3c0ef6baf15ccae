#include "outputs/certificate/comparison.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>

#include "readers/text.h"

namespace outputs {

namespace {

std::vector<std::string> sorted_hashes(const Certificate& certificate) {
  std::vector<std::string> hashes;
  for (const auto& file : certificate.files) hashes.push_back(file.sha256);
  std::sort(hashes.begin(), hashes.end());
  return hashes;
}

/// "92.01 ± 0.02 V", "trips (below 70 %)", or "none" where a figure has no value.
std::string words_of(const CertifiedFigure& figure) {
  if (figure.value.is_null()) return "none";
  std::string words = figure.value.is_string() ? figure.value.get<std::string>() : figure.value.dump();
  if (figure.plus_minus) words += fmt::format(" ± {}", *figure.plus_minus);
  return figure.unit.empty() ? words : words + " " + figure.unit;
}

/// Says whether a changed number lies within the certified uncertainty; empty if there is none.
std::string change_words(const CertifiedFigure& certified, const CertifiedFigure& again) {
  if (!certified.value.is_number() || !again.value.is_number() || !certified.plus_minus) return "";
  const double change = std::abs(again.value.get<double>() - certified.value.get<double>());
  return change <= *certified.plus_minus ? ", within the uncertainty" : ", outside the uncertainty";
}

bool equal(const CertifiedFigure& one, const CertifiedFigure& other) {
  return one.value == other.value && one.unit == other.unit && one.plus_minus == other.plus_minus;
}

}  // namespace

CertificateDifferences differences_of(const Certificate& certificate, const Certificate& again) {
  CertificateDifferences result;
  result.other_record = sorted_hashes(certificate) != sorted_hashes(again);
  std::map<std::string, const CertifiedFigure*> now;
  for (const auto& figure : again.figures) now.emplace(figure.name, &figure);
  for (const auto& figure : certificate.figures) {
    const auto found = now.find(figure.name);
    if (found == now.end()) {
      result.figures.push_back(fmt::format("{}: {} in the certificate, now missing", figure.name, words_of(figure)));
      continue;
    }
    if (!equal(figure, *found->second)) {
      result.figures.push_back(fmt::format("{}: {} in the certificate, now {}{}", figure.name, words_of(figure),
                                           words_of(*found->second), change_words(figure, *found->second)));
    }
    now.erase(found);
  }
  for (const auto& figure : again.figures) {
    if (now.contains(figure.name)) {
      result.figures.push_back(fmt::format("{}: not in the certificate, now {}", figure.name, words_of(figure)));
    }
  }
  return result;
}

std::string verification_text(const std::string& file, const Certificate& certificate, const Certificate& again) {
  const CertificateDifferences differences = differences_of(certificate, again);
  std::string text;
  if (certificate.version != again.version) {
    text += fmt::format("The certificate is of dipx {}; this is dipx {}.\n", readers::inert(certificate.version),
                        again.version);
  }
  if (differences.other_record) {
    text += "The record is not the one of the certificate, because the SHA-256 of its files differs.\n";
  }
  if (differences.figures.empty()) {
    const std::size_t count = certificate.figures.size();
    return text + fmt::format("{}: all {} figures are equal to the digit{}\n", readers::inert(file), count,
                              differences.other_record ? "" : ", and so is the record");
  }
  text += fmt::format("{}: {} of {} figures differ\n", readers::inert(file), differences.figures.size(),
                      certificate.figures.size());
  for (const auto& line : differences.figures) text += "  " + readers::inert(line) + '\n';
  return text;
}

}  // namespace outputs
