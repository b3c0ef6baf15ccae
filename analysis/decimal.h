// Powers of ten, exact where double precision has them. The functions of the C library for them may differ in the last
// bit from one machine to another, and a rounding or a number of digits would follow that bit.
#pragma once

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "platform/float_chars.h"

namespace analysis {

/// Returns the double that is nearest to 10 to the power of `exponent`.
inline double power_of_ten(int exponent) {
  std::array<char, 16> text{'1', 'e'};
  const auto written = std::to_chars(text.data() + 2, text.data() + text.size(), exponent);
  double value = exponent < 0 ? 0 : std::numeric_limits<double>::infinity();  // where a double has no such power
  platform::from_chars(text.data(), written.ptr, value);
  return value;
}

/// Returns the exponent of a positive finite number's first significant digit: 2 for 100 to 999.9, -1 for 0.1.
inline int decimal_exponent(double value) {
  std::array<char, 32> text{};
  const char* const end = platform::to_scientific_chars(text.data(), text.data() + text.size(), value).ptr;
  const char* at = end;
  while (at[-1] != 'e') at--;
  int exponent = 0;
  std::from_chars(*at == '+' ? at + 1 : at, end, exponent);
  return exponent;
}

/// Returns the double nearest to a number that is rounded to `digits` significant ones; ties go away from zero.
inline double rounded_to_digits(double value, int digits) {
  if (value == 0) return 0;  // without a sign
  if (!std::isfinite(value)) return value;
  const int decimals = digits - 1 - decimal_exponent(std::abs(value));
  constexpr int most_decimals = 300;  // smaller values are zero to every digit that means anything
  if (decimals > most_decimals) return 0;
  const double scale = power_of_ten(std::abs(decimals));
  return decimals >= 0 ? std::round(value * scale) / scale : std::round(value / scale) * scale;
}

}  // namespace analysis
