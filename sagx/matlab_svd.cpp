// The decomposition on which every segmentation is based, its small helper functions, and the median. All quantities
// are float; square roots are taken in double and stored as float. The order of the sums and the form of the tests for
// negligible values determine the bits of the result.
#include "sagx/matlab_svd.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "platform/default_environment.h"
#include "sagx/kernels/sorted_median.h"

namespace {

float root(float square) {
  return static_cast<float>(std::sqrt(static_cast<double>(square)));
}

/// Returns `magnitude` with the sign of `sign_of`; zero counts as positive.
float with_sign(float magnitude, float sign_of) {
  return sign_of >= 0.0F ? std::fabs(magnitude) : -std::fabs(magnitude);
}

/// Returns whether `value` is lost when added to the scale of the matrix.
bool negligible(float value, float anorm) {
  return static_cast<float>(static_cast<double>(std::fabs(value)) + static_cast<double>(anorm)) == anorm;
}

/// Returns the root of a² + b² without a square that could overflow.
float hypotenuse(float a, float b) {
  const float absa = std::fabs(a);
  const float absb = std::fabs(b);
  const auto scaled = [](float larger, float smaller) {
    const float ratio = smaller / larger;
    const float square = ratio * ratio;
    return static_cast<float>(static_cast<double>(larger) * std::sqrt(1.0 + static_cast<double>(square)));
  };
  if (absa > absb) return scaled(absa, absb);
  if (absb == 0.0F) return 0;
  return scaled(absb, absa);
}

/// Applies a plane rotation to columns p and q, rows 1..rows.
void rotate_columns(float** matrix, int rows, int p, int q, float c, float s) {
  for (int row = 1; row <= rows; row++) {
    const float x = matrix[row][p];
    const float z = matrix[row][q];
    matrix[row][p] = x * c + z * s;
    matrix[row][q] = z * c - x * s;
  }
}

/// One decomposition: it has the caller's matrices and the superdiagonal `rv1` of the bidiagonal form.
class Decomposition {
 public:
  Decomposition(float** a, int m, int n, float* w, float** v, float* rv1)
      : a_(a), m_(m), n_(n), w_(w), v_(v), rv1_(rv1) {}

  void run() {
    bidiagonalise();
    accumulate_right();
    accumulate_left();
    for (int k = n_; k >= 1; k--) diagonalise(k);
  }

 private:
  void bidiagonalise() {
    float g = 0;
    float scale = 0;
    for (int i = 1; i <= n_; i++) {
      rv1_[i] = scale * g;
      g = scale = 0;
      if (i <= m_) reflect_column(i, g, scale);
      w_[i] = scale * g;
      g = scale = 0;
      if (i <= m_ && i != n_) reflect_row(i, g, scale);
      const float size = std::fabs(w_[i]) + std::fabs(rv1_[i]);
      anorm_ = anorm_ > size ? anorm_ : size;
    }
  }

  /// Applies the Householder reflection that clears column i below the diagonal.
  void reflect_column(int i, float& g, float& scale) {
    for (int k = i; k <= m_; k++) scale += std::fabs(a_[k][i]);
    if (scale == 0.0F) return;
    float s = 0;
    for (int k = i; k <= m_; k++) {
      a_[k][i] /= scale;
      s += a_[k][i] * a_[k][i];
    }
    const float f = a_[i][i];
    g = -with_sign(root(s), f);
    const float h = f * g - s;
    a_[i][i] = f - g;
    for (int j = i + 1; j <= n_; j++) {
      float sum = 0;
      for (int k = i; k <= m_; k++) sum += a_[k][i] * a_[k][j];
      const float factor = sum / h;
      for (int k = i; k <= m_; k++) a_[k][j] += factor * a_[k][i];
    }
    for (int k = i; k <= m_; k++) a_[k][i] *= scale;
  }

