#include "outputs/text.h"

#include <fmt/format.h>

#include <cmath>
#include <iterator>
#include <optional>

#include "analysis/event_terms.h"
#include "analysis/quantity_text.h"
#include "outputs/clock_text.h"
#include "outputs/event_text.h"
#include "outputs/figures_text.h"
#include "outputs/library_text.h"
#include "outputs/load_text.h"
#include "outputs/notes.h"
#include "outputs/rms_range.h"
#include "outputs/voltage_names.h"
#include "readers/text.h"

namespace outputs {

using analysis::Analysis;
using analysis::kind_words;
using analysis::reference_words;
using analysis::volts_text;

namespace {

/// Writes the record and the rules by which events are found in it.
class Preface {
 public:
  Preface(const readers::Record& record, const Analysis& analysis, const Colours& colours)
      : record_(record), analysis_(analysis), voltages_(analysis.voltages), colours_(colours) {}

  std::string text() {
    text_ = colours_.heading(readers::inert(record_.file)) + '\n';
    add_source();
    add_extent();
    add_voltages();
    if (analysis_.declared) add_declared();
    if (!analysis_.library) add_rules();
    if (!voltages_.rms) add(fmt::format("measured frequency {:.3f} Hz", analysis_.found.frequency));
    add_notes();
    return text_;
  }

 private:
  void add(const std::string& words) { text_ += wrapped(words, colours_.width(), 2); }

  void add_source() {
    std::string line = record_.format;
    for (const auto& about : {record_.station, record_.device, record_.start_time}) {
      if (about.empty()) continue;
      line += ',';
      // A line ends between two of them if possible, so that a date keeps its time.
      if (columns_of(line) + columns_of(about) + 3 > colours_.width()) {
        add(line);
        line = about;
      } else {
        line += ' ' + about;
      }
    }
    add(line);
  }

  void add_extent() {
    const auto& part = voltages_.part;
    if (voltages_.parts > 1) text_ += fmt::format("  part {} of {}\n", voltages_.part_number, voltages_.parts);
    add(fmt::format("{:.4g} s: {} samples at {:g} Hz, {:.6g} per cycle of {:g} Hz",
                    static_cast<double>(part.length()) / part.rate, part.length(), part.rate,
                    voltages_.samples_per_cycle(), voltages_.line_frequency));
  }

  void add_voltages() {
    std::string words = voltages_.between_phases ? "voltages between phases " : "voltages ";
    if (voltages_.rms) words = "RMS " + words;
    for (std::size_t phase = 0; phase < voltages_.phases; phase++) {
      words += (phase == 0 ? "" : ", ") + voltage_name(record_, voltages_, phase);
    }
    const auto& first = record_.channels[voltages_.channels[0]];
    if (voltages_.unit_assumed[0]) words += " (unit assumed to be V)";
    if (is_of_transformer(first)) words += " (" + side_text(first) + ")";
    add(words);
    if (voltages_.phases < 3) add("Types and sequences of dips need three voltages and are not shown.");
  }

  /// One figure for each voltage: "Ua 230.0 V, Ub 230.0 V, Uc 230.0 V".
  template <typename Text>
  [[nodiscard]] std::string of_each(Text figure) const {
    std::string text;
    for (std::size_t phase = 0; phase < voltages_.phases; phase++) {
      text += (phase == 0 ? "" : ", ") + voltage_name(record_, voltages_, phase) + ' ' + figure(phase);
    }
    return text;
  }

  void add_declared() {
    const auto& declared = *analysis_.declared;
    std::string words =
        fmt::format("declared {} voltage {} ({})", declared.line ? "line" : "phase", volts_text(declared.given),
                    declared.by_user ? "as given" : "by the record's level");
    if (declared.secondary) words += ", divided by the transformer's ratio";
    if (declared.level != declared.given) words += fmt::format(", here {}", volts_text(declared.level));
    add(words);
    add("usual Urms(1/2) of the declared voltage: " + of_each([&](std::size_t phase) {
          const double usual_v = analysis_.usual_v[phase];
          return std::isfinite(usual_v) ? fmt::format("{:.1f} %", *analysis_.percent_of_declared(usual_v)) : "unknown";
        }));
  }

  void add_rules() {
    const auto& thresholds = analysis_.options.thresholds;
    add(
        fmt::format("events by IEC 61000-4-30, in per cent of the {}: dip below {:g} %, swell above {:g} %, "
                    "interruption below {:g} %, hysteresis {:g} %",
                    reference_words(analysis_.options.reference), thresholds.dip, thresholds.swell,
                    thresholds.interruption, thresholds.hysteresis));
    add(thresholds.rapid_change > 0 ? fmt::format("rapid voltage change above {:g} % of the {}",
                                                  thresholds.rapid_change, change_reference_words(analysis_))
                                    : "rapid voltage changes are not looked for");
    add(reference_values());
  }

