/** @file
 * Morphological smoothing with a flat structuring element. Works in the window record (dq_data_buf).
 */
#ifndef SAGX_LVBO_H
#define SAGX_LVBO_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Computes the mean of the open-close and the close-open of a signal (Serra, Image Analysis and Mathematical
 * Morphology, 1982): spikes narrower than the element are removed, and edges keep their position.
 *
 * Uses eroder, dilata, OPEN, CLOSE, TEMP, OC and CO of the window record and leaves the intermediate results there.
 * Does nothing without a window record, for null pointers, for n or win below 1, for win above 128 or n + win above
 * 70467.
 *
 * @param signal `n` input values
 * @param BS `n` output values
 * @param n number of values
 * @param win length of the element in samples
 */
DIPX_API void lvbo(float* signal, float* BS, int n, int win);

/**
 * Erosion: E[i] is the smallest of signal[i - (win - 1 - h) .. i + h] with h = (win - 1) / 2, where positions outside 0
 * .. n - 1 count as 1000000. Of equal values the last is kept; a NaN is kept if it is the first value. The limits are
 * those of lvbo.
 *
 * @param signal `n` input values
 * @param g the element: it is flat, so this is not read
 * @param E `n` output values; may be the input
 * @param n number of values
 * @param win length of the element in samples
 */
DIPX_API void FS(float* signal, float* g, float* E, int n, int win);

/**
 * Dilation: D[i] is the largest value of the same range, where positions outside count as -1000000. Of equal values the
 * first is kept; a NaN is kept if it is the last value. The limits are those of lvbo.
 *
 * @param signal `n` input values
 * @param g the element: it is flat, so this is not read
 * @param D `n` output values; may be the input
 * @param n number of values
 * @param win length of the element in samples
 */
DIPX_API void PZ(float* signal, float* g, float* D, int n, int win);

#ifdef __cplusplus
}
#endif

#endif
