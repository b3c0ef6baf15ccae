/** @file
 * Segmentation and features of a dip whose window is longer than 500 cycles.
 */
#ifndef SAGX_DQ_SEGMENT_FEATURE_H
#define SAGX_DQ_SEGMENT_FEATURE_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Finds where the dq magnitudes of a stretch begin and cease to change: by their SVD feature at every sample against
 * one per cent of nominal. Samples beyond 70400 are not looked at; a rate whose order lies outside 1 to 9 (0 and above
 * 180 samples per cycle) has no features. Null pointers: nothing is done.
 *
 * @param buf the stretch; num, smp, ua, ub, uc are read; the minimum curve u, the magnitudes before smoothing (ua0,
 * ub0, uc0), the smoothed ones (ua, ub, uc) and the features (feasvd_a, feasvd_b, feasvd_c) are written
 * @param dipx the dip; un is read
 * @param T0 the crossings in order, at most 32: a rise as the last sample below the threshold, a fall as the first one
 * below it again
 * @param T0num number of crossings
 */
DIPX_API void SVDsegment_multiclass2(dq_data* buf, dq_dipx_struct* dipx, int* T0, int* T0num);

/**
 * The waveform features of the dip in a window, after RMS_segment_feature: sharpens each RMS transition to where the dq
 * magnitudes change (T, T_num), and gives, per dip, the point on wave and, per segment at one reference point, residual
 * voltages (ua_min, ub_min, uc_min, u3_min, volts), angles and phasors (angle_a_min ..., phasor_ua ...), phases below
 * the dip threshold (dipx_type, dipx_phase), unbalance (bph_max_value, per cent), phase jumps (angle_diff_ap ...
 * angle_diff_cn, degrees, not brought into one turn) and, by the vote of up to a cycle on either side, the category
 * (dipx_cata_seg). The reference point is order_min; where that lies outside the segment, order_min moves to the middle
 * of the transition that opens it.
 *
 * An RMS segmentation that seg_check rejects leaves everything as it was; a dq one leaves all but T, T_num and the
 * point on wave. Stretches beyond the window read what its arrays hold. Without a window record (dq_data_buf), for null
 * pointers and for a rate whose six cycles exceed 70400 samples nothing is done.
 *
 * @param data the window; smp, t, Va, Vb, Vc are read; the other arrays are worked in, and `num` is overwritten
 * @param dipx the dip; Trms, Trms_num, min_num, order_min, un, ut, f are read, the features written
 */
DIPX_API void dq_segment_feature(dq_data* data, dq_dipx_struct* dipx);

#ifdef __cplusplus
}
#endif

#endif
