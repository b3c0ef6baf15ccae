// Smooths a dq component so that its magnitude is constant except at real steps. The order in which a window is scanned
// decides between zeros of either sign and how NaN is treated; the kernels keep this order.
#include "sagx/lvbo.h"

#include <algorithm>

#include "platform/default_environment.h"
#include "sagx/kernels/kernels.h"

namespace {

bool fits(int n, int win) {
  return dq_data_buf != nullptr && n >= 1 && win >= 1 && win <= DQ_FILTER_ROWS && n <= DQ_FILTER_CAPACITY - win;
}

/// Returns the signal with `padding` on either side, so that there is a window around each of its values. It is a copy,
/// so input and output may be the same array.
const float* padded(const float* signal, int n, int win, float padding) {
  const int behind = (win - 1) / 2;
  const int ahead = win - 1 - behind;
  float* row = dq_data_buf->A[0];
  float* end = std::copy_n(signal, n, std::fill_n(row, ahead, padding));
  std::fill_n(end, behind, padding);
  return row;
}

}  // namespace

void FS(float* signal, float* /*g*/, float* E, int n, int win) {
  platform::in_default_environment([&] {
    if (signal == nullptr || E == nullptr || !fits(n, win)) return;
    sagx::kernels().sliding_minimum(padded(signal, n, win, 1000000.0F), n, win, E);
  });
}

void PZ(float* signal, float* /*g*/, float* D, int n, int win) {
  platform::in_default_environment([&] {
    if (signal == nullptr || D == nullptr || !fits(n, win)) return;
    sagx::kernels().sliding_maximum(padded(signal, n, win, -1000000.0F), n, win, D);
  });
}

void lvbo(float* signal, float* BS, int n, int win) {
  platform::in_default_environment([&] {
    if (signal == nullptr || BS == nullptr || !fits(n, win)) return;
    dq_data& data = *dq_data_buf;
    float flat[DQ_FILTER_ROWS] = {};
    FS(signal, flat, data.eroder, n, win);
    PZ(signal, flat, data.dilata, n, win);
    PZ(data.eroder, flat, data.OPEN, n, win);
    FS(data.dilata, flat, data.CLOSE, n, win);
    PZ(data.OPEN, flat, data.TEMP, n, win);
    FS(data.TEMP, flat, data.OC, n, win);
    FS(data.CLOSE, flat, data.TEMP, n, win);
    PZ(data.TEMP, flat, data.CO, n, win);
    for (int i = 0; i < n; i++) BS[i] = (data.CO[i] + data.OC[i]) / 2.0F;
  });
}
