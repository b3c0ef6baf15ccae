// Rounds figures to their meaningful digits, so that a document shows the same digits on every machine.
#pragma once

#include <algorithm>
#include <cmath>

#include "analysis/decimal.h"
#include "measure/findings.h"

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

/// Rounds an uncertainty up to a number of decimals, which may be negative, but at least to one unit of the last one.
inline double rounded_up(double plus_minus, int decimals) {
  constexpr double digits_of_a_double = 1e-9;
  const double scale = analysis::power_of_ten(std::abs(decimals));
  const double units = decimals >= 0 ? plus_minus * scale : plus_minus / scale;
  const double whole = std::max(1.0, std::ceil(units * (1 - digits_of_a_double)));
  return decimals >= 0 ? whole / scale : whole * scale;
}

/// Returns the number of decimals, at most `most`, with which an uncertainty has two significant digits; it is negative
/// where the last of these is a ten or more. More digits of a figure and of its uncertainty say nothing.
inline int decimals_of(double plus_minus, int most) {
  constexpr int significant = 2;
  if (!(plus_minus > 0) || !std::isfinite(plus_minus)) return most;
  const int exponent = analysis::decimal_exponent(plus_minus);
  const int decimals = significant - 1 - exponent;
  if (decimals > most) return most;
  // An uncertainty such as 0.0999 has a digit more when it is rounded up.
  return rounded_up(plus_minus, decimals) >= analysis::power_of_ten(exponent + 1) ? decimals - 1 : decimals;
}

/// Rounds a figure and its uncertainty to the digits that mean something, or to `most` decimals if these are fewer.
inline measure::Figure rounded_figure(const measure::Figure& figure, int most) {
  if (!(figure.plus_minus > 0) || !std::isfinite(figure.value) || !std::isfinite(figure.plus_minus)) return figure;
  const int decimals = decimals_of(figure.plus_minus, most);
  const double scale = analysis::power_of_ten(std::abs(decimals));
  const double value = decimals >= 0 ? to_unit(figure.value, scale) : std::round(figure.value / scale) * scale + 0.0;
  return {value, rounded_up(figure.plus_minus, decimals)};
}

}  // namespace outputs
