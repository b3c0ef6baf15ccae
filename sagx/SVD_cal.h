/** @file
 * Reduction of the SVD feature to its distribution and its spread.
 */
#ifndef SAGX_SVD_CAL_H
#define SAGX_SVD_CAL_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Fills feasvd_buf from the SVD features of a window: the largest of the three per sample over the largest of all, and
 * how many samples (and what share of them, per cent) fall into each tenth of it; the top tenth takes 1 itself and what
 * is no number.
 *
 * @param buf the window; feasvd_a, feasvd_b, feasvd_c, num and smp are read, at most 384000 samples. For a null pointer
 * nothing is done
 * @param dipx not used; may be null
 * @return 0
 */
DIPX_API int SVD_datapro(dq_data* buf, dq_dipx_struct* dipx);

/**
 * Mean standard deviation of the reduced feature (feasvd_redu of feasvd_buf) over its half-cycles but the last: how
 * restless it is. Reads feasvd_num, at most 384000, and feasvd_smp, samples per cycle. Prints the number of half-cycles
 * looked at.
 *
 * @return the mean, without a unit as the reduced feature is; NaN when there is no half-cycle to look at
 */
DIPX_API float SVD_bzc(void);

#ifdef __cplusplus
}
#endif

#endif
