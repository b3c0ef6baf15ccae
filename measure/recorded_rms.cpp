#include "measure/recorded_rms.h"

#include <cmath>
#include <limits>
#include <utility>
#include <vector>

#include "measure/median.h"

namespace measure {

HalfCycleRms recorded_rms(const Waveform& waveform, std::size_t phase) {
  HalfCycleRms series;
  for (std::size_t i = 0; i < waveform.length(); i++) {
    const double seconds = static_cast<double>(i) / waveform.rate + waveform.phases[phase].skew;
    const double volts = waveform.volts(phase, i);
    series.start_s.push_back(seconds);
    series.end_s.push_back(seconds);
    series.volts.push_back(
        std::isfinite(volts) && std::abs(volts) <= largest_volts ? volts : std::numeric_limits<double>::quiet_NaN());
  }
  return series;
}

RecordedLevel usual_of_recorded(const HalfCycleRms& series) {
  constexpr double first_s = 1;
  constexpr double low = 0.9;
  std::vector<double> first;
  std::vector<double> all;
  for (std::size_t i = 0; i < series.size(); i++) {
    if (!std::isfinite(series.volts[i])) continue;
    all.push_back(series.volts[i]);
    if (series.start_s[i] < series.start_s[0] + first_s) first.push_back(series.volts[i]);
  }
  if (all.empty()) return {};
  const double of_all = median(std::move(all));
  const double of_first = first.empty() ? of_all : median(std::move(first));
  if (of_first < low * of_all) return {of_all, true};
  return {of_first, false};
}

}  // namespace measure
