/** @file
 * Segmentation of a long window by its RMS curves, and the RMS of its segments.
 */
#ifndef SAGX_RMS_SEGMENT_FEATURE_H
#define SAGX_RMS_SEGMENT_FEATURE_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Segments a window by the SVD feature of its RMS curves at eight positions per cycle. Prints the time that computing
 * the features took and the number of crossings. Samples beyond 384000 are ignored. A rate whose order is outside 1 to
 * 9 or whose step is 0 (below 8 or above 180 samples per cycle) has no features. Does nothing for null pointers.
 *
 * @param buf the window; num, smp, rms_ua, rms_ub, rms_uc are read; the minimum curve u and the features (one entry per
 * position in feasvd_a, feasvd_b, feasvd_c) are written
 * @param dipx the dip; un, ut are read; Trms (at most 32, window positions), T0rms and Trms_num are written
 */
DIPX_API void SVDsegment_multiclass(dq_data* buf, dq_dipx_struct* dipx);

/**
 * Computes the RMS features of the dip in a window. Clears the segmentation's arrays, segments the window
 * (SVDsegment_multiclass) and joins transitions less than a cycle apart. Per segment it writes the lowest RMS of each
 * phase and of all phases (ua_rms_min, ub_rms_min, uc_rms_min, u3_rms_min, volts; 1e6 for an empty segment), the
 * position of the lowest (order_min) and how many phases are below the dip threshold (dipx_rms_type). It also writes
 * min_num and u_min_num, and the steepest changes over the first transition (Voltagechange_Va, Voltagechange_Vb,
 * Voltagechange_Vc).
 *
 * Segments are the pairs (Trms[1], Trms[2]), (Trms[3], Trms[4]), ..., without their ends. If seg_check rejects the
 * segmentation, everything but Trms, T0rms and Trms_num is left unchanged. Does nothing for null pointers.
 *
 * @param buf the window; num, smp, rms_ua, rms_ub, rms_uc are read, and the segmentation's arrays are written
 * @param dipx the dip; smprate, un, ut are read, and the features are written
 */
DIPX_API void RMS_segment_feature(dq_data* buf, dq_dipx_struct* dipx);

#ifdef __cplusplus
}
#endif

#endif
