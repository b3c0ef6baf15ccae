// Giving the library its input.
#pragma once

#include <cstddef>

#include "analysis/waveform.h"

namespace analysis::embedded {

/// What one run of the library takes at most.
inline constexpr std::size_t longest_run_cycles = 3000;

/// Makes a stretch of the waveform the library's next input. The waveform must outlive the analysis.
void set_input(Waveform& waveform, int samples_per_cycle, const Stretch& stretch);

}  // namespace analysis::embedded
