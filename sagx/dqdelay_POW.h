/** @file
 * Point on wave: the phase angle at which a dip begins.
 */
#ifndef SAGX_DQDELAY_POW_H
#define SAGX_DQDELAY_POW_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Determines the point on wave of a dip: the angle of each phase's sine (0 at the rising zero crossing), in degrees, at
 * the last sample before the dip at which a phase was still at 95 % of nominal or above. The phase that falls first
 * decides. The result is in [0, 360) unless the dip is so close to the window's start that it is negative.
 *
 * If there is no such sample, entry `num` of times and angles is used, or 0 if that entry is beyond the capacity of
 * window records. Does nothing for null pointers.
 *
 * @param ua dq magnitudes of phase A, RMS volts, `num` values
 * @param ub the same, phase B
 * @param uc the same, phase C
 * @param angle_a dq angles of phase A, degrees
 * @param angle_b the same, phase B
 * @param angle_c the same, phase C
 * @param t times, seconds; the frame is assumed to rotate at 50 Hz
 * @param dipx the dip; POW_a, POW_b and POW_c are written
 * @param Vfund nominal voltage, RMS volts
 * @param num number of samples
 */
DIPX_API void dqdelay_POW(float* ua, float* ub, float* uc, float* angle_a, float* angle_b, float* angle_c, float* t,
                          dq_dipx_struct* dipx, float Vfund, unsigned int num);

#ifdef __cplusplus
}
#endif

#endif
