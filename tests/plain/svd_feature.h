// Computes the SVD feature in its plain form: it always decomposes the complete matrix of differences, whatever its
// content.
#pragma once

namespace plain {

/// Returns the largest singular value of the order x order matrix that the differences up to and including series[end]
/// fill column by column. `order` is 1 to 9, and `end` is at least order^2.
float svd_feature(const float* series, int end, int order);

}  // namespace plain
