// The SVD feature of a series, by which every segmentation finds where the voltage changes. Private to the stages.
#pragma once

#include "sagx/dq_dipx.h"
#include "sagx/three_phases.h"

namespace sagx {

inline constexpr int smallest_svd_order = 1;
inline constexpr int largest_svd_order = 9;

/// Order of the feature: the root of `cycle_share`, rounded half up. 0 when it is not one that svd_feature takes.
int svd_order(double cycle_share);

/// The feature at every `step`-th sample of a series from order^2 on: the largest singular value of the order x order
/// matrix that the differences of the order^2 + 1 samples up to and with that one fill column by column. Returns how
/// many features there are; an order of 0 and a step below 1 give none.
int svd_features(const float* series, int samples, int step, int order, float* features);

/// The largest of the three phases' features in a window.
inline float largest_feature(const dq_data& data, int position) {
  return largest_of(data.feasvd_a[position], data.feasvd_b[position], data.feasvd_c[position]);
}

}  // namespace sagx
