// The SVD feature in its plain form: the matrix of differences and its complete decomposition, whatever is in it.
#pragma once

namespace plain {

/// The largest singular value of the order x order matrix that the differences up to and with series[end] fill column
/// by column. `order` is 1 to 9, `end` at least order^2.
float svd_feature(const float* series, int end, int order);

}  // namespace plain
