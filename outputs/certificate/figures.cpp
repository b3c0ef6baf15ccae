#include "outputs/certificate/figures.h"

#include <fmt/format.h>

#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

#include "analysis/assessment.h"
#include "analysis/event_terms.h"
#include "analysis/load_voltages.h"
#include "analysis/lowest_segment.h"
#include "assess/classes.h"
#include "assess/event_terms.h"
#include "outputs/explain_terms.h"
#include "outputs/rounding.h"
#include "outputs/standard_difference.h"

namespace outputs {

namespace {

using analysis::Analysis;
using Json = nlohmann::ordered_json;
using measure::Event;
using measure::EventKind;
using measure::Figure;

using Rounding = double (*)(double);

/// Collects the figures of one analysis under a prefix for all names.
class Figures {
 public:
  Figures(const Analysis& analysis, std::string prefix) : analysis_(analysis), prefix_(std::move(prefix)) {}

  std::vector<CertifiedFigure> of_monitor() {
    add_levels();
    add_events();
    return std::move(list_);
  }

  /// Ratios of transformers are not known, so that levels have no meaning.
  std::vector<CertifiedFigure> of_load() {
    at_load_ = true;
    add_events();
    return std::move(list_);
  }

 private:
  // --- entries -------------------------------------------------------------------------------------------------------

  void add(const std::string& name, Json value, const char* unit, std::optional<double> plus_minus,
           const char* definition) {
    if (plus_minus) plus_minus = rounded_volts(*plus_minus);  // six digits
    list_.push_back({prefix_ + place_ + name, std::move(value), unit, plus_minus, definition});
  }
  void add_text(const std::string& name, const std::string& text, const char* definition) {
    add(name, text.empty() ? Json() : Json(text), "", std::nullopt, definition);
  }
  void add_number(const std::string& name, const std::optional<double>& value, Rounding rounding, const char* unit,
                  std::optional<double> plus_minus, const char* definition) {
    const bool exists = value && std::isfinite(*value);
    add(name, exists ? Json(rounding(*value)) : Json(), unit, exists ? plus_minus : std::nullopt, definition);
  }
  void add_figure(const std::string& name, const std::optional<Figure>& figure, Rounding rounding, const char* unit,
                  const char* definition) {
    add_number(name, figure ? std::optional(figure->value) : std::nullopt, rounding, unit,
               figure ? std::optional(figure->plus_minus) : std::nullopt, definition);
  }

  [[nodiscard]] std::optional<double> record_time(const std::optional<double>& seconds) const {
    return seconds ? std::optional(analysis_.voltages.record_seconds(*seconds)) : std::nullopt;
  }
  [[nodiscard]] std::optional<Figure> record_time(const std::optional<Figure>& seconds) const {
    if (!seconds) return std::nullopt;
    return Figure{analysis_.voltages.record_seconds(seconds->value), seconds->plus_minus};
  }
  [[nodiscard]] std::string letter(std::size_t phase) const { return analysis_.voltages.letter(phase); }

  // --- the record ----------------------------------------------------------------------------------------------------

  void add_levels() {
    if (!analysis_.voltages.rms) {
      add_number("frequency", analysis_.found.frequency, rounded_hertz, "Hz", std::nullopt, "frequency");
    }
    for (std::size_t phase = 0; phase < analysis_.voltages.phases; phase++) {
      const double usual = analysis_.usual_v[phase];
      add_number("usual level of " + letter(phase), usual, rounded_volts, "V", assess::uncertain_percent / 100 * usual,
                 "urms_half");
      add_number("reference of " + letter(phase), analysis_.found.reference_v[phase], rounded_volts, "V", std::nullopt,
                 "reference");
    }
  }

  // --- events --------------------------------------------------------------------------------------------------------

  void add_events() {
    add("number of events", analysis_.found.events.size(), "", std::nullopt, "event");
    for (std::size_t i = 0; i < analysis_.found.events.size(); i++) {
      place_ = fmt::format("event {}, ", i + 1);
      add_event(i);
    }
    place_.clear();
  }

