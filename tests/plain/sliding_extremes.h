// Finds the smallest and largest value of a window in their plain form: each window is scanned from one end to the
// other.
#pragma once

namespace plain {

/// Sets minima[i] to the last value that remains when padded[i .. i + width - 1] is scanned forwards and the current
/// value is replaced by each one that is not greater.
void sliding_minimum(const float* padded, int count, int width, float* minima);

/// Sets maxima[i] to the last value that remains when the same window is scanned backwards and the current value is
/// replaced by each one that is not smaller.
void sliding_maximum(const float* padded, int count, int width, float* maxima);

}  // namespace plain