  /// Applies the Householder reflection that clears row i right of the superdiagonal.
  void reflect_row(int i, float& g, float& scale) {
    const int l = i + 1;
    for (int k = l; k <= n_; k++) scale += std::fabs(a_[i][k]);
    if (scale == 0.0F) return;
    float s = 0;
    for (int k = l; k <= n_; k++) {
      a_[i][k] /= scale;
      s += a_[i][k] * a_[i][k];
    }
    const float f = a_[i][l];
    g = -with_sign(root(s), f);
    const float h = f * g - s;
    a_[i][l] = f - g;
    for (int k = l; k <= n_; k++) rv1_[k] = a_[i][k] / h;
    for (int j = l; j <= m_; j++) {
      float sum = 0;
      for (int k = l; k <= n_; k++) sum += a_[j][k] * a_[i][k];
      for (int k = l; k <= n_; k++) a_[j][k] += sum * rv1_[k];
    }
    for (int k = l; k <= n_; k++) a_[i][k] *= scale;
  }

  void accumulate_right() {
    float g = 0;
    for (int i = n_; i >= 1; i--) {
      const int l = i + 1;
      if (i < n_) {
        if (g != 0.0F) {
          // Two divisions are used instead of one by the product, because the product might underflow.
          for (int j = l; j <= n_; j++) v_[j][i] = (a_[i][j] / a_[i][l]) / g;
          for (int j = l; j <= n_; j++) {
            float s = 0;
            for (int k = l; k <= n_; k++) s += a_[i][k] * v_[k][j];
            for (int k = l; k <= n_; k++) v_[k][j] += s * v_[k][i];
          }
        }
        for (int j = l; j <= n_; j++) v_[i][j] = v_[j][i] = 0;
      }
      v_[i][i] = 1;
      g = rv1_[i];
    }
  }

  void accumulate_left() {
    for (int i = std::min(m_, n_); i >= 1; i--) {
      const int l = i + 1;
      float g = w_[i];
      for (int j = l; j <= n_; j++) a_[i][j] = 0;
      if (g != 0.0F) {
        g = 1.0F / g;
        for (int j = l; j <= n_; j++) {
          float s = 0;
          for (int k = l; k <= m_; k++) s += a_[k][i] * a_[k][j];
          const float f = (s / a_[i][i]) * g;
          for (int k = i; k <= m_; k++) a_[k][j] += f * a_[k][i];
        }
        for (int j = i; j <= m_; j++) a_[j][i] *= g;
      } else {
        for (int j = i; j <= m_; j++) a_[j][i] = 0;
      }
      a_[i][i] += 1.0F;
    }
  }

  /// Iterates until w[k] is decoupled, at most 30 times; after that its value is kept as it is.
  void diagonalise(int k) {
    for (int iteration = 1; iteration <= 30; iteration++) {
      const int l = split(k);
      if (l == k) {
        if (w_[k] < 0.0F) {
          w_[k] = -w_[k];
          for (int j = 1; j <= n_; j++) v_[j][k] = -v_[j][k];
        }
        return;
      }
      qr_step(l, k);
    }
  }

  /// Returns where the block that ends at k begins. A negligible w just above the block is cancelled out of it.
  int split(int k) {
    for (int l = k; l > 1; l--) {
      if (negligible(rv1_[l], anorm_)) return l;
      if (negligible(w_[l - 1], anorm_)) {
        cancel(l, k);
        return l;
      }
    }
    return 1;
  }

  void cancel(int l, int k) {
    float c = 0;
    float s = 1;
    for (int i = l; i <= k; i++) {
      const float f = s * rv1_[i];
      rv1_[i] = c * rv1_[i];
      if (negligible(f, anorm_)) return;
      const float g = w_[i];
      float h = hypotenuse(f, g);
      w_[i] = h;
      h = 1.0F / h;
      c = g * h;
      s = -f * h;
      rotate_columns(a_, m_, l - 1, i, c, s);
    }
  }

