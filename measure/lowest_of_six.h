// The lowest of six voltages during a dip: the three between phases and the three of the phases without zero sequence.
#pragma once

#include <optional>

#include "measure/excerpt.h"
#include "measure/findings.h"

namespace measure {

/// Follows the one-cycle fundamentals whose middles lie between two times. A transformer passes on voltages between
/// phases or phases without zero sequence, so the lowest of the six is what equipment sees whatever its connection
/// (IEEE Std 1564-2014). `before`: of three voltages between phase and neutral, in the excerpt's units. `correction`:
/// what a phase's phasors are multiplied by to undo skew and polarity. None where one of the six has no voltage before.
std::optional<LowestOfSix> lowest_of_six(const Excerpt& excerpt, const Phasors& before, const Phasors& correction,
                                         double start_s, double end_s);

}  // namespace measure
