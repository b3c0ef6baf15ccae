// Computes the dq components of one phase in their plain form; every intermediate value is stored in its own precision.
#pragma once

namespace plain {

/// Rotates one sample of a three-phase set at time t (seconds) into the frame of frequency f (hertz).
void dq(float ua, float ub, float uc, float t, float f, float* d, float* q);

/// Computes the components of a phase and its copy delayed by a sixth of a cycle, before smoothing. n must be greater
/// than the delay.
void delayed_dq(const float* Va, const float* t, int samples_per_cycle, int n, float f, float* d, float* q);

}  // namespace plain
