#include "analysis/finding_notes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "analysis/displaced_neutral.h"
#include "readers/clock_time.h"

namespace analysis {

namespace {

std::string name_of(const readers::Record& record, const Analysis& analysis, std::size_t phase) {
  const bool computed = analysis.voltages.computed || !analysis.measured.computed[phase].empty();
  return computed ? analysis.voltages.letter(phase) : record.channels[analysis.voltages.channels[phase]].name;
}

void note_wiring(const readers::Record& record, Analysis& analysis) {
  const measure::Wiring& wiring = analysis.found.wiring;
  if (wiring.turned_phase) {
    analysis.notes.push_back(fmt::format(
        "{} has the opposite polarity to the other voltages; type and sequence voltages are computed with it turned "
        "round.",
        name_of(record, analysis, *wiring.turned_phase)));
  }
  if (wiring.reversed) {
    const auto& channels = analysis.voltages.channels;
    analysis.notes.push_back(fmt::format(
        "The phases follow each other as A, C, B: two of them are exchanged, or the line turns that way. Type and "
        "sequence voltages are computed for that order (--channels {},{},{} exchanges the two).",
        channels[0] + 1, channels[2] + 1, channels[1] + 1));
  }
}

void note_skew(const readers::Record& record, Analysis& analysis) {
  constexpr double least_degrees = 0.5;
  double first = 0;
  double last = 0;
  for (std::size_t phase = 0; phase < analysis.voltages.phases; phase++) {
    const double skew = record.channels[analysis.voltages.channels[phase]].skew;
    first = phase == 0 ? skew : std::min(first, skew);
    last = phase == 0 ? skew : std::max(last, skew);
  }
  const double degrees = 360 * analysis.found.frequency * (last - first);
  if (degrees < least_degrees) return;
  analysis.notes.push_back(fmt::format(
      "The channels are sampled up to {:.4g} us apart, as the file says; angles are corrected for it (by up "
      "to {:.1f} degrees).",
      (last - first) * 1e6, degrees));
}

void note_frequency(Analysis& analysis) {
  constexpr double far_off = 0.05;  // of the line frequency
  const double hertz = analysis.found.frequency;
  if (std::abs(hertz - analysis.voltages.line_frequency) < far_off * analysis.voltages.line_frequency) return;
  analysis.notes.push_back(fmt::format(
      "The voltages run at {:.2f} Hz, far from the {:g} Hz that the record or --frequency says; check the sampling rate "
      "and the line frequency.",
      hertz, analysis.voltages.line_frequency));
}

const char* words_for(measure::LevelSource source) {
  switch (source) {
    case measure::LevelSource::before:
      break;
    case measure::LevelSource::declared:
      return "its levels before the dip are those of --nominal";
    case measure::LevelSource::after:
      return "its levels before the dip are those of the voltage after it";
  }
  return "";
}

/// If the neutral is not solidly earthed, loads between phases are not affected by an earth fault.
void note_displaced_neutral(Analysis& analysis) {
  const auto& events = analysis.found.events;
  const auto earth_fault = std::find_if(events.begin(), events.end(), [](const measure::Event& event) {
    return event.course && displaces_neutral(*event.course);
  });
  analysis.notes.insert(
      analysis.notes.begin(),
      fmt::format(
          "Event {}: the voltages between phases keep at least {:.1f} %, although phase voltages fall: the "
          "neutral is displaced by an earth fault in a network that is not solidly earthed. Loads between phases "
          "see the line voltages only; --line-to-line analyses them.",
          earth_fault - events.begin() + 1, analysis.line->lowest_percent()));
}

void note_date(const readers::Record& record, Analysis& analysis) {
  if (!readers::has_ambiguous_date(record)) return;
  analysis.notes.push_back(fmt::format("The file's date {} is read as {}, in the order that its revision prescribes.",
                                       record.start_time, readers::iso_time(record, 0).substr(0, 10)));
}

void note_dip(std::size_t number, const measure::Event& event, Analysis& analysis) {
  if (!event.course) return;
  if (!event.start_known) {
    const auto source = event.course->level_source;
    analysis.notes.push_back(fmt::format("Event {}: the record begins within the dip{}{}.", number,
                                         source == measure::LevelSource::before ? "" : "; ", words_for(source)));
  }
  const double cycles = event.end_s.value_or(INFINITY) * analysis.found.frequency;
  constexpr double longest_start_up = 6;
  if (!event.start_known && cycles <= longest_start_up) {
    analysis.notes.push_back(fmt::format(
        "Event {} is over after {:.1f} cycles of the record; if it is only the start-up of the recorder, leave it out "
        "with --from {:.2f}.",
        number, cycles, std::ceil(100 * (analysis.voltages.record_seconds(*event.end_s) + 0.005)) / 100));
  }
  const bool unmeasured = std::any_of(event.course->segments.begin(), event.course->segments.end(),
                                      [](const measure::Segment& segment) { return !segment.measured; });
  if (unmeasured) {
    analysis.notes.push_back(
        fmt::format("Event {}: too many samples are missing in one of its segments, which has no figures.", number));
  }
}

}  // namespace

void add_finding_notes(const readers::Record& record, Analysis& analysis) {
  note_wiring(record, analysis);
  note_skew(record, analysis);
  note_frequency(analysis);
  for (std::size_t i = 0; i < analysis.found.events.size(); i++) {
    note_dip(i + 1, analysis.found.events[i], analysis);
  }
  if (analysis.line) note_displaced_neutral(analysis);
  note_date(record, analysis);
}

}  // namespace analysis
