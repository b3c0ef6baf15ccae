// At which frequency the network runs.
#pragma once

#include <cstddef>

#include "analysis/choice/noted.h"
#include "readers/record.h"

namespace analysis {

/// The one given, or else what the file states, where the waveform of `channel` does not show another one, or else what
/// the waveform shows; hertz. `given`: 0 where it is not.
Noted<double> line_frequency_of(const readers::Record& record, std::size_t channel, double given);

}  // namespace analysis
