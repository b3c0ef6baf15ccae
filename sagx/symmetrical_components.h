// Positive, negative and zero sequence of three phasors. Private to the stages, which need them at every sample.
#pragma once

#include "sagx/dq_dipx.h"

namespace sagx {

/// Returns the positive sequence; the negative one if `b` and `c` are exchanged. The factor 0.866 is part of the
/// result, as are the products in double.
inline vec_struct sequence_of(const vec_struct& a, const vec_struct& b, const vec_struct& c) {
  const double ar = a.r;
  const double ax = a.x;
  const double br = b.r;
  const double bx = b.x;
  const double cr = c.r;
  const double cx = c.x;
  return {static_cast<float>((ar + (-0.5 * br - 0.866 * bx) + (0.866 * cx - 0.5 * cr)) * 0.3333333333333333),
          static_cast<float>((ax + (0.866 * br - 0.5 * bx) + (-0.866 * cr - 0.5 * cx)) * 0.3333333333333333)};
}

inline vec_struct zero_sequence_of(const vec_struct& a, const vec_struct& b, const vec_struct& c) {
  return {(a.r + b.r + c.r) / 3.0F, (a.x + b.x + c.x) / 3.0F};
}

}  // namespace sagx
