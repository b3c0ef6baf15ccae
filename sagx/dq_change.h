// How strongly the dq magnitudes of a window change at each sample: what both dq segmentations begin with. Private to
// the stages.
#pragma once

#include "sagx/dq_dipx.h"

namespace sagx {

/// Keeps the magnitudes ua, ub, uc of the window's first `samples` samples (at most 70400) in ua0, ub0, uc0 and their
/// minimum in u, smooths them with a running median over half a cycle and a sample, and writes the SVD feature of the
/// smoothed ones to feasvd_a, feasvd_b, feasvd_c. The first order^2 entries repeat the one behind them; an order of 0
/// leaves the features as they are.
void measure_dq_change(dq_data& buf, int samples, int order);

}  // namespace sagx