  void add_event(std::size_t index) {
    const Event& event = analysis_.found.events[index];
    const double half_cycle = 0.5 / analysis_.found.frequency;
    const auto terms = terms_of(event, analysis_);
    add_text("kind", analysis::kind_words(event.kind), analysis::kind_code(event.kind));
    add_number("start by the standard", record_time(event.start_known ? std::optional(event.start_s) : std::nullopt),
               rounded_seconds, "s", half_cycle, "duration");
    add_number("end by the standard", record_time(event.end_s), rounded_seconds, "s", half_cycle, "duration");
    add_number("duration by the standard", terms.seconds, rounded_seconds, "s", 2 * half_cycle, "duration");
    add_text("voltages", analysis_.voltages.letters(event.phases), "event");
    if (event.kind == EventKind::rapid_voltage_change) {
      add_change(event);
      return;
    }
    add_extreme(event, terms);
    if (event.kind == EventKind::interruption) return;
    add_assessment(event, index);
    if (event.course) add_course(*event.course);
  }

  void add_change(const Event& event) {
    const double uncertain = assess::uncertain_percent / 100 * event.reference_v;
    if (at_load_) return;
    add_number("largest change", event.delta_max_v, rounded_volts, "V", uncertain, "rapid_voltage_change");
    add_number("steady change", event.delta_steady_v, rounded_volts, "V", uncertain, "rapid_voltage_change");
  }

  void add_extreme(const Event& event, const analysis::EventTerms& terms) {
    const bool swell = event.kind == EventKind::swell;
    const char* definition = swell ? "swell" : "residual_voltage";
    const std::string name = swell ? "highest voltage" : "residual voltage";
    if (!at_load_) {
      add_number(name, event.extreme_v, rounded_volts, "V", assess::uncertain_percent / 100 * event.reference_v,
                 definition);
      add_number(name + ", reference", event.reference_v, rounded_volts, "V", std::nullopt, "reference");
    }
    const bool has_reference = event.reference_v > 0;
    add_number(name + " of the reference", has_reference ? std::optional(terms.percent) : std::nullopt, rounded_percent,
               "%", assess::uncertain_percent, definition);
    if (!swell) {
      add_number("depth", has_reference ? std::optional(terms.depth_percent) : std::nullopt, rounded_percent, "%",
                 assess::uncertain_percent, "depth");
    }
  }

  void add_assessment(const Event& event, std::size_t index) {
    const auto shape = analysis::shape_of(event, analysis_);
    if (shape.swell) {
      add_text("cell of EN 50160", en50160_swell_cell(shape.terms), "en50160_swell");
    } else {
      add_text("cell of EN 50160", en50160_cell(shape.terms), "en50160");
      add_text("cell of UNIPEDE", unipede_cell(shape.terms), "unipede");
      add_text("type of C4.110", shape.kind ? kind_numeral(*shape.kind) : "", "c4_110");
    }
    add_text("class of IEEE 1159", ieee1159_class(shape.terms, shape.swell), "ieee_1159");
    for (const auto& judgement : judgements_of(event, analysis_)) {
      add_text("verdict by " + judgement.curve.name, words_of(judgement.whole), "curve");
      if (judgement.by_steps) {
        add_text("verdict step by step by " + judgement.curve.name, words_of(*judgement.by_steps), "step_by_step");
      }
      if (judgement.severity) {
        add_number("severity by " + judgement.curve.name, judgement.severity, rounded_seconds, "", std::nullopt,
                   "severity");
      }
    }
    if (!at_load_) add_origin(index);
    if (at_load_ || index >= analysis_.indices.size() || !analysis_.indices[index]) return;
    add_number("dip energy", analysis_.indices[index]->energy_s, rounded_seconds, "s", std::nullopt, "dip_energy");
    add_number("lost volt-seconds", analysis_.indices[index]->lost_v_s, rounded_volts, "V s", std::nullopt,
               "lost_volt_seconds");
  }

