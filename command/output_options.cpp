#include "command/output_options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <iterator>
#include <utility>
#include <vector>

#include "analysis/curves.h"
#include "command/standard_output.h"
#include "command/terminal_colours.h"
#include "files/whole_file.h"
#include "outputs/colours.h"
#include "outputs/csv.h"
#include "outputs/figure_svg.h"
#include "outputs/json.h"
#include "outputs/page/page_html.h"
#include "outputs/text.h"

namespace command {

namespace {

std::string standard_output_of(const readers::Record& record, const analysis::Analysis& analysis,
                               const Outputs& outputs) {
  if (outputs.json)
    return outputs.one_of_many ? outputs::json_line_of(record, analysis) : outputs::json_of(record, analysis);
  if (outputs.csv) {
    const std::string table = outputs::csv_of(record, analysis);
    return outputs.first ? table : table.substr(table.find('\n') + 1);  // one heading serves all
  }
  const outputs::Colours colours(terminal_colours());
  return outputs.quiet ? outputs::lines_of(record, analysis, colours) : outputs::text_of(record, analysis, colours);
}

}  // namespace

void add_output_options(CLI::App& app, Outputs& outputs) {
  CLI::Option* json = app.add_flag("--json", outputs.json, "Print one JSON document instead of text");
  CLI::Option* csv = app.add_flag("--csv", outputs.csv, "Print a table with one row per segment instead of text");
  CLI::Option* quiet = app.add_flag("-q,--quiet", outputs.quiet, "Print one line per event");
  csv->excludes(json);
  quiet->excludes(json)->excludes(csv);
  app.add_option("--report", outputs.report, "Write the embedded library's own report of the whole record to FILE")
      ->type_name("FILE");
#ifdef DIPX_HAS_PAGE
  app.add_option("--html", outputs.html,
                 "Write a page for a browser to FILE: waveforms, phasors, tables, tolerance curves")
      ->type_name("FILE");
#endif
  CLI::Option* svg = app.add_option("--svg", outputs.svg, "Draw an event to FILE as a figure of column width (SVG)")
                         ->type_name("FILE");
  app.add_option("--event", outputs.event, "The event that --svg draws (1)")
      ->check(CLI::PositiveNumber.description(""))
      ->type_name("N")
      ->needs(svg);
}

void check_files(const readers::Record& record, const Outputs& outputs) {
  const std::pair<const char*, const std::string&> written[] = {
      {"--report", outputs.report}, {"--svg", outputs.svg}, {"--html", outputs.html}};
  for (auto one = std::begin(written); one != std::end(written); one++) {
    const auto& [option, file] = *one;
    if (file.empty()) continue;
    for (const auto& source : record.sources) {
      if (!files::is_same_file(file, source)) continue;
      throw OutputClash(fmt::format("{}: {} is the record itself; name another file", option, file));
    }
    for (auto other = std::begin(written); other != one; other++) {
      if (other->second.empty() || !files::is_same_file(file, other->second)) continue;
      throw OutputClash(fmt::format("{} and {} name the same file, {}", other->first, option, file));
    }
  }
}

void show(const readers::Record& record, const analysis::Analysis& analysis, const Outputs& outputs,
          Progress& progress) {
  std::vector<files::NamedBytes> files;
  if (!outputs.report.empty()) files.push_back({outputs.report, analysis.report});
  const std::size_t events = analysis.found.events.size();
  if (!outputs.svg.empty() && outputs.event > events && outputs.event > 1) {
    throw UnknownEvent(fmt::format("there is no event {} to draw; the record holds {}", outputs.event, events));
  }
  if (!outputs.svg.empty() || !outputs.html.empty()) {
    progress.stage("drawing");
    const analysis::Curves curves = analysis::curves_of(analysis);
    if (!outputs.svg.empty())
      files.push_back({outputs.svg, outputs::figure_of(record, analysis, curves, outputs.event - 1)});
#ifdef DIPX_HAS_PAGE
    if (!outputs.html.empty()) files.push_back({outputs.html, outputs::page_of(record, analysis, curves)});
#endif
  }
  progress.stage("writing");
  files::write_whole(files);
  progress.finish();
  write_standard_output(standard_output_of(record, analysis, outputs));
}

}  // namespace command
