// RMS values that an instrument has recorded in place of the waveform.
#pragma once

#include <cstddef>

#include "measure/half_cycle_rms.h"
#include "measure/waveform.h"

namespace measure {

/// Returns the recorded values of one voltage. Instruments stamp a value at the beginning, the middle or the end of its
/// window and seldom say which, so the stamp is both beginning and end.
HalfCycleRms recorded_rms(const Waveform& waveform, std::size_t phase);

struct RecordedLevel {
  double volts = 0;
  bool begins_low = false;  ///< the first values are below 90 % of the usual level, which is then that of all values
};

/// Returns the usual level: the median of the first second, or of all values if the record begins low.
RecordedLevel usual_of_recorded(const HalfCycleRms& series);

}  // namespace measure
