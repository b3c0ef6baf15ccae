#include "analysis/curves.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "readers/record.h"

namespace analysis {

namespace {

std::vector<float> cycle_rms(const std::vector<float>& volts, std::size_t cycle) {
  std::vector<float> rms(volts.size(), std::numeric_limits<float>::quiet_NaN());
  if (volts.size() < cycle) return rms;
  double sum = 0;
  std::size_t missing = 0;
  const auto square = [&](std::size_t i) { return static_cast<double>(volts[i]) * static_cast<double>(volts[i]); };
  for (std::size_t i = 0; i < volts.size(); i++) {
    if (std::isnan(volts[i]))
      missing++;
    else
      sum += square(i);
    if (i >= cycle) {
      if (std::isnan(volts[i - cycle]))
        missing--;
      else
        sum -= square(i - cycle);
    }
    if (i + 1 < cycle || missing > 0) continue;
    rms[i] = static_cast<float>(std::sqrt(std::max(sum, 0.0) / static_cast<double>(cycle)));
  }
  std::fill(rms.begin(), rms.begin() + static_cast<std::ptrdiff_t>(cycle - 1), rms[cycle - 1]);
  return rms;
}

}  // namespace

Curves curves_of(const Analysis& analysis) {
  const measure::Waveform& waveform = analysis.measured.waveform;
  const auto cycle = static_cast<std::size_t>(std::max(1.0, std::round(waveform.rate / analysis.found.frequency)));
  Curves curves;
  for (std::size_t phase = 0; phase < waveform.phases.size(); phase++) {
    auto& volts = curves.volts[phase];
    volts.resize(waveform.length());
    for (std::size_t i = 0; i < volts.size(); i++) {
      const double value = waveform.volts(phase, i);
      volts[i] = readers::fits_float(value) ? static_cast<float>(value) : std::numeric_limits<float>::quiet_NaN();
    }
    curves.rms[phase] = waveform.holds_rms ? volts : cycle_rms(volts, cycle);
  }
  return curves;
}

}  // namespace analysis
