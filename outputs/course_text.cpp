#include "outputs/course_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <optional>
#include <vector>

#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"
#include "outputs/dip_category_name.h"
#include "outputs/figures_text.h"
#include "outputs/phase_table.h"
#include "outputs/six_voltages.h"
#include "outputs/standard_difference.h"
#include "outputs/voltage_names.h"

namespace outputs {

using analysis::Analysis;
using analysis::duration_text;
using analysis::reference_words;
using measure::Course;
using measure::Figure;
using measure::Segment;

namespace {

/// Returns "abrupt" or "gradual" for a change of the voltage.
const char* pace_of(const measure::Transition& transition) {
  return transition.gradual ? "gradual" : "abrupt";
}

std::string optional_hertz(const std::optional<double>& hertz) {
  return hertz ? fmt::format("{:.3f} Hz", *hertz) : "-";
}

/// Formats a phasor that is relative to another one: "56.3 % at -20.1°". A tiny phasor has no angle.
std::string share_text(const measure::Phasor& relative) {
  constexpr double next_to_nothing = 0.05;
  const std::string percent = fmt::format("{:.1f} %", 100 * std::abs(relative));
  if (std::abs(relative) < next_to_nothing) return percent;
  return percent + " at " + turn_text(std::arg(relative) * 180 / std::numbers::pi);
}

/// Returns whether a voltage changes in a transition of a course. The slope of one that does not is noise.
bool changes_in(const Course& course, std::size_t phase) {
  return std::any_of(course.transitions.begin(), course.transitions.end(),
                     [&](const measure::Transition& transition) { return transition.phases[phase]; });
}

class CourseText {
 public:
  CourseText(const readers::Record& record, const Analysis& analysis, const measure::Event& dip, const Colours& colours)
      : record_(record),
        analysis_(analysis),
        dip_(dip),
        course_(*dip.course),
        colours_(colours),
        table_(analysis.voltages.phases, colours) {}

  std::string text() {
    if (course_.segments.empty() && !course_.start_s && !course_.end_s) {
      note("The waveform shows no change that would begin this dip, so that it has no course.");
      return text_;
    }
    add_bounds();
    add_difference();
    add_level_before();
    add_parts();
    add_lowest_of_six();
    add_explained();
    return text_;
  }

 private:
  // --- words -----------------------------------------------------------------------------------------------------

  [[nodiscard]] std::string instant(double seconds) const {
    return instant_text(analysis_.voltages.record_seconds(seconds));
  }
  [[nodiscard]] std::string instant(const Figure& seconds) const {
    return instant_text(analysis_.voltages.record_seconds(seconds.value), seconds.plus_minus);
  }
  [[nodiscard]] const char* whole() const { return analysis_.voltages.parts > 1 ? "record's part" : "record"; }
  [[nodiscard]] std::string names(const measure::PhaseFlags& flags) const {
    return voltages_text(record_, analysis_.voltages, flags);
  }

  void add(const std::string& words, std::size_t indent) { text_ += wrapped(words, colours_.width(), indent); }
  void note(const std::string& words, std::size_t indent = 2) {
    std::string lines = wrapped(words, colours_.width(), indent);
    lines.pop_back();
    text_ += colours_.note(lines) + '\n';
  }

  // --- the course as a whole -------------------------------------------------------------------------------------

  void add_bounds() {
    const std::string start =
        course_.start_s ? instant(*course_.start_s) : fmt::format("before the beginning of the {}", whole());
    const std::string end = course_.end_s ? instant(*course_.end_s) : fmt::format("beyond the end of the {}", whole());
    std::string words = fmt::format("on the waveform: {} to {}", start, end);
    if (const auto seconds = waveform_seconds(course_)) words += ", " + duration_text(*seconds);
    add(words, 2);
  }

  /// Explains why the two durations differ, if they differ by more than a cycle.
  void add_difference() {
    const auto by_standard = terms_of(dip_, analysis_).seconds;
    const auto on_waveform = waveform_seconds(course_);
    if (!by_standard || !on_waveform) return;
    const double longer = *by_standard - *on_waveform;
    if (!(std::abs(longer) > 1 / analysis_.found.frequency)) return;
    add(fmt::format("The duration by the standard is {} {}: {}.", duration_text(std::abs(longer)),
                    longer > 0 ? "longer" : "shorter", duration_reasons(dip_, analysis_, longer > 0)),
        4);
  }

