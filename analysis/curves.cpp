#include "analysis/curves.h"

#include "analysis/embedded/library.h"

namespace analysis {

Curves curves_of(const Analysis& analysis) {
  Curves curves;
  curves.volts = analysis.waveform;
  const auto factor = static_cast<float>(analysis.level_factor);
  for (std::size_t phase = 0; phase < 3; phase++) {
    auto& volts = curves.volts[phase];
    auto& rms = curves.rms[phase];
    // Before it is brought back from the analysis' level: there the squares keep within a float whatever the voltage.
    rms = embedded::cycle_rms(volts, analysis.voltages.samples_per_cycle);
    for (auto* curve : {&volts, &rms}) {
      for (float& value : *curve) value /= factor;
    }
  }
  return curves;
}

}  // namespace analysis
