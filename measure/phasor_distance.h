// The distance between the phasors of several phases.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "measure/findings.h"
#include "measure/low_voltage.h"

namespace measure {

/// Returns the largest distance between the phasors of a phase. Phases that have almost no voltage on both sides do not
/// count.
inline double distance(const Phasors& one, const Phasors& other, std::size_t phases) {
  double farthest = 0;
  for (std::size_t phase = 0; phase < phases; phase++) {
    if (std::abs(one[phase]) < next_to_nothing && std::abs(other[phase]) < next_to_nothing) continue;
    farthest = std::max(farthest, std::abs(one[phase] - other[phase]));
  }
  return farthest;
}

}  // namespace measure
