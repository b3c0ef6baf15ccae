// Finds the lowest of six voltages during a dip: the three between phases and the three phases without zero sequence.
#pragma once

#include <optional>

#include "measure/excerpt.h"
#include "measure/findings.h"

namespace measure {

/// Follows the one-cycle fundamentals whose middles lie between two times. A transformer passes on voltages between
/// phases or phases without zero sequence, so equipment never sees less than the lowest of the six, whatever its
/// connection (IEEE Std 1564-2014). `before`: three voltages between phase and neutral, in the excerpt's units.
/// `correction`: factors that remove skew and polarity from the phasors. Empty if one of the six has no voltage before.
std::optional<LowestOfSix> lowest_of_six(const Excerpt& excerpt, const Phasors& before, const Phasors& correction,
                                         double start_s, double end_s);

}  // namespace measure
