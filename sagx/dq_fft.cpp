// Radix-2 transform with decimation in time. A real sequence is transformed as a complex one of half its length, with
// its even samples as real parts and its odd samples as imaginary parts; the two spectra are separated afterwards.
#include "sagx/dq_fft.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <utility>

#include "platform/default_environment.h"
#include "platform/sine.h"

namespace {

constexpr int most_points = 4096;

/// Returns exp(-j 2 pi i / 4096) for all i.
std::array<vec_struct, most_points> make_twiddles() {
  std::array<vec_struct, most_points> table;
  for (int i = 0; i < most_points; i++) {
    const double angle = i * 6.283185307179586 / 4096.0;
    table[static_cast<std::size_t>(i)] = {static_cast<float>(platform::cosine(angle)),
                                          -static_cast<float>(platform::sine(angle))};
  }
  return table;
}

/// Returns exp(-j 2 pi index / points).
const vec_struct& twiddle(int index, int points) {
  static const auto table = make_twiddles();
  return table[static_cast<std::size_t>(index * (most_points / points))];
}

vec_struct operator+(const vec_struct& a, const vec_struct& b) {
  return {a.r + b.r, a.x + b.x};
}
vec_struct operator-(const vec_struct& a, const vec_struct& b) {
  return {a.r - b.r, a.x - b.x};
}
vec_struct operator*(const vec_struct& a, const vec_struct& b) {
  return {a.r * b.r - a.x * b.x, a.r * b.x + a.x * b.r};
}

void reverse_bits(vec_struct* xk, int points) {
  int reversed = points / 2;
  for (int i = 1; i < points - 1; i++) {
    if (i < reversed) std::swap(xk[i], xk[reversed]);
    int bit = points / 2;
    while (bit <= reversed) {
      reversed -= bit;
      bit /= 2;
    }
    reversed += bit;
  }
}

void transform(vec_struct* xk, int points) {
  reverse_bits(xk, points);
  for (int half = 1; half < points; half *= 2) {
    for (int j = 0; j < half; j++) {
      const vec_struct w = twiddle(j, 2 * half);
      for (int k = j; k < points; k += 2 * half) {
        const vec_struct odd = xk[k + half] * w;
        xk[k + half] = xk[k] - odd;
        xk[k] = xk[k] + odd;
      }
    }
  }
}

/// Returns one bin of the whole spectrum from bins k and points - k of the packed spectrum; `w` rotates the part of the
/// odd samples.
vec_struct split(const vec_struct& bin, const vec_struct& mirrored, const vec_struct& w) {
  const vec_struct even = {(bin.r + mirrored.r) * 0.5F, (bin.x - mirrored.x) * 0.5F};
  const vec_struct odd = {(bin.x + mirrored.x) * 0.5F, -(bin.r - mirrored.r) * 0.5F};
  return even + odd * w;
}

void transform_real(vec_struct* xk, int points, bool all_bins) {
  const int half = points / 2;
  float sum = 0;          // bin 0
  float alternating = 0;  // bin points / 2
  for (int i = 0; i < half; i++) {
    xk[i] = {xk[2 * i].r, xk[2 * i + 1].r};
    sum += xk[i].r + xk[i].x;
    alternating += xk[i].r - xk[i].x;
  }
  transform(xk, half);
  for (int k = 1; k <= half / 2; k++) {
    const vec_struct bin = xk[k];
    const vec_struct mirrored = xk[half - k];
    xk[k] = split(bin, mirrored, twiddle(k, points));
    xk[half - k] = split(mirrored, bin, twiddle(half - k, points));
  }
  xk[0] = {sum, 0};
  if (!all_bins) return;
  xk[half] = {alternating, 0};
  for (int k = 1; k < half; k++) xk[points - k] = {xk[k].r, -xk[k].x};
}

}  // namespace

void DQ_FFT(vec_struct* xk, int N, short in_type, short out_type) {
  platform::in_default_environment([&] {
    const auto points = static_cast<std::int16_t>(N);
    const int fewest = in_type == 0 ? 2 : 4;
    if (xk == nullptr || points < fewest || points > most_points ||
        !std::has_single_bit(static_cast<unsigned>(points))) {
      return;
    }
    if (in_type == 0) {
      transform(xk, points);
    } else {
      transform_real(xk, points, out_type == 0);
    }
  });
}
