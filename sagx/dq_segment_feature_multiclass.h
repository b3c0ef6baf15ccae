/** @file
 * Segmentation and features of a dip whose window is at most 500 cycles long, and an alternative segmentation.
 */
#ifndef SAGX_DQ_SEGMENT_FEATURE_MULTICLASS_H
#define SAGX_DQ_SEGMENT_FEATURE_MULTICLASS_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Divides a window by the SVD feature of its dq magnitudes. Fills feasvd_buf too and prints the threshold. Samples
 * beyond 70400 are not looked at; a rate whose order lies outside 1 to 9 (above 360 samples per cycle) has no features.
 * Null pointers: nothing is done.
 *
 * @param buf the window; num, smp, ua, ub, uc are read; the minimum curve u, the magnitudes before smoothing (ua0, ub0,
 * uc0), the smoothed ones (ua, ub, uc) and the features (feasvd_a, feasvd_b, feasvd_c) are written
 * @param dipx the dip; un, ut, ud are read; seg_num, seg_idx, seg_tmp and D are written
 */
DIPX_API void SVDsegment_multiclass3(dq_data* buf, dq_dipx_struct* dipx);

/**
 * All features of the dip in a window: dq transform, segmentation, and per segment residual voltages, phases,
 * unbalance, phase jump and category; per dip point on wave and rates of voltage change. Segments are the pairs (T[1],
 * T[2]), (T[3], T[4]), ...
 *
 * Reads the first two boundaries of the whole record (dq_rms_buf) too. A segmentation that seg_check rejects leaves all
 * but seg_num, seg_idx, seg_tmp and D as it was. The phase jumps are read at the window's first sample, where they are
 * next to 0. Without a window record or a whole record, for null pointers and for a window beyond 70400 samples nothing
 * is done.
 *
 * @param data the window; num, smp, t, Va, Vb, Vc, rms_ua, rms_ub, rms_uc are read
 * @param dipx the dip; smprate, un, ut, f, ud are read, the features written
 */
DIPX_API void dq_segment_feature_multiclass(dq_data* data, dq_dipx_struct* dipx);

/**
 * Divides a window by the SVD feature of its RMS curves at every sample: an alternative that the analysis does not run.
 * The end of each transition is moved to where the RMS of phase A last changes by more than one per cent of the depth.
 * Prints the number of crossings. Samples beyond 384000 are not looked at; a rate whose order lies outside 1 to 9 (0
 * and above 180 samples per cycle) has no features. Null pointers: nothing is done.
 *
 * @param buf the window; num, smp, rms_ua, rms_ub, rms_uc are read; the minimum curve u and the features (one entry per
 * position in feasvd_a, feasvd_b, feasvd_c) are written
 * @param dipx the dip; un, ud are read; T_rms (at most 32 boundaries, window positions) and T_rms_num are written
 */
DIPX_API void SVDsegment_multiclass4(dq_data* buf, dq_dipx_struct* dipx);

#ifdef __cplusplus
}
#endif

#endif
