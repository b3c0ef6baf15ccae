// Smooths a dq component so that its magnitude is flat but for real steps. Each erosion and dilation looks at its
// window directly; the order in which a window is gone through decides between zeros of either sign and about NaN.
#include "sagx/lvbo.h"

#include <algorithm>

namespace {

bool fits(int n, int win) {
  return dq_data_buf != nullptr && n >= 1 && win >= 1 && win <= DQ_FILTER_ROWS && n <= DQ_FILTER_CAPACITY - win;
}

/// Writes for each of n positions what the values of its window leave, by way of a scratch row, so that
/// input and output may be the same array. `replaces(current, next)` decides, going from the window's `begin` by
/// `step`.
template <typename Replaces>
void slide(const float* signal, float* output, int n, int win, float padding, int begin, int step, Replaces replaces) {
  const auto value = [=](int k) { return k >= 0 && k < n ? signal[k] : padding; };
  float* row = dq_data_buf->A[0];
  for (int i = 0; i < n; i++) {
    float current = value(i + begin);
    for (int j = 1; j < win; j++) {
      const float next = value(i + begin + j * step);
      if (replaces(current, next)) current = next;
    }
    row[i] = current;
  }
  std::copy_n(row, n, output);
}

}  // namespace

void FS(float* signal, float* /*g*/, float* E, int n, int win) {
  if (signal == nullptr || E == nullptr || !fits(n, win)) return;
  const int ahead = (win - 1) / 2;
  slide(signal, E, n, win, 1000000.0F, ahead - (win - 1), 1, [](float current, float next) { return current >= next; });
}

void PZ(float* signal, float* /*g*/, float* D, int n, int win) {
  if (signal == nullptr || D == nullptr || !fits(n, win)) return;
  const int ahead = (win - 1) / 2;
  slide(signal, D, n, win, -1000000.0F, ahead, -1, [](float current, float next) { return next >= current; });
}

void lvbo(float* signal, float* BS, int n, int win) {
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
}
