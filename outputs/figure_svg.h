// One dip as a figure for a report or a paper.
#pragma once

#include <cstddef>
#include <string>

#include "analysis/curves.h"
#include "analysis/findings.h"

namespace outputs {

/// Waveform, RMS and segments of a dip (counted from 0) as an SVG document 84 mm wide, a column of two; of the whole
/// record where there are no dips.
std::string figure_of(const readers::Record& record, const analysis::Analysis& analysis, const analysis::Curves& curves,
                      std::size_t dip);

}  // namespace outputs
