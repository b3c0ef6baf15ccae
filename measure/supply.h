// The data on a whole waveform that the measurement of each dip needs.
#pragma once

#include <optional>

#include "measure/cycle_track.h"
#include "measure/levels.h"
#include "measure/waveform.h"
#include "measure/wiring.h"

namespace measure {

struct Supply {
  const Waveform& waveform;
  const CycleTrack& track;
  UsualLevels levels;
  Wiring wiring;
  std::optional<double> declared_v;  ///< for dips that are on at the record's beginning
  bool between_phases = false;       ///< the voltages are between phases, not between phase and neutral
};

}  // namespace measure
