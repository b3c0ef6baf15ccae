#include "tests/plain/median.h"

#include <utility>

namespace plain {

float median(const float* values, int len) {
  float sorted[1024];
  for (int i = 0; i < len; i++) sorted[i] = values[i];
  for (int j = 0; j <= len - 2; j++) {
    for (int i = 0; i <= len - j - 2; i++) {
      if (sorted[i] > sorted[i + 1]) std::swap(sorted[i], sorted[i + 1]);
    }
  }
  if (len % 2 == 1) return sorted[(len + 1) / 2 - 1];
  return (sorted[len / 2 - 1] + sorted[len / 2]) / 2.0F;
}

void sliding_median(const float* series, int n, int len, float* medians) {
  for (int i = 0; i <= n - len; i++) medians[i] = median(series + i, len);
}

}  // namespace plain
