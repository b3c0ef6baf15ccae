/* Singular value decomposition in 1-based style, its vectors and matrices, and the median. */
#ifndef SAGX_MATLAB_SVD_H
#define SAGX_MATLAB_SVD_H

#include "dipx_dll.h"

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Singular value decomposition A = U diag(w) V^T by the Golub-Reinsch algorithm (Golub and Reinsch, Numerische
 * Mathematik 14, 1970): Householder bidiagonalisation, then implicit QR.
 *
 * Everything is 1-based: a[1..m][1..n] in, U out; w[1..n] singular values out; v[1..n][1..n] out (V, not its
 * transpose). The values are neither sorted nor is a value that did not converge within 30 iterations reported; it may
 * be negative. Not reentrant by contract. Null pointers or a work vector that cannot be allocated leave everything as
 * it was.
 */
DIPX_API void svdcmp(float** a, int m, int n, float* w, float** v);

/* sqrt(a^2 + b^2) without overflow or underflow on the way. */
DIPX_API float pythag(float a, float b);

/* A vector with valid indices nl..nh, to be released by free_dvector with the same nl. Null when there is no memory. */
DIPX_API float* dvector(int nl, int nh);

/* Releases a vector of dvector; nh is not used. A null vector is ignored. */
DIPX_API void free_dvector(float* v, int nl, int nh);

/* A matrix with valid rows nrl..nrh and columns ncl..nch in one block. There is no release for it. Null when there is
 * no memory. */
DIPX_API float** dmatrix(int nrl, int nrh, int ncl, int nch);

/* Median of Array[0..len - 1], which keeps its order: the middle value, or the mean of the two middle ones. 0 for more
 * than 1024 values and for none. */
DIPX_API float median(float* Array, int len);

#ifdef __cplusplus
}
#endif

#endif
