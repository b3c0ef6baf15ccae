#include "analysis/analysed_voltages.h"

#include <algorithm>
#include <cmath>

namespace analysis {

std::size_t AnalysedVoltages::record_sample_at(std::size_t sample) const {
  if (!resampled) return part.begin + sample;
  const double behind = (seconds_at(sample) - part.start) * part.rate;
  return part.begin + std::min(static_cast<std::size_t>(std::lround(std::max(behind, 0.0))), part.length());
}

}  // namespace analysis
