// Chooses the parts of a long record that the page holds sample by sample.
#pragma once

#include <cstddef>
#include <vector>

#include "analysis/curves.h"
#include "analysis/findings.h"
#include "analysis/waveform.h"

namespace outputs {

/// Returns the stretches of the curves that the page holds sample by sample, in order and apart from one another; no
/// more than `most` samples together. A record of up to `most` samples is one stretch. Of a longer one, the stretches
/// are first some cycles round each change of each event, and then the events with what lies round them, from the first
/// of `ranked` (indices of events) to the last.
std::vector<analysis::Stretch> detailed_stretches(const analysis::Analysis& analysis, const analysis::Curves& curves,
                                                  const std::vector<std::size_t>& ranked, std::size_t most);

}  // namespace outputs