  /// Performs one implicit QR step on the block l..k, shifted by its bottom 2 x 2 minor.
  void qr_step(int l, int k) {
    float x = w_[l];
    float y = w_[k - 1];
    float z = w_[k];
    float g = rv1_[k - 1];
    float h = rv1_[k];
    const float minor = (y - z) * (y + z) + (g - h) * (g + h);
    float f = static_cast<float>(static_cast<double>(minor) / (2.0 * static_cast<double>(h) * static_cast<double>(y)));
    g = hypotenuse(f, 1.0F);
    f = ((x - z) * (x + z) + h * ((y / (f + with_sign(g, f))) - h)) / x;
    float c = 1;
    float s = 1;
    for (int j = l; j < k; j++) {
      const int i = j + 1;
      g = rv1_[i];
      y = w_[i];
      h = s * g;
      g = c * g;
      z = hypotenuse(f, h);
      rv1_[j] = z;
      c = f / z;
      s = h / z;
      f = x * c + g * s;
      g = g * c - x * s;
      h = y * s;
      y *= c;
      rotate_columns(v_, n_, j, i, c, s);
      z = hypotenuse(f, h);
      w_[j] = z;
      if (z != 0.0F) {
        z = 1.0F / z;
        c = f * z;
        s = h * z;
      }
      f = c * g + s * y;
      x = c * y - s * g;
      rotate_columns(a_, m_, j, i, c, s);
    }
    rv1_[l] = 0;
    rv1_[k] = f;
    w_[k] = x;
  }

  float** a_;
  int m_;
  int n_;
  float* w_;
  float** v_;
  float* rv1_;
  float anorm_ = 0;  // largest |w| + |rv1|, the scale of every test for negligible values
};

}  // namespace

void svdcmp(float** a, int m, int n, float* w, float** v) {
  platform::in_default_environment([&] {
    if (a == nullptr || w == nullptr || v == nullptr || n < 1) return;
    float* rv1 = dvector(1, n);
    if (rv1 == nullptr) return;
    Decomposition(a, m, n, w, v, rv1).run();
    free_dvector(rv1, 1, n);
  });
}

float pythag(float a, float b) {
  return platform::in_default_environment([&] { return hypotenuse(a, b); });
}

float* dvector(int nl, int nh) {
  const std::ptrdiff_t count = static_cast<std::ptrdiff_t>(nh) - nl + 2;  // includes one spare element at the front
  if (count < 1) return nullptr;
  auto* block = static_cast<float*>(std::malloc(static_cast<std::size_t>(count) * sizeof(float)));
  return block == nullptr ? nullptr : block + (1 - static_cast<std::ptrdiff_t>(nl));
}

void free_dvector(float* v, int nl, int /*nh*/) {
  if (v != nullptr) std::free(v + (static_cast<std::ptrdiff_t>(nl) - 1));
}

float** dmatrix(int nrl, int nrh, int ncl, int nch) {
  const std::ptrdiff_t rows = static_cast<std::ptrdiff_t>(nrh) - nrl + 1;
  const std::ptrdiff_t columns = static_cast<std::ptrdiff_t>(nch) - ncl + 1;
  if (rows < 1 || columns < 1) return nullptr;
  if (rows > (PTRDIFF_MAX / static_cast<std::ptrdiff_t>(sizeof(float)) - 1) / columns) return nullptr;
  auto* pointers = static_cast<float**>(std::malloc(static_cast<std::size_t>(rows + 1) * sizeof(float*)));
  auto* block = static_cast<float*>(std::malloc(static_cast<std::size_t>(rows * columns + 1) * sizeof(float)));
  if (pointers == nullptr || block == nullptr) {
    std::free(pointers);
    std::free(block);
    return nullptr;
  }
  float** matrix = pointers + (1 - static_cast<std::ptrdiff_t>(nrl));
  float* const first = block + (1 - static_cast<std::ptrdiff_t>(ncl));
  for (std::ptrdiff_t row = 0; row < rows; row++) matrix[nrl + row] = first + row * columns;
  return matrix;
}

float median(float* Array, int len) {
  return platform::in_default_environment([&]() -> float {
    if (len > longest_median || len < 1 || Array == nullptr) return 0.0F;
    return sorted_median(Array, len);
  });
}
