/* Reduction of the SVD feature to its distribution. */
#ifndef SAGX_SVD_CAL_H
#define SAGX_SVD_CAL_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Fills feasvd_buf from feasvd_a, feasvd_b, feasvd_c, num and smp of `buf`: the largest of the three features per
 * sample over the largest of all, and how many samples (and what share of them, per cent) fall into each tenth of it;
 * the top tenth takes 1 itself and what is no number. `dipx` is not used. Returns 0.
 */
DIPX_API int SVD_datapro(dq_data* buf, dq_dipx_struct* dipx);

#ifdef __cplusplus
}
#endif

#endif
