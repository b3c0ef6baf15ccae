// Draws one event as a figure for a report or a paper.
#pragma once

#include <cstddef>

#include "analysis/curves.h"
#include "analysis/findings.h"
#include "outputs/drawing.h"
#include "readers/record.h"

namespace outputs {

/// Waveform and one-cycle RMS round an event (counted from 0, of `analysis.found.events`) as a drawing 84 mm wide, a
/// column of two, with the segments and transitions of a dip's course and the threshold that the event is found
/// by; of the whole record where there are no events. Throws std::out_of_range for an event that is not there,
/// and Undrawable (drawable.h) for a time or a voltage that cannot be shown.
Drawing figure_of(const readers::Record& record, const analysis::Analysis& analysis, const analysis::Curves& curves,
                  std::size_t event);

}  // namespace outputs
