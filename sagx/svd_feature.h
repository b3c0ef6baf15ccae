// The SVD feature of a series, by which every segmentation finds where the voltage changes. Private to the stages.
#pragma once

namespace sagx {

inline constexpr int smallest_svd_order = 1;
inline constexpr int largest_svd_order = 9;

/// Order of the feature: the root of `cycle_share`, rounded half up. 0 when it is not one that svd_feature takes.
int svd_order(double cycle_share);

/// The largest singular value of the order x order matrix that the differences of the order^2 + 1 samples up to and
/// with series[end] fill column by column. `order` is 1 to 9; `end` is at least order^2.
float svd_feature(const float* series, int end, int order);

}  // namespace sagx
