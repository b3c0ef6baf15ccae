// The course of a dip on the waveform: when it begins and ends, its transitions and its segments.
#pragma once

#include "measure/findings.h"
#include "measure/supply.h"

namespace measure {

/// Measures the course of a detected dip. If no change can be found within the dip, start and end are the instants at
/// which the one-cycle fundamentals cross 90 % of their level, with one gradual segment between them. If no fundamental
/// falls that low, start and end are missing and there is no segment. Start and end lie within two cycles of the
/// detected dip, and not before `free_from_s`, when the course of the dip before this one ends; a course that would lie
/// before it is none.
Course measure_course(const Supply& supply, const Event& dip, double free_from_s = 0);

}  // namespace measure
