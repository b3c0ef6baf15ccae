#include "archive/report.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <tuple>
#include <utility>

#include "archive/clock_seconds.h"
#include "archive/store_error.h"
#include "assess/classes.h"
#include "assess/known_curves.h"
#include "assess/verdict.h"
#include "readers/text.h"

namespace archive {

namespace {

constexpr const char* outside = "outside";

/// Returns the text of a value as it can be shown: databases come from elsewhere, as records do.
std::string shown(const Value& value) {
  return readers::inert(text_of(value));
}

std::string day_of(const std::string& clock) {
  return clock.substr(0, 10);
}

/// Chooses the set of parameters that is reported. Returns its hash and its version as the store has them.
Row choose_parameters(Store& store, const ReportOptions& options, Report& report) {
  std::size_t sets = 0;
  Row chosen = {std::string(), std::string()};
  store.query("SELECT parameters, version, options FROM parameter_sets ORDER BY last_used, parameters, version", {},
              [&](const Row& row) {
                sets++;
                if (!options.parameters.empty() && text_of(row[0]) != options.parameters) return;
                chosen = {row[0], row[1]};
                report.parameters = shown(row[0]);
                report.version = shown(row[1]);
                report.options = shown(row[2]);
              });
  if (report.parameters.empty() && !options.parameters.empty()) {
    throw StoreError(store.name(), "has no results for the parameters " + options.parameters,
                     "use a hash from the column parameters of its table parameter_sets");
  }
  report.others = sets > 0 ? sets - 1 : 0;
  return chosen;
}

std::vector<ReportedEvent> events_of(Store& store, const Row& parameters) {
  std::vector<ReportedEvent> events;
  store.query(
      "SELECT sha256, file, site, kind, start_clock, type, extreme_percent, duration_s, recorded_s, cycle_s FROM events "
      "WHERE parameters = $1 AND version = $2 AND kind IN ('dip', 'swell', 'interruption') "
      "ORDER BY sha256, part, set_number, number",
      parameters, [&](const Row& row) {
        ReportedEvent event;
        event.sha256 = shown(row[0]);
        event.file = shown(row[1]);
        event.site = shown(row[2]);
        event.kind = shown(row[3]);
        event.clock = shown(row[4]);
        event.type = shown(row[5]);
        event.terms.percent = number_of(row[6]).value_or(100);
        event.terms.depth_percent = 100 - event.terms.percent;
        event.terms.seconds = number_of(row[7]);
        event.terms.least_seconds = number_of(row[8]).value_or(0);
        event.terms.cycle_seconds = number_of(row[9]).value_or(0);
        event.time_s = clock_seconds(event.clock);
        events.push_back(std::move(event));
      });
  return events;
}

/// Compares the clocks of the sites by the segments of all dips, whatever the period is.
std::vector<ClockOffset> compared_clocks(Store& store, const Row& parameters) {
  std::vector<std::string> sites;
  std::vector<SeenDip> dips;
  store.query(
      "SELECT e.site, e.start_clock, e.start_s, min(s.start_s), max(s.end_s), count(*), count(s.end_s) FROM events e "
      "JOIN segments s ON s.sha256 = e.sha256 AND s.part = e.part AND s.set_number = e.set_number "
      "AND s.parameters = e.parameters AND s.version = e.version AND s.event = e.number "
      "WHERE e.parameters = $1 AND e.version = $2 AND e.kind = 'dip' "
      "GROUP BY e.site, e.start_clock, e.start_s, e.sha256, e.part, e.set_number, e.number ORDER BY e.site",
      parameters, [&](const Row& row) {
        const auto clock = clock_seconds(text_of(row[1]));
        const auto start = number_of(row[2]);
        const auto first = number_of(row[3]);
        const auto last = number_of(row[4]);
        const bool ends = whole_of(row[5]) == whole_of(row[6]);
        if (!clock || !start || !first || !last || !ends) return;
        const std::string site = shown(row[0]);
        if (sites.empty() || sites.back() != site) sites.push_back(site);
        dips.push_back({sites.size() - 1, *clock - *start + *first, *clock - *start + *last});
      });
  return clock_offsets(std::move(dips), sites);
}

/// Keeps the events of the period. Those without a date are kept only if no period was chosen.
void keep_period(std::vector<ReportedEvent>& events, const ReportOptions& options, Report& report) {
  const bool chosen = !options.from.empty() || !options.to.empty();
  const auto is_left_out = [&](const ReportedEvent& event) {
    if (!event.time_s) return chosen;
    const std::string day = day_of(event.clock);
    return (!options.from.empty() && day < options.from) || (!options.to.empty() && day > options.to);
  };
  if (chosen) {
    report.undated = static_cast<std::size_t>(
        std::count_if(events.begin(), events.end(), [](const ReportedEvent& event) { return !event.time_s; }));
  }
  std::erase_if(events, is_left_out);
  report.from = options.from;
  report.to = options.to;
  for (const ReportedEvent& event : events) {
    if (!event.time_s) continue;
    const std::string day = day_of(event.clock);
    if (options.from.empty() && (report.from.empty() || day < report.from)) report.from = day;
    if (options.to.empty() && day > report.to) report.to = day;
  }
}

/// Lets the most severe event take the place of all events of the same kind and site that begin within the window of
/// the first one. Events without a date stay as they are.
std::vector<ReportedEvent> aggregated(std::vector<ReportedEvent> events, double window_s) {
  std::stable_sort(events.begin(), events.end(), [](const ReportedEvent& one, const ReportedEvent& other) {
    return std::tie(one.site, one.kind, one.time_s) < std::tie(other.site, other.kind, other.time_s);
  });
  std::vector<ReportedEvent> kept;
  std::optional<double> window_start;
  for (ReportedEvent& event : events) {
    const bool same = window_s > 0 && !kept.empty() && kept.back().site == event.site &&
                      kept.back().kind == event.kind && event.time_s && window_start &&
                      *event.time_s < *window_start + window_s;
    if (!same) {
      window_start = event.time_s;
      kept.push_back(std::move(event));
      kept.back().first_s = window_start;
      continue;
    }
    const std::size_t merged = kept.back().merged + 1;
    if (is_worse(event, kept.back())) kept.back() = std::move(event);
    kept.back().merged = merged;
    kept.back().first_s = window_start;
  }
  return kept;
}

/// Returns whether a dip is below a published curve, by its residual voltage and its duration.
bool is_below(const std::string& code, const ReportedEvent& dip) {
  // No step of these curves depends on the line frequency.
  static const std::vector<assess::Curve> curves = assess::known_curves(50);
  const auto curve =
      std::find_if(curves.begin(), curves.end(), [&](const assess::Curve& one) { return one.code == code; });
  return assess::ride_through(*curve, dip.terms) == assess::Ride::below;
}

/// Combines dips of several sites that begin within the window of the first of them, by their clocks as compared.
void find_network_events(const std::vector<ReportedEvent>& events, Report& report) {
  struct TimedDip {
    const ReportedEvent* dip;
    double first_s;
  };
  std::map<std::string, double> ahead_s;
  for (const ClockOffset& clock : report.clocks) ahead_s[clock.site] = clock.ahead_s;
  std::vector<TimedDip> dips;
  for (const ReportedEvent& event : events) {
    if (event.kind != "dip") continue;
    report.network_dips++;
    if (event.first_s) dips.push_back({&event, *event.first_s - ahead_s[event.site]});
  }
  if (report.network_window_s <= 0) return;
  std::stable_sort(dips.begin(), dips.end(),
                   [](const TimedDip& one, const TimedDip& other) { return one.first_s < other.first_s; });
  for (std::size_t begin = 0, end = 0; begin < dips.size(); begin = end) {
    NetworkEvent together{*dips[begin].dip, {}, dips[begin].dip->terms.seconds};
    for (; end < dips.size() && dips[end].first_s < dips[begin].first_s + report.network_window_s; end++) {
      const ReportedEvent& dip = *dips[end].dip;
      const auto& seconds = dip.terms.seconds;
      together.longest_s =
          seconds && together.longest_s ? std::optional(std::max(*seconds, *together.longest_s)) : std::nullopt;
      if (is_worse(dip, together.deepest)) together.deepest = dip;
      const auto known = std::find(together.sites.begin(), together.sites.end(), dip.site);
      if (known == together.sites.end()) together.sites.push_back(dip.site);
    }
    if (together.sites.size() < 2) continue;
    report.network_dips -= end - begin - 1;
    report.network.push_back(std::move(together));
  }
}

void count_dip(const ReportedEvent& dip, SiteReport& site) {
  const auto named = [](const std::string& cell) { return cell.empty() ? std::string(outside) : cell; };
  site.dips++;
  site.en50160_dips[named(assess::en50160_cell(dip.terms))]++;
  site.unipede[named(assess::unipede_cell(dip.terms))]++;
  site.types[dip.type.empty() ? "unknown" : dip.type]++;
  if (dip.time_s) site.months[dip.clock.substr(0, 7)]++;
  for (Sarfi& sarfi : site.sarfi) sarfi.dips += dip.terms.percent < sarfi.percent ? 1 : 0;
  site.below_itic += is_below("itic", dip) ? 1 : 0;
  site.below_semi += is_below("semi_f47", dip) ? 1 : 0;
}

void count_event(const ReportedEvent& event, SiteReport& site) {
  if (event.kind == "dip") {
    count_dip(event, site);
  } else if (event.kind == "swell") {
    const std::string cell = assess::en50160_swell_cell(event.terms);
    site.swells++;
    site.en50160_swells[cell.empty() ? outside : cell]++;
  } else {
    site.interruptions++;
    site.interruption_s.push_back(event.terms.seconds);
  }
}

/// Returns a condition on the dates of records, with values for its parameters from $3 on.
std::string period_condition(const ReportOptions& options, Row& values) {
  std::string condition;
  const auto add = [&](const char* comparison, const std::string& day) {
    if (day.empty()) return;
    values.emplace_back(day);
    condition += fmt::format(" AND substr(start_clock, 1, 10) {} ${}", comparison, values.size());
  };
  add(">=", options.from);
  add("<=", options.to);
  return condition;
}

void count_records(Store& store, const ReportOptions& options, const Row& parameters, Report& report,
                   std::map<std::string, SiteReport>& sites) {
  Row values = parameters;
  const std::string period = period_condition(options, values);
  store.query("SELECT site, count(*) FROM records WHERE parameters = $1 AND version = $2 AND outcome = 'analysed'" +
                  period + " GROUP BY site",
              values, [&](const Row& row) {
                SiteReport& site = sites[shown(row[0])];
                site.records = static_cast<std::size_t>(whole_of(row[1]));
                report.all.records += site.records;
              });
  // Refused records have no date, so that they are counted whatever the period is.
  store.query(
      "SELECT reason, count(*) FROM refusals WHERE (parameters = $1 AND version = $2) OR parameters IS NULL "
      "GROUP BY reason",
      parameters, [&](const Row& row) { report.refused[shown(row[0])] = static_cast<std::size_t>(whole_of(row[1])); });
  store.query(
      "SELECT file, reason, message FROM refusals WHERE (parameters = $1 AND version = $2) OR parameters IS NULL "
      "ORDER BY reason, file, part, set_number LIMIT 1000",
      parameters, [&](const Row& row) {
        report.refusals.push_back({shown(row[0]), shown(row[1]), shown(row[2])});
      });
}

/// Returns the ten most severe events of a kind.
std::vector<ReportedEvent> worst_of(const char* kind, const std::vector<ReportedEvent>& events) {
  constexpr std::size_t most = 10;
  std::vector<ReportedEvent> worst;
  for (const ReportedEvent& event : events) {
    if (event.kind == kind) worst.push_back(event);
  }
  std::stable_sort(worst.begin(), worst.end(), is_worse);
  if (worst.size() > most) worst.resize(most);
  return worst;
}

}  // namespace

bool is_worse(const ReportedEvent& one, const ReportedEvent& other) {
  if (one.kind == "interruption") return one.terms.least_seconds > other.terms.least_seconds;
  if (one.terms.percent != other.terms.percent) {
    return (one.terms.percent < other.terms.percent) != (one.kind == "swell");
  }
  return one.terms.least_seconds > other.terms.least_seconds;
}

std::vector<std::pair<std::string, std::size_t>> interruptions_by_duration(const SiteReport& site) {
  std::vector<std::pair<std::string, std::size_t>> counts = {
      {"to 1 s", 0}, {"1 s to 1 min", 0}, {"1 to 3 min", 0}, {"longer than 3 min", 0}, {"unknown", 0}};
  constexpr std::array limits = {1.0, 60.0, 180.0};
  for (const auto& seconds : site.interruption_s) {
    std::size_t place = counts.size() - 1;
    if (seconds) {
      const auto* limit = std::find_if(limits.begin(), limits.end(), [&](double most) { return *seconds <= most; });
      place = static_cast<std::size_t>(limit - limits.begin());
    }
    counts[place].second++;
  }
  return counts;
}

bool is_date(const std::string& text) {
  return text.size() == 10 && clock_seconds(text + "T00:00:00").has_value();
}

Report report_of(Store& store, const ReportOptions& options) {
  Report report;
  report.window_s = options.window_s;
  report.network_window_s = options.network_window_s;
  const Row parameters = choose_parameters(store, options, report);
  std::vector<ReportedEvent> events = events_of(store, parameters);
  keep_period(events, options, report);
  events = aggregated(std::move(events), options.window_s);
  std::map<std::string, SiteReport> sites;
  count_records(store, options, parameters, report, sites);
  for (const ReportedEvent& event : events) {
    count_event(event, sites[event.site]);
    count_event(event, report.all);
  }
  for (auto& [name, site] : sites) {
    site.site = name;
    report.sites.push_back(std::move(site));
  }
  report.worst = worst_of("dip", events);
  report.worst_swells = worst_of("swell", events);
  if (!options.clocks_as_recorded) report.clocks = compared_clocks(store, parameters);
  find_network_events(events, report);
  report.events = std::move(events);
  return report;
}

}  // namespace archive
