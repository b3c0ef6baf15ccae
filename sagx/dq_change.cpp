#include "sagx/dq_change.h"

#include <algorithm>
#include <iterator>

#include "sagx/matlab_svd.h"
#include "sagx/svd_feature.h"
#include "sagx/three_phases.h"

namespace sagx {

namespace {

/// The first and last quarter cycle stay as they are. At rates that leave 2 or 3 over four, the last median takes one
/// entry past the samples as it stands; past the array it counts as 0.
void smooth(const float (&raw)[DQ_WINDOW_CAPACITY], float (&smoothed)[DQ_WINDOW_CAPACITY], int samples, unsigned rate) {
  const auto quarter = static_cast<int>(std::min(rate / 4, unsigned{DQ_WINDOW_CAPACITY}));
  const auto length = static_cast<int>(std::min(rate / 2 + 1, unsigned{DQ_WINDOW_CAPACITY}));
  float window[1025];  // one more than median takes: it answers for longer ones without a look
  for (int i = quarter; i < samples - quarter; i++) {
    const int begin = i - quarter;
    const int wanted = std::min<int>(length, std::size(window));
    const int held = std::min(wanted, DQ_WINDOW_CAPACITY - begin);
    std::fill(std::copy_n(raw + begin, held, window), window + wanted, 0.0F);
    smoothed[i] = median(window, wanted);
  }
}

void measure(const float* magnitude, float* feature, int samples, int order) {
  const int first = order * order;
  for (int i = first; i < samples; i++) feature[i] = svd_feature(magnitude, i, order);
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
