// What the segmentation left out: a slow transition or a small step hides a level from it.
#pragma once

#include "analysis/findings.h"

namespace analysis {

/// Adds a note for the longest stretch of each dip in which the voltage stands still for ten cycles or more and which
/// is in none of the dip's segments, or in one whose residual voltage is another. `rms`: of the analysed samples,
/// volts.
void note_missed_levels(Analysis& analysis, const Waveform& rms);

}  // namespace analysis
