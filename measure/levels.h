// The level that each voltage usually has: what events are told from where no voltage is declared.
#pragma once

#include "measure/cycle_track.h"
#include "measure/findings.h"

namespace measure {

struct UsualLevels {
  PerPhase fundamental_v{};  ///< volts RMS
  double from_s = 0;         ///< the time by which they were told
  double to_s = 0;
  bool begins_low = false;  ///< the record begins much lower than it stands for most of the time
};

/// The levels of the first steady stretch. A voltage that has sunk before that stretch begins is taken from the
/// record's first cycles; where the record begins low and then stays high, the levels are the later ones.
UsualLevels usual_levels(const CycleTrack& track, std::size_t phases);

}  // namespace measure
