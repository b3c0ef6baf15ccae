#include "archive/report_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "analysis/quantity_text.h"
#include "archive/report_tables.h"
#include "readers/text.h"

namespace archive {

namespace {

std::string table_text(const CountTable& table, const Counts& counts) {
  std::string text = fmt::format("\n{:24}", table.title);
  for (const std::string& column : table.columns) text += fmt::format("{:>11}", column);
  text += "\n";
  for (std::size_t row = 0; row < table.rows.size(); row++) {
    text += fmt::format("  {:22}", table.rows[row]);
    for (const std::string& cell : table.cells[row]) text += fmt::format("{:>11}", count_in(counts, cell));
    text += "\n";
  }
  const std::size_t outside = count_in(counts, "outside");
  if (outside > 0) text += fmt::format("  {:22}{:>11}\n", "outside the table", outside);
  return text;
}

/// Returns counts in a row: "A 3, B 2".
std::string list_text(const char* title, const Counts& counts) {
  if (counts.empty()) return {};
  std::string list;
  for (const auto& [name, count] : counts) list += fmt::format("{}{} {}", list.empty() ? "" : ", ", name, count);
  return fmt::format("\n{:24}{}\n", title, list);
}

std::string interruptions_text(const SiteReport& site) {
  if (site.interruption_s.empty()) return {};
  std::string list;
  for (const auto& [duration, count] : interruptions_by_duration(site)) {
    if (count > 0) list += fmt::format("{}{}: {}", list.empty() ? "" : ", ", duration, count);
  }
  return fmt::format("\n{:24}{}\n", "Interruptions last", list);
}

std::string tables_text(const SiteReport& site) {
  std::string text = table_text(en50160_dip_table(), site.en50160_dips);
  text += table_text(unipede_table(), site.unipede);
  text += table_text(en50160_swell_table(), site.en50160_swells);
  text += list_text("Dips by type", site.types);
  text += list_text("Dips by month", site.months);
  return text + interruptions_text(site);
}

std::string sites_text(const Report& report) {
  std::size_t width = 10;
  for (const SiteReport& site : report.sites) {
    width = std::max(width, readers::count_characters(readers::shortened(site_name(site.site))));
  }
  const auto line = [&](const std::string& name, const SiteReport& site) {
    std::string text = name + std::string(width - std::min(width, readers::count_characters(name)), ' ');
    text += fmt::format("{:>9}{:>7}{:>8}{:>15}", site.records, site.dips, site.swells, site.interruptions);
    for (const Sarfi& sarfi : site.sarfi) text += fmt::format("{:>10}", sarfi.dips);
    return text + "\n";
  };
  std::string text =
      fmt::format("\n{:{}}{:>9}{:>7}{:>8}{:>15}", "Site", width, "records", "dips", "swells", "interruptions");
  for (const Sarfi& sarfi : report.all.sarfi) text += fmt::format("{:>10}", fmt::format("below {}", sarfi.percent));
  text += "\n";
  for (const SiteReport& site : report.sites) text += line(readers::shortened(site_name(site.site)), site);
  return text + line("all", report.all);
}

/// SARFI of the system is the mean of all sites.
std::string sarfi_text(const Report& report) {
  if (report.sites.empty()) return {};
  std::string text = "\nPer site                ";
  for (const Sarfi& sarfi : report.all.sarfi) {
    text += fmt::format("{}SARFI-{} {:.2f}", &sarfi == &report.all.sarfi.front() ? "" : ", ", sarfi.percent,
                        static_cast<double>(sarfi.dips) / static_cast<double>(report.sites.size()));
  }
  const auto per_site = [&](std::size_t dips) {
    return static_cast<double>(dips) / static_cast<double>(report.sites.size());
  };
  return text + fmt::format("\n{:24}SARFI-ITIC {:.2f}, SARFI-SEMI {:.2f}\n", "", per_site(report.all.below_itic),
                            per_site(report.all.below_semi));
}

std::string clocks_text(const Report& report) {
  std::string text;
  for (const ClockOffset& clock : report.clocks) text += "  " + clock_line(clock) + "\n";
  return text.empty() ? text
                      : "Clocks are compared by dips that several sites have seen, and corrected for this:\n" + text;
}

std::string network_text(const Report& report) {
  if (report.sites.size() < 2 || report.network_window_s <= 0) return {};
  std::string text = fmt::format("\nDips that begin within {:g} s at several sites are one in the network: {}\n",
                                 report.network_window_s, readers::plural(report.network_dips, "dip"));
  text += clocks_text(report);
  if (report.network.empty()) return text;
  text += fmt::format("\n{:28}{:>10}{:>12}{:>7}  {}\n", "Seen by several sites", "residual", "longest", "sites",
                      "deepest at");
  for (const NetworkEvent& event : deepest_of(report.network)) {
    text += fmt::format("  {:26}{:>8.1f} %{:>12}{:>7}  {}\n", event.deepest.clock.substr(0, 26),
                        event.deepest.terms.percent,
                        event.longest_s ? analysis::duration_text(*event.longest_s) : "unknown", event.sites.size(),
                        site_name(event.deepest.site));
  }
  return text;
}

std::string worst_text(const char* title, const char* extreme, const std::vector<ReportedEvent>& worst) {
  if (worst.empty()) return {};
  std::string text = fmt::format("\n{:28}{:>10}{:>12}  {:5}{}\n", title, extreme, "duration", "type", "record");
  for (const ReportedEvent& dip : worst) {
    text += fmt::format("  {:26}{:>8.1f} %{:>12}  {:5}{}\n", dip.clock.empty() ? "no date" : dip.clock.substr(0, 26),
                        dip.terms.percent, dip.terms.seconds ? analysis::duration_text(*dip.terms.seconds) : "unknown",
                        dip.type, dip.file);
  }
  return text;
}

}  // namespace

std::string site_name(const std::string& site) {
  return site.empty() ? "(without a name)" : site;
}

std::string clock_line(const ClockOffset& clock) {
  return fmt::format("{}: {:.3f} s {} the clock of {}, by {} (standard deviation {:.3f} s)", site_name(clock.site),
                     std::abs(clock.ahead_s), clock.ahead_s < 0 ? "behind" : "ahead of", site_name(clock.reference),
                     readers::plural(clock.dips, "dip"), clock.deviation_s);
}

std::vector<NetworkEvent> deepest_of(std::vector<NetworkEvent> events) {
  constexpr std::size_t most = 10;
  std::stable_sort(events.begin(), events.end(), [](const NetworkEvent& one, const NetworkEvent& other) {
    return is_worse(one.deepest, other.deepest);
  });
  if (events.size() > most) events.resize(most);
  return events;
}

std::string report_heading(const Report& report) {
  std::string text = report.from.empty() ? std::string("No event has a date")
                                         : fmt::format("Events from {} to {}", report.from, report.to);
  text += fmt::format(", dipx {}\n", report.version);
  if (report.window_s > 0) {
    text += fmt::format(
        "Events of one kind at one site that begin within {:g} s count as one, the most severe of "
        "them.\n",
        report.window_s);
  }
  if (report.others > 0) {
    text += fmt::format(
        "These are the results for the parameters {}, which were used last; the database has {} more "
        "{} (--parameters).\n",
        report.parameters, report.others, report.others == 1 ? "set" : "sets");
  }
  if (report.undated > 0) {
    text += fmt::format("{} {} left out because the records give no date.\n", readers::plural(report.undated, "event"),
                        report.undated == 1 ? "is" : "are");
  }
  return text;
}

std::string report_text(const Report& report) {
  std::string text = report_heading(report) + sites_text(report) + sarfi_text(report);
  text += "\nAll sites\n" + tables_text(report.all);
  text += worst_text("Worst dips", "residual", report.worst);
  text += worst_text("Worst swells", "highest", report.worst_swells);
  text += network_text(report) + list_text("Refused, by reason", report.refused);
  if (report.sites.size() < 2) return text;
  for (const SiteReport& site : report.sites) text += "\n" + site_name(site.site) + "\n" + tables_text(site);
  return text;
}

}  // namespace archive
