// The results of all dips, back to zero ahead of a run. Private to the driver.
#pragma once

namespace sagx {

/// Zeroes new_dipx_buf.
void clear_results();

}  // namespace sagx
