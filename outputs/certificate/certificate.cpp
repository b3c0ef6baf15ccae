#include "outputs/certificate/certificate.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "outputs/certificate/members.h"
#include "outputs/notes.h"

namespace outputs {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* format_name = "dipx certificate";
// This number increases when a member changes its meaning or is removed; new members do not increase it.
constexpr int format_version = 1;

constexpr std::string_view script_begin = "<script type=\"application/json\" id=\"certificate\">";
constexpr std::string_view script_end = "</script>";

Json figure_json(const CertifiedFigure& figure) {
  return {{"name", figure.name},
          {"value", figure.value},
          {"unit", figure.unit},
          {"plus_minus", figure.plus_minus ? Json(*figure.plus_minus) : Json()},
          {"definition", figure.definition}};
}

Json comparison_json(const ComparedFigure& figure) {
  return {{"name", figure.name},
          {"unit", figure.unit},
          {"by_standard", figure.by_standard},
          {"on_waveform", figure.on_waveform},
          {"explanation", figure.explanation}};
}

/// Explains each code that a figure uses.
Json definitions_json(const std::vector<CertifiedFigure>& figures) {
  Json definitions = Json::object();
  for (const auto& [code, text] : definitions_of(figures)) definitions[code] = text;
  return definitions;
}

readers::ContentHash file_in(const Json& entry, const std::string& place) {
  const Members members(entry, place);
  readers::ContentHash file;
  file.name = members.text("name");
  file.sha256 = members.text("sha256");
  const bool digits = file.sha256.find_first_not_of("0123456789abcdef") == std::string::npos;
  if (file.sha256.size() != 64 || !digits) {
    throw BadCertificate(members.place_of("sha256"), "is not a SHA-256, which has 64 hexadecimal digits");
  }
  return file;
}

CertifiedFigure figure_in(const Json& entry, const std::string& place) {
  const Members members(entry, place);
  CertifiedFigure figure;
  figure.name = members.text("name");
  figure.unit = members.text("unit");
  figure.value = members.member("value");
  if (figure.value.is_structured()) {
    throw BadCertificate(members.place_of("value"), "is neither a number nor a text");
  }
  figure.plus_minus = members.number_or_null("plus_minus", 0, std::numeric_limits<double>::max());
  return figure;
}

/// Returns the document in a page, or the whole content.
std::string_view document_in(std::string_view content) {
  const std::size_t begin = content.find(script_begin);
  if (begin == std::string_view::npos) return content;
  content.remove_prefix(begin + script_begin.size());
  return content.substr(0, content.find(script_end));
}

Json parsed(std::string_view content) {
  const std::string_view document = document_in(content);
  try {
    return Json::parse(document);
  } catch (const Json::parse_error& error) {
    const std::size_t until = std::min(error.byte, document.size());
    const auto line = 1 + std::count(document.begin(), document.begin() + static_cast<std::ptrdiff_t>(until), '\n');
    throw BadCertificate(fmt::format("line {}", line), "is not JSON");
  } catch (const Json::exception&) {  // a number that is too large
    throw BadCertificate("line 1", "is not JSON that can be read");
  }
}

void check_format(const Json& json) {
  if (!json.is_object()) throw BadCertificate("line 1", "is not a certificate");
  const auto format = json.find("format");
  if (format == json.end() || *format != format_name) {
    throw BadCertificate("format", fmt::format("is not \"{}\"", format_name));
  }
  const auto version = json.find("format_version");
  if (version == json.end() || *version != format_version) {
    throw BadCertificate("format_version", fmt::format("is not {}", format_version));
  }
}

}  // namespace

const char* const unsigned_sentence =
    "Nobody signed this certificate. It shows which figures dipx computes from this record, but not who issued it or "
    "whether the record is genuine.";

Certificate certificate_of(const readers::Record& record, const analysis::Analysis& analysis, const CertifiedRun& run,
                           std::vector<readers::ContentHash> files) {
  Certificate certificate;
  certificate.version = DIPX_VERSION;
  certificate.files = std::move(files);
  certificate.run = run;
  certificate.figures = certified_figures(analysis);
  certificate.comparisons = compared_figures(analysis);
  certificate.notes = notes_of(record, analysis);
  return certificate;
}

std::string certificate_json(const Certificate& certificate) {
  Json files = Json::array();
  for (const auto& file : certificate.files) {
    files.push_back({{"name", file.name}, {"bytes", file.bytes}, {"sha256", file.sha256}});
  }
  Json figures = Json::array();
  for (const auto& figure : certificate.figures) figures.push_back(figure_json(figure));
  Json comparisons = Json::array();
  for (const auto& figure : certificate.comparisons) comparisons.push_back(comparison_json(figure));
  const Json document = {{"format", format_name},
                         {"format_version", format_version},
                         {"signed_by", nullptr},
                         {"signature_note", unsigned_sentence},
                         {"dipx_version", certificate.version},
                         {"record", {{"files", std::move(files)}}},
                         {"parameters", parameters_json(certificate.run)},
                         {"figures", std::move(figures)},
                         {"standard_and_waveform", std::move(comparisons)},
                         {"definitions", definitions_json(certificate.figures)},
                         {"notes", certificate.notes}};
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

Certificate certificate_in(std::string_view content) {
  const Json json = parsed(content);
  check_format(json);
  Certificate certificate;
  const Members document(json, "");
  certificate.version = document.text("dipx_version");
  std::size_t number = 0;
  for (const Json& file : document.object("record").list("files")) {
    certificate.files.push_back(file_in(file, fmt::format("record.files[{}]", number++)));
  }
  if (certificate.files.empty()) throw BadCertificate("record.files", "is empty");
  certificate.run = parameters_in(document.object("parameters"));
  number = 0;
  for (const Json& figure : document.list("figures")) {
    certificate.figures.push_back(figure_in(figure, fmt::format("figures[{}]", number++)));
  }
  if (certificate.figures.empty()) throw BadCertificate("figures", "is empty");
  return certificate;
}

}  // namespace outputs
