/** @file
 * Segmentation of a long window by its RMS curves and the RMS of its segments.
 */
#ifndef SAGX_RMS_SEGMENT_FEATURE_H
#define SAGX_RMS_SEGMENT_FEATURE_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Divides a window by the SVD feature of its RMS curves at eight positions per cycle. Prints the time that the features
 * took and the number of crossings. Samples beyond 384000 are not looked at; a rate whose order lies outside 1 to 9 or
 * whose step is 0 (below 8 or above 180 samples per cycle) has no features. Null pointers: nothing is done.
 *
 * @param buf the window; num, smp, rms_ua, rms_ub, rms_uc are read; the minimum curve u and the features (one entry per
 * position in feasvd_a, feasvd_b, feasvd_c) are written
 * @param dipx the dip; un, ut are read; Trms (at most 32, window positions), T0rms and Trms_num are written
 */
DIPX_API void SVDsegment_multiclass(dq_data* buf, dq_dipx_struct* dipx);

/**
 * The RMS features of the dip in a window: clears the segmentation's arrays, divides the window
 * (SVDsegment_multiclass), joins transitions less than a cycle apart, and writes per segment the lowest RMS of each
 * phase and of all (ua_rms_min, ub_rms_min, uc_rms_min, u3_rms_min, volts; 1e6 for an empty segment), where the lowest
 * lies (order_min) and how many phases are below the dip threshold (dipx_rms_type); min_num and u_min_num; and the
 * steepest changes over the first transition (Voltagechange_Va, Voltagechange_Vb, Voltagechange_Vc).
 *
 * Segments are the pairs (Trms[1], Trms[2]), (Trms[3], Trms[4]), ..., their ends excluded. A segmentation that
 * seg_check rejects leaves all but Trms, T0rms and Trms_num as it was. Null pointers: nothing is done.
 *
 * @param buf the window; num, smp, rms_ua, rms_ub, rms_uc are read, the segmentation's arrays written
 * @param dipx the dip; smprate, un, ut are read, the features written
 */
DIPX_API void RMS_segment_feature(dq_data* buf, dq_dipx_struct* dipx);

#ifdef __cplusplus
}
#endif

#endif
