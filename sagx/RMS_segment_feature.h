/* Segmentation of a long window by its RMS curves. */
#ifndef SAGX_RMS_SEGMENT_FEATURE_H
#define SAGX_RMS_SEGMENT_FEATURE_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Divides the window by the SVD feature of its RMS curves at eight positions per cycle: writes Trms, T0rms and Trms_num
 * of `dipx`, the minimum curve u and the features (one entry per position in feasvd_a, feasvd_b, feasvd_c) of `buf`.
 *
 * Reads num, smp, rms_ua, rms_ub, rms_uc of `buf` and un, ut of `dipx`. Prints the time that the features took and the
 * number of crossings. Samples beyond 384000 are not looked at; a rate whose order lies outside 1 to 9 or whose step is
 * 0 has no features. Null pointers: nothing is done.
 */
DIPX_API void SVDsegment_multiclass(dq_data* buf, dq_dipx_struct* dipx);

#ifdef __cplusplus
}
#endif

#endif
