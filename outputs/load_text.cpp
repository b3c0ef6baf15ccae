#include "outputs/load_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "analysis/event_terms.h"
#include "analysis/load_voltages.h"
#include "analysis/quantity_text.h"
#include "assess/classes.h"
#include "outputs/figures_text.h"
#include "outputs/verdict_text.h"
#include "outputs/voltage_names.h"
#include "readers/text.h"

namespace outputs {

namespace {

using analysis::Analysis;
using measure::Event;
using measure::EventKind;

/// Writes one kind of voltages at the load.
class Voltages {
 public:
  Voltages(const readers::Record& record, const Analysis& monitor, const Analysis& load, std::size_t width)
      : record_(record), monitor_(monitor), load_(load), width_(width) {}

  std::string text() {
    const std::size_t events = load_.found.events.size();
    add(fmt::format("{}: {}", load_.voltages.between_phases ? "voltages between phases" : "phase voltages",
                    events == 0 ? "no events" : readers::plural(events, "event")),
        2);
    for (const Event& event : load_.found.events) add_event(event);
    return text_;
  }

 private:
  void add(const std::string& words, std::size_t indent) { text_ += wrapped(words, width_, indent); }

  void add_event(const Event& event) {
    add(fmt::format("{}{}: {}, {}{}", analysis::kind_words(event.kind), numbers_of_dips(event), start_of(event),
                    duration_of(event), size_of(event)),
        4);
    if (event.course) add_segments(*event.course);
    if (event.kind != EventKind::dip && event.kind != EventKind::swell) return;
    for (const std::string& sentence : {verdicts_sentence(event, load_), classes_sentence(event, load_)}) {
      if (!sentence.empty()) add(sentence, 6);
    }
  }

  /// " (event 1)": the dips of the analysed voltages at the time.
  [[nodiscard]] std::string numbers_of_dips(const Event& event) const {
    std::vector<std::size_t> numbers = dips_at(event, monitor_);
    for (std::size_t& number : numbers) number++;
    if (numbers.empty()) return " (not a dip of the analysed voltages)";
    return fmt::format(" ({} {})", numbers.size() == 1 ? "event" : "events", fmt::join(numbers, ", "));
  }

  [[nodiscard]] std::string start_of(const Event& event) const {
    return event.start_known ? instant_text(load_.voltages.record_seconds(event.start_s)) : "before the beginning";
  }

  [[nodiscard]] std::string duration_of(const Event& event) const {
    const auto terms = terms_of(event, load_);
    return (terms.seconds ? "" : "at least ") + analysis::duration_text(terms.least_seconds);
  }

  [[nodiscard]] std::string size_of(const Event& event) const {
    if (!(event.reference_v > 0) || event.kind == EventKind::rapid_voltage_change) return "";
    return fmt::format(", {} in {} {} of the {}",
                       event.kind == EventKind::swell ? "highest voltage" : "residual voltage",
                       load_.voltages.letter(event.extreme_phase),
                       analysis::percent_text(terms_of(event, load_).percent, load_.options.thresholds),
                       analysis::reference_words(load_.options.reference));
  }

  void add_segments(const measure::Course& course) {
    for (std::size_t i = 0; i < course.segments.size(); i++) {
      add(fmt::format("segment {}: {}", i + 1, segment_words(course.segments[i])), 6);
    }
  }

  /// "type C (AB), II of C4.110; A 66.7 ± 0.1 %, B 66.7 ± 0.1 %, C 100.0 ± 0.1 % of the level before".
  [[nodiscard]] std::string segment_words(const measure::Segment& segment) const {
    if (!segment.measured || !segment.type) return "not measured";
    const auto kind = assess::kind_of(segment.type->letter);
    std::string words = fmt::format("{}type {} ({}){}; ", segment.gradual ? "gradual, " : "", segment.type->letter,
                                    voltages_text(record_, load_.voltages, segment.type->phases),
                                    kind ? fmt::format(", {} of C4.110", kind_numeral(*kind)) : "");
    for (std::size_t phase = 0; phase < measure::most_phases; phase++) {
      words += fmt::format("{}{} {}", phase == 0 ? "" : ", ", load_.voltages.letter(phase),
                           share_text(segment.phases[phase]));
    }
    return words + " of the level before";
  }

  /// "66.7 ± 0.1 %"; an uncertainty is rounded up.
  static std::string share_text(const measure::SegmentPhase& figures) {
    const measure::Figure percent = percent_of_before(figures);
    return percent.plus_minus > 0 ? percent_text(percent) : rounded_percent_text(percent);
  }

  const readers::Record& record_;
  const Analysis& monitor_;
  const Analysis& load_;
  std::size_t width_;
  std::string text_;
};

}  // namespace

std::string load_text(const readers::Record& record, const Analysis& analysis, std::size_t width) {
  if (!analysis.load) return "";
  const analysis::LoadVoltages& load = *analysis.load;
  std::string text = fmt::format("\nvoltages of a load through {}\n", names_of(load.connections));
  text +=
      wrapped(load.has_zero ? "The zero sequence reaches the load; ratios of the transformers do not matter."
                            : "Voltages to neutral have no zero sequence; ratios of the transformers do not matter.",
              width, 2);
  text += Voltages(record, analysis, load.phases, width).text();
  return text + Voltages(record, analysis, load.lines, width).text();
}

}  // namespace outputs
