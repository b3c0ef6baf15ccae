// One dip as a figure for a report or a paper.
#pragma once

#include <cstddef>
#include <string>

#include "command/analysis.h"
#include "command/curves.h"

namespace command {

/// Waveform, RMS and segments of a dip (counted from 0) as an SVG document 84 mm wide, a column of two; of the whole
/// record where there are no dips.
std::string figure_of(const readers::Record& record, const Analysis& analysis, const Curves& curves, std::size_t dip);

}  // namespace command
