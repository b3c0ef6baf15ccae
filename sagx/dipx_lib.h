/** @file
 * Measurements on the whole record, symmetrical components with the dip category, and checks of boundary lists.
 */
#ifndef SAGX_DIPX_LIB_H
#define SAGX_DIPX_LIB_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Estimates the nominal (pre-event) voltage of a record that begins undisturbed: the mean RMS of its first two cycles
 * in the lowest phase. The lowest phase is used on purpose instead of the mean of the three, so that a phase that is
 * slightly low from the start lowers the dip threshold too.
 *
 * @param ua samples of phase A, volts, `n` of them
 * @param ub the same, phase B
 * @param uc the same, phase C
 * @param smp samples per cycle, at least 1
 * @param n samples per phase, at least 2 smp
 * @param un the estimate, RMS volts
 * @return 0, or -1 with a line on standard error and the estimate unchanged when a pointer is null, smp < 1 or n < 2
 * smp
 */
DIPX_API int dipx_cal_un(const float* ua, const float* ub, const float* uc, int smp, int n, float* un);

/**
 * Measures how restless the RMS curves of a record are, as the fraction of half-cycles whose standard deviation exceeds
 * 0.5 V, in the phase where this fraction is largest.
 *
 * @param buf the record; rmsa, rmsb, rmsc, smp_num (limited to the arrays) and smprate are read
 * @return 0 to 1. It is 0 for a null pointer or a rate below 2; if there are fewer than two half-cycles, nothing can be
 * judged and the result is NaN or zero
 */
DIPX_API float rms_bzc(dq_dipx_rms* buf);

/**
 * Computes the positive-sequence phasor of three phases (Fortescue, AIEE Transactions 37, 1918). With the second and
 * third phase exchanged, it computes the negative-sequence phasor. The operator's imaginary part is 0.866, a truncated
 * value. Does nothing for null pointers.
 *
 * @param v_ua phasor of phase A
 * @param v_ub phasor of phase B
 * @param v_uc phasor of phase C
 * @param seq the sequence phasor, in the same unit; may be one of the other phasors
 */
DIPX_API void seq_cal(vec_struct* v_ua, vec_struct* v_ub, vec_struct* v_uc, vec_struct* seq);

/**
 * Computes the zero-sequence phasor of three phases (Fortescue). Does nothing for null pointers.
 *
 * @param v_ua phasor of phase A
 * @param v_ub phasor of phase B
 * @param v_uc phasor of phase C
 * @param seq the sequence phasor, in the same unit; may be one of the other phasors
 */
DIPX_API void seq0_cal(vec_struct* v_ua, vec_struct* v_ub, vec_struct* v_uc, vec_struct* seq);

/**
 * Returns the category of one sample of a dip: 0, 2, 4 are two-phase dips (BC, CA, AB); 1, 3, 5 are single-phase dips
 * (C, A, B); 6, 7, 8 are two-phase dips with zero sequence (BC, CA, AB); 9 is a three-phase dip; 10 is not classified.
 * For the classification by the angle of the negative sequence see Bollen, Understanding Power Quality Problems, 2000.
 *
 * @param phasor_up0 positive sequence before the dip, RMS volts
 * @param phasor_up positive sequence of the sample
 * @param phasor_un negative sequence of the sample
 * @param un magnitude of the negative sequence, volts; below 4 % of nominal only the low phases decide
 * @param u0 magnitude of the zero sequence, volts; it matters only above 3 % of nominal
 * @param V nominal voltage, RMS volts
 * @param type number of phases below the dip threshold
 * @param phase mask of these phases: 1 = A, 2 = B, 4 = C
 * @return the category; also 10 for null pointers and where the angle is needed but the positive sequence has not
 * changed
 */
DIPX_API int symmetrical_components_dq(vec_struct* phasor_up0, vec_struct* phasor_up, vec_struct* phasor_un, float un,
                                       float u0, float V, int type, int phase);

/**
 * Checks a list of boundaries: it must have 2 to 32 entries, none of them negative and none below the previous one.
 * Prints a line that names the first rule that is broken.
 *
 * @param T the boundaries; a null list counts as an empty one
 * @param num their number; nothing is read when it is outside 2 to 32
 * @return 0 if the list follows the rules, otherwise 1
 */
DIPX_API int seg_check(int* T, int num);

/** @name Diagnostics for test harnesses
 * The analysis does not call any of these. Boundaries are sample positions in a dip's window, whose margins are four
 * cycles.
 * @{ */

/**
 * Copies a list of boundaries.
 *
 * @param Tin the list, `num` boundaries
 * @param Tout the copy; nothing is copied for null pointers and num < 1
 * @param num number of boundaries
 * @return 0
 */
DIPX_API int seg_reinit(int* Tin, int* Tout, int num);

/**
 * Computes the four nominal boundaries of a window: the margins' inner ends (T[1], T[2]) and points a quarter cycle
 * outside them (T[0], T[3]).
 *
 * @param T the four boundaries; a null list is ignored
 * @param smp samples per cycle
 * @param datalen samples in the window
 * @return 0
 */
DIPX_API int seg_reinit90(int* T, int smp, int datalen);

/**
 * Compares boundaries with the nominal ones of a window, each expected one cycle late: the transitions must be near the
 * nominal ends, and the middle part must last half to all of the nominal one. If there are at least four boundaries,
 * the second transition is checked too.
 *
 * @param T the boundaries; only the first four are checked
 * @param num their number
 * @param smp samples per cycle
 * @param datalen samples in the window
 * @return 0 if they match, otherwise 1; also 1 for fewer than three boundaries and for a null list
 */
DIPX_API int seg_check_dgz(int* T, int num, int smp, int datalen);

/**
 * Checks the boundaries of a record's only dip against the positions where the lowest RMS of the whole record crosses
 * the threshold, and on request logs the verdict by appending a line to result.txt in the working directory, if that
 * file can be opened. The type in the log is the first that applies: 01 not exactly one dip, 02 T_num below 3 or above
 * 19, 03 two equal neighbours, 04 the first boundary is more than two cycles from the dip's start (half-way between the
 * crossing and five cycles), 05 the last boundary is more than five cycles from the dip's last sample, 06 a segment is
 * shorter than an eighth of a cycle (or than half the dip if that is shorter), 00 no fault.
 *
 * @param rms_buf the record; rmsa, rmsb, rmsc, smp_num (limited to the arrays) and ut are read
 * @param dipx_data not used; may be null
 * @param dipx the dip; smprate, T and T_num are read
 * @param evt_num the number of dips in the record; a negative number counts as one
 * @param wr_or_check 1: check and log; any other value: only check
 * @return 1 when a fault is found; 0 otherwise and for null pointers
 */
DIPX_API int seg_check_hh(dq_dipx_rms* rms_buf, dipx_data_struct* dipx_data, dq_dipx_struct* dipx, int evt_num,
                          int wr_or_check);

/**
 * Writes a number in decimal, without a line end, to a file and replaces its content.
 *
 * @param filename the file; nothing is done when it is null or cannot be opened
 * @param x the number
 */
DIPX_API void print_to_test(char* filename, int x);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
