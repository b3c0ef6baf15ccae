/** @file
 * Singular value decomposition with 1-based indices, its vectors and matrices, and the median.
 */
#ifndef SAGX_MATLAB_SVD_H
#define SAGX_MATLAB_SVD_H

#include "dipx_dll.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Computes the singular value decomposition A = U diag(w) V^T by the Golub-Reinsch algorithm (Golub and Reinsch,
 * Numerische Mathematik 14, 1970): Householder bidiagonalisation followed by implicit QR iteration.
 *
 * All indices are 1-based. The values are not sorted. A value that has not converged within 30 iterations is not
 * reported and may be negative. The function is not reentrant by contract. For null pointers, or if a work vector
 * cannot be allocated, everything is left unchanged.
 *
 * @param a a[1..m][1..n]: A on entry, U on return
 * @param m rows of A; if below 1 there are no rows, so the values are 0 and V is the identity
 * @param n columns of A; if below 1 nothing is done
 * @param w w[1..n]: the singular values
 * @param v v[1..n][1..n]: V, not its transpose
 */
DIPX_API void svdcmp(float** a, int m, int n, float* w, float** v);

/**
 * Returns the length of the hypotenuse; intermediate results neither overflow nor underflow.
 *
 * @param a one side
 * @param b the other side
 * @return sqrt(a^2 + b^2)
 */
DIPX_API float pythag(float a, float b);

/**
 * Allocates a vector, which must be released by free_dvector with the same nl.
 *
 * @param nl lowest valid index
 * @param nh highest valid index
 * @return the vector with uninitialised entries; null when memory runs out and for nh below nl - 1
 */
DIPX_API float* dvector(int nl, int nh);

/**
 * Releases a vector that was allocated by dvector.
 *
 * @param v the vector; null is ignored
 * @param nl its lowest valid index
 * @param nh not used
 */
DIPX_API void free_dvector(float* v, int nl, int nh);

/**
 * Allocates a matrix in one block. There is no function to release it.
 *
 * @param nrl lowest valid row
 * @param nrh highest valid row
 * @param ncl lowest valid column
 * @param nch highest valid column
 * @return the matrix with uninitialised entries; null when memory runs out, for fewer than one row or column, and for
 * more elements than any block can hold
 */
DIPX_API float** dmatrix(int nrl, int nrh, int ncl, int nch);

/**
 * Returns the median: the middle value, or the mean of the two middle ones.
 *
 * @param Array the values, whose order is not changed
 * @param len the number of values
 * @return the median; 0 for more than 1024 values, for no values and for a null pointer
 */
DIPX_API float median(float* Array, int len);

#ifdef __cplusplus
}
#endif

#endif
