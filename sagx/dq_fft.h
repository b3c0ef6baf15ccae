/** @file
 * Fast Fourier transform of phasors. The analysis does not use it, but hosts may.
 */
#ifndef SAGX_DQ_FFT_H
#define SAGX_DQ_FFT_H

#include "sagx/dq_dipx.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Computes the discrete Fourier transform in place: X[k] = sum of x[n] exp(-j 2 pi k n / N), unscaled (Cooley and
 * Tukey, Mathematics of Computation 19, 1965), in single precision throughout. Does nothing for an unsupported N and
 * for a null pointer.
 *
 * @param xk N values on entry, N bins on return
 * @param N points, narrowed to 16 bits: a power of two, 2 to 4096 for complex and 4 to 4096 for real input
 * @param in_type 0: complex input. Any other value: real input, whose imaginary parts are ignored
 * @param out_type for real input, 0: all N bins are written. Any other value: only the lower N / 2 bins are written,
 * and the upper half of the array is left unchanged. Has no effect for complex input
 */
DIPX_API void DQ_FFT(vec_struct* xk, int N, short in_type, short out_type);

#ifdef __cplusplus
}
#endif

#endif
