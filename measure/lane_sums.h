// Sums over many samples, split into lanes that processors add at the same time.
#pragma once

#include <cstddef>

#include "measure/findings.h"

namespace measure {

/// Number of partial sums. Term k belongs to sum k modulo `lanes`, and what is left of the last round is added one by
/// one. The order is fixed, so that all machines get the same bits.
inline constexpr std::size_t lanes = 8;

/// Returns the sum of the squares of `count` samples.
double sum_of_squares(const double* samples, std::size_t count);

/// Returns the sums of the products of `count` samples with the factors of the real and of the imaginary part.
Phasor sum_of_products(const double* samples, const double* re, const double* im, std::size_t count);

}  // namespace measure
