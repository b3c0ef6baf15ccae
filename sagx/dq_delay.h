/* dq transform of one phase by means of a delayed copy of itself. Works in the window record (dq_data_buf). */
#ifndef SAGX_DQ_DELAY_H
#define SAGX_DQ_DELAY_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * RMS magnitude, phase angle and RMS phasor of one phase at every sample: the phase and its copy delayed by a sixth of
 * a cycle make a balanced three-phase set, which is rotated into the dq frame (Park, AIEE Transactions 48, 1929) and
 * smoothed.
 *
 * Va: `n` samples, volts; t: their times, seconds; Samplepoint: samples per cycle; f: network frequency, hertz.
 * ua: magnitude, volts RMS; angle_ua: degrees in (-180, 180] against a cosine that starts at t = 0; vec_u: phasor; `n`
 * of each. Leaves upd1, upq1, upd, upq and the filter's arrays of the window record filled. Does nothing without a
 * window record, for null pointers, for n outside 1 to 70400 or an element (Samplepoint / 4 + 1) outside 1 to 128
 * or too long for the filter (n + element above 70467).
 */
DIPX_API void dq_delay(float* Va, float* t, int Samplepoint, int n, float f, float* ua, float* angle_ua,
                       vec_struct* vec_u);

/* Rotates one sample of a three-phase set (volts) at time t (seconds) into the frame of frequency f (hertz). */
DIPX_API void dq(float ua, float ub, float uc, float t, float f, float* upd, float* upq);

#ifdef __cplusplus
}
#endif

#endif
