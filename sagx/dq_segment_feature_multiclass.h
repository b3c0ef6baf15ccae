/* Segmentation and features of a dip whose window is at most 500 cycles long, and an alternative segmentation. */
#ifndef SAGX_DQ_SEGMENT_FEATURE_MULTICLASS_H
#define SAGX_DQ_SEGMENT_FEATURE_MULTICLASS_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Divides the window by the SVD feature of the dq magnitudes: writes seg_num, seg_idx, seg_tmp and D of `dipx`, the
 * minimum curve u, the magnitudes before smoothing (ua0, ub0, uc0), the smoothed ones (ua, ub, uc) and the features
 * (feasvd_a, feasvd_b, feasvd_c) of `buf`, and feasvd_buf.
 *
 * Reads num, smp, ua, ub, uc of `buf` and un, ut, ud of `dipx`. Prints the threshold. Samples beyond 70400 are not
 * looked at; a rate whose order lies outside 1 to 9 (above 360 samples per cycle) has no features. Null pointers:
 * nothing is done.
 */
DIPX_API void SVDsegment_multiclass3(dq_data* buf, dq_dipx_struct* dipx);

/*
 * All features of the dip in the window `data` into its result `dipx`: dq transform, segmentation, and per segment
 * residual voltages, phases, unbalance, phase jump and category; per dip point on wave and rates of voltage change.
 *
 * Reads num, smp, t, Va, Vb, Vc, rms_ua, rms_ub, rms_uc of `data`, smprate, un, ut, f, ud of `dipx`, and the first two
 * boundaries of the whole record (dq_rms_buf). A segmentation that seg_check rejects leaves all but seg_num, seg_idx,
 * seg_tmp and D as it was. Segments are the pairs (T[1], T[2]), (T[3], T[4]), ... Without a window record or a whole
 * record, for null pointers and for a window beyond 70400 samples nothing is done.
 */
DIPX_API void dq_segment_feature_multiclass(dq_data* data, dq_dipx_struct* dipx);

/*
 * Divides the window by the SVD feature of its RMS curves at every sample: an alternative that the analysis does not
 * run. Writes T_rms (at most 32 boundaries) and T_rms_num of `dipx`, the minimum curve u and the features (one entry
 * per position in feasvd_a, feasvd_b, feasvd_c) of `buf`. The end of each transition is moved to where the RMS of phase
 * A last changes by more than one per cent of the depth.
 *
 * Reads num, smp, rms_ua, rms_ub, rms_uc of `buf` and un, ud of `dipx`. Samples beyond 384000 are not looked at; a rate
 * whose order lies outside 1 to 9 has no features. Prints the number of crossings. Null pointers: nothing is done.
 */
DIPX_API void SVDsegment_multiclass4(dq_data* buf, dq_dipx_struct* dipx);

#ifdef __cplusplus
}
#endif

#endif
