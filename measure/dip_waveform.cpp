#include "measure/dip_waveform.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "measure/course_items.h"
#include "measure/sample_at.h"

namespace measure {

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

/// Number of cycles of the waveform before and after a dip that are examined.
constexpr double cycles_before = 25;
constexpr double cycles_after = 15;

PhaseFlags absent_phases(const Supply& supply, std::size_t phases, double start_s, double end_s) {
  const CycleTrack& track = supply.track;
  const std::size_t first = track.cycle_at(std::max(0.0, start_s));
  const std::size_t last = track.cycle_at(std::min(end_s, track.time_of(track.cycles() - 1)));
  PhaseFlags absent{};
  bool any_present = false;
  for (std::size_t phase = 0; phase < phases; phase++) {
    std::size_t missing = 0;
    for (std::size_t k = first; k <= last; k++) missing += std::isfinite(track.phasors(k)[phase].real()) ? 0 : 1;
    absent[phase] = 2 * missing > last - first + 1;
    any_present = any_present || !absent[phase];
  }
  return any_present ? absent : PhaseFlags{};
}

/// Returns the mean of the usual levels of those phases that have a voltage.
double usual_peak(const Supply& supply, std::size_t phases, const PhaseFlags& absent) {
  const PerPhase& levels = supply.levels.fundamental_v;
  double highest = 0;
  for (std::size_t phase = 0; phase < phases; phase++) {
    if (!absent[phase]) highest = std::max(highest, levels[phase]);
  }
  double sum = 0;
  double count = 0;
  for (std::size_t phase = 0; phase < phases; phase++) {
    if (absent[phase] || !(levels[phase] > next_to_nothing * highest)) continue;
    sum += levels[phase] * std::numbers::sqrt2;
    count++;
  }
  return sum / count;
}

Excerpt excerpt_round(const DipWaveform& wave, double reference_v) {
  const Waveform& waveform = wave.supply.waveform;
  const double cycle = 1 / wave.frequency.hertz;
  const double from = std::max(0.0, wave.dip_start_s - cycles_before * cycle);
  const double length_s = static_cast<double>(waveform.length()) / waveform.rate;
  const double to = std::min(length_s, wave.dip_end_s + cycles_after * cycle);
  double peak = usual_peak(wave.supply, wave.phases, wave.absent);
  if (!(peak > 0) || !std::isfinite(peak)) peak = reference_v * std::numbers::sqrt2;
  if (!(peak > 0) || !std::isfinite(peak)) peak = 1;
  return {waveform,
          static_cast<std::size_t>(whole_samples(from * waveform.rate)),
          static_cast<std::size_t>(sample_from(to, waveform.rate)),
          peak,
          wave.frequency.hertz,
          wave.absent};
}

}  // namespace

DipWaveform::DipWaveform(const Supply& of, const Event& dip)
    : supply(of),
      phases(of.waveform.phases.size()),
      dip_start_s(dip.start_known ? dip.start_s : -infinity),
      dip_end_s(dip.end_s.value_or(infinity)),
      frequency(frequency_round(of.track, of.wiring.to_positive(), phases, dip_start_s, dip_end_s)),
      absent(absent_phases(of, phases, dip_start_s, dip_end_s)),
      excerpt(excerpt_round(*this, dip.reference_v)) {}

double DipWaveform::volts(double peaks) const {
  return peaks * excerpt.peak() / std::numbers::sqrt2;
}

}  // namespace measure
