#include "tests/plain/dq_fft.h"

#include <cmath>
#include <cstdint>

namespace {

using Int16 = std::int16_t;

float FFT_W[8192];
bool first_run = true;
vec_struct FFT_xk1[4096];
vec_struct FFT_xk2[4096];

Int16 narrow(int value) {
  return static_cast<Int16>(value);
}

}  // namespace

namespace plain {

void DQ_FFT(vec_struct* xk, int N, short in_type, short out_type) {
  if (first_run) {
    first_run = false;
    for (int i = 0; i < 4096; i++) {
      const double angle = i * 6.283185307179586 / 4096.0;
      FFT_W[2 * i] = static_cast<float>(std::cos(angle));
      FFT_W[2 * i + 1] = static_cast<float>(std::sin(angle));
      FFT_W[2 * i + 1] = -FFT_W[2 * i + 1];
    }
  }

  Int16 num = narrow(N);
  float xk_0 = 0;
  float xk_n = 0;
  if (in_type != 0) {
    num = narrow(num >> 1);
    for (Int16 I = 0; I < num; I++) {
      const float even = xk[2 * I].r;
      const float odd = xk[2 * I + 1].r;
      xk[I].r = even;
      xk[I].x = odd;
      const float sum = even + odd;
      const float difference = even - odd;
      xk_0 = xk_0 + sum;
      xk_n = xk_n + difference;
    }
  }

  const Int16 s = narrow(8192 / num);
  Int16 M = 1;
  for (int power = 4; power <= num; power *= 2) M++;

  Int16 J = narrow(num / 2);
  for (Int16 I = 1; I <= num - 2; I++) {
    if (I < J) {
      const vec_struct kept = xk[I];
      xk[I] = xk[J];
      xk[J] = kept;
    }
    Int16 K = narrow(num / 2);
    while (K <= J) {
      J = narrow(J - K);
      K = narrow(K / 2);
    }
    J = narrow(J + K);
  }

  for (Int16 L = 1; L <= M; L++) {
    const Int16 B = narrow(1 << (L - 1));
    for (J = 0; J < B; J++) {
      const Int16 P = narrow(narrow(s * J) * (1 << (M - L)));
      const float Wr = FFT_W[P];
      const float Wx = FFT_W[P + 1];
      for (Int16 K = J; K < num; K = narrow(K + 2 * B)) {
        const float rr = xk[K + B].r * Wr;
        const float xx = xk[K + B].x * Wx;
        const float rx = xk[K + B].r * Wx;
        const float xr = xk[K + B].x * Wr;
        const vec_struct t = {rr - xx, rx + xr};
        xk[K + B].r = xk[K].r - t.r;
        xk[K + B].x = xk[K].x - t.x;
        xk[K].r = xk[K].r + t.r;
        xk[K].x = xk[K].x + t.x;
      }
    }
  }
  if (in_type == 0) return;

  const Int16 s2 = narrow(s / 2);
  for (Int16 K = 1; K <= num - 1; K++) {
    const vec_struct near = xk[K];
    const vec_struct far = xk[num - K];
    FFT_xk1[K].r = static_cast<float>(static_cast<double>(near.r + far.r) * 0.5);
    FFT_xk1[K].x = static_cast<float>(static_cast<double>(near.x - far.x) * 0.5);
    FFT_xk2[K].r = static_cast<float>(static_cast<double>(near.x + far.x) * 0.5);
    FFT_xk2[K].x = static_cast<float>(-static_cast<double>(near.r - far.r) * 0.5);
  }
  for (Int16 K = 1; K <= num - 1; K++) {
    const Int16 P = narrow(s2 * K);
    const float Wr = FFT_W[P];
    const float Wx = FFT_W[P + 1];
    const float rr = FFT_xk2[K].r * Wr;
    const float xx = FFT_xk2[K].x * Wx;
    const float rx = FFT_xk2[K].r * Wx;
    const float xr = FFT_xk2[K].x * Wr;
    const vec_struct turned = {rr - xx, rx + xr};
    xk[K].r = FFT_xk1[K].r + turned.r;
    xk[K].x = FFT_xk1[K].x + turned.x;
  }
  xk[0].r = xk_0;
  xk[0].x = 0;
  if (out_type != 0) return;
  xk[num].r = xk_n;
  xk[num].x = 0;
  for (Int16 K = 1; K <= num - 1; K++) {
    xk[2 * num - K].r = xk[K].r;
    xk[2 * num - K].x = -xk[K].x;
  }
}

}  // namespace plain
