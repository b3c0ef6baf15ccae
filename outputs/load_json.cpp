#include "outputs/load_json.h"

#include <cmath>
#include <optional>
#include <string>
#include <utility>

#include "analysis/event_terms.h"
#include "analysis/load_voltages.h"
#include "assess/classes.h"
#include "outputs/assessment_json.h"
#include "outputs/rounding.h"

namespace outputs {

namespace {

using analysis::Analysis;
using Json = nlohmann::ordered_json;
using measure::Event;
using measure::EventKind;
using measure::Segment;

/// Writes one kind of voltages at the load.
class Voltages {
 public:
  Voltages(const Analysis& monitor, const Analysis& load) : monitor_(monitor), load_(load) {}

  Json whole() const {
    Json events = Json::array();
    for (const Event& event : load_.found.events) events.push_back(event_of(event));
    return {{"events", std::move(events)}};
  }

 private:
  double seconds(double measured) const { return rounded_seconds(load_.voltages.record_seconds(measured)); }

  Json event_of(const Event& event) const {
    const auto terms = terms_of(event, load_);
    Json dips = Json::array();
    for (const std::size_t number : dips_at(event, monitor_)) dips.push_back(number + 1);
    Json json = {{"kind", analysis::kind_code(event.kind)},
                 {"start_s", event.start_known ? Json(seconds(event.start_s)) : Json()},
                 {"end_s", event.end_s ? Json(seconds(*event.end_s)) : Json()},
                 {"duration_s", terms.seconds ? Json(rounded_seconds(*terms.seconds)) : Json()},
                 {"dips", std::move(dips)},
                 {"phases", load_.voltages.letters(event.phases)}};
    if (event.kind == EventKind::rapid_voltage_change) return json;
    json["extreme"] = {{"phase", load_.voltages.letter(event.extreme_phase)},
                       {"percent", event.reference_v > 0 ? Json(rounded_percent(terms.percent)) : Json()}};
    if (event.kind == EventKind::interruption) return json;
    json["verdicts"] = verdicts_json(event, load_);
    json["classes"] = classes_json(event, load_);
    if (event.kind == EventKind::dip) json["segments"] = segments_of(event);
    return json;
  }

  /// The segments are null if no dip of the analysed voltages was measured at the time.
  Json segments_of(const Event& event) const {
    if (!event.course) return {};
    Json list = Json::array();
    for (const Segment& segment : event.course->segments) list.push_back(segment_of(segment));
    return list;
  }

  Json segment_of(const Segment& segment) const {
    Json json = {{"start_s", seconds(segment.start_s)},
                 {"end_s", segment.end_s ? Json(seconds(*segment.end_s)) : Json()},
                 {"gradual", segment.gradual},
                 {"measured", segment.measured},
                 {"type", nullptr},
                 {"voltage", nullptr}};
    if (!segment.measured || !segment.type) return json;
    const auto kind = assess::kind_of(segment.type->letter);
    json["type"] = {{"letter", std::string(1, segment.type->letter)},
                    {"phases", load_.voltages.letters(segment.type->phases)},
                    {"c4_110_type", kind ? Json(kind_numeral(*kind)) : Json()},
                    {"characteristic_percent", rounded_percent(100 * std::abs(segment.type->characteristic))},
                    {"pn_factor_percent", rounded_percent(100 * std::abs(segment.type->pn_factor))}};
    Json voltages = Json::array();
    for (std::size_t phase = 0; phase < measure::most_phases; phase++) voltages.push_back(voltage_of(segment, phase));
    json["voltage"] = std::move(voltages);
    return json;
  }

  Json voltage_of(const Segment& segment, std::size_t phase) const {
    const measure::SegmentPhase& figures = segment.phases[phase];
    const double share_of_volts = figures.voltage_v.value > 0 ? figures.share_of_before / figures.voltage_v.value : 0;
    const auto& jump = figures.phase_jump_degrees;
    return {{"phase", load_.voltages.letter(phase)},
            {"percent_of_before", rounded_percent(100 * figures.share_of_before)},
            {"percent_plus_minus", rounded_volts(100 * share_of_volts * figures.voltage_v.plus_minus)},
            {"phase_jump_degrees", jump ? Json(rounded_degrees(jump->value)) : Json()},
            {"phase_jump_plus_minus", jump ? Json(rounded_volts(jump->plus_minus)) : Json()}};
  }

  const Analysis& monitor_;
  const Analysis& load_;
};

}  // namespace

Json load_json(const Analysis& analysis) {
  if (!analysis.load) return {};
  Json through = Json::array();
  for (const auto& connection : analysis.load->connections) through.push_back(connection.name);
  return {{"through", std::move(through)},
          {"zero_sequence", analysis.load->has_zero},
          {"phase_voltages", Voltages(analysis, analysis.load->phases).whole()},
          {"line_voltages", Voltages(analysis, analysis.load->lines).whole()}};
}

}  // namespace outputs
