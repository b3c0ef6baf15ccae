#include "archive/report_html.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "analysis/quantity_text.h"
#include "archive/report_scatter.h"
#include "archive/report_tables.h"
#include "archive/report_text.h"
#include "outputs/markup.h"
#include "readers/text.h"

namespace archive {

namespace {

using outputs::markup_text;
using Link = std::function<std::string(const std::string&)>;

/// A table with headings by which it can be sorted.
class SortableTable {
 public:
  struct Heading {
    std::string words;
    bool text = false;  ///< otherwise the column has numbers
  };
  explicit SortableTable(const std::vector<Heading>& headings, const std::string& subject = "") {
    html_ = fmt::format("<div class=\"scroll\"><table class=\"sortable {}\">\n<thead><tr>", subject);
    for (const Heading& heading : headings) {
      html_ += fmt::format("<th scope=\"col\"{}>{}</th>", heading.text ? " class=\"text\"" : "", heading.words);
    }
    html_ += "</tr></thead>\n<tbody>\n";
  }
  void begin_row() { html_ += "<tr>"; }
  void end_row() { html_ += "</tr>\n"; }
  void begin_sums() { html_ += "</tbody>\n<tfoot>\n"; }
  void text(const std::string& words) { markup(markup_text(words)); }
  void markup(const std::string& html) { html_ += "<td class=\"text\">" + html + "</td>"; }
  void number(std::size_t count) { html_ += fmt::format("<td{}>{}</td>", count == 0 ? " class=\"none\"" : "", count); }
  /// `value`: by which the row is sorted.
  void number(double value, const std::string& words) {
    html_ += fmt::format("<td data-value=\"{}\">{}</td>", value, markup_text(words));
  }
  std::string html(bool sums = false) { return html_ + (sums ? "</tfoot>" : "</tbody>") + "\n</table></div>\n"; }

