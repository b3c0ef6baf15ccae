// Segmentation and features of a long window in their plain form: one step after the other, lists with their counts.
#pragma once

#include "sagx/dq_dipx.h"

namespace plain {

/// Crossings of one per cent of nominal by the feature of the smoothed magnitudes, at most 32. For rates with a feature
/// of order 1 to 9 and windows whose last median ends within the arrays.
void SVDsegment_multiclass2(dq_data* buf, const dq_dipx_struct* dipx, int* T0, int* T0num);

/// Features of the window that is also the one of dq_data_buf. For rates of 32 to 128, boundaries within the window,
/// and windows whose stretches end within the arrays.
void dq_segment_feature(dq_data* data, dq_dipx_struct* dipx);

}  // namespace plain
