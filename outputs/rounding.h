// Rounds figures to their meaningful digits, so that a document shows the same digits on every machine.
#pragma once

#include <cmath>

#include "analysis/decimal.h"

namespace outputs {

/// The multiple of `unit` that is nearest to a value. Zero has no sign, as the sign of what was rounded to it may be
/// that of a rounding error.
inline double to_unit(double value, double units_in_one) {
  return std::round(value * units_in_one) / units_in_one + 0.0;
}

inline double rounded_seconds(double seconds) {
  return to_unit(seconds, 1e6);
}

inline double rounded_degrees(double degrees) {
  return to_unit(degrees, 1e2);
}

inline double rounded_percent(double percent) {
  return to_unit(percent, 1e3);
}

inline double rounded_hertz(double hertz) {
  return to_unit(hertz, 1e4);
}

/// Rounds voltages to six significant digits. What is smaller than any recorder's step is what cancelled sums leave,
/// whose digits differ between machines; it is zero.
inline double rounded_volts(double volts) {
  constexpr double smallest_step = 1e-9;
  return std::abs(volts) < smallest_step ? 0 : analysis::rounded_to_digits(volts, 6);
}

}  // namespace outputs
