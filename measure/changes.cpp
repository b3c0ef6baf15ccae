#include "measure/changes.h"

#include <cmath>
#include <limits>
#include <numbers>

namespace measure {

namespace {

constexpr double least_change = 0.03;     // of the usual level
constexpr std::size_t within_cycles = 2;  // a change is the difference between two steady cycles with one cycle between
                                          // them
constexpr double clear_of_events = 2;     // cycles

/// Returns the phases that differ between two cycles.
PhaseFlags differing(const Supply& supply, std::size_t one, std::size_t other) {
  PhaseFlags flags{};
  for (std::size_t phase = 0; phase < supply.waveform.phases.size(); phase++) {
    const double change = std::abs(supply.track.phasors(one)[phase]) - std::abs(supply.track.phasors(other)[phase]);
    const double level = supply.levels.fundamental_v[phase] * std::numbers::sqrt2;
    flags[phase] = std::abs(change) > least_change * level;  // false where samples are missing
  }
  return flags;
}

bool any(const PhaseFlags& flags) {
  return flags[0] || flags[1] || flags[2];
}

bool touches_event(const std::vector<Event>& events, double start_s, double end_s, double margin_s) {
  for (const Event& event : events) {
    const double to = event.end_s.value_or(std::numeric_limits<double>::infinity());
    if (start_s < to + margin_s && end_s > event.start_s - margin_s) return true;
  }
  return false;
}

/// Returns the change with its instants from the waveform, or those of the cycles if the waveform does not show them.
Change measured(const Supply& supply, std::size_t first, std::size_t last) {
  const double cycle = 1 / supply.track.frequency();
  Change change;
  change.start_s = supply.track.time_of(first);
  change.end_s = supply.track.time_of(last);
  change.phases = differing(supply, first, last);
  for (std::size_t phase = 0; phase < supply.waveform.phases.size(); phase++) {
    if (supply.track.absent()[phase]) continue;
    change.before_v[phase] = std::abs(supply.track.phasors(first)[phase]) / std::numbers::sqrt2;
    change.after_v[phase] = std::abs(supply.track.phasors(last)[phase]) / std::numbers::sqrt2;
  }
  Event around;
  around.start_s = change.start_s - cycle / 2;
  around.end_s = change.end_s + cycle / 2;
  around.reference_v = supply.levels.fundamental_v[0];
  const Course course = measure_course(supply, around);
  const bool shown = course.start_s && course.end_s && course.start_s->value > around.start_s &&
                     course.end_s->value < *around.end_s && course.end_s->value >= course.start_s->value;
  if (shown) {
    change.start_s = course.start_s->value;
    change.end_s = course.end_s->value;
  }
  return change;
}

}  // namespace

std::vector<Change> changes_without_event(const Supply& supply, const std::vector<Event>& events) {
  std::vector<Change> changes;
  const double margin_s = clear_of_events / supply.track.frequency();
  const auto changes_at = [&](std::size_t cycle) {
    return cycle + within_cycles < supply.track.cycles() && any(differing(supply, cycle, cycle + within_cycles)) &&
           !touches_event(events, supply.track.time_of(cycle), supply.track.time_of(cycle + within_cycles), margin_s);
  };
  for (std::size_t cycle = 0; cycle + within_cycles < supply.track.cycles(); cycle++) {
    if (!changes_at(cycle)) continue;
    const std::size_t first = cycle;
    while (changes_at(cycle + 1)) cycle++;
    const Change change = measured(supply, first, cycle + within_cycles);
    // A difference that disappears within these cycles is a disturbance of the waveform, not a change of the voltage.
    if (any(change.phases)) changes.push_back(change);
    cycle += within_cycles - 1;
  }
  return changes;
}

}  // namespace measure
