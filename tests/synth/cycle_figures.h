// Computes quantities of whole cycles of a waveform from its samples alone.
#pragma once

#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <vector>

namespace tests {

/// Returns the RMS of `count` samples from `begin` on.
inline double rms_over(const std::vector<double>& samples, std::size_t begin, std::size_t count) {
  double sum = 0;
  for (std::size_t i = begin; i < begin + count; i++) sum += samples[i] * samples[i];
  return std::sqrt(sum / static_cast<double>(count));
}

/// Returns the sine of `order` waves per `cycle` samples that is contained in one cycle from `begin` on: its RMS, and
/// its angle at sample 0.
inline std::complex<double> sine_in(const std::vector<double>& samples, std::size_t begin, std::size_t cycle,
                                    int order = 1) {
  std::complex<double> sum = 0;
  for (std::size_t i = begin; i < begin + cycle; i++) {
    const double turns = order * static_cast<double>(i) / static_cast<double>(cycle);
    sum += samples[i] * std::polar(1.0, -2 * std::numbers::pi * turns);
  }
  // For sin(x + a) this sum is exp(j(a - 90 degrees)) times half the number of samples.
  return sum * std::complex<double>(0, 1) * std::numbers::sqrt2 / static_cast<double>(cycle);
}

/// Returns the angle in degrees, from -180 to 180.
inline double degrees_of(const std::complex<double>& phasor) {
  return std::arg(phasor) * 180 / std::numbers::pi;
}

}  // namespace tests
