/** @file
 * Sliding one-cycle RMS of the record and the dip boundaries found in it.
 */
#ifndef SAGX_VRMS_H
#define SAGX_VRMS_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Computes the one-cycle RMS at every sample (the voltage that IEC 61000-4-30 measures, but with a step of one sample
 * instead of half a cycle): rms[i] covers v[i - smp + 1 .. i].
 *
 * The first, incomplete cycle takes the value of the first complete one, so that the curve starts flat. Both arrays
 * must hold at least `smp` entries; if `len` is below `smp`, nothing is computed and the previous content of rms[smp -
 * 1] is copied to the entries before it.
 *
 * @param rms `len` values are written here, volts; must not overlap v
 * @param v `len` samples, volts
 * @param smp samples per cycle, at least 1; for smaller values and for null pointers nothing is done
 * @param len number of samples
 */
DIPX_API void Vrms_cal(float* rms, float* v, int smp, int len);

/**
 * Computes the three RMS curves of a record with their maxima and finds the dips of the lowest phase. Prints one line.
 *
 * T alternates between falls below ut and recoveries. It starts with a fall unless the record begins below ut; an odd
 * evt_num means that the last dip had not recovered by the end. Dips less than ten cycles apart are joined into one,
 * and the search ends with the 30th crossing. Samples beyond the record's capacity are ignored.
 *
 * @param buf the record; va, vb, vc, smp_num, smprate and ut (the threshold, volts) are read; rmsa, rmsb, rmsc, ua_max,
 * ub_max, uc_max, T0, T and evt_num are written. A null pointer is ignored
 */
DIPX_API void rms_seg_pro(dq_dipx_rms* buf);

#ifdef __cplusplus
}
#endif

#endif
