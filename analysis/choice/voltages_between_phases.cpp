#include "analysis/choice/voltages_between_phases.h"

namespace analysis {

void make_line_voltages(MeasuredWaveform& measured) {
  const measure::Waveform phases = measured.waveform;
  for (std::size_t pair = 0; pair < 3; pair++) {
    const std::size_t other = (pair + 1) % 3;
    auto& volts = measured.computed[pair];
    volts.resize(phases.length());
    for (std::size_t i = 0; i < volts.size(); i++) volts[i] = phases.volts(pair, i) - phases.volts(other, i);
    measured.waveform.phases[pair] = {volts, 1, (phases.phases[pair].skew + phases.phases[other].skew) / 2};
  }
}

void close_triangle(MeasuredWaveform& measured) {
  const measure::Waveform two = measured.waveform;
  auto& volts = measured.computed[2];
  volts.resize(two.length());
  for (std::size_t i = 0; i < volts.size(); i++) volts[i] = -two.volts(0, i) - two.volts(1, i);
  measured.waveform.phases.push_back({volts, 1, (two.phases[0].skew + two.phases[1].skew) / 2});
}

}  // namespace analysis
