// Determines the usual level of each voltage, which serves as the reference of events if no voltage is declared.
#pragma once

#include "measure/cycle_track.h"
#include "measure/findings.h"

namespace measure {

struct UsualLevels {
  PerPhase fundamental_v{};  ///< volts RMS
  double from_s = 0;         ///< beginning of the time over which they were measured
  double to_s = 0;
  bool begins_low = false;  ///< the record begins at a much lower level than it has for most of the time
};

/// Measures the levels of the first steady stretch. If a voltage has fallen before that stretch begins, its level is
/// that of the record's first cycles, unless the recorder was only starting up. If the record begins low and stays high
/// later, or begins on a line without voltage, the later levels are used.
UsualLevels usual_levels(const CycleTrack& track, std::size_t phases);

}  // namespace measure
