/** @file
 * dq transform of a single phase that uses a delayed copy of it. Works in the window record (dq_data_buf).
 */
#ifndef SAGX_DQ_DELAY_H
#define SAGX_DQ_DELAY_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Computes the RMS magnitude, phase angle and RMS phasor of one phase at every sample. The phase and its copy, delayed
 * by a sixth of a cycle, make a balanced three-phase set, which is rotated into the dq frame (Park, AIEE Transactions
 * 48, 1929) and smoothed.
 *
 * Fills upd1, upq1, upd, upq and the filter's arrays of the window record. Does nothing without a window record, for
 * null pointers, for n outside 1 to 70400, or for an element (Samplepoint / 4 + 1) that is outside 1 to 128 or too long
 * for the filter (n + element above 70467).
 *
 * @param Va `n` samples, volts
 * @param t their times, seconds
 * @param Samplepoint samples per cycle
 * @param n number of samples
 * @param f network frequency, hertz
 * @param ua magnitude, volts RMS, `n` values
 * @param angle_ua angle, degrees in (-180, 180] relative to a cosine that starts at t = 0, `n` values
 * @param vec_u phasor, volts RMS, `n` values
 */
DIPX_API void dq_delay(float* Va, float* t, int Samplepoint, int n, float f, float* ua, float* angle_ua,
                       vec_struct* vec_u);

/**
 * Rotates one sample of a three-phase set into a frame that rotates at the given frequency (Park). The transform is
 * power-invariant: a balanced set of RMS voltage U gives a vector of length sqrt(3) U.
 *
 * @param ua phase A, volts
 * @param ub phase B, volts
 * @param uc phase C, volts
 * @param t time of the sample, seconds
 * @param f frequency of the frame, hertz
 * @param upd d component, volts; nothing is done when this or upq is null
 * @param upq q component, volts
 */
DIPX_API void dq(float ua, float ub, float uc, float t, float f, float* upd, float* upq);

#ifdef __cplusplus
}
#endif

#endif
