// Urms(1/2): the RMS over one cycle that begins at a zero crossing of the fundamental, refreshed every half cycle
// (IEC 61000-4-30).
#pragma once

#include <cstddef>
#include <vector>

#include "measure/waveform.h"

namespace measure {

class CycleTrack;

/// The values of one voltage in order of time.
struct HalfCycleRms {
  std::vector<double> start_s;  ///< beginning of each value's window, seconds from the waveform's first sample
  std::vector<double> end_s;    ///< end of each value's window
  std::vector<double> volts;    ///< not a number where samples are missing

  /// Returns the number of values.
  [[nodiscard]] std::size_t size() const { return volts.size(); }
};

/// Windows are one cycle long at the frequency of the track and follow the zero crossings of the voltage's own
/// fundamental. If there is almost no voltage, they continue at the same pace. `usual_v`: the voltage's usual level,
/// volts RMS.
HalfCycleRms half_cycle_rms(const Waveform& waveform, std::size_t phase, const CycleTrack& track, double usual_v);

}  // namespace measure
