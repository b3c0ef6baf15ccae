// The smallest and largest value of a window in their plain form: each window gone through from its one end to the
// other.
#pragma once

namespace plain {

/// minima[i] is what remains of padded[i .. i + width - 1] when each value is replaced by the next that is not greater.
void sliding_minimum(const float* padded, int count, int width, float* minima);

/// maxima[i] is what remains of the same window, gone through backward, when each value is replaced by the next that is
/// not smaller.
void sliding_maximum(const float* padded, int count, int width, float* maxima);

}  // namespace plain