 private:
  std::string html_;
};

std::string table_html(const CountTable& table, const Counts& counts) {
  std::string html = fmt::format("<div class=\"scroll\"><table>\n<thead><tr><th scope=\"col\">{}</th>", table.title);
  for (const std::string& column : table.columns) html += fmt::format("<th scope=\"col\">{}</th>", column);
  html += "</tr></thead>\n<tbody>\n";
  for (std::size_t row = 0; row < table.rows.size(); row++) {
    html += fmt::format("<tr><th scope=\"row\">{}</th>", table.rows[row]);
    for (const std::string& cell : table.cells[row]) {
      const std::size_t count = count_in(counts, cell);
      html += fmt::format("<td{}>{}</td>", count == 0 ? " class=\"none\"" : "", count);
    }
    html += "</tr>\n";
  }
  html += "</tbody>\n</table>\n";
  const std::size_t outside = count_in(counts, "outside");
  if (outside > 0) html += fmt::format("<p class=\"note\">Outside the table: {}</p>\n", outside);
  return html + "</div>\n";
}

std::string counts_html(const char* title, const std::vector<std::pair<std::string, std::size_t>>& counts) {
  std::size_t most = 0;
  for (const auto& [name, count] : counts) most = std::max(most, count);
  if (most == 0) return {};
  std::string html =
      fmt::format("<div><table>\n<thead><tr><th scope=\"col\">{}</th><th></th><th></th></tr></thead>\n", title);
  for (const auto& [name, count] : counts) {
    html += fmt::format(
        "<tr><td>{}</td><td>{}</td><td class=\"text\"><span class=\"bar\" style=\"width:{:.1f}rem\"></span></td></tr>\n",
        markup_text(name), count, 8.0 * static_cast<double>(count) / static_cast<double>(most));
  }
  return html + "</table></div>\n";
}

std::string tables_html(const SiteReport& site) {
  const auto list = [](const Counts& counts) {
    return std::vector<std::pair<std::string, std::size_t>>(counts.begin(), counts.end());
  };
  std::string html = "<div class=\"tables\">\n";
  html += table_html(en50160_dip_table(), site.en50160_dips);
  html += table_html(en50160_swell_table(), site.en50160_swells);
  html += table_html(unipede_table(), site.unipede);
  html += counts_html("Dips by type", list(site.types));
  html += counts_html("Duration of interruptions", interruptions_by_duration(site));
  html += counts_html("Dips by month", list(site.months));
  return html + "</div>\n";
}

std::string figures_html(const Report& report) {
  std::string html = "<ul class=\"figures\">\n";
  const auto figure = [&](const std::string& value, const std::string& name) {
    html += fmt::format("<li><b>{}</b>{}</li>\n", value, name);
  };
  const SiteReport& all = report.all;
  figure(fmt::format("{}", report.sites.size()), report.sites.size() == 1 ? "site" : "sites");
  figure(fmt::format("{}", all.records), all.records == 1 ? "record" : "records");
  figure(fmt::format("{}", all.dips), all.dips == 1 ? "dip" : "dips");
  figure(fmt::format("{}", all.swells), all.swells == 1 ? "swell" : "swells");
  figure(fmt::format("{}", all.interruptions), all.interruptions == 1 ? "interruption" : "interruptions");
  if (!report.sites.empty()) {
    const auto per_site = [&](std::size_t dips) {
      return fmt::format("{:.2f}", static_cast<double>(dips) / static_cast<double>(report.sites.size()));
    };
    for (const Sarfi& sarfi : all.sarfi) figure(per_site(sarfi.dips), fmt::format("SARFI-{}", sarfi.percent));
    figure(per_site(all.below_itic), "SARFI-ITIC");
    figure(per_site(all.below_semi), "SARFI-SEMI");
  }
  return html + "</ul>\n";
}

std::string sites_html(const Report& report) {
  SortableTable table({{"Site", true},
                       {"Records"},
                       {"Dips"},
                       {"Swells"},
                       {"Interruptions"},
                       {"below 90&nbsp;%"},
                       {"below 70&nbsp;%"},
                       {"below 50&nbsp;%"},
                       {"below 10&nbsp;%"},
                       {"below ITIC"},
                       {"below SEMI&nbsp;F47"}},
                      "sites");
  const auto row = [&](const std::string& name, const SiteReport& site) {
    table.begin_row();
    table.text(name);
    for (const std::size_t count : {site.records, site.dips, site.swells, site.interruptions}) table.number(count);
    for (const Sarfi& sarfi : site.sarfi) table.number(sarfi.dips);
    table.number(site.below_itic);
    table.number(site.below_semi);
    table.end_row();
  };
  for (const SiteReport& site : report.sites) row(site_name(site.site), site);
  table.begin_sums();
  row("all", report.all);
  return "<h2>Sites</h2>\n" + table.html(true);
}

std::string scatter_html(const Report& report, const Link& link) {
  if (report.events.empty()) return {};
  constexpr std::size_t most = 5000;
  const std::vector<ReportedEvent> drawn = drawn_events(report.events, most);
  std::string html = "<h2>Magnitude and duration</h2>\n";
  if (report.sites.size() > 1) {
    html += "<p class=\"handling\" hidden><label>Show <select id=\"site\"><option value=\"\">all sites</option>";
    for (const SiteReport& site : report.sites) {
      if (site.site.empty()) continue;
      html += fmt::format("<option>{}</option>", markup_text(site.site));
    }
    html += "</select></label></p>\n";
  }
  html += scatter_svg(drawn, [&](const ReportedEvent& event) { return link(event.file); });
  html +=
      "<p class=\"note\">Blue: dips; orange: swells; red: interruptions. An open circle is an event whose duration is "
      "not known, at the duration that was recorded. Events above the axis are drawn at its end. Solid line: ITIC; dashed line: SEMI F47.";
  if (drawn.size() < report.events.size()) {
    html += fmt::format(" Of {} events, the {} most severe are drawn.", report.events.size(), drawn.size());
  }
  return html + "</p>\n";
}

std::string duration_of(const ReportedEvent& event) {
  return event.terms.seconds ? analysis::duration_text(*event.terms.seconds) : "unknown";
}

std::string file_html(const std::string& file, const Link& link) {
  const std::string address = link(file);
  if (address.empty()) return markup_text(file);
  return fmt::format("<a href=\"{}\">{}</a>", markup_text(address), markup_text(file));
}

/// Returns the start to the millisecond on one line.
std::string clock_html(const ReportedEvent& event) {
  std::string clock = event.clock.substr(0, 23);
  std::replace(clock.begin(), clock.end(), 'T', ' ');
  return fmt::format("<span class=\"clock\">{}</span>", clock.empty() ? "no date" : markup_text(clock));
}

std::string worst_html(const char* title, const char* extreme, const std::vector<ReportedEvent>& worst,
                       const Link& link) {
  if (worst.empty()) return {};
  const bool dips = worst.front().kind == "dip";
  std::vector<SortableTable::Heading> headings = {{"Start", true}, {extreme}, {"Duration"}};
  if (dips) headings.push_back({"Type", true});
  headings.insert(headings.end(), {{"Site", true}, {"Record", true}});
  SortableTable table(headings);
  for (const ReportedEvent& event : worst) {
    table.begin_row();
    table.markup(clock_html(event));
    table.number(event.terms.percent, fmt::format("{:.1f} %", event.terms.percent));
    table.number(event.terms.seconds.value_or(event.terms.least_seconds), duration_of(event));
    if (dips) table.text(event.type);
    table.text(site_name(event.site));
    table.markup(file_html(event.file, link));
    table.end_row();
  }
  return fmt::format("<h2>{}</h2>\n", title) + table.html();
}

std::string clocks_html(const Report& report) {
  if (report.clocks.empty()) return {};
  std::string html = "<p>Clocks are compared by dips that several sites have seen, and corrected for this:</p>\n<ul>\n";
  for (const ClockOffset& clock : report.clocks) html += "<li>" + markup_text(clock_line(clock)) + "</li>\n";
  return html + "</ul>\n";
}

std::string network_html(const Report& report, const Link& link) {
  if (report.sites.size() < 2 || report.network_window_s <= 0) return {};
  std::string html = fmt::format(
      "<h2>Dips in the network</h2>\n<p>Dips that begin within {:g} s at several sites are one in the "
      "network: {}.</p>\n",
      report.network_window_s, readers::plural(report.network_dips, "dip"));
  html += clocks_html(report);
  if (report.network.empty()) return html;
  SortableTable table({{"Start", true}, {"Residual"}, {"Longest"}, {"Sites"}, {"Deepest at", true}, {"Record", true}});
  for (const NetworkEvent& event : deepest_of(report.network)) {
    table.begin_row();
    table.markup(clock_html(event.deepest));
    table.number(event.deepest.terms.percent, fmt::format("{:.1f} %", event.deepest.terms.percent));
    table.number(event.longest_s.value_or(0), event.longest_s ? analysis::duration_text(*event.longest_s) : "unknown");
    table.number(event.sites.size());
    table.text(site_name(event.deepest.site));
    table.markup(file_html(event.deepest.file, link));
    table.end_row();
  }
  return html + table.html();
}

std::string refusals_html(const Report& report, const Link& link) {
  if (report.refused.empty()) return {};
  std::string html = "<h2>Refused</h2>\n<p>";
  for (const auto& [reason, count] : report.refused) {
    html += fmt::format("{}{} {}", &reason == &report.refused.begin()->first ? "" : ", ", count, markup_text(reason));
  }
  html += "</p>\n<details><summary>The reasons in words</summary>\n";
  SortableTable table({{"Record", true}, {"Reason", true}, {"Message", true}});
  for (const Refused& one : report.refusals) {
    table.begin_row();
    table.markup(file_html(one.file, link));
    table.text(one.reason);
    table.text(one.message);
    table.end_row();
  }
  html += table.html();
  return html + "</details>\n";
}

std::string each_site_html(const Report& report) {
  if (report.sites.size() < 2) return {};
  std::string html = "<h2>Each site</h2>\n";
  for (const SiteReport& site : report.sites) {
    html += fmt::format("<details><summary>{}: {}, {}, {}</summary>\n{}</details>\n", markup_text(site_name(site.site)),
                        readers::plural(site.dips, "dip"), readers::plural(site.swells, "swell"),
                        readers::plural(site.interruptions, "interruption"), tables_html(site));
  }
  return html;
}

std::string heading_html(const Report& report, const std::string& title) {
  std::string html = fmt::format("<h1>{}</h1>\n<p class=\"note\">", title);
  const std::string heading = report_heading(report);
  readers::Lines lines(heading);
  while (const auto line = lines.next()) html += markup_text(std::string(*line)) + "<br>\n";
  return html +
         fmt::format("</p>\n<details class=\"note\"><summary>Options of the analysis</summary>\n<p>{}</p></details>\n",
                     markup_text(report.options));
}

}  // namespace

std::string report_html(const Report& report, const Link& link) {
  const std::string title = "Voltage events";
  std::string html = fmt::format(
      "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; script-src "
      "'unsafe-inline'\">\n<meta name=\"color-scheme\" content=\"light dark\">\n<title>{}</title>\n<style>\n{}</style>\n"
      "</head>\n<body>\n",
      report.from.empty() ? title : fmt::format("{}, {} to {}", title, report.from, report.to), report_style);
  html += heading_html(report, title);
  html += figures_html(report);
  html += sites_html(report);
  html += scatter_html(report, link);
  html += "<h2>All sites</h2>\n" + tables_html(report.all);
  html += worst_html("Worst dips", "Residual", report.worst, link);
  html += worst_html("Worst swells", "Highest", report.worst_swells, link);
  html += network_html(report, link);
  html += refusals_html(report, link);
  html += each_site_html(report);
  return html + fmt::format("<script>\n{}</script>\n</body>\n</html>\n", report_script);
}

}  // namespace archive
