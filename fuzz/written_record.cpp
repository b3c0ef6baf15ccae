#include "fuzz/written_record.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fstream>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

#include "analysis/choice/voltage_choice.h"
#include "analysis/refusal.h"
#include "fuzz/expect.h"
#include "fuzz/shown_analysis.h"
#include "outputs/certificate/certificate.h"
#include "outputs/certificate/certified_again.h"
#include "outputs/certificate/comparison.h"
#include "readers/open_record.h"
#include "readers/record_hashes.h"
#include "writers/converted.h"
#include "writers/table_file.h"

namespace fuzz {
namespace {

// --- converted records -----------------------------------------------------------------------------------------------

void write(const std::string& name, const std::string& content) {
  std::ofstream(name, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
}

/// Reads a file that was just written, with a sampling rate if the file does not tell it; a refusal is a finding.
readers::Record read_back(const std::string& name, double sampling_rate = 0) {
  readers::OpenOptions options;
  options.sampling_rate = sampling_rate;
  options.digitals = true;
  try {
    return readers::open_record(name, options);
  } catch (const readers::ReadError& error) {
    expect_that(false, "a converted record can be read", error.what());
    throw;
  }
}

bool has_values(const readers::Channel& channel) {
  return !std::all_of(channel.samples.begin(), channel.samples.end(), [](double sample) { return std::isnan(sample); });
}

/// Expects equal samples within a tolerance; those that were lost are missing.
void expect_samples(const readers::Channel& written, const readers::Channel& read, double tolerance, std::size_t lost) {
  expect_that(read.samples.size() == written.samples.size(), "a channel has as many samples as before", written.name);
  std::size_t missing = 0;
  for (std::size_t i = 0; i < written.samples.size(); i++) {
    const double before = written.samples[i];
    const double after = read.samples[i];
    if (std::isnan(after) && !std::isnan(before)) missing++;
    if (std::isnan(after)) continue;
    const bool equal = before == after || std::abs(before - after) <= tolerance;
    if (!equal) {
      expect_that(
          false, "a sample comes back",
          fmt::format("sample {} of '{}': {} became {} (tolerance {})", i, written.name, before, after, tolerance));
    }
  }
  expect_that(missing == lost, "the values that are missing were announced",
              fmt::format("{} of '{}' instead of {}", missing, written.name, lost));
}

void expect_rates(const readers::Record& written, const readers::Record& read, double stamp_rounding) {
  expect_that(read.length() == written.length(), "a record has as many rows as before",
              fmt::format("{} became {}", written.length(), read.length()));
  if (written.length() < 2) return;
  const double before = written.rates.front().rate;
  const double after = read.rates.front().rate;
  const double steps = static_cast<double>(written.rates.front().end) - 1;
  constexpr double near_whole = 1e-4;  // a rate that is so near a whole number is read as that number
  const double tolerance = near_whole + stamp_rounding * before / std::max(steps, 1.0);
  expect_that(std::abs(after - before) <= tolerance * before, "a record has the sampling rate as before",
              fmt::format("{} became {}", before, after));
}

void expect_comtrade(const readers::Record& record, std::optional<writers::StoredAs> type, bool single) {
  const auto converted = writers::converted(record, type);
  if (single) {
    write("w.cff", writers::single_file_of(converted.file));
  } else {
    write("w.dat", writers::data_of(converted.file));
    write("w.cfg", writers::config_of(converted.file));
  }
  const readers::Record read = read_back(single ? "w.cff" : "w.cfg");
  constexpr double microsecond = 1e-6;
  expect_rates(record, read, 2 * microsecond);
  expect_that(read.channels.size() == record.channels.size(), "a record has as many channels as before");
  for (std::size_t c = 0; c < record.channels.size(); c++) {
    constexpr double rounding = 1.000001;
    expect_samples(record.channels[c], read.channels[c], rounding * converted.half_steps[c], converted.lost[c]);
  }
  expect_that(read.digitals.size() == record.digitals.size(), "a record has as many digital channels as before");
  for (std::size_t c = 0; c < record.digitals.size(); c++) {
    const auto& before = record.digitals[c];
    const auto& after = read.digitals[c];
    expect_that(after.first_state == before.first_state && after.changes.size() == before.changes.size(),
                "a digital channel has its states as before", before.name);
  }
}

/// A column with neither heading nor values is left out when a table is read.
void expect_table(const readers::Record& record) {
  write("w.csv", writers::table_of(record, 0));
  if (std::none_of(record.channels.begin(), record.channels.end(), has_values)) return;
  // The times of a single row tell no rate.
  const readers::Record read = read_back("w.csv", record.length() < 2 ? record.rates.front().rate : 0);
  constexpr double nanosecond = 1e-9;
  expect_rates(record, read, 2 * nanosecond);
  std::size_t column = 0;
  for (const auto& channel : record.channels) {
    if (!has_values(channel) && channel.name.empty() && channel.unit.empty()) continue;
    expect_that(column < read.channels.size(), "a table has as many channels as before");
    expect_samples(channel, read.channels[column++], 0, 0);
  }
  expect_that(column == read.channels.size(), "a table has no other channels than before");
}

// --- certificates ----------------------------------------------------------------------------------------------------

outputs::Certificate certificate_for(const std::string& path, const readers::Record& record,
                                     const analysis::Analysis& analysis, const outputs::CertifiedRun& run) {
  return certificate_of(record, analysis, run, readers::content_hashes(path, record));
}

std::string text_of(const outputs::Certificate& certificate, bool page) {
  return page ? certificate_page(certificate) : certificate_json(certificate);
}

/// Replaces the value of a member, or removes or doubles its line. Members are on lines of their own.
void damage_member(Bytes& input, std::string& text) {
  constexpr std::string_view values[] = {"null",
                                         "0",
                                         "1",
                                         "-1",
                                         "1e-300",
                                         "1e300",
                                         "99",
                                         "1.5",
                                         "true",
                                         "false",
                                         "\"\"",
                                         "\"x\"",
                                         "[]",
                                         "{}",
                                         "[[[[1]]]]",
                                         "\"\\u001b[31m\\u202e\"",
                                         "1e999",
                                         "\"Dyn11,Yd1\"",
                                         "\"Ua,Ub,Uc\"",
                                         "\"UTF-16\""};
  std::vector<std::size_t> members;
  for (std::size_t at = text.find("\": "); at != text.npos; at = text.find("\": ", at + 1)) members.push_back(at + 3);
  if (members.empty()) return;
  // Most members are figures, which nothing depends on; the parameters come before them.
  const std::size_t few = std::min<std::size_t>(members.size(), 40);
  const std::size_t count = input.below(4) == 0 ? members.size() : few;
  const std::size_t begin = members[input.number<std::uint16_t>() % count];
  const std::size_t end = std::min(text.find('\n', begin), text.size());
  const bool more = end > begin && text[end - 1] == ',';
  const std::string value(values[static_cast<std::size_t>(input.below(static_cast<int>(std::size(values))))]);
  text.replace(begin, end - begin, value + (more ? "," : ""));
}

void damage_byte(Bytes& input, std::string& text) {
  const std::size_t at = input.number<std::uint16_t>() % text.size();
  const int kind = input.below(4);
  if (kind == 0) {
    text.resize(at);
  } else if (kind == 1) {
    text.erase(at, 1);
  } else if (kind == 2) {
    text.insert(at, std::string(1U << input.below(18), "[{\"0"[input.below(4)]));
  } else {
    text[at] = static_cast<char>(input.number<std::uint8_t>());
  }
}

}  // namespace

void expect_converted(Bytes& input, const readers::Record& record) {
  using writers::StoredAs;
  const bool no_rate =
      std::any_of(record.rates.begin(), record.rates.end(), [](const auto& section) { return !(section.rate > 0); });
  if (no_rate || record.length() == 0) return;  // dipx convert refuses such a record
  std::vector<std::size_t> channels(record.channels.size());
  for (std::size_t i = 0; i < channels.size(); i++) channels[i] = i;
  const auto excerpt = writers::excerpt_of(record, channels);
  if (excerpt.length() == 0) return;
  const int format = input.below(8);
  const bool single = input.below(2) == 0;
  if (format < 3 && excerpt.rates.size() == 1) return expect_table(excerpt);
  constexpr std::optional<StoredAs> types[] = {std::nullopt, StoredAs::ascii, StoredAs::binary32, StoredAs::float32};
  expect_comtrade(excerpt, types[format % 4], single);
}

void expect_certified(Bytes& input, const std::string& path, const readers::Record& record,
                      const analysis::Analysis& analysis, const outputs::CertifiedRun& run) {
  const auto certificate = certificate_for(path, record, analysis, run);
  const std::string text = text_of(certificate, input.below(2) == 1);
  try {
    const auto read = outputs::certificate_in(text);
    expect_that(parameters_json(read.run) == parameters_json(run), "a certificate has all parameters", text);
    const auto again = certified_again(path, read.run);
    const std::string verdict = verification_text("certificate", read, again);
    expect_that(!differences_of(read, again).any(), "a certificate verifies", verdict);
    expect_inert_lines(verdict);
  } catch (const outputs::BadCertificate& error) {
    expect_that(false, "a certificate can be read", error.what());
  }
}

void expect_damaged_certificate(Bytes& input, const std::string& path, const readers::Record& record,
                                const analysis::Analysis& analysis, const outputs::CertifiedRun& run) {
  std::string text = text_of(certificate_for(path, record, analysis, run), input.below(4) == 0);
  const int count = 1 + input.below(3);
  for (int i = 0; i < count && !text.empty(); i++) {
    if (input.below(4) == 0) {
      damage_byte(input, text);
    } else {
      damage_member(input, text);
    }
  }
  try {
    const auto read = outputs::certificate_in(text);
    expect_inert_lines(verification_text("certificate", read, certified_again(path, read.run)));
  } catch (const outputs::BadCertificate& error) {
    expect_that(error.what()[0] != '\0', "a certificate is refused with a reason");
  } catch (const readers::ReadError& error) {
    expect_that(error.what()[0] != '\0', "a record is refused with a reason");
  } catch (const analysis::Refusal& error) {
    expect_that(error.what()[0] != '\0', "an analysis is refused with a reason");
  } catch (const analysis::UnknownChoice& error) {
    expect_that(error.what()[0] != '\0', "a choice is refused with a reason");
  }
}

}  // namespace fuzz
