// The measured waveforms and their RMS, for drawing.
#pragma once

#include "analysis/findings.h"
#include "analysis/waveform.h"

namespace analysis {

/// One value for each sample of the measured waveform, volts; not a number where samples are missing.
struct Curves {
  Waveform volts;
  Waveform rms;  ///< recorded, or over the cycle that ends at each sample; samples before the end of the first cycle
                 ///< have its value
};

Curves curves_of(const Analysis& analysis);

}  // namespace analysis
