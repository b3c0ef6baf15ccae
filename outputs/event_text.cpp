#include "outputs/event_text.h"

#include <fmt/format.h>

#include <cmath>

#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"
#include "outputs/clock_text.h"
#include "outputs/course_text.h"
#include "outputs/figures_text.h"
#include "outputs/origin_text.h"
#include "outputs/phase_table.h"
#include "outputs/verdict_text.h"
#include "outputs/voltage_names.h"

namespace outputs {

using analysis::Analysis;
using analysis::duration_text;
using analysis::EventTerms;
using analysis::kind_words;
using analysis::reference_words;
using analysis::volts_text;
using measure::EventKind;

namespace {

class EventText {
 public:
  EventText(const readers::Record& record, const Analysis& analysis, std::size_t index, const Colours& colours)
      : record_(record),
        analysis_(analysis),
        number_(index + 1),
        event_(analysis.found.events[index]),
        terms_(terms_of(event_, analysis)),
        colours_(colours),
        table_(analysis.voltages.phases, colours) {}

  std::string text() {
    add_heading();
    if (event_.kind == EventKind::rapid_voltage_change) {
      add_change();
      return text_;
    }
    add_extreme();
    add_crossings();
    add_extremes_of_phases();
    add_assessment();
    if (event_.course) text_ += course_text(record_, analysis_, event_, colours_);
    return text_;
  }

 private:
  void add(const std::string& words, std::size_t indent = 2) { text_ += wrapped(words, colours_.width(), indent); }

  [[nodiscard]] const char* reference() const { return reference_words(analysis_.options.reference); }
  [[nodiscard]] const char* whole() const { return analysis_.voltages.parts > 1 ? "record's part" : "record"; }
  [[nodiscard]] std::string instant(double seconds) const {
    return instant_text(analysis_.voltages.record_seconds(seconds));
  }
  [[nodiscard]] std::string name(std::size_t phase) const { return voltage_name(record_, analysis_.voltages, phase); }

  void add_heading() {
    const std::string start = event_.start_known ? instant(event_.start_s)
                              : event_.end_s     ? fmt::format("before the beginning of the {}", whole())
                                                 : "before the beginning";
    const std::string end = event_.end_s ? instant(*event_.end_s) : fmt::format("beyond the end of the {}", whole());
    const std::string title = fmt::format("event {}: {}", number_, kind_words(event_.kind));
    const std::string place = fmt::format("{} to {}", start, end);
    constexpr std::size_t gap = 3;
    text_ += '\n' + colours_.heading(title);
    text_ += title.size() + gap + place.size() <= colours_.width() ? std::string(gap, ' ') + place + '\n'
                                                                   : '\n' + wrapped(place, colours_.width(), 2);
    const double cycles = terms_.least_seconds * analysis_.found.frequency;
    add(fmt::format("duration {}{}, {:.2f} cycles of {:.3f} Hz", terms_.seconds ? "" : "at least ",
                    duration_text(terms_.least_seconds), cycles, analysis_.found.frequency));
    add_clock();
  }

  void add_clock() {
    const std::string words = clock_text(record_, analysis_.voltages.record_seconds(event_.start_s));
    if (!words.empty()) add((event_.start_known ? "begins at " : "begins before ") + words);
  }

  // --- rapid voltage changes -------------------------------------------------------------------------------------

  [[nodiscard]] std::string volts_and_percent(double volts) const {
    if (!(event_.reference_v > 0)) return volts_text(volts);
    return fmt::format("{} ({:.2f} %)", volts_text(volts), 100 * volts / event_.reference_v);
  }

  void add_change() {
    add(fmt::format("largest change {}, steady change {}, of the {} {}", volts_and_percent(event_.delta_max_v),
                    volts_and_percent(event_.delta_steady_v), change_reference_words(analysis_),
                    volts_text(event_.reference_v)));
    add(fmt::format("changed: {}", voltages_text(record_, analysis_.voltages, event_.phases)));
  }

  // --- dips, swells and interruptions ----------------------------------------------------------------------------

  void add_extreme() {
    const bool swell = event_.kind == EventKind::swell;
    std::string words = fmt::format("{} {} in {}: ", swell ? "highest Urms(1/2)" : "residual voltage",
                                    volts_text(event_.extreme_v), name(event_.extreme_phase));
    words += event_.reference_v > 0
                 ? fmt::format("{} of the {} {}", analysis::percent_text(terms_.percent, analysis_.options.thresholds),
                               reference(), volts_text(event_.reference_v))
                 : fmt::format("the {} is zero", reference());
    const auto of_declared = analysis_.percent_of_declared(event_.extreme_v);
    if (of_declared && analysis_.options.reference != measure::Reference::declared) {
      words += fmt::format(", {} of the declared voltage", analysis::percent_text(*of_declared));
    }
    add(words);
  }

  void add_crossings() {
    const auto& thresholds = analysis_.options.thresholds;
    const double threshold = event_.kind == EventKind::swell          ? thresholds.swell
                             : event_.kind == EventKind::interruption ? thresholds.interruption
                                                                      : thresholds.dip;
    const std::string depth =
        event_.kind == EventKind::swell ? "" : fmt::format("depth {:.1f} %; ", terms_.depth_percent);
    add(fmt::format("{}{} {:g} % of the {}: {}", depth, event_.kind == EventKind::swell ? "above" : "below", threshold,
                    reference(), voltages_text(record_, analysis_.voltages, event_.phases)));
  }

  void add_extremes_of_phases() {
    const bool swell = event_.kind == EventKind::swell;
    const measure::PerPhase& volts = swell ? event_.highest_v : event_.lowest_v;
    const auto crossed = [&](std::size_t phase) { return event_.phases[phase]; };
    text_ += table_.names([&](std::size_t phase) { return name(phase); });
    text_ += table_.line(
        swell ? "  highest Urms(1/2)" : "  lowest Urms(1/2)",
        [&](std::size_t phase) { return volts_text(volts[phase]); }, crossed);
    text_ += table_.line(
        fmt::format("    of {}", volts_text(event_.reference_v)),
        [&](std::size_t phase) {
          return event_.reference_v > 0 ? analysis::percent_text(100 * volts[phase] / event_.reference_v) : "-";
        },
        crossed);
  }

  void add_assessment() {
    for (const std::string& sentence :
         {verdicts_sentence(event_, analysis_), classes_sentence(event_, analysis_),
          indices_sentence(number_ - 1, analysis_), direction_sentence(number_ - 1, analysis_),
          cause_sentence(number_ - 1, analysis_)}) {
      if (!sentence.empty()) add(sentence);
    }
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  std::size_t number_;
  const measure::Event& event_;
  EventTerms terms_;
  const Colours& colours_;
  PhaseTable table_;
  std::string text_;
};

}  // namespace

const char* change_reference_words(const Analysis& analysis) {
  return reference_words(analysis.declared ? measure::Reference::declared : analysis.options.reference);
}

std::string event_text(const readers::Record& record, const Analysis& analysis, std::size_t index,
                       const Colours& colours) {
  return EventText(record, analysis, index, colours).text();
}

}  // namespace outputs
