/** @file
 * Singular value decomposition in 1-based style, its vectors and matrices, and the median.
 */
#ifndef SAGX_MATLAB_SVD_H
#define SAGX_MATLAB_SVD_H

#include "dipx_dll.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Singular value decomposition A = U diag(w) V^T by the Golub-Reinsch algorithm (Golub and Reinsch, Numerische
 * Mathematik 14, 1970): Householder bidiagonalisation, then implicit QR.
 *
 * Everything is 1-based. The values are neither sorted nor is a value that did not converge within 30 iterations
 * reported; it may be negative. Not reentrant by contract. Null pointers or a work vector that cannot be allocated
 * leave everything as it was.
 *
 * @param a a[1..m][1..n]: A in, U out
 * @param m rows of A; below 1 there are none: the values are 0 and V is the identity
 * @param n columns of A; below 1 nothing is done
 * @param w w[1..n]: singular values out
 * @param v v[1..n][1..n]: V out, not its transpose
 */
DIPX_API void svdcmp(float** a, int m, int n, float* w, float** v);

/**
 * Length of the hypotenuse without overflow or underflow on the way.
 *
 * @param a one side
 * @param b the other
 * @return sqrt(a^2 + b^2)
 */
DIPX_API float pythag(float a, float b);

/**
 * Allocates a vector, to be released by free_dvector with the same nl.
 *
 * @param nl lowest valid index
 * @param nh highest valid index
 * @return the vector, its entries unset; null when there is no memory and for nh below nl - 1
 */
DIPX_API float* dvector(int nl, int nh);

/**
 * Releases a vector of dvector.
 *
 * @param v the vector; null is ignored
 * @param nl its lowest valid index
 * @param nh not used
 */
DIPX_API void free_dvector(float* v, int nl, int nh);

/**
 * Allocates a matrix in one block. There is no release for it.
 *
 * @param nrl lowest valid row
 * @param nrh highest valid row
 * @param ncl lowest valid column
 * @param nch highest valid column
 * @return the matrix, its entries unset; null when there is no memory, for less than one row or column and for more
 * elements than any block holds
 */
DIPX_API float** dmatrix(int nrl, int nrh, int ncl, int nch);

/**
 * Median: the middle value, or the mean of the two middle ones.
 *
 * @param Array the values, which keep their order
 * @param len their number
 * @return the median; 0 for more than 1024 values, for none and for a null pointer
 */
DIPX_API float median(float* Array, int len);

#ifdef __cplusplus
}
#endif

#endif
