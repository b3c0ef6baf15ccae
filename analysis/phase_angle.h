// Angles in degrees.
#pragma once

#include <cmath>

namespace analysis {

/// The same angle in (-180, 180].
inline double within_half_a_turn(double degrees) {
  const double angle = std::remainder(degrees, 360.0);
  return angle > -180 ? angle : angle + 360;
}

}  // namespace analysis
