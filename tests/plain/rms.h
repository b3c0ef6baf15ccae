// Root mean squares and spreads in their plain form: each value on its own.
#pragma once

namespace plain {

/// rms[i] is the RMS of the `cycle` samples up to and with samples[i], for each i from cycle - 1 to count - 1.
void cycle_rms(const float* samples, int count, int cycle, float* rms);

/// How many of `blocks` blocks of `length` values have a standard deviation above 0.5.
int restless_blocks(const float* values, int length, int blocks);

}  // namespace plain
