/** @file
 * Measures of the record as a whole, symmetrical components with the dip category, and checks of boundary lists.
 */
#ifndef SAGX_DIPX_LIB_H
#define SAGX_DIPX_LIB_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Nominal (pre-event) voltage of a record that begins undisturbed: the mean RMS of its first two cycles in the lowest
 * phase. Taking the lowest phase and not the mean of the three is deliberate: a phase that is slightly low from the
 * start lowers the dip threshold with it.
 *
 * @param ua samples of phase A, volts, `n` of them
 * @param ub the same, phase B
 * @param uc the same, phase C
 * @param smp samples per cycle, at least 1
 * @param n samples per phase, at least 2 smp
 * @param un the estimate, RMS volts
 * @return 0, or -1 with a line on standard error and the estimate as it was when a pointer is null, smp < 1 or n < 2
 * smp
 */
DIPX_API int dipx_cal_un(const float* ua, const float* ub, const float* uc, int smp, int n, float* un);

/**
 * How restless the RMS curves of a record are: the share of half-cycles whose standard deviation exceeds 0.5 V, in the
 * phase where it is largest.
 *
 * @param buf the record; rmsa, rmsb, rmsc, smp_num (never followed past the arrays) and smprate are read
 * @return 0 to 1. 0 for a null pointer or a rate below 2; of less than two half-cycles there is nothing to judge, and
 * the result is NaN or zero
 */
DIPX_API float rms_bzc(dq_dipx_rms* buf);

/**
 * Positive-sequence phasor of three phases (Fortescue, AIEE Transactions 37, 1918); with the second and third
 * exchanged, the negative-sequence one. The operator's imaginary part is 0.866, cut. Null pointers: nothing is done.
 *
 * @param v_ua phasor of phase A
 * @param v_ub phasor of phase B
 * @param v_uc phasor of phase C
 * @param seq the sequence phasor, in the same unit; may be one of the others
 */
DIPX_API void seq_cal(vec_struct* v_ua, vec_struct* v_ub, vec_struct* v_uc, vec_struct* seq);

/**
 * Zero-sequence phasor of three phases (Fortescue). Null pointers: nothing is done.
 *
 * @param v_ua phasor of phase A
 * @param v_ub phasor of phase B
 * @param v_uc phasor of phase C
 * @param seq the sequence phasor, in the same unit; may be one of the others
 */
DIPX_API void seq0_cal(vec_struct* v_ua, vec_struct* v_ub, vec_struct* v_uc, vec_struct* seq);

/**
 * Category of one sample of a dip: 0, 2, 4 two-phase (BC, CA, AB), 1, 3, 5 single-phase (C, A, B), 6, 7, 8 two-phase
 * with zero sequence (BC, CA, AB), 9 three-phase, 10 not classified (Bollen, Understanding Power Quality Problems,
 * 2000, for the classification by the angle of the negative sequence).
 *
 * @param phasor_up0 positive sequence before the dip, RMS volts
 * @param phasor_up positive sequence of the sample
 * @param phasor_un negative sequence of the sample
 * @param un magnitude of the negative sequence, volts; below 4 % of nominal the phases alone decide
 * @param u0 magnitude of the zero sequence, volts; counts above 3 % of nominal
 * @param V nominal voltage, RMS volts
 * @param type number of phases below the dip threshold
 * @param phase their mask: 1 = A, 2 = B, 4 = C
 * @return the category; 10 also for null pointers and where the angle would be taken but the positive
 * sequence has not moved
 */
DIPX_API int symmetrical_components_dq(vec_struct* phasor_up0, vec_struct* phasor_up, vec_struct* phasor_un, float un,
                                       float u0, float V, int type, int phase);

/**
 * Checks a list of boundaries: 2 to 32, none negative and none below the one before. Prints a line that names the first
 * rule broken.
 *
 * @param T the boundaries; a null list is one of none
 * @param num their number; nothing is read when it is outside 2 to 32
 * @return 0 for a list that keeps the rules, otherwise 1
 */
DIPX_API int seg_check(int* T, int num);

/** @name Diagnostics for test harnesses
 * The analysis calls none of them. Boundaries are sample positions in a dip's window, whose margins are four cycles.
 * @{ */

/**
 * Copies a list of boundaries.
 *
 * @param Tin the list, `num` boundaries
 * @param Tout the copy. For null pointers and num < 1 nothing is copied
 * @param num number of boundaries
 * @return 0
 */
DIPX_API int seg_reinit(int* Tin, int* Tout, int num);

/**
 * The four nominal boundaries of a window: the margins' inner ends (T[1], T[2]) and a quarter cycle outside each (T[0],
 * T[3]).
 *
 * @param T the boundaries, four; a null list is left alone
 * @param smp samples per cycle
 * @param datalen samples in the window
 * @return 0
 */
DIPX_API int seg_reinit90(int* T, int smp, int datalen);

/**
 * Judges boundaries against the nominal ones of a window, each of them being expected a cycle late: transitions round
 * the nominal ends, and a middle part of half to all of the nominal one. From four boundaries on the second transition
 * is looked at too.
 *
 * @param T the boundaries; the first four are looked at
 * @param num their number
 * @param smp samples per cycle
 * @param datalen samples in the window
 * @return 0 when they fit, otherwise 1, as for less than three boundaries and a null list
 */
DIPX_API int seg_check_dgz(int* T, int num, int smp, int datalen);

/**
 * Judges the boundaries of a record's only dip against where the lowest RMS of the whole record crosses the threshold,
 * and logs the verdict when told to: a line is appended to result.txt in the working directory, when that can be
 * opened. Its type is the first that applies: 01 not exactly one dip, 02 T_num below 3 or above 19, 03 two equal
 * neighbours, 04 the first boundary more than two cycles from the dip's start (half-way between the crossing and five
 * cycles), 05 the last one more than five cycles from its last sample, 06 a segment shorter than an eighth of a cycle
 * (than half the dip when that is shorter), 00 nothing.
 *
 * @param rms_buf the record; rmsa, rmsb, rmsc, smp_num (never followed past the arrays) and ut are read
 * @param dipx_data not used; may be null
 * @param dipx the dip; smprate, T and T_num are read
 * @param evt_num the record's dips; a negative number counts as one
 * @param wr_or_check 1: check and log, anything else: only check
 * @return 1 when something is wrong, 0 otherwise and for null pointers
 */
DIPX_API int seg_check_hh(dq_dipx_rms* rms_buf, dipx_data_struct* dipx_data, dq_dipx_struct* dipx, int evt_num,
                          int wr_or_check);

/**
 * Writes a number in decimal, without a line end, into a file, replacing what is there.
 *
 * @param filename the file; nothing is done when it cannot be opened or is null
 * @param x the number
 */
DIPX_API void print_to_test(char* filename, int x);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
