#include "analysis/lowest_segment.h"

namespace analysis {

std::optional<double> lowest_volts(const measure::Segment& segment, std::size_t phases) {
  std::optional<double> lowest;
  if (!segment.measured) return lowest;
  for (std::size_t phase = 0; phase < phases; phase++) {
    const auto& figures = segment.phases[phase];
    if (figures.measured && (!lowest || figures.voltage_v.value < *lowest)) lowest = figures.voltage_v.value;
  }
  return lowest;
}

const measure::Segment* lowest_segment(const measure::Course& course, std::size_t phases) {
  const measure::Segment* found = nullptr;
  std::optional<double> lowest;
  for (const measure::Segment& segment : course.segments) {
    const auto volts = lowest_volts(segment, phases);
    if (!volts || (lowest && *volts >= *lowest)) continue;
    lowest = volts;
    found = &segment;
  }
  return found;
}

}  // namespace analysis
