// Computes the median in its plain form, by a bubble sort of a copy.
#pragma once

namespace plain {

/// Returns the median of values[0 .. len - 1]; `len` is 1 to 1024.
float median(const float* values, int len);

/// Sets medians[i] to the median of the `len` values from series[i] on, for each i from 0 to n - len.
void sliding_median(const float* series, int n, int len, float* medians);

}  // namespace plain
