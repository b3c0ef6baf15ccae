// What the analysis asks the library besides dips: levels, curves, its report. Waveforms go in, values come out.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "analysis/waveform.h"

namespace analysis::embedded {

/// RMS of the lowest phase over the first two cycles, volts; nothing where the waveform is shorter.
std::optional<float> level_at_start(const Waveform& waveform, int samples_per_cycle);

/// Whether the library takes a level for what it is; it replaces others by a usual nominal voltage.
bool takes_level(float volts);

/// RMS over the cycle that ends at each sample. The first, incomplete cycle has the value of the first complete one.
std::vector<float> cycle_rms(std::vector<float>& samples, int samples_per_cycle);

/// The report that the library writes of a whole record, of at most `longest_run_cycles`. Throws std::runtime_error
/// when the library could not write all of it.
std::string report_of(const Waveform& waveform, int samples_per_cycle);

/// Name of the instruction set that the library runs with.
const char* instruction_set();

}  // namespace analysis::embedded
