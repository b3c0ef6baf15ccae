// The dq components of one phase in their plain form, every step stored as the precision that it has.
#pragma once

namespace plain {

/// One sample of a three-phase set at time t (seconds), rotated into the frame of frequency f (hertz).
void dq(float ua, float ub, float uc, float t, float f, float* d, float* q);

/// The components of a phase and its copy delayed by a sixth of a cycle, before they are smoothed. n is greater than
/// the delay.
void delayed_dq(const float* Va, const float* t, int samples_per_cycle, int n, float f, float* d, float* q);

}  // namespace plain
