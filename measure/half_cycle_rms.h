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
  std::vector<double> end_s;
  std::vector<double> volts;  ///< not a number where samples are missing

  [[nodiscard]] std::size_t size() const { return volts.size(); }
};

/// Windows are a cycle long at the frequency of the track and follow the zero crossings of the voltage's own
/// fundamental; where there is next to no voltage they go on as before. `usual_v`: the voltage's usual level,
/// volts RMS.
HalfCycleRms half_cycle_rms(const Waveform& waveform, std::size_t phase, const CycleTrack& track, double usual_v);

}  // namespace measure
