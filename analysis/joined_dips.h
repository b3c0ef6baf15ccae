// Dips so close together that the analysis takes them for one, where IEC 61000-4-30 counts each.
#pragma once

#include "analysis/findings.h"

namespace analysis {

/// Adds a note for each dip inside which the voltage comes back for a cycle or more. `rms`: of the analysed samples,
/// volts.
void note_joined_dips(Analysis& analysis, const Waveform& rms);

}  // namespace analysis
