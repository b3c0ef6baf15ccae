// The stretch of the record round one dip, and the way of its results back to positions in the record.
// Private to the driver and its tests.
#pragma once

#include "sagx/dq_dipx.h"

namespace sagx {

/// The dip and four cycles on either side.
struct Window {
  unsigned start;   ///< record position of its first sample
  unsigned length;  ///< samples
};

/// Brings what the long-window stages left in `dip` to record positions and takes the duration from the first to the
/// last boundary of the RMS segmentation. T0, T0rms, the minima of the single phases and D stay in window positions.
void finish_long_window(dq_dipx_struct& dip, const Window& window);

/// The same for the short-window stages, whose minima carry their own positions and whose duration is that of D.
void finish_short_window(dq_dipx_struct& dip, const Window& window);

}  // namespace sagx
