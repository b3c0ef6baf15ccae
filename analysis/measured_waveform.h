// The waveform that is measured, together with the samples that are computed because no channel holds them.
#pragma once

#include <array>
#include <vector>

#include "measure/waveform.h"

namespace analysis {

struct MeasuredWaveform {
  measure::Waveform waveform;                   ///< refers to the record's samples, or to `computed`
  std::array<std::vector<double>, 3> computed;  ///< voltages between phases that no channel holds, volts
};

}  // namespace analysis
