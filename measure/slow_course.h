// A dip in which no change can be told: the voltage goes down and comes back little by little, or by little.
#pragma once

#include <optional>

#include "measure/excerpt.h"
#include "measure/findings.h"

namespace measure {

/// By the one-cycle fundamentals alone.
struct SlowCourse {
  double start_s = 0;  ///< when the first phase falls through the threshold
  double end_s = 0;    ///< when the last one rises through it again
  Phasors lowest{};    ///< each phase where it is lowest between these times, in the excerpt's units
};

/// The mean of the one-cycle fundamentals between two times; none where there are none.
std::optional<Phasors> mean_fundamental(const Excerpt& excerpt, double from_s, double to_s);

/// Looks for voltages below a share of their level before between two times; none where there are none.
std::optional<SlowCourse> slow_course(const Excerpt& excerpt, const Phasors& before, double threshold, double from_s,
                                      double to_s);

}  // namespace measure
