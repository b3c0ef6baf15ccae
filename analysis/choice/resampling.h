// Bringing samples to another rate.
#pragma once

#include <cstddef>
#include <vector>

namespace analysis {

/// Samples per cycle at which a waveform is analysed: its own when it is a whole number of 32 to 128, or so near to one
/// that it counts as such; otherwise a number to resample it to.
int analysed_samples_per_cycle(double samples_per_cycle);

/// Whether samples have to be resampled to have `wanted` of them per cycle.
bool needs_resampling(double samples_per_cycle, int wanted);

struct Resampled {
  std::vector<float> values;
  double delay = 0;  ///< time of the first value behind that of the first one given, seconds; less than one new step
};

/// `values` at `rate` samples per second brought to `new_rate`. Beyond its ends the waveform is taken to go on as it is
/// there, cycle by cycle of `samples_per_cycle`. Throws std::runtime_error when the resampling library fails.
Resampled resampled(const std::vector<float>& values, double rate, double new_rate, double samples_per_cycle);

}  // namespace analysis
