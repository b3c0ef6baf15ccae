/* Measures of the record as a whole, symmetrical components with the dip category, and the check of boundary lists. */
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

/*
 * Positive-sequence phasor of three phases (Fortescue, AIEE Transactions 37, 1918); with the second and third
 * exchanged, the negative-sequence one. The operator's imaginary part is 0.866, cut. Null pointers: nothing is done.
 */
DIPX_API void seq_cal(vec_struct* v_ua, vec_struct* v_ub, vec_struct* v_uc, vec_struct* seq);

/* Zero-sequence phasor of three phases. Null pointers: nothing is done. */
DIPX_API void seq0_cal(vec_struct* v_ua, vec_struct* v_ub, vec_struct* v_uc, vec_struct* seq);

/*
 * Category of one sample of a dip: 0, 2, 4 two-phase (BC, CA, AB), 1, 3, 5 single-phase (C, A, B), 6, 7, 8 two-phase
 * with zero sequence (BC, CA, AB), 9 three-phase, 10 not classified (Bollen, Understanding Power Quality Problems,
 * 2000, for the classification by the angle of the negative sequence).
 *
 * phasor_up0, phasor_up: positive sequence before the dip and of the sample; phasor_un: its negative sequence; un, u0:
 * magnitudes of its negative and zero sequence; V: nominal voltage; type: number of phases below the dip threshold;
 * phase: their mask (1 = A, 2 = B, 4 = C). Null pointers give 10.
 */
DIPX_API int symmetrical_components_dq(vec_struct* phasor_up0, vec_struct* phasor_up, vec_struct* phasor_un, float un,
                                       float u0, float V, int type, int phase);

/* 0 when T[0 .. num - 1] is a list of 2 to 32 boundaries, none negative and none below the one before; otherwise 1,
 * with a line that names the first rule broken. A null list is one of none. */
DIPX_API int seg_check(int* T, int num);

#ifdef __cplusplus
}
#endif

#endif
