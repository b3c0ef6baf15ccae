#include "sagx/dq_change.h"

#include <algorithm>

#include "sagx/kernels/kernels.h"
#include "sagx/matlab_svd.h"
#include "sagx/svd_feature.h"
#include "sagx/three_phases.h"

namespace sagx {

namespace {

/// Leaves the first and last quarter cycle unchanged. At rates that leave a remainder of 2 or 3 when divided by four,
/// the last median includes one entry after the samples, with its current value; beyond the array that entry counts as
/// 0.
void smooth(const float (&raw)[DQ_WINDOW_CAPACITY], float (&smoothed)[DQ_WINDOW_CAPACITY], int samples, unsigned rate) {
  constexpr unsigned longest = 1024;  // the median of longer windows is 0
  const unsigned quarter = rate / 4;
  const unsigned length = rate / 2 + 1;
  if (2 * quarter >= static_cast<unsigned>(samples)) return;
  const int medians = samples - static_cast<int>(2 * quarter);
  float* first = smoothed + quarter;
  if (length > longest) {
    std::fill_n(first, medians, 0.0F);
    return;
  }
  const int held = std::min(medians, DQ_WINDOW_CAPACITY - static_cast<int>(length) + 1);
  kernels().sliding_median(raw, held, static_cast<int>(length), first);
  if (held == medians) return;
  float window[longest];
  *std::copy(raw + held, raw + DQ_WINDOW_CAPACITY, window) = 0;
  first[held] = median(window, static_cast<int>(length));
}

void measure(const float* magnitude, float* feature, int samples, int order) {
  const int first = order * order;
  svd_features(magnitude, samples, 1, order, feature + first);
  std::fill_n(feature, first, feature[first]);
}

}  // namespace

void measure_dq_change(dq_data& buf, int samples, int order) {
  std::copy_n(buf.ua, samples, buf.ua0);
  std::copy_n(buf.ub, samples, buf.ub0);
  std::copy_n(buf.uc, samples, buf.uc0);
  for (int i = 0; i < samples; i++) buf.u[i] = smallest_of(buf.ua0[i], buf.ub0[i], buf.uc0[i]);
  smooth(buf.ua0, buf.ua, samples, buf.smp);
  smooth(buf.ub0, buf.ub, samples, buf.smp);
  smooth(buf.uc0, buf.uc, samples, buf.smp);
  if (order == 0) return;
  measure(buf.ua, buf.feasvd_a, samples, order);
  measure(buf.ub, buf.feasvd_b, samples, order);
  measure(buf.uc, buf.feasvd_c, samples, order);
}

}  // namespace sagx
