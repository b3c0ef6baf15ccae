#include "sagx/matlab_svd.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

#include "tests/core/faults.h"
#include "tests/core/kernel_inputs.h"
#include "tests/core/printed_lines.h"
#include "tests/plain/median.h"
#include "tests/plain/svdcmp.h"

namespace {

using tests::Numbers;
using tests::same_bits;
using Values = std::vector<float>;

constexpr float untouched = 42;

/// A matrix with 1-based indices. There is no row 0, and elements before index 1 must not change.
class Matrix {
 public:
  Matrix(int rows, int columns) : Matrix(rows, columns, [](int, int) { return untouched; }) {}

  template <typename Element>
  Matrix(int rows, int columns, Element element)
      : rows_(rows),
        columns_(columns),
        elements_(static_cast<std::size_t>(rows) + 1),
        pointers_(static_cast<std::size_t>(rows) + 1) {
    for (int i = 1; i <= rows; i++) {
      auto& row = elements_[static_cast<std::size_t>(i)];
      row.assign(static_cast<std::size_t>(columns) + 1, untouched);
      for (int j = 1; j <= columns; j++) row[static_cast<std::size_t>(j)] = element(i, j);
      pointers_[static_cast<std::size_t>(i)] = row.data();
    }
  }
  Matrix(const Matrix& other) : Matrix(other.rows_, other.columns_, [&](int i, int j) { return other(i, j); }) {}
  Matrix& operator=(const Matrix&) = delete;

  float operator()(int i, int j) const { return elements_[static_cast<std::size_t>(i)][static_cast<std::size_t>(j)]; }
  float** data() { return pointers_.data(); }
  [[nodiscard]] int rows() const { return rows_; }
  [[nodiscard]] int columns() const { return columns_; }
  /// Returns every element in order, including those before index 1.
  [[nodiscard]] Values all() const {
    Values values;
    for (const auto& row : elements_) values.insert(values.end(), row.begin(), row.end());
    return values;
  }

 private:
  int rows_;
  int columns_;
  std::vector<Values> elements_;
  std::vector<float*> pointers_;
};

/// The parts of A = U diag(w) V^T.
struct Decomposed {
  explicit Decomposed(const Matrix& a)
      : u(a), w(static_cast<std::size_t>(a.columns()) + 1, untouched), v(a.columns(), a.columns()) {}

  [[nodiscard]] float value(int j) const { return w[static_cast<std::size_t>(j)]; }

