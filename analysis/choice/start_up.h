// The start-up of a recorder at the beginning of a waveform.
#pragma once

#include <cstddef>

#include "measure/waveform.h"

namespace analysis {

/// Returns the number of samples, in whole cycles, in which the filter of the recorder started up; 0 if there are none.
///
/// A filter begins with nothing in its memory, so its output rises from nothing with the first sample, in all voltages
/// by the same factor, and without a pause, until it stays at its full height. A dip or an interruption that is on when
/// a record begins looks different: it has a level that lasts, only some of the voltages are low, or the voltages do
/// not begin with nothing. The factor is measured eight times per cycle against the first steady cycles.
std::size_t start_up_of(const measure::Waveform& waveform);

}  // namespace analysis
