#include "analysis/displaced_neutral.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "analysis/choice/voltages_between_phases.h"
#include "measure/measure.h"

namespace analysis {

namespace {

/// Returns the remaining share of the lowest voltage between phases in a segment.
double lowest_line_share(const measure::Segment& segment, const measure::Course& course) {
  constexpr double next_to_nothing = 0.05;  // of a phase voltage
  double lowest = std::numeric_limits<double>::infinity();
  for (std::size_t phase = 0; phase < 3; phase++) {
    const std::size_t next = (phase + 1) % 3;
    const double before = std::abs(course.before[phase] - course.before[next]);
    if (!(before > next_to_nothing * std::abs(course.before[phase]))) return 0;
    lowest = std::min(lowest, std::abs(segment.phasors[phase] - segment.phasors[next]) / before);
  }
  return lowest;
}

bool displaces_neutral(const measure::Segment& segment, const measure::Course& course) {
  constexpr double fallen = 0.9;
  constexpr double risen = 1.1;
  if (!segment.measured || lowest_line_share(segment, course) < fallen) return false;
  int low = 0;
  int high = 0;
  for (const measure::SegmentPhase& phase : segment.phases) {
    if (phase.share_of_before < fallen) low++;
    if (phase.share_of_before > risen) high++;
  }
  return low == 1 && high == 2;
}

}  // namespace

bool displaces_neutral(const measure::Course& course) {
  return std::any_of(course.segments.begin(), course.segments.end(),
                     [&](const measure::Segment& segment) { return displaces_neutral(segment, course); });
}

bool neutral_is_displaced(const Analysis& analysis) {
  if (analysis.voltages.phases < 3 || analysis.voltages.between_phases) return false;
  const auto& events = analysis.found.events;
  return std::any_of(events.begin(), events.end(),
                     [](const measure::Event& event) { return event.course && displaces_neutral(*event.course); });
}

std::optional<LineVoltages> line_voltages_of(const Analysis& analysis) {
  MeasuredWaveform between;
  between.waveform = analysis.measured.waveform;
  make_line_voltages(between);
  measure::Options options = analysis.options;
  options.between_phases = true;
  options.declared_v *= std::numbers::sqrt3;
  const measure::Screening screening(between.waveform);
  LineVoltages line;
  line.events = measure::events_of(screening, options);
  line.lowest_v = screening.lowest_rms_v();
  line.reference_v = screening.usual_rms_v();
  if (options.reference == measure::Reference::declared) line.reference_v.fill(options.declared_v);
  for (std::size_t pair = 0; pair < measure::most_phases; pair++) {
    if (!(line.reference_v[pair] > 0 && std::isfinite(line.lowest_v[pair] / line.reference_v[pair])))
      return std::nullopt;
  }
  return line;
}

}  // namespace analysis
