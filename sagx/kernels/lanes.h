// Vectors of numbers with one lane per matrix or output position. Private to the kernels, which are compiled once for
// each instruction set; everything here is internal to the file that includes it, so that no two sets share a function.
//
// An operation on lanes applies that operation to each float separately with the usual rounding, so results do not
// depend on the instruction set.
#pragma once

#if defined(__SSE2__)
#include <immintrin.h>
#endif

#define SAGX_INLINE static inline __attribute__((always_inline))

namespace {

// --- one register ----------------------------------------------------------------------------------------------------

#if defined(__AVX512F__)
constexpr int register_lanes = 16;
#elif defined(__AVX2__)
constexpr int register_lanes = 8;
#else
constexpr int register_lanes = 4;
#endif

using Floats = float __attribute__((vector_size(4 * register_lanes)));
using Ints = int __attribute__((vector_size(4 * register_lanes)));
using Doubles = double __attribute__((vector_size(4 * register_lanes)));  // half as many lanes

#if defined(__AVX512F__)

#define SAGX_FUSED 1
using Bits = __mmask16;
SAGX_INLINE Bits less(Floats a, Floats b) {
  return _mm512_cmp_ps_mask((__m512)a, (__m512)b, _CMP_LT_OQ);
}
SAGX_INLINE Bits at_most(Floats a, Floats b) {
  return _mm512_cmp_ps_mask((__m512)a, (__m512)b, _CMP_LE_OQ);
}
SAGX_INLINE Bits equal(Floats a, Floats b) {
  return _mm512_cmp_ps_mask((__m512)a, (__m512)b, _CMP_EQ_OQ);
}
SAGX_INLINE Floats choose(Bits where, Floats a, Floats b) {
  return (Floats)_mm512_mask_blend_ps(where, (__m512)b, (__m512)a);
}
SAGX_INLINE bool is_any(Bits bits) {
  return bits != 0;
}
SAGX_INLINE Floats square_root(Floats x) {
  return (Floats)_mm512_sqrt_ps((__m512)x);
}
SAGX_INLINE Doubles square_root(Doubles x) {
  return (Doubles)_mm512_sqrt_pd((__m512d)x);
}
SAGX_INLINE Doubles low_half(Floats x) {
  return (Doubles)_mm512_cvtps_pd(_mm512_castps512_ps256((__m512)x));
}
SAGX_INLINE Doubles high_half(Floats x) {
  return (Doubles)_mm512_cvtps_pd(_mm512_extractf32x8_ps((__m512)x, 1));
}
SAGX_INLINE Floats rounded(Doubles low, Doubles high) {
  const __m512 lower = _mm512_castps256_ps512(_mm512_cvtpd_ps((__m512d)low));
  return (Floats)_mm512_insertf32x8(lower, _mm512_cvtpd_ps((__m512d)high), 1);
}
SAGX_INLINE Floats fused(Floats a, Floats b, Floats c) {
  return (Floats)_mm512_fmadd_ps((__m512)a, (__m512)b, (__m512)c);
}
SAGX_INLINE Floats rough_inverse_root(Floats x) {
  return (Floats)_mm512_rsqrt14_ps((__m512)x);
}

#else

using Bits = Ints;
SAGX_INLINE Bits less(Floats a, Floats b) {
  return a < b;
}
SAGX_INLINE Bits at_most(Floats a, Floats b) {
  return a <= b;
}
SAGX_INLINE Bits equal(Floats a, Floats b) {
  return a == b;
}

#if defined(__AVX2__) && defined(__FMA__)

#define SAGX_FUSED 1
SAGX_INLINE Floats choose(Bits where, Floats a, Floats b) {
  return (Floats)_mm256_blendv_ps((__m256)b, (__m256)a, (__m256)where);
}
SAGX_INLINE bool is_any(Bits bits) {
  return _mm256_movemask_ps((__m256)bits) != 0;
}
SAGX_INLINE Floats square_root(Floats x) {
  return (Floats)_mm256_sqrt_ps((__m256)x);
}
SAGX_INLINE Doubles square_root(Doubles x) {
  return (Doubles)_mm256_sqrt_pd((__m256d)x);
}
SAGX_INLINE Doubles low_half(Floats x) {
  return (Doubles)_mm256_cvtps_pd(_mm256_castps256_ps128((__m256)x));
}
SAGX_INLINE Doubles high_half(Floats x) {
  return (Doubles)_mm256_cvtps_pd(_mm256_extractf128_ps((__m256)x, 1));
}
SAGX_INLINE Floats rounded(Doubles low, Doubles high) {
  const __m256 lower = _mm256_castps128_ps256(_mm256_cvtpd_ps((__m256d)low));
  return (Floats)_mm256_insertf128_ps(lower, _mm256_cvtpd_ps((__m256d)high), 1);
}
SAGX_INLINE Floats fused(Floats a, Floats b, Floats c) {
  return (Floats)_mm256_fmadd_ps((__m256)a, (__m256)b, (__m256)c);
}
SAGX_INLINE Floats rough_inverse_root(Floats x) {
  return (Floats)_mm256_rsqrt_ps((__m256)x);
}

#else

SAGX_INLINE Floats choose(Bits where, Floats a, Floats b) {
  return (Floats)(((Ints)a & where) | ((Ints)b & ~where));
}

#if defined(__SSE2__)

SAGX_INLINE bool is_any(Bits bits) {
  return _mm_movemask_ps((__m128)bits) != 0;
}
SAGX_INLINE Floats square_root(Floats x) {
  return (Floats)_mm_sqrt_ps((__m128)x);
}
SAGX_INLINE Doubles square_root(Doubles x) {
  return (Doubles)_mm_sqrt_pd((__m128d)x);
}
SAGX_INLINE Doubles low_half(Floats x) {
  return (Doubles)_mm_cvtps_pd((__m128)x);
}
SAGX_INLINE Doubles high_half(Floats x) {
  return (Doubles)_mm_cvtps_pd(_mm_movehl_ps((__m128)x, (__m128)x));
}
SAGX_INLINE Floats rounded(Doubles low, Doubles high) {
  return (Floats)_mm_movelh_ps(_mm_cvtpd_ps((__m128d)low), _mm_cvtpd_ps((__m128d)high));
}

#else  // other machines than x86 use four lanes and leave the rest to the compiler

SAGX_INLINE bool is_any(Bits bits) {
  return (bits[0] | bits[1] | bits[2] | bits[3]) != 0;
}
SAGX_INLINE Floats square_root(Floats x) {
  return Floats{__builtin_sqrtf(x[0]), __builtin_sqrtf(x[1]), __builtin_sqrtf(x[2]), __builtin_sqrtf(x[3])};
}
SAGX_INLINE Doubles square_root(Doubles x) {
  return Doubles{__builtin_sqrt(x[0]), __builtin_sqrt(x[1])};
}
SAGX_INLINE Doubles low_half(Floats x) {
  return Doubles{static_cast<double>(x[0]), static_cast<double>(x[1])};
}
SAGX_INLINE Doubles high_half(Floats x) {
  return Doubles{static_cast<double>(x[2]), static_cast<double>(x[3])};
}
SAGX_INLINE Floats rounded(Doubles low, Doubles high) {
  return Floats{static_cast<float>(low[0]), static_cast<float>(low[1]), static_cast<float>(high[0]),
                static_cast<float>(high[1])};
}

#endif
#endif
#endif

SAGX_INLINE Floats loaded(const float* from) {
  Floats result;
  __builtin_memcpy(&result, from, sizeof result);
  return result;
}
SAGX_INLINE void store(Floats value, float* to) {
  __builtin_memcpy(to, &value, sizeof value);
}

// --- lanes: two registers, so that one is processed while the other waits for its division --------------------------

#if defined(SAGX_SMALL)
constexpr int registers = 1;  // half as much code
#else
constexpr int registers = 2;
#endif
constexpr int lanes = registers * register_lanes;

/// A float in each lane.
struct Lanes {
  Floats part[registers];
};

/// A truth value in each lane.
struct Mask {
  Bits part[registers];
};

#define SAGX_EACH for (int p = 0; p < registers; p++)

#define SAGX_ARITHMETIC(op)                         \
  SAGX_INLINE Lanes operator op(Lanes a, Lanes b) { \
    SAGX_EACH a.part[p] = a.part[p] op b.part[p];   \
    return a;                                       \
  }                                                 \
  SAGX_INLINE Lanes operator op(float a, Lanes b) { \
    SAGX_EACH b.part[p] = a op b.part[p];           \
    return b;                                       \
  }
SAGX_ARITHMETIC(+)
SAGX_ARITHMETIC(-)
SAGX_ARITHMETIC(*)
SAGX_ARITHMETIC(/)
#undef SAGX_ARITHMETIC

SAGX_INLINE Lanes operator-(Lanes a) {
  SAGX_EACH a.part[p] = -a.part[p];
  return a;
}
SAGX_INLINE Lanes& operator+=(Lanes& a, Lanes b) {
  a = a + b;
  return a;
}

/// Returns the same number, which must not be a negative zero, in every lane.
SAGX_INLINE Lanes every(float value) {
  Lanes result;
  SAGX_EACH result.part[p] = Floats{} + value;
  return result;
}

SAGX_INLINE Mask less(Lanes a, Lanes b) {
  Mask result;
  SAGX_EACH result.part[p] = less(a.part[p], b.part[p]);
  return result;
}
SAGX_INLINE Mask at_most(Lanes a, Lanes b) {
  Mask result;
  SAGX_EACH result.part[p] = at_most(a.part[p], b.part[p]);
  return result;
}
SAGX_INLINE Mask equal(Lanes a, Lanes b) {
  Mask result;
  SAGX_EACH result.part[p] = equal(a.part[p], b.part[p]);
  return result;
}

SAGX_INLINE Mask operator&(Mask a, Mask b) {
  SAGX_EACH a.part[p] = static_cast<Bits>(a.part[p] & b.part[p]);
  return a;
}
SAGX_INLINE Mask operator|(Mask a, Mask b) {
  SAGX_EACH a.part[p] = static_cast<Bits>(a.part[p] | b.part[p]);
  return a;
}
SAGX_INLINE Mask operator~(Mask a) {
  SAGX_EACH a.part[p] = static_cast<Bits>(~a.part[p]);
  return a;
}
SAGX_INLINE Mask no_lane() {
  Mask result;
  SAGX_EACH result.part[p] = Bits{};
  return result;
}
SAGX_INLINE bool any(Mask mask) {
  Bits all = mask.part[0];
  for (int p = 1; p < registers; p++) all = static_cast<Bits>(all | mask.part[p]);
  return is_any(all);
}

/// Returns `a` where the mask is true and `b` elsewhere.
SAGX_INLINE Lanes choose(Mask where, Lanes a, Lanes b) {
  SAGX_EACH a.part[p] = choose(where.part[p], a.part[p], b.part[p]);
  return a;
}

SAGX_INLINE Lanes magnitude(Lanes x) {
  SAGX_EACH x.part[p] = (Floats)((Ints)x.part[p] & 0x7FFFFFFF);
  return x;
}
/// A square root of a float that is taken in double and then rounded to float equals the float square root, because a
/// double has more than twice as many digits.
SAGX_INLINE Lanes square_root(Lanes x) {
  SAGX_EACH x.part[p] = square_root(x.part[p]);
  return x;
}

SAGX_INLINE Lanes loaded_lanes(const float* from) {
  Lanes result;
  SAGX_EACH result.part[p] = loaded(from + p * register_lanes);
  return result;
}
SAGX_INLINE void store(Lanes value, float* to) {
  SAGX_EACH store(value.part[p], to + p * register_lanes);
}

}  // namespace
