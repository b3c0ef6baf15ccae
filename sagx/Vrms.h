/* Sliding one-cycle RMS of the record and the dip boundaries found in it. */
#ifndef SAGX_VRMS_H
#define SAGX_VRMS_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * One-cycle RMS refreshed at every sample (the voltage that IEC 61000-4-30 measures, with a step of one sample in place
 * of half a cycle): rms[i] covers v[i - smp + 1 .. i].
 *
 * rms: `len` values out, volts; v: `len` samples in, volts; smp: samples per cycle, at least 1 (below, nothing is
 * done). The first, incomplete cycle takes the value of the first complete one, so that the curve starts flat. Both
 * arrays must hold at least `smp` entries: a `len` below `smp` computes nothing and spreads what rms[smp - 1] held.
 */
DIPX_API void Vrms_cal(float* rms, float* v, int smp, int len);

/*
 * Computes the three RMS curves of `buf` with their maxima and finds the dips of the lowest phase.
 *
 * Reads va, vb, vc, smp_num, smprate and ut (the threshold, volts); writes rmsa, rmsb, rmsc, ua_max, ub_max, uc_max,
 * T0, T and evt_num and prints one line. T holds falls below ut and recoveries in turn, a fall first unless the record
 * begins below ut; an odd evt_num means that the last dip had not recovered by the end. Dips less than ten cycles apart
 * become one, and the search ends with the 30th crossing. Samples beyond the record's capacity are not looked at. A
 * null pointer is ignored.
 */
DIPX_API void rms_seg_pro(dq_dipx_rms* buf);

#ifdef __cplusplus
}
#endif

#endif
