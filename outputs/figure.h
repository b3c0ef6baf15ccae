// Draws an event, among the others of its record, as a figure for a report or a paper.
#pragma once

#include <cstddef>

#include "analysis/curves.h"
#include "analysis/findings.h"
#include "outputs/drawing.h"
#include "readers/record.h"

namespace outputs {

/// Returns waveform and one-cycle RMS round an event (counted from 0, of `analysis.found.events`) as a drawing 84 mm
/// wide, a column of two: with bars for the events in view and their thresholds, the segments and transitions of a
/// dip's course and the phasors of its segments, and lines that describe the event and the others. Where events lie
/// outside the view, the RMS of the whole record is drawn above it. Without events the whole record is shown. Throws
/// std::out_of_range for an event that is not there, and Undrawable (drawable.h) for a time or a voltage that cannot be
/// shown.
Drawing figure_of(const readers::Record& record, const analysis::Analysis& analysis, const analysis::Curves& curves,
                  std::size_t event);

}  // namespace outputs
