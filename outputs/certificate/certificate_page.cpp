#include <fmt/format.h>

#include <cstddef>
#include <string>

#include "outputs/certificate/certificate.h"
#include "outputs/markup.h"

namespace outputs {

namespace {

using Json = nlohmann::ordered_json;

constexpr const char* style = R"(body { font: 10pt/1.35 sans-serif; color: #111; max-width: 50em; margin: 2em auto; }
table { border-collapse: collapse; width: 100%; margin: 0.5em 0 1.5em; }
th, td { border-bottom: 1px solid #ccc; padding: 0.2em 0.5em; text-align: left; vertical-align: top; }
td.number { text-align: right; white-space: nowrap; }
code { overflow-wrap: anywhere; }
tr, dt, dd { break-inside: avoid; }
dt { font-weight: bold; margin-top: 0.6em; }
.unsigned { border: 1px solid #111; padding: 0.6em; }
@page { margin: 18mm; })";

std::string shown(const Json& value) {
  if (value.is_null()) return "none";
  return value.is_string() ? markup_text(value.get<std::string>()) : markup_text(value.dump());
}

std::string heading(const char* text) {
  return fmt::format("<h2>{}</h2>\n", text);
}

std::string files_table(const Certificate& certificate) {
  std::string rows = "<table><tr><th>File</th><th>Bytes</th><th>SHA-256 of the unpacked content</th></tr>\n";
  for (const auto& file : certificate.files) {
    rows += fmt::format("<tr><td>{}</td><td class=\"number\">{}</td><td><code>{}</code></td></tr>\n",
                        markup_text(file.name), file.bytes, file.sha256);
  }
  return rows + "</table>\n";
}

std::string parameters_table(const Certificate& certificate) {
  std::string rows = "<table>\n";
  const Json parameters = parameters_json(certificate.run);
  for (const auto& [name, value] : parameters.items()) {
    rows += fmt::format("<tr><td>{}</td><td>{}</td></tr>\n", markup_text(name), shown(value));
  }
  return rows + "</table>\n";
}

std::string figures_table(const Certificate& certificate) {
  std::string rows = "<table><tr><th>Figure</th><th>Value</th><th>±</th><th>Unit</th><th>Definition</th></tr>\n";
  for (const auto& figure : certificate.figures) {
    rows += fmt::format(
        "<tr><td>{}</td><td class=\"number\">{}</td><td class=\"number\">{}</td><td>{}</td>"
        "<td><a href=\"#{}\">{}</a></td></tr>\n",
        markup_text(figure.name), shown(figure.value), figure.plus_minus ? fmt::format("{}", *figure.plus_minus) : "",
        markup_text(figure.unit), markup_text(figure.definition), markup_text(figure.definition));
  }
  return rows + "</table>\n";
}

std::string comparisons_table(const Certificate& certificate) {
  std::string rows =
      "<table><tr><th>Figure</th><th>By the standard</th><th>On the waveform</th><th>Unit</th>"
      "<th>Reason for the difference</th></tr>\n";
  for (const auto& figure : certificate.comparisons) {
    rows += fmt::format(
        "<tr><td>{}</td><td class=\"number\">{}</td><td class=\"number\">{}</td><td>{}</td><td>{}</td></tr>\n",
        markup_text(figure.name), figure.by_standard, figure.on_waveform, markup_text(figure.unit),
        markup_text(figure.explanation));
  }
  return rows + "</table>\n";
}

std::string definitions_list(const Certificate& certificate) {
  std::string list = "<dl>\n";
  for (const auto& [code, text] : definitions_of(certificate.figures)) {
    list += fmt::format("<dt id=\"{}\">{}</dt><dd>{}</dd>\n", markup_text(code), markup_text(code), markup_text(text));
  }
  return list + "</dl>\n";
}

std::string notes_list(const Certificate& certificate) {
  if (certificate.notes.empty()) return "";
  std::string list = heading("Notes") + "<ul>\n";
  for (const auto& note : certificate.notes) list += fmt::format("<li>{}</li>\n", markup_text(note));
  return list + "</ul>\n";
}

/// Returns the document in a form that no markup can interpret.
std::string inert_document(const Certificate& certificate) {
  std::string json = certificate_json(certificate);
  for (std::size_t at = json.find('<'); at != std::string::npos; at = json.find('<', at)) {
    json.replace(at, 1, "\\u003c");
  }
  return json;
}

}  // namespace

std::string certificate_page(const Certificate& certificate) {
  std::string page = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n";
  page +=
      fmt::format("<title>Certificate of an analysis by dipx</title>\n<style>\n{}\n</style>\n</head>\n<body>\n", style);
  page += "<h1>Certificate of an analysis</h1>\n";
  page += fmt::format("<p>Computed by dipx {}.</p>\n<p class=\"unsigned\">{}</p>\n", markup_text(certificate.version),
                      unsigned_sentence);
  page += heading("Record") + files_table(certificate);
  page += heading("Figures") + figures_table(certificate);
  if (!certificate.comparisons.empty()) {
    page += heading("The standard and the waveform") + comparisons_table(certificate);
  }
  page += notes_list(certificate);
  page += heading("Parameters") + parameters_table(certificate);
  page += heading("Definitions") + definitions_list(certificate);
  page += fmt::format("<script type=\"application/json\" id=\"certificate\">\n{}</script>\n</body>\n</html>\n",
                      inert_document(certificate));
  return page;
}

}  // namespace outputs
