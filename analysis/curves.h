// The analysed waveforms and their RMS, for drawing.
#pragma once

#include "analysis/findings.h"
#include "analysis/waveform.h"

namespace analysis {

/// At the analysed samples, whose times AnalysedVoltages tells; in the record's volts.
struct Curves {
  Waveform volts;
  Waveform rms;  ///< over the cycle that ends at each sample, as the analysis judges it
};

Curves curves_of(const Analysis& analysis);

}  // namespace analysis
