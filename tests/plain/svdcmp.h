// The singular value decomposition in its plain form: one function that works element by element.
#pragma once

namespace plain {

/// Returns sqrt(a^2 + b^2); intermediate results neither overflow nor underflow.
float pythag(float a, float b);

/// Computes A = U diag(w) V^T with 1-based indices: a[1..m][1..n] holds A on entry and U on return; w[1..n] and
/// v[1..n][1..n] are written. Returns how many of the values did not converge within 30 passes.
int svdcmp(float** a, int m, int n, float* w, float** v);

}  // namespace plain
