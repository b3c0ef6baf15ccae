// What the kernels are measured on: curves of a real dip, and noise as the worst case.
#pragma once

#include <vector>

namespace bench {

using Values = std::vector<float>;

/// Uniform between -1 and 1.
Values noise(int n);

/// The magnitudes of phase A through a dip that a fault recorder saw, at 128 samples per cycle, over and over until
/// there are n values: as the dq transform gives them, and smoothed by the median.
Values raw_magnitudes(int n);
Values smoothed_magnitudes(int n);

}  // namespace bench
