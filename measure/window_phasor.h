// The fundamental over a short window of samples.
#pragma once

#include <cstddef>
#include <vector>

#include "measure/findings.h"

namespace measure {

/// Fits a fundamental and a constant by least squares to windows of a fixed number of samples. Sums have the same order
/// on every machine.
class WindowPhasor {
 public:
  WindowPhasor() = default;
  /// `samples`: at least 4.
  WindowPhasor(double radians_per_sample, std::size_t samples);

  [[nodiscard]] std::size_t size() const { return re_.size(); }
  /// Returns the phasor of `size()` samples, a peak value against a cosine that begins with the first of them; NaN if
  /// any sample is not finite.
  [[nodiscard]] Phasor of(const double* samples) const;

 private:
  std::vector<double> re_;  // what the samples are multiplied by and added up
  std::vector<double> im_;
};

}  // namespace measure
