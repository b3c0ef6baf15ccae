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
 * Finds where the dq magnitudes of a section start and stop changing, by comparing their SVD feature at every sample
 * with one per cent of nominal. Samples beyond 70400 are ignored; a rate whose order is outside 1 to 9 (0 and above 180
 * samples per cycle) has no features. Does nothing for null pointers.
 *
 * @param buf the section; num, smp, ua, ub, uc are read; the minimum curve u, the magnitudes before smoothing (ua0,
 * ub0, uc0), the smoothed ones (ua, ub, uc) and the features (feasvd_a, feasvd_b, feasvd_c) are written
 * @param dipx the dip; un is read
 * @param T0 the crossings in order, at most 32: a rise is given as the last sample below the threshold, a fall as the
 * first sample below it again
 * @param T0num number of crossings
 */
DIPX_API void SVDsegment_multiclass2(dq_data* buf, dq_dipx_struct* dipx, int* T0, int* T0num);

/**
 * Computes the waveform features of the dip in a window, after RMS_segment_feature. It refines each RMS transition to
 * the position where the dq magnitudes change (T, T_num) and writes the dip's point on wave. Per segment, at one
 * reference point, it writes residual voltages (ua_min, ub_min, uc_min, u3_min, volts), angles and phasors (angle_a_min
 * ..., phasor_ua ...), the phases below the dip threshold (dipx_type, dipx_phase), the unbalance (bph_max_value, per
 * cent), the phase jumps (angle_diff_ap ... angle_diff_cn, degrees, not reduced to one turn) and the category
 * (dipx_cata_seg), which is decided by a vote over up to a cycle on either side. The reference point is order_min; if
 * that is outside the segment, order_min is moved to the middle of the transition that opens the segment.
 *
 * If seg_check rejects the RMS segmentation, everything is left unchanged; if it rejects the dq segmentation,
 * everything but T, T_num and the point on wave is. Sections that extend beyond the window read whatever its arrays
 * hold. Does nothing without a window record (dq_data_buf), for null pointers and for a rate at which six cycles exceed
 * 70400 samples.
 *
 * @param data the window; smp, t, Va, Vb, Vc are read; the other arrays are used as working memory, and `num` is
 * overwritten
 * @param dipx the dip; Trms, Trms_num, min_num, order_min, un, ut, f are read, and the features are written
 */
DIPX_API void dq_segment_feature(dq_data* data, dq_dipx_struct* dipx);

#ifdef __cplusplus
}
#endif

#endif
