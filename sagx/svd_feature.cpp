#include "sagx/svd_feature.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "sagx/matlab_svd.h"

namespace sagx {

namespace {

/// A small square matrix in the 1-based style of the decomposition.
class SmallMatrix {
 public:
  SmallMatrix() {
    for (std::size_t row = 0; row < rows_.size(); row++) pointers_[row] = rows_[row].data();
  }
  SmallMatrix(const SmallMatrix&) = delete;
  SmallMatrix& operator=(const SmallMatrix&) = delete;

  float** rows() { return pointers_.data(); }

 private:
  std::array<std::array<float, largest_svd_order + 1>, largest_svd_order + 1> rows_;
  std::array<float*, largest_svd_order + 1> pointers_;
};

}  // namespace

int svd_order(double cycle_share) {
  const double order = std::sqrt(cycle_share) + 0.5;
  return order >= smallest_svd_order && order < largest_svd_order + 1 ? static_cast<int>(order) : 0;
}

float svd_feature(const float* series, int end, int order) {
  const float* first = series + (end - order * order);
  SmallMatrix matrix;
  bool flat = true;
  for (int column = 1; column <= order; column++) {
    for (int row = 1; row <= order; row++) {
      const float* sample = first + ((column - 1) * order + (row - 1));
      const float difference = sample[1] - sample[0];
      matrix.rows()[row][column] = difference;
      flat = flat && difference == 0.0F;
    }
  }
  if (flat) return 0.0F;  // a matrix of zeros has no other singular values

  SmallMatrix right_vectors;
  std::array<float, largest_svd_order + 1> values{};
  svdcmp(matrix.rows(), order, order, values.data(), right_vectors.rows());
  float largest = values[1];
  for (int i = 2; i <= order; i++) {
    const float value = values[static_cast<std::size_t>(i)];
    if (value >= largest) largest = value;
  }
  return largest;
}

}  // namespace sagx
