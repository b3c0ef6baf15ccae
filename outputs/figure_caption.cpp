#include "outputs/figure_caption.h"

#include <fmt/format.h>

#include <cctype>
#include <cmath>

#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"
#include "outputs/clock_text.h"
#include "outputs/figure_phasors.h"
#include "outputs/figure_style.h"
#include "outputs/figures_text.h"
#include "outputs/rms_range.h"
#include "outputs/voltage_names.h"

namespace outputs {

using analysis::Analysis;
using analysis::duration_text;
using analysis::volts_text;
using measure::EventKind;

namespace {

// More events would make a caption longer than the figure.
constexpr std::size_t most_other_events = 8;

/// A blank at which no line is broken, so that a phase's letter stays with its figure.
constexpr const char* unbroken = "\u00A0";

class Caption {
 public:
  Caption(const readers::Record& record, const Analysis& analysis, const FigureView& view)
      : record_(record), analysis_(analysis), view_(view) {}

  std::vector<CaptionLine> lines() {
    if (view_.event == nullptr) {
      const std::string range = rms_range_text(analysis_);
      add("No event", range.empty() ? "" : ": " + range);
    } else {
      add_event(*view_.event);
      if (view_.event->course) add_course(*view_.event->course);
      add_other_events();
    }
    add_reference();
    if (analysis_.voltages.between_phases) add("", "The voltages are those between phases.");
    return std::move(lines_);
  }

 private:
  void add(const std::string& head, const std::string& text) { lines_.push_back({head, text}); }

  [[nodiscard]] std::string label(std::size_t phase) const { return figure_label(record_, analysis_.voltages, phase); }

  /// Formats a voltage: "92.00 V (40.0 %)", "92.00 V (40.0 %, 39.1 % of declared)".
  [[nodiscard]] std::string level_text(double volts) const {
    const bool other = analysis_.options.reference != measure::Reference::declared;
    const auto declared = other ? analysis_.percent_of_declared(volts) : std::nullopt;
    return fmt::format("{} ({}{})", volts_text(volts),
                       analysis::percent_text(view_.percent(volts), analysis_.options.thresholds),
                       declared ? fmt::format(", {} of declared", analysis::percent_text(*declared)) : "");
  }

  [[nodiscard]] bool several() const { return analysis_.found.events.size() > 1; }

  /// "Dip", or "Event 2, dip" where there are several.
  [[nodiscard]] std::string name_of(const measure::Event& event) const {
    std::string kind = analysis::kind_words(event.kind);
    if (several()) return fmt::format("Event {}, {}", &event - analysis_.found.events.data() + 1, kind);
    kind[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(kind[0])));
    return kind;
  }

  void add_event(const measure::Event& event) {
    const std::string phases = voltages_text(record_, analysis_.voltages, event.phases);
    add(name_of(event), fmt::format(" of {}: {}, {}", phases, extent_text(event), lasts_text(event)));
    const std::string clock = clock_text(record_, analysis_.voltages.record_seconds(event.start_s));
    if (!clock.empty()) add(event.start_known ? "Begins at" : "Begins before", " " + clock);
    if (event.kind != EventKind::rapid_voltage_change) return;
    add("Steady voltage", fmt::format(": {} between before and after", level_text(event.delta_steady_v)));
  }

  /// Adds a line for each of the record's other events.
  void add_other_events() {
    std::size_t added = 0;
    for (const measure::Event& event : analysis_.found.events) {
      if (&event == view_.event) continue;
      if (added == most_other_events) {
        const std::size_t others = analysis_.found.events.size() - 1 - added;
        add("", fmt::format("and {} further {}", others, others == 1 ? "event" : "events"));
        return;
      }
      const std::string phases = voltages_text(record_, analysis_.voltages, event.phases);
      add(name_of(event), fmt::format(" of {}: {}, {}", phases, other_extent_text(event), lasts_text(event)));
      added++;
    }
  }

  /// Formats "highest voltage 83.30 kV (133.2 %)" of another event, with its own reference where that differs.
  [[nodiscard]] std::string other_extent_text(const measure::Event& event) const {
    const double percent = analysis::terms_of(event, analysis_).percent;
    if (event.kind == EventKind::rapid_voltage_change) return extent_text(event);
    const std::string reference = volts_text(event.reference_v);
    return fmt::format("{} {} ({}{})", extent_name(event), volts_text(event.extreme_v),
                       analysis::percent_text(percent, analysis_.options.thresholds),
                       reference == volts_text(view_.reference_v) ? "" : " of " + reference);
  }

  static const char* extent_name(const measure::Event& event) {
    return event.kind == EventKind::swell ? "highest voltage" : "residual voltage";
  }

  [[nodiscard]] std::string extent_text(const measure::Event& event) const {
    if (event.kind == EventKind::rapid_voltage_change) {
      return fmt::format("{} at most", level_text(event.delta_max_v));
    }
    return fmt::format("{} {}", extent_name(event), level_text(event.extreme_v));
  }

