#include "tests/plain/svd_feature.h"

#include "tests/plain/svdcmp.h"

namespace plain {

float svd_feature(const float* series, int end, int order) {
  const int count = order * order;
  float d[81];
  for (int j = 0; j < count; j++) d[j] = series[end - count + j + 1] - series[end - count + j];
  float matrix[10][10] = {};
  float right[10][10] = {};
  float* m[10];
  float* v[10];
  for (int r = 0; r < 10; r++) {
    m[r] = matrix[r];
    v[r] = right[r];
  }
  for (int c = 1; c <= order; c++) {
    for (int r = 1; r <= order; r++) m[r][c] = d[(c - 1) * order + (r - 1)];
  }
  float w[10] = {};
  svdcmp(m, order, order, w, v);
  float largest = w[1];
  for (int i = 2; i <= order; i++) {
    if (w[i] >= largest) largest = w[i];
  }
  return largest;
}

}  // namespace plain