  /// A voltage without values at the time of the usual level has no level.
  static std::string level_text(double volts) { return std::isfinite(volts) ? volts_text(volts) : "unknown"; }

  [[nodiscard]] std::string reference_values() const {
    const auto& reference_v = analysis_.found.reference_v;
    const char* words = reference_words(analysis_.options.reference);
    switch (analysis_.options.reference) {
      case measure::Reference::declared:
        return fmt::format("{} {}", words, volts_text(reference_v[0]));
      case measure::Reference::sliding:
        return fmt::format("{} at its beginning: ", words) +
               of_each([&](std::size_t phase) { return level_text(reference_v[phase]); });
      case measure::Reference::pre_event:
        break;
    }
    return fmt::format("{}: ", words) + of_each([&](std::size_t phase) { return level_text(reference_v[phase]); });
  }

  void add_note(const std::string& note) { text_ += "  " + colours_.note("note: " + note) + '\n'; }

  void add_notes() {
    for (const auto& note : notes_of(record_, analysis_)) add_note(note);
  }

  const readers::Record& record_;
  const Analysis& analysis_;
  const analysis::AnalysedVoltages& voltages_;
  const Colours& colours_;
  std::string text_;
};

std::string change_line(const readers::Record& record, const Analysis& analysis, const measure::Change& change,
                        std::size_t width) {
  const auto& voltages = analysis.voltages;
  std::string words = fmt::format("{} to {}: ", instant_text(voltages.record_seconds(change.start_s)),
                                  instant_text(voltages.record_seconds(change.end_s)));
  std::string changes;
  for (std::size_t phase = 0; phase < voltages.phases; phase++) {
    if (!change.phases[phase]) continue;
    changes += fmt::format("{}{} from {} to {}", changes.empty() ? "" : ", ", voltage_name(record, voltages, phase),
                           volts_text(change.before_v[phase]), volts_text(change.after_v[phase]));
  }
  return wrapped(words + changes, width, 2);
}

std::string changes_text(const readers::Record& record, const Analysis& analysis, std::size_t width) {
  const auto& changes = analysis.found.changes_without_event;
  if (changes.empty()) return "";
  std::string text = "\nchanges of the fundamental that belong to no event\n";
  for (const auto& change : changes) text += change_line(record, analysis, change, width);
  return text;
}

std::string size_words(const Analysis& analysis, const measure::Event& event) {
  const bool has_reference = event.reference_v > 0;
  if (event.kind == measure::EventKind::rapid_voltage_change) {
    if (!has_reference) return "largest change " + volts_text(event.delta_max_v);
    return fmt::format("largest change {:.2f} % of the {}", 100 * event.delta_max_v / event.reference_v,
                       change_reference_words(analysis));
  }
  const char* reference = reference_words(analysis.options.reference);
  const char* what = event.kind == measure::EventKind::swell ? "highest" : "residual";
  if (!has_reference) return fmt::format("{} {}", what, volts_text(event.extreme_v));
  return fmt::format("{} {} of the {}", what,
                     analysis::percent_text(terms_of(event, analysis).percent, analysis.options.thresholds), reference);
}

/// "1.250 s (2014-01-08T12:30:06.250000, 12.0 ms after the trigger), 80 ms".
std::string time_words(const readers::Record& record, const Analysis& analysis, const measure::Event& event) {
  const auto terms = terms_of(event, analysis);
  const double seconds = analysis.voltages.record_seconds(event.start_s);
  const std::string clock = clock_text(record, seconds);
  return fmt::format("{}{}, {}{}", event.start_known ? instant_text(seconds) : "before the beginning",
                     clock.empty() ? "" : " (" + clock + ")", terms.seconds ? "" : "at least ",
                     analysis::duration_text(terms.least_seconds));
}

/// Shows what loads between phases see where the neutral is displaced, before the events of the phase voltages.
std::string line_voltages_text(const readers::Record& record, const Analysis& analysis, std::size_t width) {
  const analysis::LineVoltages& line = *analysis.line;
  std::string text = "\nvoltages between phases, computed, because an earth fault displaces the neutral\n";
  std::string lowest;
  for (std::size_t pair = 0; pair < measure::most_phases; pair++) {
    lowest += fmt::format("{}{} {}", pair == 0 ? "" : ", ", analysis::pairs_of_phases[pair],
                          analysis::percent_text(line.lowest_percent(pair)));
  }
  text += wrapped(fmt::format("{}; lowest Urms(1/2) {} of the {}",
                              line.events.empty() ? "no events" : readers::plural(line.events.size(), "event"), lowest,
                              reference_words(analysis.options.reference)),
                  width, 2);
  for (const measure::Event& event : line.events) {
    text += wrapped(fmt::format("{} {}: {}", kind_words(event.kind), time_words(record, analysis, event),
                                size_words(analysis, event)),
                    width, 2);
  }
  return text;
}

std::string number_of_events(const Analysis& analysis) {
  const std::size_t events = analysis.found.events.size();
  return (events == 0 ? "no events" : readers::plural(events, "event")) +
         (analysis.line ? " of the phase voltages\n" : "\n");
}

/// The line of a record without events: "record.cfg: no events   Urms(1/2) from 99.2 % (A) to 100.4 % (C) of ...".
std::string line_without_events(const readers::Record& record, const Analysis& analysis) {
  const std::string range = rms_range_text(analysis);
  return readers::inert(record.file) + ": no events" + (range.empty() ? "" : "   " + range);
}

/// "; 2 notes", which the whole text has in full. The first line of a record has it.
std::string count_of_notes(const readers::Record& record, const Analysis& analysis) {
  const std::size_t notes = notes_of(record, analysis).size();
  return notes == 0 ? "" : "; " + readers::plural(notes, "note");
}

// --- one line per event ----------------------------------------------------------------------------------------------

/// Returns the lowest voltage divided by its own level before, among those that were measured and had such a level.
std::optional<double> lowest_share(const Analysis& analysis, const measure::Course& course,
                                   const measure::Segment& segment) {
  std::optional<double> lowest;
  if (!segment.measured) return lowest;
  for (std::size_t phase = 0; phase < analysis.voltages.phases; phase++) {
    const auto& figures = segment.phases[phase];
    if (!figures.measured || !(std::abs(course.before[phase]) > 0)) continue;
    if (!lowest || figures.share_of_before < *lowest) lowest = figures.share_of_before;
  }
  return lowest;
}

/// "gradual C (BC) 50.0 %": the lowest voltage in per cent of its own level before.
std::string segment_words(const readers::Record& record, const Analysis& analysis, const measure::Course& course,
                          const measure::Segment& segment) {
  const auto lowest = lowest_share(analysis, course, segment);
  if (!lowest) return "not measured";
  std::string words = segment.gradual ? "gradual " : "";
  if (segment.type) {
    words +=
        fmt::format("{} ({}) ", segment.type->letter, voltages_text(record, analysis.voltages, segment.type->phases));
  }
  return words + analysis::percent_text(100 * *lowest);
}

/// Describes the segments of a dip and the reference of their percentages.
std::string course_words(const readers::Record& record, const Analysis& analysis, const measure::Course& course) {
  std::string words;
  for (const auto& segment : course.segments) {
    words += (words.empty() ? "" : ", then ") + segment_words(record, analysis, course, segment);
  }
  return words.empty() ? "no segments" : "segments of the level before: " + words;
}

std::string line_of(const readers::Record& record, const Analysis& analysis, std::size_t index,
                    const Colours& colours) {
  const measure::Event& event = analysis.found.events[index];
  std::string line = readers::inert(record.file) + ": " +
                     colours.heading(fmt::format("event {}, {}", index + 1, kind_words(event.kind)));
  line += fmt::format("   {}, {}, {}", time_words(record, analysis, event), colours.low(size_words(analysis, event)),
                      voltages_text(record, analysis.voltages, event.phases));
  if (event.course) line += "; " + course_words(record, analysis, *event.course);
  return line + (index == 0 ? count_of_notes(record, analysis) : "") + '\n';
}

}  // namespace

std::string text_of(const readers::Record& record, const Analysis& analysis, const Colours& colours) {
  std::string text = Preface(record, analysis, colours).text();
  if (analysis.library) return text + library_text(record, analysis, colours);
  if (analysis.line) text += line_voltages_text(record, analysis, colours.width());
  text += '\n' + number_of_events(analysis);
  if (const auto range = rms_range_text(analysis); analysis.found.events.empty() && !range.empty()) {
    text += wrapped(range, colours.width(), 2);
  }
  for (std::size_t i = 0; i < analysis.found.events.size(); i++) text += event_text(record, analysis, i, colours);
  return text + changes_text(record, analysis, colours.width()) + load_text(record, analysis, colours.width());
}

std::string lines_of(const readers::Record& record, const Analysis& analysis, const Colours& colours) {
  if (analysis.library) return library_lines(record, analysis, colours);
  if (analysis.found.events.empty())
    return line_without_events(record, analysis) + count_of_notes(record, analysis) + '\n';
  std::string text;
  for (std::size_t i = 0; i < analysis.found.events.size(); i++) text += line_of(record, analysis, i, colours);
  return text;
}

}  // namespace outputs
