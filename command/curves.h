// The analysed waveforms and their RMS, for drawing.
#pragma once

#include <array>
#include <vector>

#include "command/analysis.h"
#include "readers/record.h"

namespace command {

struct Curves {
  std::array<std::vector<float>, 3> volts;
  std::array<std::vector<float>, 3> rms;  ///< over the cycle that ends at each sample, as the analysis judges it
};

/// Of the phases that were analysed, in the record's volts.
Curves curves_of(const readers::Record& record, const Analysis& analysis);

}  // namespace command
