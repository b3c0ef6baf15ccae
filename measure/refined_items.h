// Examines the segments that were found for a dip, and changes those that the waveform contradicts.
#pragma once

#include "measure/course_figures.h"
#include "measure/dip_waveform.h"
#include "measure/findings.h"

namespace measure {

/// The runs of the excerpt, as far as the segments of a dip depend on them.
struct RunsAround {
  bool has_before = false;             ///< there is a run before the dip
  double first_change_plus_minus = 0;  ///< uncertainty of the end of the excerpt's first run in seconds
};

/// Joins items that are one segment, turns those that do not agree with the waveform into others, and drops those that
/// belong to the voltage before or after the dip. The course then starts or ends where the remaining items do.
void refine_items(const DipWaveform& wave, const Event& dip, const RunsAround& around, FoundCourse& found);

}  // namespace measure
