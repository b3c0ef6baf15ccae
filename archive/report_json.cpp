#include <nlohmann/json.hpp>

#include "archive/report_text.h"
#include "outputs/rounding.h"

namespace archive {

namespace {

using Json = nlohmann::ordered_json;

Json text_or_null(const std::string& text) {
  return text.empty() ? Json() : Json(text);
}

Json seconds_or_null(const std::optional<double>& seconds) {
  return seconds ? Json(*seconds) : Json();
}

Json counts_json(const std::map<std::string, std::size_t>& counts) {
  Json object = Json::object();
  for (const auto& [name, count] : counts) object[name] = count;
  return object;
}

Json site_json(const SiteReport& site) {
  Json durations = Json::array();
  for (const auto& seconds : site.interruption_s) durations.push_back(seconds_or_null(seconds));
  Json sarfi = Json::object();
  for (const Sarfi& one : site.sarfi) sarfi[std::to_string(one.percent)] = one.dips;
  return {{"records", site.records},
          {"dips", site.dips},
          {"swells", site.swells},
          {"interruptions", site.interruptions},
          {"en50160_dips", counts_json(site.en50160_dips)},
          {"en50160_swells", counts_json(site.en50160_swells)},
          {"unipede", counts_json(site.unipede)},
          {"dips_below_percent", std::move(sarfi)},
          {"dips_below_itic", site.below_itic},
          {"dips_below_semi_f47", site.below_semi},
          {"dips_by_month", counts_json(site.months)},
          {"dips_by_type", counts_json(site.types)},
          {"interruptions_s", std::move(durations)}};
}

Json worst_json(const ReportedEvent& dip) {
  return {{"site", dip.site},
          {"start_clock", text_or_null(dip.clock)},
          {"percent", dip.terms.percent},
          {"duration_s", seconds_or_null(dip.terms.seconds)},
          {"type", text_or_null(dip.type)},
          {"events_merged", dip.merged},
          {"file", dip.file},
          {"sha256", dip.sha256}};
}

Json network_json(const NetworkEvent& event) {
  return {{"start_clock", text_or_null(event.deepest.clock)},
          {"percent", event.deepest.terms.percent},
          {"longest_s", seconds_or_null(event.longest_s)},
          {"deepest_site", event.deepest.site},
          {"sites", event.sites},
          {"file", event.deepest.file}};
}

Json clock_json(const ClockOffset& clock) {
  return {{"site", clock.site},
          {"reference_site", clock.reference},
          {"ahead_s", outputs::to_unit(clock.ahead_s, 1e3)},
          {"standard_deviation_s", outputs::to_unit(clock.deviation_s, 1e3)},
          {"dips", clock.dips}};
}

}  // namespace

std::string report_json(const Report& report) {
  Json sites = Json::array();
  for (const SiteReport& site : report.sites) {
    Json named = {{"site", site.site}};
    named.update(site_json(site));
    sites.push_back(std::move(named));
  }
  Json sarfi = Json::object();
  for (const Sarfi& one : report.all.sarfi) {
    sarfi[std::to_string(one.percent)] =
        report.sites.empty() ? Json() : Json(static_cast<double>(one.dips) / static_cast<double>(report.sites.size()));
  }
  const auto per_site = [&](std::size_t dips) {
    return report.sites.empty() ? Json() : Json(static_cast<double>(dips) / static_cast<double>(report.sites.size()));
  };
  sarfi["itic"] = per_site(report.all.below_itic);
  sarfi["semi_f47"] = per_site(report.all.below_semi);
  const auto list = [](const std::vector<ReportedEvent>& events) {
    Json all = Json::array();
    for (const ReportedEvent& event : events) all.push_back(worst_json(event));
    return all;
  };
  Json network = Json::array();
  for (const NetworkEvent& event : report.network) network.push_back(network_json(event));
  Json clocks = Json::array();
  for (const ClockOffset& clock : report.clocks) clocks.push_back(clock_json(clock));
  Json refusals = Json::array();
  for (const Refused& one : report.refusals) {
    refusals.push_back({{"file", one.file}, {"reason", one.reason}, {"message", one.message}});
  }
  const Json document = {{"from", text_or_null(report.from)},
                         {"to", text_or_null(report.to)},
                         {"window_s", report.window_s},
                         {"parameters", report.parameters},
                         {"version", report.version},
                         {"options", report.options},
                         {"other_parameter_sets", report.others},
                         {"events_without_date", report.undated},
                         {"all", site_json(report.all)},
                         {"sarfi_per_site", std::move(sarfi)},
                         {"sites", std::move(sites)},
                         {"worst_dips", list(report.worst)},
                         {"worst_swells", list(report.worst_swells)},
                         {"network_window_s", report.network_window_s},
                         {"network_dips", report.network_dips},
                         {"network_events", std::move(network)},
                         {"clocks", std::move(clocks)},
                         {"refused", counts_json(report.refused)},
                         {"refusals", std::move(refusals)}};
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

}  // namespace archive
