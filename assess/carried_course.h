// Carries the course of a dip from the monitor to a load.
#pragma once

#include "assess/transformer.h"
#include "measure/findings.h"

namespace assess {

/// Returns the course of a dip as a load sees it: times and frequencies are those of `course`; levels before, segments
/// with voltages, phase jumps, sequences and types are those of the voltages that `map` makes of the three measured
/// ones. `reversed`: the phases follow each other as A, C, B. A segment keeps its place but counts as not measured
/// unless the phasors of all three voltages are known, before the dip and in it. The ± of a voltage assumes that the
/// errors of the measured voltages are independent. Figures that need the waveform are left out: point on wave, RMS
/// values, slopes, the lowest of six voltages and the explained share.
measure::Course carried_course(const measure::Course& course, const VoltageMap& map, bool reversed);

}  // namespace assess
