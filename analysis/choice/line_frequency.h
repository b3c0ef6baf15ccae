// Determines the line frequency of the network.
#pragma once

#include <cstddef>

#include "analysis/choice/noted.h"
#include "readers/record.h"

namespace analysis {

/// Returns the line frequency in hertz: the given one if it is not 0; otherwise the one that the file states, unless
/// the waveform of `channel` shows another one; otherwise the one that the waveform shows.
Noted<double> line_frequency_of(const readers::Record& record, std::size_t channel, double given);

}  // namespace analysis
