// Harmonics of the steady voltage, which would hide small changes of the fundamental.
#pragma once

#include "measure/cycle_track.h"
#include "measure/excerpt.h"

namespace measure {

/// Takes the harmonics that lie in the steady voltage up to `until_s` off the whole excerpt: as much of them as there
/// is of each phase's fundamental at the time.
void remove_harmonics(Excerpt& excerpt, const CycleTrack& track, double until_s);

}  // namespace measure
