// Harmonics of the steady voltage, which would hide small changes of the fundamental.
#pragma once

#include "measure/cycle_track.h"
#include "measure/excerpt.h"

namespace measure {

/// Measures the harmonics of the steady voltage before `until_s` and subtracts them from the whole excerpt, in
/// proportion to each phase's fundamental at the time.
void remove_harmonics(Excerpt& excerpt, const CycleTrack& track, double until_s);

}  // namespace measure
