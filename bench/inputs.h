// The data on which the kernels are measured: curves of a real dip, and noise as the worst case.
#pragma once

#include <vector>

namespace bench {

using Values = std::vector<float>;

/// Returns values that are uniformly distributed between -1 and 1.
Values noise(int n);

/// Returns the magnitudes of phase A during a dip that a fault recorder captured, at 128 samples per cycle, repeated
/// until there are n values. The raw magnitudes come from the dq transform; the smoothed ones have passed the median.
Values raw_magnitudes(int n);
Values smoothed_magnitudes(int n);

}  // namespace bench
