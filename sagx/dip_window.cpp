#include "sagx/dip_window.h"

#include <algorithm>

namespace sagx {

namespace {

void rebase(int (&positions)[DQ_LIST_CAPACITY], int count, const Window& window) {
  const int entries = std::min(count, +DQ_LIST_CAPACITY);
  for (int j = 0; j < entries; j++) positions[j] += static_cast<int>(window.start);
}

/// Returns the seconds between two boundaries. A rejected segmentation may leave them in the wrong order; the duration
/// is then 0.
float duration(int from, int to, int smp) {
  const auto seconds = static_cast<float>((to - from) * (0.02 / smp));
  return seconds < 0 ? 0.0F : seconds;
}

}  // namespace

void finish_long_window(dq_dipx_struct& dip, const Window& window) {
  rebase(dip.Trms, dip.Trms_num, window);
  rebase(dip.T, dip.T_num, window);
  rebase(dip.order_min, dip.u_min_num, window);
  const int boundaries = std::min(dip.Trms_num, +DQ_LIST_CAPACITY);
  // Without a boundary there is no interval to measure.
  dip.hold_time_dq = boundaries < 1 ? 0.0F : duration(dip.Trms[0], dip.Trms[boundaries - 1], dip.smprate);
}

void finish_short_window(dq_dipx_struct& dip, const Window& window) {
  rebase(dip.Trms, dip.Trms_num, window);
  rebase(dip.T, dip.T_num, window);
  rebase(dip.pos_u3_min, dip.u_min_num, window);
  std::copy_n(dip.pos_u3_min, std::clamp(dip.u_min_num, 0, +DQ_LIST_CAPACITY), dip.order_min);
  dip.hold_time_dq = duration(dip.D[0], dip.D[1], dip.smprate);
}

}  // namespace sagx