  Matrix u;
  Values w;
  Matrix v;
  int unconverged = 0;
};

Decomposed decomposed(const Matrix& a) {
  Decomposed result(a);
  svdcmp(result.u.data(), a.rows(), a.columns(), result.w.data(), result.v.data());
  return result;
}

Decomposed plainly_decomposed(const Matrix& a) {
  Decomposed result(a);
  result.unconverged = plain::svdcmp(result.u.data(), a.rows(), a.columns(), result.w.data(), result.v.data());
  return result;
}

::testing::AssertionResult same_bits(const Decomposed& a, const Decomposed& b) {
  if (const auto same = same_bits(a.w, b.w); !same) return ::testing::AssertionFailure() << "w: " << same.message();
  if (const auto same = same_bits(a.v.all(), b.v.all()); !same) {
    return ::testing::AssertionFailure() << "V: " << same.message();
  }
  if (const auto same = same_bits(a.u.all(), b.u.all()); !same) {
    return ::testing::AssertionFailure() << "U: " << same.message();
  }
  return ::testing::AssertionSuccess();
}

Matrix square(int order, const Values& by_rows) {
  return {order, order, [&](int i, int j) { return by_rows[static_cast<std::size_t>((i - 1) * order + j - 1)]; }};
}

Matrix of_kind(const tests::Kind& kind, int rows, int columns, std::uint32_t seed) {
  Numbers numbers(seed);
  return {rows, columns, [&](int i, int j) { return kind.value(numbers, (i - 1) * columns + j - 1); }};
}

Matrix random_matrix(int rows, int columns, std::uint32_t seed) {
  return of_kind(tests::kinds()[0], rows, columns, seed);
}

Values sorted_values(const Decomposed& result) {
  Values values(result.w.begin() + 1, result.w.end());
  std::sort(values.begin(), values.end());
  return values;
}

/// Returns the largest difference between the column products of `matrix` and those of orthonormal columns.
double distance_from_orthogonal(const Matrix& matrix) {
  double worst = 0;
  for (int p = 1; p <= matrix.columns(); p++) {
    for (int q = 1; q <= matrix.columns(); q++) {
      double sum = 0;
      for (int i = 1; i <= matrix.rows(); i++) {
        sum += static_cast<double>(matrix(i, p)) * static_cast<double>(matrix(i, q));
      }
      worst = std::max(worst, std::fabs(sum - (p == q ? 1 : 0)));
    }
  }
  return worst;
}

double distance_from(const Matrix& a, const Decomposed& result) {
  double worst = 0;
  for (int i = 1; i <= a.rows(); i++) {
    for (int j = 1; j <= a.columns(); j++) {
      double sum = 0;
      for (int k = 1; k <= a.columns(); k++) {
        sum += static_cast<double>(result.u(i, k)) * static_cast<double>(result.value(k)) *
               static_cast<double>(result.v(j, k));
      }
      worst = std::max(worst, std::fabs(sum - static_cast<double>(a(i, j))));
    }
  }
  return worst;
}

Matrix identity(int rows, int columns) {
  return {rows, columns, [](int i, int j) { return i == j ? 1.0F : 0.0F; }};
}

TEST(Decomposition, OfZerosHasNoValuesAndIdentitiesForVectors) {
  for (const auto& [m, n] : std::vector<std::pair<int, int>>{{1, 1}, {4, 4}, {8, 8}, {5, 3}, {3, 5}}) {
    const auto result = decomposed(Matrix(m, n, [](int, int) { return 0.0F; }));
    Values nothing(static_cast<std::size_t>(n) + 1, 0.0F);
    nothing[0] = untouched;
    EXPECT_TRUE(same_bits(result.w, nothing)) << m << " " << n;
    EXPECT_TRUE(same_bits(result.v.all(), identity(n, n).all())) << m << " " << n;
    for (int i = 1; i <= m; i++) {
      for (int j = 1; j <= std::min(m, n); j++) EXPECT_EQ(result.u(i, j), i == j ? 1.0F : 0.0F) << i << " " << j;
    }
  }
}

TEST(Decomposition, OfOneNumberIsItsSizeWithTheSignInTheVectors) {
  const auto positive = decomposed(square(1, {2.5F}));
  EXPECT_EQ(positive.value(1), 2.5F);
  EXPECT_EQ(positive.u(1, 1), -1.0F);
  EXPECT_EQ(positive.v(1, 1), -1.0F);
  const auto negative = decomposed(square(1, {-2.5F}));
  EXPECT_EQ(negative.value(1), 2.5F);
  EXPECT_EQ(negative.u(1, 1), -1.0F);
  EXPECT_EQ(negative.v(1, 1), 1.0F);
}

TEST(Decomposition, LeavesTheValuesUnsorted) {
  EXPECT_EQ(decomposed(square(2, {1, 0, 0, 3})).w, (Values{untouched, 1, 3}));
  EXPECT_EQ(decomposed(square(2, {3, 0, 0, 1})).w, (Values{untouched, 3, 1}));
  EXPECT_EQ(decomposed(square(3, {2, 0, 0, 0, 5, 0, 0, 0, 3})).w, (Values{untouched, 2, 5, 3}));
}

TEST(Decomposition, MakesNegativeValuesPositive) {
  const auto result = decomposed(square(2, {-1, 0, 0, -3}));
  EXPECT_EQ(result.w, (Values{untouched, 1, 3}));
  EXPECT_EQ(distance_from(square(2, {-1, 0, 0, -3}), result), 0);
}

TEST(Decomposition, FindsValuesThatAreKnown) {
  // A^T A = (25 20, 20 25) has the eigenvalues 45 and 5.
  const auto two = sorted_values(decomposed(square(2, {3, 0, 4, 5})));
  EXPECT_NEAR(two[0], std::sqrt(5.0), 1e-6);
  EXPECT_NEAR(two[1], std::sqrt(45.0), 1e-6);
  // A matrix of ones has its order as one singular value; the others are 0.
  for (int order = 2; order <= 9; order++) {
    const auto values = sorted_values(decomposed(Matrix(order, order, [](int, int) { return 1.0F; })));
    EXPECT_NEAR(values.back(), order, 1e-5);
    for (std::size_t i = 0; i + 1 < values.size(); i++) EXPECT_NEAR(values[i], 0, 1e-5) << order;
  }
  // A permutation neither rotates nor scales anything.
  for (const float value : sorted_values(decomposed(square(3, {0, 1, 0, 0, 0, 1, 1, 0, 0})))) {
    EXPECT_NEAR(value, 1, 1e-6);
  }
  // For one column or one row the singular value is its length.
  EXPECT_NEAR(decomposed(Matrix(2, 1, [](int i, int) { return i == 1 ? 3.0F : 4.0F; })).value(1), 5, 1e-6);
  const auto row = sorted_values(decomposed(Matrix(1, 2, [](int, int j) { return j == 1 ? 3.0F : 4.0F; })));
  EXPECT_NEAR(row[0], 0, 1e-6);
  EXPECT_NEAR(row[1], 5, 1e-6);
}

TEST(Decomposition, MultipliesBackToTheMatrix) {
  for (int m = 1; m <= 12; m++) {
    for (int n = 1; n <= 12; n++) {
      for (std::uint32_t seed = 1; seed <= 3; seed++) {
        const auto a = random_matrix(m, n, seed);
        const auto result = decomposed(a);
        ASSERT_LT(distance_from(a, result), 400 * 2e-5) << m << " " << n;
        ASSERT_LT(distance_from_orthogonal(result.v), 2e-5) << m << " " << n;
        if (m >= n) {
          ASSERT_LT(distance_from_orthogonal(result.u), 2e-5) << m << " " << n;
        }
        for (int j = 1; j <= n; j++) ASSERT_GE(result.value(j), 0.0F);
      }
    }
  }
}

TEST(Decomposition, OfAMatrixOfLesserRankStillMultipliesBack) {
  const Matrix columns_alike(6, 6, [](int i, int) { return static_cast<float>(i * i) - 7; });
  const Matrix zero_column(6, 6,
                           [](int i, int j) { return j == 3 ? 0.0F : static_cast<float>((i * 7 + j * j * 5) % 11); });
  const Matrix zero_row(6, 6,
                        [](int i, int j) { return i == 4 ? 0.0F : static_cast<float>((i * 7 + j * j * 5) % 11); });
  const Matrix one_entry(6, 6, [](int i, int j) { return i == 2 && j == 5 ? -8.0F : 0.0F; });
  for (const auto* a : {&columns_alike, &zero_column, &zero_row, &one_entry}) {
    const auto result = decomposed(*a);
    EXPECT_LT(distance_from(*a, result), 1e-4);
    EXPECT_LT(distance_from_orthogonal(result.v), 1e-5);
    EXPECT_NEAR(sorted_values(result)[0], 0, 1e-4);
  }
  EXPECT_EQ(sorted_values(decomposed(one_entry)), (Values{0, 0, 0, 0, 0, 8}));
}

TEST(Decomposition, EqualsThePlainFormToTheLastBit) {
  for (const auto& kind : tests::kinds()) {
    for (int m = 1; m <= 9; m++) {
      for (int n = 1; n <= 9; n++) {
        const auto a = of_kind(kind, m, n, static_cast<std::uint32_t>(m * 10 + n));
        ASSERT_TRUE(same_bits(decomposed(a), plainly_decomposed(a))) << kind.name << " " << m << " x " << n;
      }
    }
  }
}

TEST(Decomposition, EqualsThePlainFormForManySquareMatrices) {
  for (int order = 1; order <= 9; order++) {
    for (std::uint32_t seed = 1; seed <= 200; seed++) {
      const auto a = random_matrix(order, order, seed);
      ASSERT_TRUE(same_bits(decomposed(a), plainly_decomposed(a))) << order << " seed " << seed;
    }
  }
}

TEST(Decomposition, EqualsThePlainFormForSparseAndGradedMatrices) {
  // Zeros in the bidiagonal form split it; entries of very different size are lost next to each other and have to be
  // cancelled.
  for (int order = 2; order <= 9; order++) {
    for (std::uint32_t seed = 1; seed <= 60; seed++) {
      Numbers numbers(seed);
      const Matrix sparse(order, order, [&](int, int) { return numbers.below(4) == 0 ? numbers.unit() : 0.0F; });
      ASSERT_TRUE(same_bits(decomposed(sparse), plainly_decomposed(sparse))) << order << " sparse, seed " << seed;
      const Matrix graded(order, order, [&](int i, int) { return std::ldexp(numbers.unit(), -7 * i); });
      ASSERT_TRUE(same_bits(decomposed(graded), plainly_decomposed(graded))) << order << " graded, seed " << seed;
      const Matrix bidiagonal(order, order, [&](int i, int j) {
        return i == j ? numbers.one_of({0.0F, 1.0F, 1e-12F}) : j == i + 1 ? numbers.unit() : 0.0F;
      });
      ASSERT_TRUE(same_bits(decomposed(bidiagonal), plainly_decomposed(bidiagonal))) << order << " seed " << seed;
    }
  }
}

TEST(Decomposition, EqualsThePlainFormForLargeMatrices) {
  for (const auto& [m, n] : std::vector<std::pair<int, int>>{{40, 40}, {60, 13}, {13, 60}}) {
    const auto a = random_matrix(m, n, 7);
    EXPECT_TRUE(same_bits(decomposed(a), plainly_decomposed(a))) << m << " x " << n;
  }
}

TEST(Decomposition, MovesOnWithoutAWordWhenAValueDoesNotConverge) {
  const auto a = square(4, {1, 2, 3, 4, 5, tests::nan, 7, 8, 9, 1, 2, 3, 4, 5, 6, 7});
  ASSERT_GT(plainly_decomposed(a).unconverged, 0);
  Decomposed result(a);
  const auto printed = tests::printed_by([&] { svdcmp(result.u.data(), 4, 4, result.w.data(), result.v.data()); });
  EXPECT_EQ(printed.out, "");
  EXPECT_EQ(printed.err, "");
  EXPECT_TRUE(same_bits(result, plainly_decomposed(a)));
}

TEST(Decomposition, UsesOnlyIndicesFromOneOn) {
  // Row 0 does not exist at all in this matrix.
  const auto result = decomposed(random_matrix(4, 4, 1));
  EXPECT_EQ(result.w[0], untouched);
  for (const auto& matrix : {result.u, result.v}) {
    const auto all = matrix.all();
    for (std::size_t i = 0; i < 4; i++) EXPECT_EQ(all[5 * i], untouched);
  }
}

TEST(Decomposition, WithoutAnArrayOrASizeDoesNothing) {
  const auto a = random_matrix(3, 3, 1);
  Decomposed result(a);
  svdcmp(nullptr, 3, 3, result.w.data(), result.v.data());
  svdcmp(result.u.data(), 3, 3, nullptr, result.v.data());
  svdcmp(result.u.data(), 3, 3, result.w.data(), nullptr);
  svdcmp(result.u.data(), 3, 0, result.w.data(), result.v.data());
  svdcmp(result.u.data(), 3, -1, result.w.data(), result.v.data());
  EXPECT_TRUE(same_bits(result, Decomposed(a)));
}

TEST(Decomposition, WithoutRowsHasNoValuesAndAnIdentity) {
  for (const int m : {0, -1}) {
    Decomposed result(random_matrix(3, 3, 1));
    svdcmp(result.u.data(), m, 3, result.w.data(), result.v.data());
    EXPECT_TRUE(same_bits(result.w, Values{untouched, 0, 0, 0})) << m;
    EXPECT_TRUE(same_bits(result.v.all(), identity(3, 3).all())) << m;
    EXPECT_TRUE(same_bits(result.u.all(), random_matrix(3, 3, 1).all())) << m;
  }
}

TEST(Decomposition, WithoutMemoryLeavesItsOutputsAsTheyWere) {
  const auto a = random_matrix(64, 64, 1);
  Decomposed result(a);
  {
    const tests::FailingMalloc failing(1);
    svdcmp(result.u.data(), 64, 64, result.w.data(), result.v.data());
  }
  EXPECT_TRUE(same_bits(result, Decomposed(a)));
}

TEST(Hypotenuse, OfKnownTriangles) {
  EXPECT_EQ(pythag(0, 0), 0.0F);
  EXPECT_EQ(pythag(3, 4), 5.0F);
  EXPECT_EQ(pythag(-4, 3), 5.0F);
  EXPECT_EQ(pythag(0, -7), 7.0F);
  EXPECT_EQ(pythag(-7, 0), 7.0F);
}

TEST(Hypotenuse, NeitherOverflowsNorUnderflowsOnTheWay) {
  EXPECT_FLOAT_EQ(pythag(1e30F, 1e30F), static_cast<float>(1e30 * std::numbers::sqrt2));
  EXPECT_FLOAT_EQ(pythag(1e-30F, -1e-30F), static_cast<float>(1e-30 * std::numbers::sqrt2));
  EXPECT_EQ(pythag(3e30F, 4e30F), 5e30F);
}

TEST(Hypotenuse, OfNotANumberIsNotANumberUnlessTheOtherSideIsZero) {
  // Neither side is the larger one, and a second side of 0 then gives 0 for both.
  EXPECT_EQ(pythag(tests::nan, 0), 0.0F);
  EXPECT_TRUE(std::isnan(pythag(0, tests::nan)));
  EXPECT_TRUE(std::isnan(pythag(tests::nan, 1)));
  EXPECT_TRUE(std::isnan(pythag(tests::infinity, tests::infinity)));
}

TEST(Hypotenuse, EqualsThePlainFormToTheLastBit) {
  for (const auto& kind : tests::kinds()) {
    const auto values = tests::series(kind, 60);
    for (const float a : values) {
      for (const float b : values) ASSERT_TRUE(same_bits(pythag(a, b), plain::pythag(a, b))) << a << " " << b;
    }
  }
}

TEST(Vectors, HoldTheirIndicesAndASpareOneBefore) {
  for (const auto& [first, last] : std::vector<std::pair<int, int>>{{1, 5}, {0, 0}, {-3, 4}, {1000, 1003}, {1, 0}}) {
    float* vector = dvector(first, last);
    ASSERT_NE(vector, nullptr) << first << " " << last;
    for (int i = first - 1; i <= last; i++) vector[i] = static_cast<float>(i);
    for (int i = first - 1; i <= last; i++) EXPECT_EQ(vector[i], static_cast<float>(i));
    free_dvector(vector, first, last);
  }
  free_dvector(nullptr, 1, 5);
}

TEST(Vectors, AreNullWithoutMemory) {
  float* vector = nullptr;
  {
    const tests::FailingMalloc failing(1);
    vector = dvector(1, 5);
  }
  EXPECT_EQ(vector, nullptr);
}

/// Releases a matrix, for which the library has no function. Both blocks begin one element before the first valid one.
void release(float** matrix, int first_row, int first_column) {
  std::free(matrix[first_row] + first_column - 1);
  std::free(matrix + first_row - 1);
}

TEST(Matrices, HoldTheirIndicesInOneBlock) {
  for (const auto& [top, left] : std::vector<std::pair<int, int>>{{1, 1}, {0, 0}, {-2, 5}}) {
    float** matrix = dmatrix(top, top + 3, left, left + 2);
    ASSERT_NE(matrix, nullptr);
    for (int i = 0; i < 4; i++) {
      for (int j = 0; j < 3; j++) matrix[top + i][left + j] = static_cast<float>(10 * i + j);
    }
    for (int i = 0; i < 4; i++) {
      for (int j = 0; j < 3; j++) EXPECT_EQ(matrix[top + i][left + j], static_cast<float>(10 * i + j));
      EXPECT_EQ(matrix[top + i], matrix[top] + 3 * static_cast<std::ptrdiff_t>(i));
    }
    matrix[top][left - 1] = 1;
    release(matrix, top, left);
  }
}

TEST(Matrices, AndVectorsOfNegativeSizeAreNull) {
  EXPECT_EQ(dvector(1, -1), nullptr);
  EXPECT_EQ(dvector(std::numeric_limits<int>::max(), std::numeric_limits<int>::min()), nullptr);
  EXPECT_EQ(dmatrix(1, 0, 1, 1), nullptr);
  EXPECT_EQ(dmatrix(1, 1, 1, 0), nullptr);
}

TEST(Matrices, AcceptIndicesAtBothEndsOfInt) {
  constexpr int lowest = std::numeric_limits<int>::min();
  constexpr int highest = std::numeric_limits<int>::max();
  for (const auto& [top, left] :
       std::vector<std::pair<int, int>>{{1, lowest}, {lowest, 1}, {highest - 1, highest - 1}}) {
    float** matrix = dmatrix(top, top + 1, left, left + 1);
    ASSERT_NE(matrix, nullptr) << top << " " << left;
    for (int i = 0; i < 2; i++) {
      for (int j = 0; j < 2; j++) matrix[top + i][left + j] = static_cast<float>(10 * i + j);
    }
    EXPECT_EQ(matrix[top][left], 0.0F);
    EXPECT_EQ(matrix[top][left + 1], 1.0F);
    EXPECT_EQ(matrix[top + 1][left], 10.0F);
    EXPECT_EQ(matrix[top + 1][left + 1], 11.0F);
    // The way back in `release` uses the same distances, which do not fit into an int.
    std::free(matrix[top] + (static_cast<std::ptrdiff_t>(left) - 1));
    std::free(matrix + (static_cast<std::ptrdiff_t>(top) - 1));
  }
}

TEST(Matrices, AreNullForMoreElementsThanAnyBlockHolds) {
  // There are 2^32 rows and columns; their product is 2^64, which wraps to 0.
  constexpr int lowest = std::numeric_limits<int>::min();
  constexpr int highest = std::numeric_limits<int>::max();
  EXPECT_EQ(dmatrix(lowest, highest, lowest, highest), nullptr);
  EXPECT_EQ(dmatrix(0, highest, 0, highest), nullptr);
}

TEST(Matrices, CanBeDecomposed) {
  float** a = dmatrix(1, 2, 1, 2);
  float** v = dmatrix(1, 2, 1, 2);
  float* w = dvector(1, 2);
  a[1][1] = 1;
  a[1][2] = a[2][1] = 0;
  a[2][2] = 3;
  svdcmp(a, 2, 2, w, v);
  EXPECT_EQ(w[1], 1.0F);
  EXPECT_EQ(w[2], 3.0F);
  free_dvector(w, 1, 2);
  release(v, 1, 1);
  release(a, 1, 1);
}

TEST(Matrices, AreNullWithoutMemoryAndReleaseIt) {
  for (const int which : {1, 2}) {
    float** matrix = nullptr;
    {
      const tests::FailingMalloc failing(which);
      matrix = dmatrix(1, 4, 1, 4);
    }
    EXPECT_EQ(matrix, nullptr) << which;
  }
}

float median_of(Values values) {
  return median(values.data(), static_cast<int>(values.size()));
}

TEST(Median, IsTheMiddleValue) {
  EXPECT_EQ(median_of({3, 1, 2}), 2.0F);
  EXPECT_EQ(median_of({-5}), -5.0F);
  EXPECT_EQ(median_of({1, 1, 1, 9, 9}), 1.0F);
}

TEST(Median, OfAnEvenCountIsTheMeanOfTheMiddleTwo) {
  EXPECT_EQ(median_of({4, 1, 3, 2}), 2.5F);
  EXPECT_EQ(median_of({7, 7}), 7.0F);
}

TEST(Median, AddsTheMiddleTwoInFloat) {
  EXPECT_EQ(median_of({3e38F, 3e38F}), tests::infinity);
}

TEST(Median, AcceptsAtMost1024Values) {
  Values values(1025, 1);
  EXPECT_EQ(median(values.data(), 1025), 0.0F);
  EXPECT_EQ(median(values.data(), std::numeric_limits<int>::max()), 0.0F);
  EXPECT_EQ(median(values.data(), 1024), 1.0F);
}

TEST(Median, OfNoValuesIsZero) {
  Values values(4, 1);
  EXPECT_EQ(median(values.data(), 0), 0.0F);
  EXPECT_EQ(median(values.data(), -1), 0.0F);
  EXPECT_EQ(median(nullptr, 3), 0.0F);
}

TEST(Median, LeavesTheValuesInTheirOrder) {
  Values values = {5, 3, 4, 1, 2};
  EXPECT_EQ(median(values.data(), 5), 3.0F);
  EXPECT_EQ(values, (Values{5, 3, 4, 1, 2}));
}

TEST(Median, MovesNothingPastNotANumber) {
  // NaN is never larger, so the values before and after it are sorted separately, here (2 3) and (0 1).
  EXPECT_TRUE(std::isnan(median_of({3, 2, tests::nan, 1, 0})));
  EXPECT_EQ(median_of({tests::nan, 3, 2}), 2.0F);
}

TEST(Median, EqualsThePlainFormToTheLastBit) {
  for (const auto& kind : tests::kinds()) {
    for (int len = 1; len <= 70; len++) {
      for (std::uint32_t seed = 1; seed <= 5; seed++) {
        auto values = tests::series(kind, len, seed);
        ASSERT_TRUE(same_bits(median(values.data(), len), plain::median(values.data(), len)))
            << kind.name << " " << len;
      }
    }
    for (const int len : {255, 256, 1023, 1024}) {
      auto values = tests::series(kind, len);
      ASSERT_TRUE(same_bits(median(values.data(), len), plain::median(values.data(), len))) << kind.name << " " << len;
    }
  }
}

TEST(Median, OfASlidingWindowEqualsThePlainFormToTheLastBit) {
  for (const auto& kind : tests::kinds()) {
    auto series = tests::series(kind, 200);
    for (const int len : {1, 2, 3, 9, 17, 33, 64, 65, 200}) {
      Values expected(static_cast<std::size_t>(201 - len));
      plain::sliding_median(series.data(), 200, len, expected.data());
      Values medians;
      for (int i = 0; i <= 200 - len; i++) medians.push_back(median(series.data() + i, len));
      ASSERT_TRUE(same_bits(medians, expected)) << kind.name << " " << len;
    }
  }
}

}  // namespace
