#include "outputs/figure_caption.h"

#include <fmt/format.h>

#include <cctype>
#include <cmath>

#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"
#include "outputs/clock_text.h"
#include "outputs/figures_text.h"
#include "outputs/voltage_names.h"

namespace outputs {

using analysis::Analysis;
using analysis::duration_text;
using analysis::volts_text;
using measure::EventKind;

namespace {

class Caption {
 public:
  Caption(const readers::Record& record, const Analysis& analysis, const FigureView& view)
      : record_(record), analysis_(analysis), view_(view) {}

  std::vector<CaptionLine> lines() {
    if (view_.event != nullptr) {
      add_event(*view_.event);
      if (view_.event->course) add_course(*view_.event->course);
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

  void add_event(const measure::Event& event) {
    std::string kind = analysis::kind_words(event.kind);
    kind[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(kind[0])));
    const std::string phases = voltages_text(record_, analysis_.voltages, event.phases);
    add(kind, fmt::format(" of {}: {}, {}", phases, extent_text(event), lasts_text(event)));
    const std::string clock = clock_text(record_, analysis_.voltages.record_seconds(event.start_s));
    if (!clock.empty()) add(event.start_known ? "Begins at" : "Begins before", " " + clock);
    if (event.kind != EventKind::rapid_voltage_change) return;
    add("Steady voltage", fmt::format(": {} between before and after", level_text(event.delta_steady_v)));
  }

  [[nodiscard]] std::string extent_text(const measure::Event& event) const {
    if (event.kind == EventKind::rapid_voltage_change) {
      return fmt::format("{} at most", level_text(event.delta_max_v));
    }
    return fmt::format("{} {}", event.kind == EventKind::swell ? "highest voltage" : "residual voltage",
                       level_text(event.extreme_v));
  }

  [[nodiscard]] std::string lasts_text(const measure::Event& event) const {
    const auto terms = analysis::terms_of(event, analysis_);
    if (terms.seconds) return duration_text(*terms.seconds);
    return fmt::format("more than {}", duration_text(terms.least_seconds));
  }

  void add_course(const measure::Course& course) {
    if (const auto text = point_on_wave_text(course); !text.empty()) add("Point on wave", ": " + text);
    for (std::size_t i = 0; i < course.segments.size(); i++) {
      add(fmt::format("{}", i + 1), "\u2003" + segment_text(course.segments[i]));
    }
  }

  [[nodiscard]] std::string point_on_wave_text(const measure::Course& course) const {
    std::string text;
    for (std::size_t phase = 0; phase < analysis_.voltages.phases; phase++) {
      const auto& degrees = course.point_on_wave_degrees[phase];
      if (!degrees || !std::isfinite(degrees->value)) continue;
      text += fmt::format("{}{} {}", text.empty() ? "" : ", ", label(phase), angle_text(*degrees));
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
      text += fmt::format("{}{} {}", phase == 0 ? "" : ", ", label(phase),
                          analysis::percent_text(view_.percent(segment.phases[phase].voltage_v.value)));
    }
    return text;
  }

  void add_reference() {
    const auto& channel = record_.channels[analysis_.voltages.channels[0]];
    add("", fmt::format("% of the {}, {}{}{}", view_.reference_words, volts_text(view_.reference_v),
                        is_of_transformer(channel) ? "; " : "", is_of_transformer(channel) ? side_text(channel) : ""));
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

std::vector<CaptionLine> caption_of(const readers::Record& record, const Analysis& analysis, const FigureView& view) {
  return Caption(record, analysis, view).lines();
}

}  // namespace outputs
