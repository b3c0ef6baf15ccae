// Segmentation and features of a long window in their plain form, which works step by step on lists with counts.
#pragma once

#include "sagx/dq_dipx.h"

namespace plain {

/// Finds the crossings of one per cent of nominal by the feature of the smoothed magnitudes, at most 32. Supports rates
/// with a feature of order 1 to 9 and windows whose last median ends within the arrays.
void SVDsegment_multiclass2(dq_data* buf, const dq_dipx_struct* dipx, int* T0, int* T0num);

/// Computes the features of the window, which must be that of dq_data_buf. Supports rates of 32 to 128, boundaries
/// within the window, and windows whose sections end within the arrays.
void dq_segment_feature(dq_data* data, dq_dipx_struct* dipx);

}  // namespace plain
