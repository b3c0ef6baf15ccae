// Computes root mean squares and spreads in their plain form, each value separately.
#pragma once

namespace plain {

/// Sets rms[i] to the RMS of the `cycle` samples that end at samples[i], for each i from cycle - 1 to count - 1.
void cycle_rms(const float* samples, int count, int cycle, float* rms);

/// Returns how many of `blocks` blocks of `length` values have a standard deviation above 0.5.
int restless_blocks(const float* values, int length, int blocks);

}  // namespace plain
