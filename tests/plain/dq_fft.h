// The radix-2 transform in its plain form: one table of twiddles addressed in 16-bit arithmetic, the permutation and
// the butterflies stage by stage, and the split of a real sequence's spectrum into two arrays of its own.
#pragma once

#include "sagx/dq_dipx.h"

namespace plain {

/// Transforms xk in place. N is one of the sizes that the transform takes: powers of two from 2 (complex input,
/// in_type 0) or 4 (real input) to 4096.
void DQ_FFT(vec_struct* xk, int N, short in_type, short out_type);

}  // namespace plain
