// The radix-2 transform in its plain form, with one table of twiddle factors addressed in 16-bit arithmetic, the
// permutation and the butterflies stage by stage, and a real sequence's spectrum split into two separate arrays.
#pragma once

#include "sagx/dq_dipx.h"

namespace plain {

/// Transforms xk in place. N must be a size that the transform supports: a power of two from 2 (complex input, in_type
/// 0) or 4 (real input) to 4096.
void DQ_FFT(vec_struct* xk, int N, short in_type, short out_type);

}  // namespace plain
