// Compares the kernels with LAPACK and Eigen on the largest singular values of the same matrices.
#include <fmt/format.h>

#include <string>

#include "bench/comparison.h"
#include "bench/inputs.h"
#include "bench/measures.h"
#include "sagx/kernels/kernels.h"
#include "tests/plain/svd_feature.h"

#if defined(DIPX_EIGEN)
#include <Eigen/SVD>
#endif

#if defined(DIPX_LAPACK)
extern "C" void sgesvd_(const char* jobu, const char* jobvt, const int* m, const int* n, float* a, const int* lda,
                        float* s, float* u, const int* ldu, float* vt, const int* ldvt, float* work, const int* lwork,
                        int* info, std::size_t jobu_length, std::size_t jobvt_length);
#endif

namespace bench {

namespace {

/// Returns the matrix that ends at series[end], filled column by column.
template <int order>
void fill(const float* series, int end, float* matrix) {
  for (int i = 0; i < order * order; i++) {
    const float* at = series + (end - order * order + i);
    matrix[i] = at[1] - at[0];
  }
}

#if defined(DIPX_LAPACK)
template <int order>
float by_lapack(const float* series, int end) {
  float matrix[order * order];
  fill<order>(series, end, matrix);
  float values[order];
  float none = 0;
  float work[64 * order];
  constexpr int n = order;
  constexpr int one = 1;
  constexpr int work_length = 64 * order;
  int info = 0;
  sgesvd_("N", "N", &n, &n, matrix, &n, values, &none, &one, &none, &one, work, &work_length, &info, 1, 1);
  return values[0];
}
#endif

#if defined(DIPX_EIGEN)
template <int order>
float by_eigen(const float* series, int end) {
  Eigen::Matrix<float, order, order> matrix;
  fill<order>(series, end, matrix.data());
  const Eigen::JacobiSVD<Eigen::Matrix<float, order, order>> decomposition(matrix);
  return decomposition.singularValues()[0];
}
#endif

template <int order>
void add_order() {
  constexpr int samples = 2000;
  constexpr int features = samples - order * order;
  const std::string measure = fmt::format("largest singular value, noise, order {} (per matrix)", order);
  const Values series = noise(samples);
  const auto add_form = [&](const std::string& form, auto value) {
    add(measure, form, features, [=, results = Values(features)]() mutable {
      for (int i = 0; i < features; i++) results[static_cast<std::size_t>(i)] = value(series.data(), order * order + i);
    });
  };
  add_form(plain_form, [](const float* values, int end) { return plain::svd_feature(values, end, order); });
#if defined(DIPX_LAPACK)
  add_form("LAPACK sgesvd", by_lapack<order>);
#endif
#if defined(DIPX_EIGEN)
  add_form("Eigen JacobiSVD", by_eigen<order>);
#endif
  for (int i = 0; sagx::runnable_kernels(i) != nullptr; i++) {
    const sagx::Kernels& kernels = *sagx::runnable_kernels(i);
    add(measure, kernels.instruction_set, features, [=, &kernels, results = Values(features)]() mutable {
      kernels.svd_features(series.data(), samples, 1, order, results.data());
    });
  }
}

}  // namespace

void add_rivals() {
  add_order<4>();
  add_order<6>();
  add_order<8>();
}

}  // namespace bench