  void add_level_before() {
    text_ += table_.line("  level before",
                         [&](std::size_t phase) { return analysis::volts_text(std::abs(course_.before[phase])); });
    if (course_.level_source == measure::LevelSource::declared) add("(the declared voltage)", 4);
    if (course_.level_source == measure::LevelSource::after && course_.end_s) add("(the level after the dip)", 4);
    add_point_on_wave();
    const auto& steepest = course_.steepest_change_v_per_s;
    if (std::any_of(steepest.begin(), steepest.end(), [](double slope) { return slope > 0; })) {
      text_ += table_.line("  steepest change of RMS", [&](std::size_t phase) {
        return changes_in(course_, phase) ? slope_text(steepest[phase], dip_.reference_v, analysis_.found.frequency)
                                          : std::string("-");
      });
    }
    add(fmt::format("frequency before {}, after {}", optional_hertz(course_.frequency_before),
                    optional_hertz(course_.frequency_after)),
        2);
  }

  void add_point_on_wave() {
    const auto& degrees = course_.point_on_wave_degrees;
    if (std::none_of(degrees.begin(), degrees.end(), [](const auto& one) { return one.has_value(); })) {
      add(course_.start_s ? "point on wave: -, as the dip begins gradually"
                          : fmt::format("point on wave: -, as the dip begins before the {}", whole()),
          2);
      return;
    }
    text_ += table_.line("  point on wave",
                         [&](std::size_t phase) { return degrees[phase] ? angle_text(*degrees[phase]) : "-"; });
  }

  void add_lowest_of_six() {
    if (!course_.lowest_of_six) return;
    add(fmt::format("lowest of the six voltages of IEEE 1564: {}, {:.1f} % of its level before",
                    six_voltages_words(course_.lowest_of_six->which), 100 * course_.lowest_of_six->share),
        2);
  }

  void add_explained() {
    constexpr double well_explained = 0.9;
    if (!course_.explained_share) return;
    const double percent = 100 * *course_.explained_share;
    if (*course_.explained_share < well_explained) {
      note(
          fmt::format("The segments explain only {:.0f} % of the waveform between start and end; look at the waveform.",
                      std::floor(percent)));
      return;
    }
    add(fmt::format("The segments explain {:.1f} % of the waveform between start and end.", percent), 2);
  }

  // --- its parts -------------------------------------------------------------------------------------------------

  /// Transitions and segments in order of time.
  void add_parts() {
    std::size_t next = 0;
    const auto add_transitions_until = [&](double seconds) {
      for (; next < course_.transitions.size() && course_.transitions[next].start_s < seconds; next++) {
        add_transition(course_.transitions[next]);
      }
    };
    for (std::size_t i = 0; i < course_.segments.size(); i++) {
      add_transitions_until(course_.segments[i].start_s);
      // A transition without length ends where the segment begins.
      if (next < course_.transitions.size() && course_.transitions[next].end_s <= course_.segments[i].start_s) {
        add_transition(course_.transitions[next++]);
      }
      add_segment(i + 1, course_.segments[i]);
    }
    while (next < course_.transitions.size()) add_transition(course_.transitions[next++]);
  }

  void add_transition(const measure::Transition& transition) {
    const std::string from = instant(transition.start_s);
    const std::string to = instant(transition.end_s);
    const bool any = std::find(transition.phases.begin(), transition.phases.end(), true) != transition.phases.end();
    add(fmt::format("transition {}: {}, {}", from == to ? "at " + from : from + " to " + to, pace_of(transition),
                    any ? "changes " + names(transition.phases) : "changes every voltage only slightly"),
        2);
  }

  void add_segment(std::size_t number, const Segment& segment) {
    text_ += "  " + colours_.heading(fmt::format("segment {}", number)) +
             fmt::format(" {} to {}\n", instant(segment.start_s), segment_end(segment));
    if (!segment.measured) {
      note("Too many of its samples are missing for any figure.", 4);
      return;
    }
    add_type(segment);
    add_voltages(segment);
    add_sequences(segment);
  }

