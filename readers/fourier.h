// Computes Fourier sums, which give the amplitude and phase of a section of samples at one frequency.
#pragma once

#include <complex>
#include <cstddef>
#include <vector>

#include "readers/record.h"

namespace readers {

/// The factors by which the samples of a section are multiplied: a phasor of length `size` that turns backwards once in
/// `period` samples.
using Rotation = std::vector<std::complex<double>>;
Rotation rotation_of(double period, std::size_t length, double size = 1);

/// Returns the sum over `length` samples from `begin` on; the first of them is multiplied by the rotation's entry
/// `turn`. After its last entry the rotation starts again at the first. Missing samples do not contribute.
template <typename Sample>
std::complex<double> fourier_sum(const std::vector<Sample>& samples, std::size_t begin, std::size_t length,
                                 const Rotation& rotation, std::size_t turn = 0) {
  std::complex<double> sum = 0;
  for (std::size_t i = begin; i < begin + length; i++) {
    const auto sample = static_cast<double>(samples[i]);
    if (fits_float(sample)) sum += sample * rotation[turn];
    turn = turn + 1 < rotation.size() ? turn + 1 : 0;
  }
  return sum;
}

}  // namespace readers
