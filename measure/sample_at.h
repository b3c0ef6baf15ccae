// Converts times to samples. Times that were computed from samples differ from them in their last bits, which must not
// decide about a sample.
#pragma once

#include <cmath>

namespace measure {

/// Share of the distance between two samples that counts as rounding.
inline constexpr double sample_rounding = 1e-6;

/// Returns the first sample that is not earlier than a time.
inline double sample_from(double seconds, double rate) {
  return std::ceil(seconds * rate - sample_rounding);
}

/// Returns the last sample that is not later than a time, which is given in samples.
inline double whole_samples(double samples) {
  return std::floor(samples + sample_rounding);
}

}  // namespace measure
