#include "outputs/json.h"

#include <array>
#include <cmath>
#include <complex>
#include <nlohmann/json.hpp>
#include <numbers>
#include <optional>
#include <string>

#include "analysis/assessment.h"
#include "analysis/event_terms.h"
#include "assess/classes.h"
#include "outputs/assessment_json.h"
#include "outputs/dip_category_name.h"
#include "outputs/library_json.h"
#include "outputs/load_json.h"
#include "outputs/notes.h"
#include "outputs/record_json.h"
#include "outputs/rounding.h"
#include "outputs/six_voltages.h"
#include "readers/clock_time.h"

namespace outputs {

using analysis::AnalysedVoltages;
using analysis::Analysis;
using analysis::DeclaredVoltage;
using measure::Course;
using measure::Event;
using measure::EventKind;
using measure::Figure;
using measure::Segment;

namespace {

// This number increases when a member changes its meaning or is removed; new members do not increase it.
constexpr int format_version = 2;

using Json = nlohmann::ordered_json;

template <typename Value>
Json or_null(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

Json per_cent(std::optional<double> percent) {
  return percent ? Json(rounded_percent(*percent)) : Json();
}

/// Half widths of intervals are shown with two significant digits or more.
double plus_minus(double value) {
  return rounded_volts(value);
}

/// Writes one analysis as JSON. A list over phases has three entries, which are null if there is no value.
class Document {
 public:
  Document(const readers::Record& record, const Analysis& analysis)
      : record_(record), analysis_(analysis), voltages_(analysis.voltages) {}

  Json whole() const {
    Json document = {{"format", "dipx analysis"},    {"format_version", format_version},
                     {"dipx_version", DIPX_VERSION}, {"record", about_record()},
                     {"voltages", voltages()},       {"line_to_line", voltages_.between_phases},
                     {"parameters", parameters()},   {"declared_voltage", declared()},
                     {"wiring", wiring()},           {"currents", currents()}};
    if (analysis_.library) {
      document["library"] = library_json(*analysis_.library, voltages_);
    } else {
      document["events"] = events();
      document["changes_without_event"] = changes();
      document["line_voltages"] = analysis_.line ? line_voltages(*analysis_.line) : Json();
      document["at_load"] = load_json(analysis_);
    }
    document["digital_channels"] = digital_channels_of(record_);
    document["notes"] = notes_of(record_, analysis_);
    return document;
  }

 private:
  template <typename Figures>
  Json per_phase(Figures figures) const {
    Json list = Json::array();
    for (std::size_t phase = 0; phase < measure::most_phases; phase++) {
      if (phase >= voltages_.phases) {
        list.push_back(nullptr);
        continue;
      }
      Json object = {{"phase", voltages_.letter(phase)}};
      const Json more = figures(phase);
      if (more.is_null()) {
        list.push_back(nullptr);
        continue;
      }
      object.update(more);
      list.push_back(std::move(object));
    }
    return list;
  }

  double seconds(double waveform_seconds) const { return rounded_seconds(voltages_.record_seconds(waveform_seconds)); }

  Json about_record() const {
    Json about = origin_of(record_);
    about["trigger_time"] = record_.trigger_time;
    about["trigger_s"] = record_.trigger ? Json(rounded_seconds(*record_.trigger)) : Json();
    about["time_zone"] = record_.time_zone;
    about["samples"] = record_.length();
    about["sampling_rate_hz"] = voltages_.part.rate;
    about["line_frequency_hz"] = voltages_.line_frequency;
    about["measured_frequency_hz"] = voltages_.rms ? Json() : Json(rounded_hertz(analysis_.found.frequency));
    about["values"] = voltages_.rms ? "rms" : "waveform";
    about["samples_per_cycle"] = voltages_.samples_per_cycle();
    about["part"] = {{"number", voltages_.part_number},
                     {"of", voltages_.parts},
                     {"first_sample", voltages_.part.begin},
                     {"samples", voltages_.part.length()},
                     {"start_s", voltages_.part.start}};
    about["stretch"] = stretch_of(record_);
    about["set"] = voltages_.set > 0 ? Json{{"number", voltages_.set}, {"of", voltages_.sets}} : Json();
    return about;
  }

  Json voltages() const {
    return per_phase([&](std::size_t phase) {
      Json json = Json::object();
      if (voltages_.computed) {
        json["computed_from"] = {voltages_.channels[phase] + 1, voltages_.channels[(phase + 1) % 3] + 1};
      } else if (!analysis_.measured.computed[phase].empty()) {
        json["computed_from"] = {voltages_.channels[0] + 1, voltages_.channels[1] + 1};
      } else {
        const std::size_t number = voltages_.channels[phase];
        const auto& channel = record_.channels[number];
        json["channel"] = number + 1;
        json["name"] = channel.name;
        json["unit"] = channel.unit;
        add_side(json, channel);
        if (voltages_.unit_assumed[phase]) json["unit_assumed"] = "V";
      }
      json["usual_rms_v"] = rounded_volts(analysis_.usual_v[phase]);
      json["reference_v"] = rounded_volts(analysis_.found.reference_v[phase]);
      json["lowest_rms_v"] = rounded_volts(analysis_.lowest_rms_v[phase]);
      json["highest_rms_v"] = rounded_volts(analysis_.highest_rms_v[phase]);
      return json;
    });
  }

  Json parameters() const {
    const measure::Options& options = analysis_.options;
    return {{"reference", analysis::reference_code(options.reference)},
            {"dip_threshold_percent", options.thresholds.dip},
            {"swell_threshold_percent", options.thresholds.swell},
            {"interruption_threshold_percent", options.thresholds.interruption},
            {"hysteresis_percent", options.thresholds.hysteresis},
            {"rvc_threshold_percent", options.thresholds.rapid_change}};
  }

  Json declared() const {
    if (!analysis_.declared) return {};
    const DeclaredVoltage& declared = *analysis_.declared;
    return {{"given_v", declared.given},
            {"kind", declared.line ? "line" : "phase"},
            {"kind_from", declared.by_user ? "user" : "level"},
            {"divided_by_ratio", declared.secondary},
            {"level_v", rounded_volts(declared.level)}};
  }

  Json wiring() const {
    const measure::Wiring& wiring = analysis_.found.wiring;
    return {{"phase_order", wiring.reversed ? "ACB" : "ABC"},
            {"turned_phase", wiring.turned_phase ? Json(voltages_.letter(*wiring.turned_phase)) : Json()}};
  }

  static std::string name_of_current(std::size_t current) { return std::string(1, "ABCN"[current]); }

  Json currents() const {
    if (!analysis_.currents) return {};
    const analysis::Currents& currents = *analysis_.currents;
    Json channels = Json::array();
    for (std::size_t i = 0; i < currents.count(); i++) {
      const auto& channel = record_.channels[currents.channel(i)];
      Json json = {{"phase", name_of_current(i)},
                   {"channel", currents.channel(i) + 1},
                   {"name", channel.name},
                   {"unit", channel.unit}};
      add_side(json, channel);
      channels.push_back(std::move(json));
    }
    const bool by_name = currents.bay.source == readers::BaySource::name;
    return {{"found_by", by_name ? "name" : "only_currents"}, {"channels", std::move(channels)}};
  }

  Json event_currents(std::size_t index) const {
    if (!analysis_.currents || index >= analysis_.currents->events.size()) return {};
    const analysis::EventCurrents& figures = analysis_.currents->events[index];
    const auto amperes = [](const std::optional<double>& rms) { return rms ? Json(rounded_volts(*rms)) : Json(); };
    Json list = Json::array();
    for (std::size_t i = 0; i < analysis_.currents->count(); i++) {
      list.push_back({{"phase", name_of_current(i)},
                      {"before_a", amperes(figures.before_a[i])},
                      {"largest_a", amperes(figures.during_a[i])}});
    }
    return list;
  }

  Json voltage(double volts, double reference) const {
    Json json = {{"voltage_v", rounded_volts(volts)},
                 {"percent", per_cent(reference > 0 ? std::optional(100 * volts / reference) : std::nullopt)}};
    if (const auto percent = analysis_.percent_of_declared(volts)) json["percent_of_declared"] = per_cent(percent);
    return json;
  }

  Json events() const {
    Json list = Json::array();
    for (const Event& event : analysis_.found.events) list.push_back(event_of(list.size() + 1, event));
    return list;
  }

  /// The pairs of phases have the places of their first phases.
  Json line_voltages(const analysis::LineVoltages& line) const {
    const auto figure = [](std::size_t pair, double volts, double reference_v) -> Json {
      return {{"phase", analysis::pairs_of_phases[pair]},
              {"voltage_v", rounded_volts(volts)},
              {"percent", per_cent(100 * volts / reference_v)}};
    };
    Json lowest = Json::array();
    for (std::size_t pair = 0; pair < measure::most_phases; pair++) {
      lowest.push_back(figure(pair, line.lowest_v[pair], line.reference_v[pair]));
    }
    Json events = Json::array();
    for (const Event& event : line.events) {
      Json one = {{"kind", analysis::kind_code(event.kind)},
                  {"start_s", event.start_known ? Json(seconds(event.start_s)) : Json()},
                  {"end_s", event.end_s ? Json(seconds(*event.end_s)) : Json()}};
      if (event.kind != EventKind::rapid_voltage_change) {
        one["extreme"] = figure(event.extreme_phase, event.extreme_v, event.reference_v);
      }
      events.push_back(std::move(one));
    }
    return {{"lowest_urms_half", std::move(lowest)}, {"events", std::move(events)}};
  }

  Json position(double waveform_seconds) const {
    const double record_seconds = voltages_.record_seconds(waveform_seconds);
    const std::string clock = readers::iso_time(record_, record_seconds);
    return {{"time_s", rounded_seconds(record_seconds)},
            {"sample", voltages_.record_sample_at(waveform_seconds)},
            {"clock", clock.empty() ? Json() : Json(clock)},
            {"from_trigger_s", record_.trigger ? Json(rounded_seconds(record_seconds - *record_.trigger)) : Json()}};
  }

  Json event_of(std::size_t number, const Event& event) const {
    const auto terms = terms_of(event, analysis_);
    Json json = {{"number", number}, {"kind", analysis::kind_code(event.kind)}, {"start", position(event.start_s)}};
    json["start"]["known"] = event.start_known;
    json["end"] = event.end_s
                      ? position(*event.end_s)
                      : Json{{"time_s", nullptr}, {"sample", nullptr}, {"clock", nullptr}, {"from_trigger_s", nullptr}};
    json["duration_s"] = terms.seconds ? Json(rounded_seconds(*terms.seconds)) : Json();
    json["duration_cycles"] = terms.seconds ? Json(to_unit(*terms.seconds * analysis_.found.frequency, 1e3)) : Json();
    json["recorded_duration_s"] = rounded_seconds(terms.least_seconds);
    json["phases"] = voltages_.letters(event.phases);
    json["reference"] = {{"kind", analysis::reference_code(reference_of(event))},
                         {"voltage_v", rounded_volts(event.reference_v)}};
    json["currents"] = event_currents(number - 1);
    if (event.kind == EventKind::rapid_voltage_change) {
      json["delta_max"] = voltage(event.delta_max_v, event.reference_v);
      json["delta_steady"] = voltage(event.delta_steady_v, event.reference_v);
      return json;
    }
    json["extreme"] = voltage(event.extreme_v, event.reference_v);
    json["extreme"]["phase"] = voltages_.letter(event.extreme_phase);
    json["lowest_urms_half"] = urms(event.lowest_v, event.reference_v);
    json["highest_urms_half"] = urms(event.highest_v, event.reference_v);
    if (event.kind == EventKind::interruption) return json;
    if (event.kind == EventKind::dip) add_dip_terms(json, terms);
    json["verdicts"] = verdicts_json(event, analysis_);
    json["classes"] = classes_json(event, analysis_);
    if (event.kind != EventKind::dip) return json;
    json["indices"] = indices(number - 1);
    json["origin"] = origin(number - 1);
    json["course"] = event.course ? course_of(*event.course) : Json();
    return json;
  }

  /// A rapid voltage change refers to the declared voltage if there is one, regardless of the reference of other
  /// events.
  measure::Reference reference_of(const Event& event) const {
    const bool of_declared = event.kind == EventKind::rapid_voltage_change && analysis_.declared;
    return of_declared ? measure::Reference::declared : analysis_.options.reference;
  }

  Json urms(const measure::PerPhase& volts, double reference) const {
    return per_phase(
        [&](std::size_t phase) { return std::isfinite(volts[phase]) ? voltage(volts[phase], reference) : Json(); });
  }

  /// Null if the currents show nothing.
  Json origin(std::size_t index) const {
    if (index >= analysis_.origins.size()) return {};
    const analysis::Origin& origin = analysis_.origins[index];
    if (!origin.direction && !origin.cause) return {};
    const auto side_of = [](const std::optional<assess::Side>& side) {
      return side ? Json(side_words(*side)) : Json();
    };
    Json json = {{"side", nullptr}, {"methods", Json::array()}, {"likely_cause", nullptr}};
    if (origin.direction) {
      json["side"] = side_of(origin.direction->agreed());
      for (const auto& opinion : origin.direction->opinions) {
        json["methods"].push_back({{"method", opinion.method}, {"side", side_of(opinion.side)}});
      }
    }
    if (origin.cause) {
      json["likely_cause"] = {{"cause", cause_code(origin.cause->kind)}, {"grounds", origin.cause->grounds}};
    }
    return json;
  }

  Json indices(std::size_t index) const {
    if (index >= analysis_.indices.size() || !analysis_.indices[index]) return {};
    const assess::Indices& figures = *analysis_.indices[index];
    return {{"energy_s", rounded_seconds(figures.energy_s)}, {"lost_v_s", rounded_volts(figures.lost_v_s)}};
  }

  void add_dip_terms(Json& json, const analysis::EventTerms& terms) const {
    json["depth_percent"] = rounded_percent(terms.depth_percent);
    json["voltage_tolerance"] = Json::object();
    for (const auto& curve : analysis::drawn_curves(analysis_)) {
      json["voltage_tolerance"][curve.code] = ride_name(ride_through(curve, terms));
    }
    const std::string cell = en50160_cell(terms);
    json["en50160_cell"] = cell.empty() ? Json() : Json(cell);
    json["en50160_cell_near_limit"] = cell.empty() ? Json() : Json(is_near_cell_limit(terms));
  }

  /// Writes a time of the course, and its half width as a separate member.
  void add_time(Json& json, const std::string& name, const std::optional<Figure>& figure) const {
    json[name + "_s"] = figure ? Json(seconds(figure->value)) : Json();
    json[name + "_s_plus_minus"] = figure ? Json(plus_minus(figure->plus_minus)) : Json();
  }

  static Json degrees(const std::optional<Figure>& figure) {
    if (!figure) return {{"degrees", nullptr}, {"degrees_plus_minus", nullptr}};
    return {{"degrees", rounded_degrees(figure->value)}, {"degrees_plus_minus", plus_minus(figure->plus_minus)}};
  }

  Json course_of(const Course& course) const {
    Json json;
    add_time(json, "start", course.start_s);
    add_time(json, "end", course.end_s);
    const bool whole = course.start_s && course.end_s;
    json["duration_s"] = whole ? Json(rounded_seconds(course.end_s->value - course.start_s->value)) : Json();
    const auto& angles = course.point_on_wave_degrees;
    json["point_on_wave"] = angles[0] ? per_phase([&](std::size_t phase) { return degrees(angles[phase]); }) : Json();
    json["frequency_hz"] = rounded_hertz(course.frequency);
    json["frequency_before_hz"] = course.frequency_before ? Json(rounded_hertz(*course.frequency_before)) : Json();
    json["frequency_after_hz"] = course.frequency_after ? Json(rounded_hertz(*course.frequency_after)) : Json();
    json["level_before"] = {{"source", source_code(course.level_source)}};
    json["level_before"]["voltage"] = per_phase([&](std::size_t phase) {
      return Json{{"voltage_v", rounded_volts(std::abs(course.before[phase]))},
                  {"degrees", degrees_between(course.before[phase], course.before[0])}};
    });
    json["steepest_change"] = per_phase([&](std::size_t phase) {
      return Json{{"v_per_s", rounded_volts(course.steepest_change_v_per_s[phase])}};
    });
    json["segments"] = Json::array();
    for (const Segment& segment : course.segments) {
      json["segments"].push_back(segment_of(json["segments"].size() + 1, segment, course));
    }
    json["transitions"] = Json::array();
    for (const auto& transition : course.transitions) {
      json["transitions"].push_back({{"start_s", seconds(transition.start_s)},
                                     {"end_s", seconds(transition.end_s)},
                                     {"gradual", transition.gradual},
                                     {"phases", voltages_.letters(transition.phases)}});
    }
    json["lowest_of_six"] = course.lowest_of_six ? lowest_of_six(*course.lowest_of_six) : Json();
    json["explained_percent"] = course.explained_share ? Json(rounded_percent(100 * *course.explained_share)) : Json();
    return json;
  }

  /// Writes the angle between two voltages; null if one of them is zero, such as a phase without voltage before a dip.
  static Json degrees_between(const measure::Phasor& voltage, const measure::Phasor& other) {
    if (!(std::abs(voltage) > 0) || !(std::abs(other) > 0)) return {};
    return rounded_degrees(std::arg(voltage / other) * 180 / std::numbers::pi);
  }

  static Json lowest_of_six(const measure::LowestOfSix& lowest) {
    return {{"voltage", six_voltages_code(lowest.which)}, {"percent_of_before", rounded_percent(100 * lowest.share)}};
  }

  static const char* source_code(measure::LevelSource source) {
    switch (source) {
      case measure::LevelSource::before:
        return "before";
      case measure::LevelSource::declared:
        return "declared";
      case measure::LevelSource::after:
        break;
    }
    return "after";
  }

  Json segment_of(std::size_t number, const Segment& segment, const Course& course) const {
    Json json = {{"number", number},
                 {"start_s", seconds(segment.start_s)},
                 {"end_s", segment.end_s ? Json(seconds(*segment.end_s)) : Json()},
                 {"gradual", segment.gradual},
                 {"measured", segment.measured}};
    if (!segment.measured) return json;
    measure::PhaseFlags below{};
    for (std::size_t phase = 0; phase < voltages_.phases; phase++) below[phase] = segment.phases[phase].below_threshold;
    json["below_threshold"] = voltages_.letters(below);
    json["voltage"] = per_phase([&](std::size_t phase) { return segment_voltage(segment.phases[phase]); });
    json["phase_jump"] = per_phase([&](std::size_t phase) {
      const auto& figures = segment.phases[phase];
      return figures.measured ? degrees(figures.phase_jump_degrees) : Json();
    });
    add_sequences(json, segment);
    add_type(json, segment, course);
    return json;
  }

  static Json segment_voltage(const measure::SegmentPhase& phase) {
    if (!phase.measured) return {};
    const auto volts_or_null = [](const std::optional<double>& volts) {
      return volts ? Json(rounded_volts(*volts)) : Json();
    };
    return {{"voltage_v", rounded_volts(phase.voltage_v.value)},
            {"voltage_v_plus_minus", plus_minus(phase.voltage_v.plus_minus)},
            {"percent_of_before", rounded_percent(100 * phase.share_of_before)},
            {"lowest_rms_v", volts_or_null(phase.lowest_rms_v)},
            {"highest_rms_v", volts_or_null(phase.highest_rms_v)}};
  }

  static void add_sequences(Json& json, const Segment& segment) {
    json["sequences"] = nullptr;
    json["unbalance_percent"] = nullptr;
    if (!segment.sequences) return;
    json["sequences"] = {{"positive_v", rounded_volts(segment.sequences->positive_v)},
                         {"negative_v", rounded_volts(segment.sequences->negative_v)},
                         {"zero_v", rounded_volts(segment.sequences->zero_v)}};
    json["unbalance_percent"] = per_cent(segment.sequences->unbalance_percent);
  }

  /// The characteristic voltage and the PN factor are shares of the positive-sequence voltage before.
  void add_type(Json& json, const Segment& segment, const Course& /*course*/) const {
    json["type"] = nullptr;
    json["category"] = nullptr;
    if (!segment.type) return;
    const measure::DipType& type = *segment.type;
    const auto phasor = [](const measure::Phasor& value) {
      return Json{{"percent_of_before", rounded_percent(100 * std::abs(value))},
                  {"degrees", rounded_degrees(std::arg(value) * 180 / std::numbers::pi)}};
    };
    json["type"] = {{"letter", std::string(1, type.letter)},
                    {"phases", voltages_.letters(type.phases)},
                    {"characteristic_voltage", phasor(type.characteristic)},
                    {"pn_factor", phasor(type.pn_factor)}};
    json["category"] = {{"code", type.category}, {"name", dip_category_name(type.category, voltages_.between_phases)}};
  }

  Json changes() const {
    Json list = Json::array();
    for (const measure::Change& change : analysis_.found.changes_without_event) {
      list.push_back({{"start_s", seconds(change.start_s)},
                      {"end_s", seconds(change.end_s)},
                      {"phases", voltages_.letters(change.phases)},
                      {"voltage", per_phase([&](std::size_t phase) {
                         const bool known =
                             std::isfinite(change.before_v[phase]) && std::isfinite(change.after_v[phase]);
                         if (!known) return Json();  // its samples are missing before or after the change
                         return Json{{"before_v", rounded_volts(change.before_v[phase])},
                                     {"after_v", rounded_volts(change.after_v[phase])}};
                       })}});
    }
    return list;
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  const AnalysedVoltages& voltages_;
};

}  // namespace

// A file name may contain any bytes, but JSON may not.

std::string json_of(const readers::Record& record, const Analysis& analysis) {
  return Document(record, analysis).whole().dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string json_line_of(const readers::Record& record, const Analysis& analysis) {
  return Document(record, analysis).whole().dump(-1, ' ', false, Json::error_handler_t::replace) + '\n';
}

}  // namespace outputs
