#include <fmt/format.h>
#include <fmt/ranges.h>

#include "archive/report_tables.h"
#include "archive/report_text.h"
#include "outputs/csv.h"

namespace archive {

namespace {

/// A column by column list of names or values.
using Fields = std::vector<std::string>;

void add_cells(Fields& fields, const CountTable& table, const Counts& counts) {
  const auto add = [&](const std::string& cell) { fields.push_back(fmt::format("{}", count_in(counts, cell))); };
  for (const auto& row : table.cells) {
    for (const std::string& cell : row) add(cell);
  }
  add("outside");
}

void add_names(Fields& fields, const CountTable& table, const std::string& prefix) {
  for (const auto& row : table.cells) {
    for (const std::string& cell : row) fields.push_back(outputs::csv_field(prefix + cell));
  }
  fields.push_back(outputs::csv_field(prefix + "outside"));
}

Fields heading(const Report& report) {
  Fields names = {"site", "records", "dips", "swells", "interruptions"};
  for (const Sarfi& sarfi : report.all.sarfi) names.push_back(fmt::format("dips_below_{}_percent", sarfi.percent));
  names.emplace_back("dips_below_itic");
  names.emplace_back("dips_below_semi_f47");
  for (const auto& [duration, count] : interruptions_by_duration(report.all)) {
    names.push_back("interruptions " + duration);
  }
  add_names(names, en50160_dip_table(), "dips EN 50160 ");
  add_names(names, en50160_swell_table(), "swells EN 50160 ");
  add_names(names, unipede_table(), "dips UNIPEDE ");
  return names;
}

Fields row_of(const std::string& name, const SiteReport& site) {
  Fields fields = {outputs::csv_field(name)};
  for (const std::size_t count : {site.records, site.dips, site.swells, site.interruptions}) {
    fields.push_back(fmt::format("{}", count));
  }
  for (const Sarfi& sarfi : site.sarfi) fields.push_back(fmt::format("{}", sarfi.dips));
  for (const std::size_t count : {site.below_itic, site.below_semi}) fields.push_back(fmt::format("{}", count));
  for (const auto& [duration, count] : interruptions_by_duration(site)) fields.push_back(fmt::format("{}", count));
  add_cells(fields, en50160_dip_table(), site.en50160_dips);
  add_cells(fields, en50160_swell_table(), site.en50160_swells);
  add_cells(fields, unipede_table(), site.unipede);
  return fields;
}

}  // namespace

std::string report_csv(const Report& report) {
  std::string text = fmt::format("{}\n", fmt::join(heading(report), ","));
  for (const SiteReport& site : report.sites) text += fmt::format("{}\n", fmt::join(row_of(site.site, site), ","));
  return text + fmt::format("{}\n", fmt::join(row_of("all", report.all), ","));
}

}  // namespace archive
