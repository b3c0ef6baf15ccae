// Measures how strongly the dq magnitudes of a window change at each sample. Both dq segmentations start with this.
// Private to the stages.
#pragma once

#include "sagx/dq_dipx.h"

namespace sagx {

/// Stores the magnitudes ua, ub, uc of the window's first `samples` samples (at most 70400) in ua0, ub0, uc0 and their
/// minimum in u, smooths them with a running median over half a cycle plus one sample, and writes the SVD feature of
/// the smoothed magnitudes to feasvd_a, feasvd_b, feasvd_c. The first order^2 entries repeat the entry after them; for
/// an order of 0 the features are left unchanged.
void measure_dq_change(dq_data& buf, int samples, int order);

}  // namespace sagx