  void add_origin(std::size_t index) {
    if (index >= analysis_.origins.size()) return;
    const analysis::Origin& origin = analysis_.origins[index];
    if (origin.direction) {
      for (const auto& opinion : origin.direction->opinions) {
        add_text("side by " + opinion.method, opinion.side ? side_words(*opinion.side) : "not decided", "direction");
      }
    }
    if (origin.cause) add_text("likely cause", cause_words(origin.cause->kind), "likely_cause");
  }

  // --- courses -------------------------------------------------------------------------------------------------------

  void add_course(const measure::Course& course) {
    if (!at_load_) {
      add_figure("start on the waveform", record_time(course.start_s), rounded_seconds, "s", "course");
      add_figure("end on the waveform", record_time(course.end_s), rounded_seconds, "s", "course");
      add_duration(course);
      for (std::size_t phase = 0; phase < analysis_.voltages.phases; phase++) {
        add_figure("point on wave of " + letter(phase), course.point_on_wave_degrees[phase], rounded_degrees, "degrees",
                   "point_on_wave");
        add_number("level before of " + letter(phase), std::abs(course.before[phase]), rounded_volts, "V", std::nullopt,
                   "course");
      }
      add_number("explained share",
                 course.explained_share ? std::optional(100 * *course.explained_share) : std::nullopt, rounded_percent,
                 "%", std::nullopt, "explained");
    }
    const std::string event = place_;
    for (std::size_t i = 0; i < course.segments.size(); i++) {
      place_ = fmt::format("{}segment {}, ", event, i + 1);
      add_segment(course.segments[i]);
    }
    place_ = event;
  }

  void add_duration(const measure::Course& course) {
    const auto seconds = waveform_seconds(course);
    const auto uncertain =
        seconds ? std::optional(std::hypot(course.start_s->plus_minus, course.end_s->plus_minus)) : std::nullopt;
    add_number("duration on the waveform", seconds, rounded_seconds, "s", uncertain, "course");
  }

  void add_segment(const measure::Segment& segment) {
    add_number("start", record_time(std::optional(segment.start_s)), rounded_seconds, "s", std::nullopt, "segment");
    add_number("end", record_time(segment.end_s), rounded_seconds, "s", std::nullopt, "segment");
    add_text("course", !segment.measured ? "not measured" : segment.gradual ? "gradual" : "steady", "gradual");
    if (!segment.measured) return;
    add_type(segment);
    for (std::size_t phase = 0; phase < analysis_.voltages.phases; phase++) {
      const measure::SegmentPhase& figures = segment.phases[phase];
      if (!figures.measured) continue;
      if (!at_load_) add_figure("voltage of " + letter(phase), figures.voltage_v, rounded_volts, "V", "segment");
      add_share(figures, phase);
      add_figure("phase jump of " + letter(phase), figures.phase_jump_degrees, rounded_degrees, "degrees",
                 "phase_jump");
    }
    if (segment.sequences && !at_load_) add_sequences(*segment.sequences);
  }

  void add_share(const measure::SegmentPhase& figures, std::size_t phase) {
    const double volts = figures.voltage_v.value;
    const auto uncertain =
        volts > 0 ? std::optional(100 * figures.share_of_before * figures.voltage_v.plus_minus / volts) : std::nullopt;
    add_number("voltage of " + letter(phase) + " of the level before", 100 * figures.share_of_before, rounded_percent,
               "%", uncertain, "segment");
  }

  void add_sequences(const measure::Sequences& sequences) {
    add_number("positive sequence", sequences.positive_v, rounded_volts, "V", std::nullopt, "sequences");
    add_number("negative sequence", sequences.negative_v, rounded_volts, "V", std::nullopt, "sequences");
    if (!analysis_.voltages.between_phases) {
      add_number("zero sequence", sequences.zero_v, rounded_volts, "V", std::nullopt, "sequences");
    }
    add_number("unbalance", sequences.unbalance_percent, rounded_percent, "%", std::nullopt, "unbalance");
  }

