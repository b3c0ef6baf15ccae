// The SVD feature of a series, which every segmentation uses to find where the voltage changes. Private to the stages.
#pragma once

#include "sagx/dq_dipx.h"
#include "sagx/three_phases.h"

namespace sagx {

inline constexpr int smallest_svd_order = 1;
inline constexpr int largest_svd_order = 9;

/// Returns the order of the feature: the square root of `cycle_share`, rounded half up; 0 if svd_feature does not
/// support it.
int svd_order(double cycle_share);

/// Computes the feature at every `step`-th sample of a series from order^2 on. It is the largest singular value of an
/// order x order matrix, which is filled column by column with the differences of the order^2 + 1 samples up to and
/// including that one. Returns the number of features; an order of 0 and a step below 1 give none.
int svd_features(const float* series, int samples, int step, int order, float* features);

/// Returns the largest of the three phases' features in a window.
inline float largest_feature(const dq_data& data, int position) {
  return largest_of(data.feasvd_a[position], data.feasvd_b[position], data.feasvd_c[position]);
}

}  // namespace sagx
