/* Measures of the record as a whole: its nominal voltage and its stability. */
#ifndef SAGX_DIPX_LIB_H
#define SAGX_DIPX_LIB_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Nominal (pre-event) voltage of a record that begins undisturbed: the mean RMS of its first two cycles in the lowest
 * phase. Taking the lowest phase and not the mean of the three is deliberate: a phase that is slightly low from the
 * start lowers the dip threshold with it.
 *
 * ua, ub, uc: samples, volts, `n` of each; smp: samples per cycle; un: the estimate, RMS volts.
 * Returns 0, or -1 with a line on standard error and *un as it was when a pointer is null, smp < 1 or n < 2 smp.
 */
DIPX_API int dipx_cal_un(const float* ua, const float* ub, const float* uc, int smp, int n, float* un);

/*
 * How restless the RMS curves of `buf` are: the share of half-cycles whose standard deviation exceeds 0.5 V, in the
 * phase where it is largest (0 to 1). Reads rmsa, rmsb, rmsc, smp_num and smprate. Returns 0 for a null pointer or a
 * rate below 2; of less than two half-cycles there is nothing to judge, and the result is NaN or zero.
 */
DIPX_API float rms_bzc(dq_dipx_rms* buf);

#ifdef __cplusplus
}
#endif

#endif
