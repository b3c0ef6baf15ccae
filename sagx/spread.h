// Spread of a curve over its half-cycles, as both measures of restlessness take it. Private to the stages.
#pragma once

#include <cmath>

namespace sagx {

/// Population standard deviation of `count` values. Sums, mean and quotient are float, the root double.
inline float standard_deviation(const float* values, int count) {
  const auto divisor = static_cast<float>(count);
  float sum = 0;
  for (int j = 0; j < count; j++) sum += values[j];
  const float mean = sum / divisor;
  float squares = 0;
  for (int j = 0; j < count; j++) squares += (values[j] - mean) * (values[j] - mean);
  return static_cast<float>(std::sqrt(static_cast<double>(squares / divisor)));
}

}  // namespace sagx
