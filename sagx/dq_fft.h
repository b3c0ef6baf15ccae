/** @file
 * Fast Fourier transform of phasors. The analysis does not use it; hosts may.
 */
#ifndef SAGX_DQ_FFT_H
#define SAGX_DQ_FFT_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Discrete Fourier transform in place: X[k] = sum of x[n] exp(-j 2 pi k n / N), unscaled (Cooley and Tukey, Mathematics
 * of Computation 19, 1965). Single precision throughout. For an N that it does not take and for a null pointer nothing
 * is done.
 *
 * @param xk N values in, N bins out
 * @param N points, narrowed to 16 bits: a power of two, 2 to 4096 for complex and 4 to 4096 for real input
 * @param in_type 0: complex input. Otherwise real input, of which the imaginary parts are ignored
 * @param out_type for real input, 0: all N bins are written. Otherwise only the lower N / 2, and the upper half of the
 * array stays. Without effect for complex input
 */
DIPX_API void DQ_FFT(vec_struct* xk, int N, short in_type, short out_type);

#ifdef __cplusplus
}
#endif

#endif
