/* Measures of the record as a whole, symmetrical components with the dip category, and checks of boundary lists. */
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

/*
 * Diagnostics for test harnesses; the analysis calls none of them. Boundaries are sample positions in a dip's window,
 * whose margins are four cycles; smp: samples per cycle.
 */

/* Copies `num` boundaries from Tin to Tout. Returns 0. Null pointers and num < 1: nothing is copied. */
DIPX_API int seg_reinit(int* Tin, int* Tout, int num);

/* Writes the four nominal boundaries of a window of `datalen` samples: the margins' inner ends (T[1], T[2]) and a
 * quarter cycle outside each (T[0], T[3]). Returns 0. A null list is left alone. */
DIPX_API int seg_reinit90(int* T, int smp, int datalen);

/* 0 when `num` boundaries fit the nominal ones of a window of `datalen` samples, each of them being expected a cycle
 * late: transitions round the nominal ends, and a middle part of half to all of the nominal one. Otherwise 1, as for
 * less than three boundaries and a null list. From four boundaries on the second transition is looked at too. */
DIPX_API int seg_check_dgz(int* T, int num, int smp, int datalen);

/*
 * Judges the boundaries of a record's only dip against where the lowest RMS of the whole record crosses the threshold.
 * Returns 1 when something is wrong, 0 otherwise and for null pointers.
 *
 * rms_buf: rmsa, rmsb, rmsc, smp_num (never followed past the arrays) and ut; dipx_data: not used; dipx: smprate, T and
 * T_num; evt_num: the record's dips. With wr_or_check 1 a line is appended to result.txt in the working directory, when
 * that can be opened. Its type is the first that applies: 01 not exactly one dip, 02 T_num below 3 or above 19, 03 two
 * equal neighbours, 04 the first boundary more than two cycles from the dip's start (half-way between the crossing and
 * five cycles), 05 the last one more than five cycles from its last sample, 06 a segment shorter than an eighth of a
 * cycle (than half the dip when that is shorter), 00 nothing.
 */
DIPX_API int seg_check_hh(dq_dipx_rms* rms_buf, dipx_data_struct* dipx_data, dq_dipx_struct* dipx, int evt_num,
                          int wr_or_check);

/* Writes x in decimal, without a line end, to `filename`, replacing what is there. Does nothing when that cannot be
 * opened or is null. */
DIPX_API void print_to_test(char* filename, int x);

#ifdef __cplusplus
}
#endif

#endif
