// Measures a dip in which no change can be found, because the voltage falls and recovers slowly or by a small amount.
#pragma once

#include <optional>

#include "measure/excerpt.h"
#include "measure/findings.h"

namespace measure {

/// The result, which comes only from one-cycle fundamentals.
struct SlowCourse {
  double start_s = 0;  ///< when the first phase falls through the threshold
  double end_s = 0;    ///< when the last one rises through it again
  Phasors lowest{};    ///< each phase where it is lowest between these times, in the excerpt's units
};

/// Returns the mean of the one-cycle fundamentals between two times; empty if there are none.
std::optional<Phasors> mean_fundamental(const Excerpt& excerpt, double from_s, double to_s);

/// Looks for voltages below a share of their level before between two times; empty if there are none.
std::optional<SlowCourse> slow_course(const Excerpt& excerpt, const Phasors& before, double threshold, double from_s,
                                      double to_s);

}  // namespace measure
