#include "tests/plain/lvbo.h"

#include <cstddef>
#include <vector>

namespace {

/// Rows of equal length. They are kept between calls, so that a comparison of speed does not measure their allocation.
class Matrix {
 public:
  void reset(int rows, int columns, float value) {
    columns_ = static_cast<std::size_t>(columns);
    elements_.assign(static_cast<std::size_t>(rows) * columns_, value);
  }
  float* row(int j) { return elements_.data() + static_cast<std::size_t>(j) * columns_; }

 private:
  std::size_t columns_ = 0;
  std::vector<float> elements_;
};

Matrix A;
std::vector<float> B;

void resize(std::vector<float>& row, int n) {
  row.resize(static_cast<std::size_t>(n));
}

void copy_middle(float* output, int n, int win) {
  const int h = (win - 1) / 2;
  for (int i = 0; i < n; i++) output[i] = B[static_cast<std::size_t>(h + i)];
}

}  // namespace

namespace plain {

void FS(const float* signal, float* E, int n, int win) {
  A.reset(win, n + win, 1000000.0F);
  for (int j = 0; j < win; j++) {
    float* row = A.row(j);
    for (int i = 0; i < n; i++) row[win + i - j - 1] = signal[i];
  }
  resize(B, n + win);
  for (int k = 0; k < n + win; k++) {
    float smallest = A.row(0)[k];
    for (int j = 0; j < win; j++) {
      if (smallest >= A.row(j)[k]) smallest = A.row(j)[k];
    }
    B[static_cast<std::size_t>(k)] = smallest;
  }
  copy_middle(E, n, win);
}

void PZ(const float* signal, float* D, int n, int win) {
  A.reset(win, n + win, -1000000.0F);
  for (int j = 0; j < win; j++) {
    float* row = A.row(j);
    for (int i = 0; i < n; i++) row[j + i] = signal[i];
  }
  resize(B, n + win);
  for (int k = 0; k < n + win; k++) {
    float largest = A.row(0)[k];
    for (int j = 0; j < win; j++) {
      if (A.row(j)[k] >= largest) largest = A.row(j)[k];
    }
    B[static_cast<std::size_t>(k)] = largest;
  }
  copy_middle(D, n, win);
}

void lvbo(const float* signal, float* BS, int n, int win) {
  static std::vector<float> eroded, dilated, opened, closed, between, closed_opening, opened_closing;
  for (auto* row : {&eroded, &dilated, &opened, &closed, &between, &closed_opening, &opened_closing}) resize(*row, n);
  FS(signal, eroded.data(), n, win);
  PZ(signal, dilated.data(), n, win);
  PZ(eroded.data(), opened.data(), n, win);
  FS(dilated.data(), closed.data(), n, win);
  PZ(opened.data(), between.data(), n, win);
  FS(between.data(), closed_opening.data(), n, win);
  FS(closed.data(), between.data(), n, win);
  PZ(between.data(), opened_closing.data(), n, win);
  for (std::size_t i = 0; i < static_cast<std::size_t>(n); i++) BS[i] = (opened_closing[i] + closed_opening[i]) / 2.0F;
}

}  // namespace plain
