// The measured waveforms and their RMS, for drawing.
#pragma once

#include "analysis/findings.h"
#include "analysis/waveform.h"

namespace analysis {

/// One value for each sample of the measured waveform, volts; not a number where samples are missing.
struct Curves {
  Waveform volts;
  Waveform rms;  ///< over the cycle that ends at each sample; before the first whole cycle that cycle's
};

Curves curves_of(const Analysis& analysis);

}  // namespace analysis
