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
 * Segments a window by the SVD feature of its dq magnitudes. Also fills feasvd_buf and prints the threshold. Samples
 * beyond 70400 are ignored; a rate whose order is outside 1 to 9 (above 360 samples per cycle) has no features. Does
 * nothing for null pointers.
 *
 * @param buf the window; num, smp, ua, ub, uc are read; the minimum curve u, the magnitudes before smoothing (ua0, ub0,
 * uc0), the smoothed ones (ua, ub, uc) and the features (feasvd_a, feasvd_b, feasvd_c) are written
 * @param dipx the dip; un, ut, ud are read; seg_num, seg_idx, seg_tmp and D are written
 */
DIPX_API void SVDsegment_multiclass3(dq_data* buf, dq_dipx_struct* dipx);

/**
 * Computes all features of the dip in a window: the dq transform and the segmentation; per segment the residual
 * voltages, phases, unbalance, phase jump and category; and per dip the point on wave and the rates of voltage change.
 * Segments are the pairs (T[1], T[2]), (T[3], T[4]), ...
 *
 * Also reads the first two boundaries of the whole record (dq_rms_buf). If seg_check rejects the segmentation,
 * everything but seg_num, seg_idx, seg_tmp and D is left unchanged. The phase jumps are read at the window's first
 * sample, where they are close to 0. Does nothing without a window record or a whole-record record, for null pointers
 * and for a window of more than 70400 samples.
 *
 * @param data the window; num, smp, t, Va, Vb, Vc, rms_ua, rms_ub, rms_uc are read
 * @param dipx the dip; smprate, un, ut, f, ud are read, and the features are written
 */
DIPX_API void dq_segment_feature_multiclass(dq_data* data, dq_dipx_struct* dipx);

/**
 * Segments a window by the SVD feature of its RMS curves at every sample. The analysis does not use this alternative.
 * The end of each transition is moved to the last position where the RMS of phase A changes by more than one per cent
 * of the depth. Prints the number of crossings. Samples beyond 384000 are ignored; a rate whose order is outside 1 to 9
 * (0 and above 180 samples per cycle) has no features. Does nothing for null pointers.
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
