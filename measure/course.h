// The course of a dip on the waveform: when it begins and ends, its transitions and its segments.
#pragma once

#include <optional>

#include "measure/cycle_track.h"
#include "measure/findings.h"
#include "measure/levels.h"
#include "measure/waveform.h"
#include "measure/wiring.h"

namespace measure {

/// What is known of a waveform as a whole when one of its dips is measured.
struct Supply {
  const Waveform& waveform;
  const CycleTrack& track;
  UsualLevels levels;
  Wiring wiring;
  std::optional<double> declared_v;  ///< for dips that are on at the record's beginning
  bool between_phases = false;       ///< the voltages are between phases, not between phase and neutral
};

/// Measures the course of a dip that was detected. Where no change can be told within the dip, its start and end are
/// where the one-cycle fundamentals cross 90 % of their level, with one gradual segment between; both are none and
/// there is no segment where no fundamental falls that low. Start and end lie within two cycles of the detected dip.
Course measure_course(const Supply& supply, const Event& dip);

}  // namespace measure
