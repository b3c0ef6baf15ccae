// The median by sorting: `median` uses it, and its kernel falls back on it. Private to both; internal to the file that
// includes it, so that instruction sets do not share a compiled function.
#pragma once

namespace {

constexpr int longest_median = 1024;

/// Returns the median of `length` values, 1 to 1024.
float sorted_median(const float* values, int length) {
  float sorted[longest_median];
  for (int i = 0; i < length; i++) sorted[i] = values[i];
  // Exchanging neighbours keeps equal values in their order and determines how NaN is treated.
  for (int j = 0; j < length - 1; j++) {
    for (int i = 0; i < length - 1 - j; i++) {
      const float value = sorted[i];
      if (!(value > sorted[i + 1])) continue;
      sorted[i] = sorted[i + 1];
      sorted[i + 1] = value;
    }
  }
  if (length % 2 == 1) return sorted[length / 2];
  return (sorted[length / 2 - 1] + sorted[length / 2]) / 2.0F;
}

}  // namespace