  void add_type(const measure::Segment& segment) {
    if (!segment.type) return;
    const measure::DipType& type = *segment.type;
    add_text("type", fmt::format("{} ({})", type.letter, analysis_.voltages.letters(type.phases)), "type");
    add_phasor("characteristic voltage", type.characteristic, "characteristic_voltage");
    add_phasor("PN factor", type.pn_factor, "pn_factor");
  }

  void add_phasor(const std::string& name, const measure::Phasor& share, const char* definition) {
    add_number(name, 100 * std::abs(share), rounded_percent, "%", std::nullopt, definition);
    add_number("angle of the " + name, std::arg(share) * 180 / std::numbers::pi, rounded_degrees, "degrees",
               std::nullopt, definition);
  }

  const Analysis& analysis_;
  std::string prefix_;
  std::string place_;  ///< the event, and the segment in it
  bool at_load_ = false;
  std::vector<CertifiedFigure> list_;
};

// --- comparisons -----------------------------------------------------------------------------------------------------

void compare_dip(const Event& dip, const Analysis& analysis, const std::string& place,
                 std::vector<ComparedFigure>& list) {
  const measure::Course& course = *dip.course;
  const auto time = [&](double seconds) { return rounded_seconds(analysis.voltages.record_seconds(seconds)); };
  if (dip.start_known && course.start_s) {
    list.push_back({place + "start", "s", time(dip.start_s), time(course.start_s->value),
                    "By the standard a dip begins with the first one-cycle window whose RMS is below the threshold; on "
                    "the waveform it begins at the change of the voltage."});
  }
  if (dip.end_s && course.end_s) {
    list.push_back({place + "end", "s", time(*dip.end_s), time(course.end_s->value),
                    "By the standard a dip ends with the first one-cycle window whose RMS is above the threshold and "
                    "the hysteresis; on the waveform it ends at the change of the voltage."});
  }
  const auto by_standard = terms_of(dip, analysis).seconds;
  const auto on_waveform = waveform_seconds(course);
  if (by_standard && on_waveform) {
    const bool longer = *by_standard > *on_waveform;
    list.push_back({place + "duration", "s", rounded_seconds(*by_standard), rounded_seconds(*on_waveform),
                    fmt::format("The duration by the standard is {}: {}.", longer ? "longer" : "not longer",
                                duration_reasons(dip, analysis, longer))});
  }
  if (const auto* segment = analysis::lowest_segment(course, analysis.voltages.phases)) {
    const double volts = *analysis::lowest_volts(*segment, analysis.voltages.phases);
    list.push_back({place + "lowest voltage", "V", rounded_volts(dip.extreme_v), rounded_volts(volts),
                    "By the standard it is the lowest RMS over one cycle, with harmonics and offsets, and over cycles "
                    "that contain a change; on the waveform it is the fundamental of the lowest segment."});
  }
}

}  // namespace

std::map<std::string, std::string> definitions_of(const std::vector<CertifiedFigure>& figures) {
  std::map<std::string, std::string> definitions;
  for (const auto& figure : figures) {
    if (const std::string* text = text_of_term(figure.definition)) definitions.emplace(figure.definition, *text);
  }
  return definitions;
}

std::vector<CertifiedFigure> certified_figures(const Analysis& analysis) {
  std::vector<CertifiedFigure> figures = Figures(analysis, "").of_monitor();
  if (!analysis.load) return figures;
  const std::string place = fmt::format("beyond {}, ", names_of(analysis.load->connections));
  for (auto& figure : Figures(analysis.load->phases, place + "phase voltages, ").of_load()) {
    figures.push_back(std::move(figure));
  }
  for (auto& figure : Figures(analysis.load->lines, place + "voltages between phases, ").of_load()) {
    figures.push_back(std::move(figure));
  }
  return figures;
}

std::vector<ComparedFigure> compared_figures(const Analysis& analysis) {
  std::vector<ComparedFigure> list;
  for (std::size_t i = 0; i < analysis.found.events.size(); i++) {
    const Event& event = analysis.found.events[i];
    if (event.kind == EventKind::dip && event.course) {
      compare_dip(event, analysis, fmt::format("event {}, ", i + 1), list);
    }
  }
  return list;
}

}  // namespace outputs
