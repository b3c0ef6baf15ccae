#include "sagx/svd_feature.h"

#include <cmath>

#include "sagx/kernels/kernels.h"

namespace sagx {

int svd_order(double cycle_share) {
  const double order = std::sqrt(cycle_share) + 0.5;
  return order >= smallest_svd_order && order < largest_svd_order + 1 ? static_cast<int>(order) : 0;
}

int svd_features(const float* series, int samples, int step, int order, float* features) {
  const int first = order * order;
  if (order == 0 || step < 1 || samples <= first) return 0;
  kernels().svd_features(series, samples, step, order, features);
  return (samples - first - 1) / step + 1;
}

}  // namespace sagx
