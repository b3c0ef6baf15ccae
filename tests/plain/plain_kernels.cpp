// The kernels of the plain library: the library's own code is used with every kernel in its plain form.
#include "sagx/kernels/kernels.h"
#include "tests/plain/median.h"
#include "tests/plain/rms.h"
#include "tests/plain/sliding_extremes.h"
#include "tests/plain/svd_feature.h"

namespace {

void svd_features(const float* series, int samples, int step, int order, float* features) {
  for (int end = order * order; end < samples; end += step) *features++ = plain::svd_feature(series, end, order);
}

void sliding_median(const float* series, int count, int length, float* medians) {
  plain::sliding_median(series, count + length - 1, length, medians);
}

}  // namespace

const sagx::Kernels& sagx::kernels() {
  static constexpr Kernels plain_forms = {
      "plain",          svd_features,          sliding_median, plain::sliding_minimum, plain::sliding_maximum,
      plain::cycle_rms, plain::restless_blocks};
  return plain_forms;
}
