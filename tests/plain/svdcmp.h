// The singular value decomposition in its plain form: one function, element by element.
#pragma once

namespace plain {

/// sqrt(a^2 + b^2) without overflow or underflow on the way.
float pythag(float a, float b);

/// A = U diag(w) V^T, 1-based: a[1..m][1..n] in, U out; w[1..n] and v[1..n][1..n] out. Returns how many of the values
/// did not converge within 30 passes.
int svdcmp(float** a, int m, int n, float* w, float** v);

}  // namespace plain
