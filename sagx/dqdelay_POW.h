/* Point on wave: the phase angle at which a dip begins. */
#ifndef SAGX_DQDELAY_POW_H
#define SAGX_DQDELAY_POW_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Writes POW_a, POW_b and POW_c of `dipx`: the angle of each phase's sine (0 at the rising zero crossing), in degrees,
 * at the last sample before the dip at which a phase still stood at 95 % of nominal; the phase that leaves first
 * decides. In [0, 360) unless it lies so near the window's start that it is negative.
 *
 * ua, ub, uc: dq magnitudes, volts; angle_a, angle_b, angle_c: dq angles, degrees; t: times, seconds; Vfund: nominal
 * voltage; num: samples. Where no such sample is found, entry `num` of times and angles is taken, or 0 where that lies
 * beyond what window records hold. Null pointers: nothing is done.
 */
DIPX_API void dqdelay_POW(float* ua, float* ub, float* uc, float* angle_a, float* angle_b, float* angle_c, float* t,
                          dq_dipx_struct* dipx, float Vfund, unsigned int num);

#ifdef __cplusplus
}
#endif

#endif
