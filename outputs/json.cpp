#include "outputs/json.h"

#include <array>
#include <nlohmann/json.hpp>

#include "analysis/event_terms.h"
#include "outputs/dip_category_name.h"
#include "outputs/record_json.h"

namespace outputs {

using analysis::AnalysedVoltages;
using analysis::Analysis;
using analysis::DeclaredVoltage;
using analysis::Dip;
using analysis::Obstacle;
using analysis::Segment;
using analysis::tolerance_curves;

namespace {

// Rises when a member changes its meaning or goes; new members do not raise it.
constexpr int format_version = 1;

using Json = nlohmann::ordered_json;

Json position(std::size_t sample, const Analysis& analysis) {
  return {{"sample", analysis.voltages.record_sample_at(sample)}, {"time_s", analysis.voltages.seconds_at(sample)}};
}

/// An array of one object per phase.
template <typename Figures>
Json per_phase(Figures figures) {
  Json list = Json::array();
  for (std::size_t phase = 0; phase < 3; phase++) {
    Json object = {{"phase", std::string(1, "ABC"[phase])}};
    object.update(figures(phase));
    list.push_back(std::move(object));
  }
  return list;
}

Json voltage_and_percent(double volts, const Analysis& analysis) {
  Json json = {{"voltage_v", volts}, {"percent", analysis.percent(volts)}};
  if (const auto percent = analysis.percent_of_declared(volts)) json["percent_of_declared"] = *percent;
  return json;
}

Json voltages_and_percents(const std::array<double, 3>& volts, const Analysis& analysis) {
  return per_phase([&](std::size_t phase) { return voltage_and_percent(volts[phase], analysis); });
}

Json single_figures(const char* name, const std::array<double, 3>& values) {
  return per_phase([&](std::size_t phase) { return Json{{name, values[phase]}}; });
}

Json voltages(const readers::Record& record, const Analysis& analysis) {
  return per_phase([&](std::size_t phase) {
    const std::size_t number = analysis.voltages.channels[phase];
    const auto& channel = record.channels[number];
    Json json = {{"channel", number + 1}, {"name", channel.name}, {"unit", channel.unit}};
    add_side(json, channel);
    if (analysis.voltages.unit_assumed[phase]) json["unit_assumed"] = "V";
    return json;
  });
}

/// The part of the record that was analysed.
Json part_of(const AnalysedVoltages& voltages) {
  return {{"number", voltages.part_number},      {"of", voltages.parts},
          {"first_sample", voltages.part.begin}, {"samples", voltages.part.length()},
          {"start_s", voltages.part.start},      {"recorded_rate_hz", voltages.part.rate},
          {"resampled", voltages.resampled}};
}

Json declared_of(const Analysis& analysis) {
  if (!analysis.declared) return {};
  const DeclaredVoltage& declared = *analysis.declared;
  return {{"given_v", declared.given},
          {"kind", declared.line ? "line" : "phase"},
          {"divided_by_ratio", declared.secondary},
          {"level_v", declared.level},
          {"pre_event_percent", *analysis.percent_of_declared(analysis.pre_event_voltage)}};
}

Json segment_of(std::size_t number, const Segment& segment, const Analysis& analysis) {
  return {{"number", number},
          {"start", position(segment.samples.begin, analysis)},
          {"end", position(segment.samples.end, analysis)},
          {"category", {{"code", segment.category}, {"name", dip_category_name(segment.category)}}},
          {"phases_below_threshold",
           {{"count", segment.low_count}, {"mask", segment.low_mask}, {"letters", phase_letters(segment.low_mask)}}},
          {"residual_voltage", voltages_and_percents(segment.residual, analysis)},
          {"phase_jump", single_figures("degrees", segment.phase_jump)},
          {"unbalance_percent", segment.unbalance},
          {"next_to_nothing", is_next_to_nothing(segment, analysis)}};
}

void add_terms(Json& json, const Dip& dip, const Analysis& analysis) {
  const auto terms = terms_of(dip, analysis);
  json["kind"] = kind_of(terms);
  json["residual_voltage"] = {{"phase", std::string(1, "ABC"[terms.worst_phase])}};
  json["residual_voltage"].update(voltage_and_percent(terms.residual, analysis));
  json["depth_percent"] = terms.depth_percent;
  json["voltage_tolerance"] = Json::object();
  for (const auto& curve : tolerance_curves()) {
    json["voltage_tolerance"][curve.code] = ride_name(ride_through(curve, terms));
  }
  const std::string cell = en50160_cell(terms);
  json["en50160_cell"] = cell.empty() ? Json() : Json(cell);
}

Json dip_of(std::size_t number, const Dip& dip, const Analysis& analysis) {
  Json json = {{"number", number}, {"start", position(dip.start, analysis)}, {"recovered", dip.end.has_value()}};
  if (dip.end) {
    const auto samples = static_cast<double>(*dip.end - dip.start);
    json["end"] = position(*dip.end, analysis);
    json["duration_s"] = samples / analysis.voltages.sampling_rate;
    json["duration_cycles"] = samples / analysis.voltages.samples_per_cycle;
  } else {
    json["end"] = json["duration_s"] = json["duration_cycles"] = nullptr;
  }
  json["lowest_voltage"] = voltages_and_percents(dip.lowest, analysis);
  add_terms(json, dip, analysis);
  json["before_dip"] = per_phase([&](std::size_t phase) {
    return Json{{"voltage_v", dip.before[phase].volts}, {"degrees", dip.before[phase].degrees}};
  });
  json["analysed"] = dip.obstacle == Obstacle::none;
  if (dip.obstacle == Obstacle::none) {
    json["not_analysed"] = nullptr;
  } else {
    const auto text = describe(dip.obstacle);
    json["not_analysed"] = {{"code", text.code}, {"reason", text.sentence}};
  }
  json["gradual_fall_doubtful"] = dip.gradual_fall_doubtful;
  json["point_on_wave"] = dip.point_on_wave ? single_figures("degrees", *dip.point_on_wave) : Json();
  json["fastest_change"] = dip.obstacle == Obstacle::none ? single_figures("v_per_s", dip.voltage_change) : Json();
  json["segments"] = Json::array();
  for (std::size_t i = 0; i < dip.segments.size(); i++) {
    json["segments"].push_back(segment_of(i + 1, dip.segments[i], analysis));
  }
  return json;
}

}  // namespace

std::string json_of(const readers::Record& record, const Analysis& analysis) {
  Json notes = record.notes;
  for (const auto& note : analysis.notes) notes.push_back(note);
  Json dips = Json::array();
  for (std::size_t i = 0; i < analysis.dips.size(); i++) dips.push_back(dip_of(i + 1, analysis.dips[i], analysis));

  Json about = origin_of(record);
  about["trigger_time"] = record.trigger_time;
  about["time_zone"] = record.time_zone;
  about["samples"] = record.length();
  about["sampling_rate_hz"] = analysis.voltages.sampling_rate;
  about["line_frequency_hz"] = analysis.voltages.line_frequency;
  about["samples_per_cycle"] = analysis.voltages.samples_per_cycle;
  about["part"] = part_of(analysis.voltages);
  const Json document = {{"format", "dipx analysis"},
                         {"format_version", format_version},
                         {"dipx_version", DIPX_VERSION},
                         {"record", std::move(about)},
                         {"voltages", voltages(record, analysis)},
                         {"line_to_line", analysis.voltages.between_phases},
                         {"analysis_level_factor", analysis.level_factor},
                         {"pre_event_voltage_v", analysis.pre_event_voltage},
                         {"threshold_v", analysis.threshold},
                         {"declared_voltage", declared_of(analysis)},
                         {"dips", std::move(dips)},
                         {"notes", std::move(notes)}};
  // A file name may hold any bytes; JSON may not.
  return document.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace outputs
