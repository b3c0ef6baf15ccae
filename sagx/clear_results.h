// Resets the results of all dips to zero before a run. Private to the driver.
#pragma once

namespace sagx {

/// Zeroes new_dipx_buf.
void clear_results();

}  // namespace sagx
