#include "command/output_options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "analysis/curves.h"
#include "command/event_options.h"
#include "command/left_out.h"
#include "command/option_range.h"
#include "command/standard_output.h"
#include "command/terminal_colours.h"
#include "command/written_files.h"
#include "files/whole_file.h"
#include "outputs/certificate/certificate.h"
#include "outputs/colours.h"
#include "outputs/csv.h"
#include "outputs/drawing_svg.h"
#include "outputs/event_columns.h"
#include "outputs/figure.h"
#include "outputs/figures_text.h"
#include "outputs/json.h"
#ifdef DIPX_HAS_CAIRO
#include "outputs/drawing_cairo.h"
#endif
#ifdef DIPX_HAS_PAGE
#include "outputs/page/page_html.h"
#endif
#include "outputs/text.h"
#include "platform/utf8_path.h"
#include "readers/file_access.h"
#include "readers/record_hashes.h"

namespace command {

namespace {

#ifdef DIPX_HAS_CAIRO
constexpr bool has_cairo = true;
#else
constexpr bool has_cairo = false;
#endif

#ifdef DIPX_HAS_PAGE
constexpr bool has_page = true;
#else
constexpr bool has_page = false;
#endif

std::string standard_output_of(const readers::Record& record, const analysis::Analysis& analysis,
                               const Outputs& outputs) {
  if (outputs.json)
    return outputs.one_of_many ? outputs::json_line_of(record, analysis) : outputs::json_of(record, analysis);
  if (outputs.csv) {
    const std::string table = outputs::csv_of(record, analysis);
    // One heading is enough for all tables.
    const std::string rows = outputs.first ? table : table.substr(table.find('\n') + 1);
    if (outputs.csv_dialect != "excel") return rows;
    return (outputs.first ? outputs::byte_order_mark : "") + outputs::csv_for_excel(rows);
  }
  const std::size_t columns = terminal_columns();
  // Wider lines would be hard to read.
  constexpr std::size_t widest = outputs::Colours::usual_width;
  const outputs::Colours colours(terminal_colours(), columns == 0 ? widest : std::min(columns, widest));
  if (!outputs.quiet) return outputs::fitted(outputs::text_of(record, analysis, colours), columns);
  const bool table = columns > 0 && !analysis.library;
  return outputs::fitted(
      table ? outputs::event_columns_of(record, analysis, colours) : outputs::lines_of(record, analysis, colours),
      columns);
}

void add_figures(const outputs::Drawing& figure, const Outputs& outputs, std::vector<files::NamedBytes>& files) {
  if (!outputs.svg.empty()) files.push_back({platform::utf8_path(outputs.svg), outputs::svg_of(figure)});
#ifdef DIPX_HAS_CAIRO
  if (!outputs.pdf.empty()) files.push_back({platform::utf8_path(outputs.pdf), outputs::pdf_of(figure)});
  if (!outputs.png.empty()) files.push_back({platform::utf8_path(outputs.png), outputs::png_of(figure)});
#endif
}

std::string certificate_bytes(const readers::Record& record, const analysis::Analysis& analysis, const Outputs& outputs,
                              const outputs::CertifiedRun& run, const std::string& path) {
  const auto certificate = certificate_of(record, analysis, run, readers::content_hashes(path, record));
  return readers::extension_of(outputs.certificate) == ".html" ? certificate_page(certificate)
                                                               : certificate_json(certificate);
}

}  // namespace

void add_output_options(CLI::App& app, Outputs& outputs) {
  CLI::Option* json = app.add_flag("--json", outputs.json, "Print one JSON document instead of text");
  CLI::Option* lines = app.add_flag("--json-lines", outputs.json_lines, "Print a JSON document in each line");
  CLI::Option* csv = app.add_flag("--csv", outputs.csv, "Print a table with one row per segment instead of text");
  app.add_option("--csv-dialect", outputs.csv_dialect,
                 "Form of --csv: plain, or excel for spreadsheets with a decimal comma: semicolons between fields, "
                 "commas in numbers, a byte order mark (plain)")
      ->check(CLI::IsMember({"plain", "excel"}).description(""))
      ->type_name("plain|excel")
      ->needs(csv);
  CLI::Option* quiet = app.add_flag("-q,--quiet", outputs.quiet,
                                    "Print one line per event; on a terminal, columns without the file name");
  lines->excludes(json);
  csv->excludes(json)->excludes(lines);
  quiet->excludes(json)->excludes(lines)->excludes(csv);
  app.add_option("--report", outputs.report, "Write the embedded library's own report of the whole record to FILE")
      ->type_name("FILE");
  CLI::Option* html = app.add_option("--html", outputs.html,
                                     "Write a page for a browser to FILE: waveforms, phasors, tables, tolerance curves")
                          ->type_name("FILE");
  if (!has_page) html->group("");  // --help does not offer it
  const auto add_figure = [&](const char* name, std::string& file, const char* words, bool there) {
    CLI::Option* option = app.add_option(name, file, words)->type_name("FILE");
    if (!there) option->group("");
  };
  add_figure("--svg", outputs.svg, "Draw an event as an SVG figure of column width and write it to FILE", true);
  add_figure("--pdf", outputs.pdf, "Write the same figure as a PDF document, with lines and letters as vectors",
             has_cairo);
  add_figure("--png", outputs.png, "Write the same figure as a PNG picture of 600 pixels per inch", has_cairo);
  app.add_option("--event", outputs.event, "The event that the figure shows (1)")
      ->check(counting_number())
      ->type_name("N")
      ->each([&outputs](const std::string&) { outputs.event_given = true; });
  app.add_option("--certificate", outputs.certificate,
                 "Write a certificate of the analysis to FILE, a JSON document (.json) or a page to print (.html); "
                 "dipx verify compares it with the record")
      ->type_name("FILE");
  add_no_clobber(app, outputs.no_clobber);
}

void check_parts(const Outputs& outputs) {
  if (outputs.event_given && !outputs.figure()) throw UnusableOptions("--event needs --svg, --pdf or --png");
  for (const auto& [option, file] : {std::pair("--pdf", &outputs.pdf), {"--png", &outputs.png}}) {
    if (!file->empty() && !has_cairo) throw LeftOut(option, "cairo (libcairo2-dev)");
  }
  if (!outputs.html.empty() && !has_page) throw LeftOut("--html", "uPlot (npm ci in outputs/page)");
}

void check_files(const readers::Record& record, const Outputs& outputs) {
  check_clobbering({outputs.report, outputs.svg, outputs.pdf, outputs.png, outputs.html, outputs.certificate},
                   outputs.no_clobber);
  const std::pair<const char*, const std::string&> written[] = {
      {"--report", outputs.report}, {"--svg", outputs.svg},   {"--pdf", outputs.pdf},
      {"--png", outputs.png},       {"--html", outputs.html}, {"--certificate", outputs.certificate}};
  for (auto one = std::begin(written); one != std::end(written); one++) {
    const auto& [option, file] = *one;
    if (file.empty()) continue;
    for (const auto& source : record.sources) {
      if (!files::is_same_file(platform::utf8_path(file), platform::utf8_path(source))) continue;
      throw OutputClash(fmt::format("{}: {} is the record itself; name another file", option, file));
    }
    for (auto other = std::begin(written); other != one; other++) {
      if (other->second.empty() || !files::is_same_file(platform::utf8_path(file), platform::utf8_path(other->second)))
        continue;
      throw OutputClash(fmt::format("{} and {} name the same file, {}", other->first, option, file));
    }
  }
}

void check_certificate(const Outputs& outputs, const std::string& path, bool library) {
  if (outputs.certificate.empty()) return;
  const std::string extension = readers::extension_of(outputs.certificate);
  if (extension != ".json" && extension != ".html") {
    throw UnusableOptions(
        fmt::format("--certificate '{}' does not show the format; end it in .json or .html", outputs.certificate));
  }
  if (path == "-") {
    throw UnusableOptions("--certificate needs a record in a file, because its bytes are read a second time");
  }
  if (library) {
    throw UnusableOptions("--certificate does not cover the library's results; leave out --library");
  }
}

void show(const readers::Record& record, const analysis::Analysis& analysis, const Outputs& outputs,
          const outputs::CertifiedRun& run, const std::string& path, Progress& progress) {
  std::vector<files::NamedBytes> files;
  if (!outputs.report.empty()) files.push_back({platform::utf8_path(outputs.report), analysis.report});
  const std::size_t events = analysis.found.events.size();
  if (outputs.figure() && outputs.event > events && outputs.event > 1) {
    throw UnknownEvent(fmt::format("there is no event {} to draw; the record holds {}", outputs.event, events));
  }
  if (outputs.figure() || !outputs.html.empty()) {
    progress.stage("drawing");
    const analysis::Curves curves = analysis::curves_of(analysis);
    if (outputs.figure()) add_figures(outputs::figure_of(record, analysis, curves, outputs.event - 1), outputs, files);
#ifdef DIPX_HAS_PAGE
    if (!outputs.html.empty())
      files.push_back({platform::utf8_path(outputs.html), outputs::page_of(record, analysis, curves)});
#endif
  }
  if (!outputs.certificate.empty()) {
    progress.stage("certifying");
    files.push_back(
        {platform::utf8_path(outputs.certificate), certificate_bytes(record, analysis, outputs, run, path)});
  }
  progress.stage("writing");
  progress.finish();
  write_files(files, outputs.no_clobber);
  write_standard_output(standard_output_of(record, analysis, outputs));
}

}  // namespace command
