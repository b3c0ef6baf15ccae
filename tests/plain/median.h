// The median in its plain form: a bubble sort of a copy.
#pragma once

namespace plain {

/// Median of values[0 .. len - 1], `len` from 1 to 1024.
float median(const float* values, int len);

/// medians[i] is the median of the `len` values from series[i] on, for each i from 0 to n - len.
void sliding_median(const float* series, int n, int len, float* medians);

}  // namespace plain
