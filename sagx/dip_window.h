// The section of the record around one dip, and the conversion of its results back to record positions. Private to the
// driver and its tests.
#pragma once

#include "sagx/dq_dipx.h"

namespace sagx {

/// The dip with four cycles on either side.
struct Window {
  unsigned start;   ///< record position of its first sample
  unsigned length;  ///< samples
};

/// Converts the results of the long-window stages in `dip` to record positions, and sets the duration to the time from
/// the first to the last boundary of the RMS segmentation. T0, T0rms, the minima of the single phases and D stay in
/// window positions.
void finish_long_window(dq_dipx_struct& dip, const Window& window);

/// Does the same for the short-window stages, whose minima have their own positions and whose duration is that of D.
void finish_short_window(dq_dipx_struct& dip, const Window& window);

}  // namespace sagx
