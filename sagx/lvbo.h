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
 * Mean of the open-close and the close-open of a signal (Serra, Image Analysis and Mathematical Morphology, 1982):
 * spikes narrower than the element go, edges stay where they are.
 *
 * Uses eroder, dilata, OPEN, CLOSE, TEMP, OC and CO of the window record and leaves the intermediate results there.
 * Does nothing without a window record, for null pointers, for n or win below 1, for win above 128 or n + win above
 * 70467.
 *
 * @param signal `n` values in
 * @param BS `n` values out
 * @param n number of values
 * @param win length of the element in samples
 */
DIPX_API void lvbo(float* signal, float* BS, int n, int win);

/**
 * Erosion: E[i] is the smallest of signal[i - (win - 1 - h) .. i + h] with h = (win - 1) / 2, where positions outside
 * 0 .. n - 1 count as 1000000. Of equal values the last stands; NaN stands when it is the first. Limits as for lvbo.
 *
 * @param signal `n` values in
 * @param g the element: flat and not read
 * @param E `n` values out; may be the input
 * @param n number of values
 * @param win length of the element in samples
 */
DIPX_API void FS(float* signal, float* g, float* E, int n, int win);

/**
 * Dilation: the largest likewise, with -1000000 outside. Of equal values the first stands; NaN stands when it is the
 * last. Limits as for lvbo.
 *
 * @param signal `n` values in
 * @param g the element: flat and not read
 * @param D `n` values out; may be the input
 * @param n number of values
 * @param win length of the element in samples
 */
DIPX_API void PZ(float* signal, float* g, float* D, int n, int win);

#ifdef __cplusplus
}
#endif

#endif
