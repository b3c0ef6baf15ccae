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
 * Fills feasvd_buf from the SVD features of a window. It stores for each sample the largest feature of the three phases
 * divided by the largest of all, and counts how many samples (and what percentage of them) fall into each tenth of that
 * range; the top tenth includes 1 itself and NaN.
 *
 * @param buf the window; feasvd_a, feasvd_b, feasvd_c, num and smp are read, at most 384000 samples. Does nothing for a
 * null pointer
 * @param dipx not used; may be null
 * @return 0
 */
DIPX_API int SVD_datapro(dq_data* buf, dq_dipx_struct* dipx);

/**
 * Returns the mean standard deviation of the reduced feature (feasvd_redu of feasvd_buf) over all its half-cycles
 * except the last, as a measure of how restless it is. Reads feasvd_num, at most 384000, and feasvd_smp, samples per
 * cycle. Prints the number of half-cycles used.
 *
 * @return the mean, which like the reduced feature has no unit; NaN when there is no half-cycle to use
 */
DIPX_API float SVD_bzc(void);

#ifdef __cplusplus
}
#endif

#endif