  [[nodiscard]] std::string segment_end(const Segment& segment) const {
    const char* pace = segment.gradual ? "gradual" : "steady";
    if (!segment.end_s) return fmt::format("the end of the {}, {}", whole(), pace);
    return fmt::format("{}, {}, {}", instant(*segment.end_s), pace, duration_text(*segment.end_s - segment.start_s));
  }

  void add_type(const Segment& segment) {
    if (!segment.type) {
      // The text on the voltages already states once that fewer than three voltages have no sequences.
      if (analysis_.voltages.phases == 3) add("type -: the angles before the dip are not known", 4);
      return;
    }
    const auto& type = *segment.type;
    add(fmt::format("type {} ({}): {} ({})", type.letter, names(type.phases),
                    dip_category_name(type.category, analysis_.voltages.between_phases), type.category),
        4);
    std::string words = fmt::format("characteristic voltage {}", share_text(type.characteristic));
    if (type.letter != 'A') words += fmt::format(", PN factor {}", share_text(type.pn_factor));
    add(words + ", of the positive sequence before", 4);
  }

  void add_voltages(const Segment& segment) {
    const auto low = [&](std::size_t phase) { return segment.phases[phase].below_threshold; };
    text_ += table_.line(
        segment.gradual ? "    voltage where lowest" : "    voltage",
        [&](std::size_t phase) {
          const auto& figures = segment.phases[phase];
          return figures.measured ? volts_text(figures.voltage_v) : "not measured";
        },
        low);
    text_ += table_.line(
        "      of level before",
        [&](std::size_t phase) {
          const auto& figures = segment.phases[phase];
          return figures.measured ? rounded_percent_text(percent_of_before(figures)) : "-";
        },
        low);
    text_ += table_.line("    phase jump", [&](std::size_t phase) {
      const auto& jump = segment.phases[phase].phase_jump_degrees;
      return jump ? turn_text(*jump) : "-";
    });
    add_one_cycle_rms("    lowest one-cycle RMS", segment, &measure::SegmentPhase::lowest_rms_v);
    add_one_cycle_rms("    highest one-cycle RMS", segment, &measure::SegmentPhase::highest_rms_v);
    measure::PhaseFlags below{};
    for (std::size_t phase = 0; phase < analysis_.voltages.phases; phase++) below[phase] = low(phase);
    add(fmt::format("below 90 % of their own level before: {}", names(below)), 4);
  }

  void add_one_cycle_rms(const char* heading, const Segment& segment,
                         std::optional<double> measure::SegmentPhase::*figure) {
    const auto& phases = segment.phases;
    if (std::none_of(phases.begin(), phases.end(), [&](const auto& one) { return (one.*figure).has_value(); })) return;
    text_ += table_.line(heading, [&](std::size_t phase) {
      const auto& volts = phases[phase].*figure;
      return volts ? analysis::volts_text(*volts) : "-";
    });
  }

  void add_sequences(const Segment& segment) {
    if (!segment.sequences) return;
    const auto& sequences = *segment.sequences;
    const double plus_minus = sequence_plus_minus(segment);
    const auto text = [&](double volts) {
      const bool none = analysis::volts_text_of(volts, dip_.reference_v) == "0 V";
      return none ? "0 V" : rounded_volts_text({volts, plus_minus});
    };
    std::string words =
        fmt::format("sequences: positive {}, negative {}", text(sequences.positive_v), text(sequences.negative_v));
    if (!analysis_.voltages.between_phases) words += ", zero " + text(sequences.zero_v);
    add(words, 4);
    const auto unbalance = unbalance_percent(segment);
    add(unbalance ? fmt::format("unbalance {} (negative of positive sequence)", rounded_percent_text(*unbalance))
                  : "unbalance -",
        4);
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  const measure::Event& dip_;
  const Course& course_;
  const Colours& colours_;
  PhaseTable table_;
  std::string text_;
};

}  // namespace

std::string course_text(const readers::Record& record, const Analysis& analysis, const measure::Event& dip,
                        const Colours& colours) {
  return CourseText(record, analysis, dip, colours).text();
}

}  // namespace outputs
