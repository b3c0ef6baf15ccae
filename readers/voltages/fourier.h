// Fourier sums: how much of a stretch of samples is at one frequency, and where it stands.
#pragma once

#include <complex>
#include <cstddef>
#include <vector>

#include "readers/record.h"

namespace readers {

/// What the samples of a stretch are multiplied by: a pointer of length `size` that turns back once in `period`
/// samples.
using Rotation = std::vector<std::complex<double>>;
Rotation rotation_of(double period, std::size_t length, double size = 1);

/// The sum over `length` samples from `begin` on, the first of which meets the rotation's entry `turn`. Behind its end
/// the rotation begins anew. Samples that are not there count for nothing.
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
