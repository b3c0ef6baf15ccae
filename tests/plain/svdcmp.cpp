#include "tests/plain/svdcmp.h"

#include <cmath>
#include <cstddef>
#include <vector>

namespace {

float root(float x) {
  return static_cast<float>(std::sqrt(static_cast<double>(x)));
}

/// Returns |size| with the sign of f, where zeros of either sign count as positive.
float with_sign_of(float f, float size) {
  return f >= 0.0F ? std::fabs(size) : -std::fabs(size);
}

bool vanishes_beside(float x, float anorm) {
  const double sum = static_cast<double>(std::fabs(x)) + static_cast<double>(anorm);
  return static_cast<float>(sum) == anorm;
}

void rotate(float** matrix, int rows, int left, int right, float c, float s) {
  for (int j = 1; j <= rows; j++) {
    const float y = matrix[j][left];
    const float z = matrix[j][right];
    matrix[j][left] = y * c + z * s;
    matrix[j][right] = z * c - y * s;
  }
}

}  // namespace

namespace plain {

float pythag(float a, float b) {
  const float absa = std::fabs(a);
  const float absb = std::fabs(b);
  if (absa > absb) {
    const float r = absb / absa;
    const float q = r * r;
    return static_cast<float>(static_cast<double>(absa) * std::sqrt(1.0 + static_cast<double>(q)));
  }
  if (absb == 0.0F) return 0.0F;
  const float r = absa / absb;
  const float q = r * r;
  return static_cast<float>(static_cast<double>(absb) * std::sqrt(1.0 + static_cast<double>(q)));
}

int svdcmp(float** a, int m, int n, float* w, float** v) {
  std::vector<float> superdiagonal(static_cast<std::size_t>(n) + 1);
  float* rv1 = superdiagonal.data();
  int l = n + 1;
  float g = 0;
  float scale = 0;
  float anorm = 0;

  // Reduce the matrix to bidiagonal form.
  for (int i = 1; i <= n; i++) {
    l = i + 1;
    rv1[i] = scale * g;
    float s = 0;
    g = scale = 0;
    if (i <= m) {
      for (int k = i; k <= m; k++) scale += std::fabs(a[k][i]);
      if (scale != 0.0F) {
        for (int k = i; k <= m; k++) a[k][i] /= scale;
        for (int k = i; k <= m; k++) s += a[k][i] * a[k][i];
        float f = a[i][i];
        g = -with_sign_of(f, root(s));
        const float h = f * g - s;
        a[i][i] = f - g;
        for (int j = l; j <= n; j++) {
          s = 0;
          for (int k = i; k <= m; k++) s += a[k][i] * a[k][j];
          f = s / h;
          for (int k = i; k <= m; k++) a[k][j] += f * a[k][i];
        }
        for (int k = i; k <= m; k++) a[k][i] *= scale;
      }
    }
    w[i] = scale * g;
    g = s = scale = 0;
    if (i <= m && i != n) {
      for (int k = l; k <= n; k++) scale += std::fabs(a[i][k]);
      if (scale != 0.0F) {
        for (int k = l; k <= n; k++) a[i][k] /= scale;
        for (int k = l; k <= n; k++) s += a[i][k] * a[i][k];
        const float f = a[i][l];
        g = -with_sign_of(f, root(s));
        const float h = f * g - s;
        a[i][l] = f - g;
        for (int k = l; k <= n; k++) rv1[k] = a[i][k] / h;
        for (int j = l; j <= m; j++) {
          s = 0;
          for (int k = l; k <= n; k++) s += a[j][k] * a[i][k];
          for (int k = l; k <= n; k++) a[j][k] += s * rv1[k];
        }
        for (int k = l; k <= n; k++) a[i][k] *= scale;
      }
    }
    const float here = std::fabs(w[i]) + std::fabs(rv1[i]);
    anorm = anorm > here ? anorm : here;
  }

  // Accumulate the right-hand transformations.
  for (int i = n; i >= 1; i--) {
    if (i < n) {
      if (g != 0.0F) {
        for (int j = l; j <= n; j++) v[j][i] = (a[i][j] / a[i][l]) / g;
        for (int j = l; j <= n; j++) {
          float s = 0;
          for (int k = l; k <= n; k++) s += a[i][k] * v[k][j];
          for (int k = l; k <= n; k++) v[k][j] += s * v[k][i];
        }
      }
      for (int j = l; j <= n; j++) v[i][j] = v[j][i] = 0;
    }
    v[i][i] = 1;
    g = rv1[i];
    l = i;
  }

  // Accumulate the left-hand transformations.
  for (int i = m < n ? m : n; i >= 1; i--) {
    l = i + 1;
    g = w[i];
    for (int j = l; j <= n; j++) a[i][j] = 0;
    if (g != 0.0F) {
      g = 1.0F / g;
      for (int j = l; j <= n; j++) {
        float s = 0;
        for (int k = l; k <= m; k++) s += a[k][i] * a[k][j];
        const float f = (s / a[i][i]) * g;
        for (int k = i; k <= m; k++) a[k][j] += f * a[k][i];
      }
      for (int k = i; k <= m; k++) a[k][i] *= g;
    } else {
      for (int k = i; k <= m; k++) a[k][i] = 0;
    }
    a[i][i] += 1.0F;
  }

  // Reduce the bidiagonal form to diagonal form.
  int unconverged = 0;
  for (int k = n; k >= 1; k--) {
    bool converged = false;
    for (int its = 1; its <= 30 && !converged; its++) {
      bool cancel = false;
      for (l = k; l > 1; l--) {
        if (vanishes_beside(rv1[l], anorm)) break;
        if (vanishes_beside(w[l - 1], anorm)) {
          cancel = true;
          break;
        }
      }
      if (cancel) {
        const int nm = l - 1;
        float c = 0;
        float s = 1;
        for (int i = l; i <= k; i++) {
          const float f = s * rv1[i];
          rv1[i] = c * rv1[i];
          if (vanishes_beside(f, anorm)) break;
          g = w[i];
          float h = plain::pythag(f, g);
          w[i] = h;
          h = 1.0F / h;
          c = g * h;
          s = -f * h;
          rotate(a, m, nm, i, c, s);
        }
      }
      float z = w[k];
      if (l == k) {
        if (z < 0.0F) {
          w[k] = -z;
          for (int j = 1; j <= n; j++) v[j][k] = -v[j][k];
        }
        converged = true;
        continue;
      }
      float x = w[l];
      const int nm = k - 1;
      float y = w[nm];
      g = rv1[nm];
      float h = rv1[k];
      const float minor = (y - z) * (y + z) + (g - h) * (g + h);
      float f =
          static_cast<float>(static_cast<double>(minor) / (2.0 * static_cast<double>(h) * static_cast<double>(y)));
      g = plain::pythag(f, 1.0F);
      f = ((x - z) * (x + z) + h * (y / (f + with_sign_of(f, g)) - h)) / x;
      float c = 1;
      float s = 1;
      for (int j = l; j <= nm; j++) {
        const int i = j + 1;
        g = rv1[i];
        y = w[i];
        h = s * g;
        g = c * g;
        z = plain::pythag(f, h);
        rv1[j] = z;
        c = f / z;
        s = h / z;
        f = x * c + g * s;
        g = g * c - x * s;
        h = y * s;
        y = y * c;
        rotate(v, n, j, i, c, s);
        z = plain::pythag(f, h);
        w[j] = z;
        if (z != 0.0F) {
          z = 1.0F / z;
          c = f * z;
          s = h * z;
        }
        f = c * g + s * y;
        x = c * y - s * g;
        rotate(a, m, j, i, c, s);
      }
      rv1[l] = 0;
      rv1[k] = f;
      w[k] = x;
    }
    if (!converged) unconverged++;
  }
  return unconverged;
}

}  // namespace plain
