/* Fast Fourier transform of phasors. The analysis does not use it; hosts may. */
#ifndef SAGX_DQ_FFT_H
#define SAGX_DQ_FFT_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Transforms xk in place: X[k] = sum of x[n] exp(-j 2 pi k n / N), unscaled (Cooley and Tukey, Mathematics of
 * Computation 19, 1965). Single precision throughout.
 *
 * N: points, a power of two, narrowed to 16 bits. in_type 0: xk holds N complex values (2 to 4096); out_type has no
 * effect. Otherwise xk[n].r holds N real values (4 to 4096) and xk[n].x is ignored; with out_type 0 all N bins are
 * written, otherwise only the lower N / 2, and the upper half of the array stays. For any other N and for a null
 * pointer nothing is done.
 */
DIPX_API void DQ_FFT(vec_struct* xk, int N, short in_type, short out_type);

#ifdef __cplusplus
}
#endif

#endif
