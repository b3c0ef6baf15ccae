// How the voltages seem to be connected: what makes figures wrong and is not corrected.
#pragma once

#include <array>
#include <cstddef>

#include "analysis/choice/noted.h"
#include "analysis/waveform.h"
#include "readers/record.h"

namespace analysis {

/// What the first cycles, when they are sound, show of phases exchanged or connected the other way round.
Notes notes_on_connection(const readers::Record& record, const std::array<std::size_t, 3>& channels,
                          const Waveform& waveform, double samples_per_cycle);

/// Says when the channels are sampled so far apart that it matters.
Notes notes_on_skew(const readers::Record& record, const std::array<std::size_t, 3>& channels, double line_frequency);

}  // namespace analysis
