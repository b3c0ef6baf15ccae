#include "assess/carried_course.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "measure/dip_type.h"
#include "measure/low_voltage.h"

namespace assess {

namespace {

using measure::Course;
using measure::Figure;
using measure::PerPhase;
using measure::Phasors;
using measure::Segment;

/// Returns the half widths of the load's voltages from those of the measured ones, which are independent.
PerPhase carried_uncertainty(const Segment& segment, const VoltageMap& map) {
  PerPhase result{};
  for (std::size_t i = 0; i < 3; i++) {
    double squares = 0;
    for (std::size_t j = 0; j < 3; j++) {
      const double part = map[i][j] * segment.phases[j].voltage_v.plus_minus;
      squares += part * part;
    }
    result[i] = std::sqrt(squares);
  }
  return result;
}

/// Returns the largest half width of the measured phase jumps, which contains what the phases have in common: the
/// errors of the frequency and of the level before.
double jump_uncertainty(const Segment& segment) {
  double largest = 0;
  for (const measure::SegmentPhase& phase : segment.phases) {
    if (phase.phase_jump_degrees) largest = std::max(largest, phase.phase_jump_degrees->plus_minus);
  }
  return largest;
}

measure::SegmentPhase figures_of(const measure::Phasor& voltage, const measure::Phasor& before, double plus_minus,
                                 double jump_plus_minus) {
  constexpr double degrees = 180 / std::numbers::pi;
  measure::SegmentPhase figures;
  figures.voltage_v = {std::abs(voltage), plus_minus};
  figures.share_of_before = std::abs(voltage / before);
  figures.below_threshold = figures.share_of_before < measure::threshold;
  if (figures.share_of_before < measure::next_to_nothing) return figures;
  figures.phase_jump_degrees = Figure{std::arg(voltage / before) * degrees,
                                      std::hypot(plus_minus / std::abs(voltage) * degrees, jump_plus_minus)};
  return figures;
}

bool is_known(const Segment& segment, const Phasors& before) {
  const auto exists = [](const measure::Phasor& phasor) { return std::abs(phasor) > 0; };
  return segment.measured && segment.type && std::all_of(before.begin(), before.end(), exists);
}

Segment carried(const Segment& segment, const Phasors& before, const VoltageMap& map, bool reversed) {
  Segment result;
  result.start_s = segment.start_s;
  result.end_s = segment.end_s;
  result.gradual = segment.gradual;
  result.measured = is_known(segment, before);
  if (!result.measured) return result;
  result.phasors = mapped(map, segment.phasors);
  const PerPhase uncertainty = carried_uncertainty(segment, map);
  const double of_jumps = jump_uncertainty(segment);
  for (std::size_t i = 0; i < 3; i++) {
    result.phases[i] = figures_of(result.phasors[i], before[i], uncertainty[i], of_jumps);
  }
  measure::Wiring wiring;
  wiring.reversed = reversed;
  result.sequences = measure::sequences_of(result.phasors, wiring);
  result.type = measure::type_of(result.phasors, before, wiring);
  return result;
}

}  // namespace

Course carried_course(const Course& course, const VoltageMap& map, bool reversed) {
  Course result;
  result.start_s = course.start_s;
  result.end_s = course.end_s;
  result.level_source = course.level_source;
  result.frequency = course.frequency;
  result.frequency_before = course.frequency_before;
  result.frequency_after = course.frequency_after;
  result.before = mapped(map, course.before);
  for (const Segment& segment : course.segments) {
    result.segments.push_back(carried(segment, result.before, map, reversed));
  }
  return result;
}

}  // namespace assess