  [[nodiscard]] std::string lasts_text(const measure::Event& event) const {
    const auto terms = analysis::terms_of(event, analysis_);
    if (terms.seconds) return duration_text(*terms.seconds);
    return fmt::format("more than {}", duration_text(terms.least_seconds));
  }

  void add_course(const measure::Course& course) {
    if (const auto text = point_on_wave_text(course); !text.empty()) add("Point on wave", ": " + text);
    for (std::size_t i = 0; i < course.segments.size(); i++) {
      add(fmt::format("Segment {}", i + 1), ": " + segment_text(course.segments[i]));
    }
    if (course.segments.empty()) return;
    add("Residual voltage", ": lowest Urms(1/2) of the event. Voltages of segments: RMS of the fundamental.");
    if (height_of_phasors(course) > 0) {
      add("Phasors", fmt::format(": those of segments; dashed, {}", level_words(course.level_source)));
    }
  }

  static const char* level_words(measure::LevelSource source) {
    switch (source) {
      case measure::LevelSource::before:
        return "before the dip";
      case measure::LevelSource::after:
        return "after the dip";
      case measure::LevelSource::declared:
        break;
    }
    return "at the declared voltage";
  }

  [[nodiscard]] std::string point_on_wave_text(const measure::Course& course) const {
    std::string text;
    for (std::size_t phase = 0; phase < analysis_.voltages.phases; phase++) {
      const auto& degrees = course.point_on_wave_degrees[phase];
      if (!degrees || !std::isfinite(degrees->value)) continue;
      text += fmt::format("{}{}{}{}", text.empty() ? "" : ", ", label(phase), unbroken, angle_text(*degrees));
    }
    return text;
  }

  /// Formats "type C (AB): A 40.0 %, B 41.2 %, C 100.0 %"; percentages refer to the view's reference, as in the figure.
  [[nodiscard]] std::string segment_text(const measure::Segment& segment) const {
    if (!segment.measured) return "too many samples are missing";
    std::string text;
    if (segment.type) {
      text = fmt::format("type {} ({}): ", segment.type->letter, analysis_.voltages.letters(segment.type->phases));
    }
    if (segment.gradual) text += "gradual, at its lowest ";
    for (std::size_t phase = 0; phase < analysis_.voltages.phases; phase++) {
      const measure::Figure& volts = segment.phases[phase].voltage_v;
      text += fmt::format("{}{}{}{}", phase == 0 ? "" : ", ", label(phase), unbroken,
                          rounded_percent_text({view_.percent(volts.value), view_.percent(volts.plus_minus)}));
    }
    return text;
  }

  /// Formats the reference of the percentages, or those of the voltages where they differ.
  [[nodiscard]] std::string references() const {
    const auto& own = view_.own_reference_v;
    std::string each;
    bool equal = true;
    for (std::size_t phase = 0; phase < analysis_.voltages.phases; phase++) {
      equal = equal && volts_text(own[phase]) == volts_text(own[0]);
      each += fmt::format("{}{}{}{}", phase == 0 ? "" : ", ", label(phase), unbroken, volts_text(own[phase]));
    }
    return equal ? ", " + volts_text(view_.reference_v) : ": " + each;
  }

  void add_reference() {
    const auto& channel = record_.channels[analysis_.voltages.channels[0]];
    add("", fmt::format("% of the {}{}", view_.reference_words, references()));
    if (is_of_transformer(channel)) add("Voltages", ": " + side_text(channel));
    std::string meanings;
    for (std::size_t i = 0; i < view_.levels.size(); i++) {
      const std::string& meaning = view_.levels[i].meaning;
      // A rapid change has two lines of one meaning.
      if (i == 0 || meaning != view_.levels[i - 1].meaning) meanings += (i == 0 ? "" : ", ") + meaning;
    }
    if (!meanings.empty()) add("Thresholds", ": " + meanings);
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  const FigureView& view_;
  std::vector<CaptionLine> lines_;
};

}  // namespace

std::string figure_label(const readers::Record& record, const analysis::AnalysedVoltages& voltages, std::size_t phase) {
  return voltages.phases == 3 ? voltages.letter(phase) : shortened(voltage_name(record, voltages, phase), 14);
}

std::vector<CaptionLine> caption_of(const readers::Record& record, const Analysis& analysis, const FigureView& view,
                                    double width, double text_size) {
  const auto columns = static_cast<std::size_t>(width / (figure_style::prose_column_width * text_size));
  std::vector<CaptionLine> broken;
  for (const CaptionLine& line : Caption(record, analysis, view).lines()) {
    // The head is broken with the text and then taken off again, because it takes room in the first line.
    std::string rest = wrapped(line.head + line.text, columns);
    std::string head = rest.starts_with(line.head) ? line.head : "";
    while (!rest.empty()) {
      const std::size_t end = rest.find('\n');
      broken.push_back({head, rest.substr(head.size(), end - head.size())});
      rest.erase(0, end + 1);
      head.clear();
    }
  }
  return broken;
}

}  // namespace outputs
