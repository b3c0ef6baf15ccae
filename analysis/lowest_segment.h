// The segment of a dip that decides what kind of dip it is.
#pragma once

#include <cstddef>
#include <optional>

#include "measure/findings.h"

namespace analysis {

/// Returns the lowest voltage of the first `phases` phases in a segment, in volts; empty if none was measured.
std::optional<double> lowest_volts(const measure::Segment& segment, std::size_t phases);

/// Returns the first segment with the lowest voltage; null if none was measured.
const measure::Segment* lowest_segment(const measure::Course& course, std::size_t phases);

}  // namespace analysis
