// Compares every form of a kernel that this machine can run with its plain form, to the last bit and for all kinds of
// numbers.
#include "sagx/kernels/kernels.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "sagx/dq_dipx.h"
#include "tests/core/kernel_inputs.h"
#include "tests/plain/median.h"
#include "tests/plain/rms.h"
#include "tests/plain/sliding_extremes.h"
#include "tests/plain/svd_feature.h"

namespace {

using sagx::Kernels;
using tests::same_bits;
using Values = std::vector<float>;

std::vector<const Kernels*> runnable() {
  std::vector<const Kernels*> all;
  for (int i = 0; sagx::runnable_kernels(i) != nullptr; i++) all.push_back(sagx::runnable_kernels(i));
  return all;
}

std::size_t size(int count) {
  return static_cast<std::size_t>(count);
}

/// Compares a kernel with its plain form on series of every kind, and counts the positions compared.
class Comparison {
 public:
  /// `plain(series, results)` and `fast(kernels, series, results)` compute `results` from a series of `samples` values.
  template <typename Plain, typename Fast>
  void on_every_kind(const std::string& what, int samples, int results, Plain plain, Fast fast) {
    for (const auto& kind : tests::kinds()) {
      const Values series = tests::series(kind, samples, seed_++);
      Values expected(size(results), -77.0F);
      plain(series.data(), expected.data());
      for (const Kernels* kernels : runnable()) {
        Values own(size(results), -77.0F);
        fast(*kernels, series.data(), own.data());
        ASSERT_TRUE(same_bits(own, expected)) << kernels->instruction_set << ", " << kind.name << ", " << what;
      }
      positions_ += results;
    }
  }
  [[nodiscard]] std::int64_t positions() const { return positions_; }

 private:
  std::uint32_t seed_ = 1;
  std::int64_t positions_ = 0;
};

void compare_features(Comparison& comparison, int order, int step, int features) {
  const int samples = order * order + (features - 1) * step + 1;
  comparison.on_every_kind(
      fmt::format("order {} step {} features {}", order, step, features), samples, features,
      [&](const float* series, float* results) {
        for (int i = 0; i < features; i++) results[i] = plain::svd_feature(series, order * order + i * step, order);
      },
      [&](const Kernels& kernels, const float* series, float* results) {
        kernels.svd_features(series, samples, step, order, results);
      });
}

void compare_medians(Comparison& comparison, int length, int medians) {
  comparison.on_every_kind(
      fmt::format("length {} medians {}", length, medians), medians + length - 1, medians,
      [&](const float* series, float* results) {
        plain::sliding_median(series, medians + length - 1, length, results);
      },
      [&](const Kernels& kernels, const float* series, float* results) {
        kernels.sliding_median(series, medians, length, results);
      });
}

void compare_extremes(Comparison& comparison, int width, int windows) {
  const std::string what = fmt::format("width {} windows {}", width, windows);
  comparison.on_every_kind(
      "minima, " + what, windows + width - 1, windows,
      [&](const float* series, float* results) { plain::sliding_minimum(series, windows, width, results); },
      [&](const Kernels& kernels, const float* series, float* results) {
        kernels.sliding_minimum(series, windows, width, results);
      });
  comparison.on_every_kind(
      "maxima, " + what, windows + width - 1, windows,
      [&](const float* series, float* results) { plain::sliding_maximum(series, windows, width, results); },
      [&](const Kernels& kernels, const float* series, float* results) {
        kernels.sliding_maximum(series, windows, width, results);
      });
}

void compare_rms(Comparison& comparison, int cycle, int samples) {
  comparison.on_every_kind(
      fmt::format("cycle {} samples {}", cycle, samples), samples, samples,
      [&](const float* series, float* results) { plain::cycle_rms(series, samples, cycle, results); },
      [&](const Kernels& kernels, const float* series, float* results) {
        kernels.cycle_rms(series, samples, cycle, results);
      });
}

void compare_restless_blocks(Comparison& comparison, int length, int blocks) {
  comparison.on_every_kind(
      fmt::format("length {} blocks {}", length, blocks), length * blocks, 1,
      [&](const float* series, float* results) {
        *results = static_cast<float>(plain::restless_blocks(series, length, blocks));
      },
      [&](const Kernels& kernels, const float* series, float* results) {
        *results = static_cast<float>(kernels.restless_blocks(series, length, blocks));
      });
}

constexpr int orders = 9;

TEST(Kernels, OfTheBaselineRunEverywhereAndTheFastestComeFirst) {
  const auto all = runnable();
  ASSERT_FALSE(all.empty());
  EXPECT_STREQ(all.back()->instruction_set, "baseline");
  EXPECT_EQ(all.front(), &sagx::kernels());
}

TEST(SvdFeatureKernels, EqualThePlainFormForEveryCountOfMatrices) {
  Comparison comparison;
  for (int order = 1; order <= orders; order++) {
    for (const int features : {1, 2, 7, 8, 9, 15, 16, 17, 31, 32, 33, 65}) {
      compare_features(comparison, order, 1, features);
    }
    for (const int step : {2, 5, 16, 100}) compare_features(comparison, order, step, 20);
  }
}

TEST(SlidingMedianKernels, EqualThePlainFormForEveryLength) {
  Comparison comparison;
  for (int length = 1; length <= 66; length++) compare_medians(comparison, length, 150);
  for (const int length : {255, 256, 1023, 1024}) compare_medians(comparison, length, 3);
  for (int medians = 1; medians <= 5; medians++) compare_medians(comparison, 17, medians);
}

TEST(SlidingExtremeKernels, EqualThePlainFormForEveryWidth) {
  Comparison comparison;
  for (int width = 1; width <= DQ_FILTER_ROWS; width++) {
    for (const int windows : {1, 2, 31, 32, 33, 400}) compare_extremes(comparison, width, windows);
  }
  for (const int windows : {1023, 1024, 1025, 2500}) compare_extremes(comparison, 33, windows);
}

TEST(CycleRmsKernels, EqualThePlainFormForEveryRate) {
  Comparison comparison;
  for (const int cycle : {1, 2, 7, 8, 9, 255, 256, 257}) compare_rms(comparison, cycle, 5000);
  for (int cycle = 32; cycle <= 128; cycle++) compare_rms(comparison, cycle, cycle + 4400);
  // These counts are close to the number of positions that are processed together.
  for (const int lanes : {4, 8, 16}) {
    for (int more = -2; more <= 2; more++) compare_rms(comparison, 64, 63 + 256 * lanes + more);
  }
  for (const int samples : {0, 1, 63, 64, 65, 200}) compare_rms(comparison, 64, samples);
}

TEST(RestlessBlockKernels, EqualThePlainForm) {
  Comparison comparison;
  for (const int length : {1, 2, 16, 100}) {
    for (int blocks = 0; blocks <= 40; blocks++) compare_restless_blocks(comparison, length, blocks);
  }
}

TEST(RestlessBlockKernels, SetTheLimitWhereThePlainFormHasIt) {
  // The values are half a volt above and below their mean, so the deviation is exactly 0.5, which is not above the
  // limit.
  for (const float off : {0.5F, 0.50001F, 0.49999F}) {
    Values series;
    for (int i = 0; i < 40 * 16; i++) series.push_back(220 + (i % 2 == 0 ? off : -off));
    const int expected = plain::restless_blocks(series.data(), 16, 40);
    ASSERT_EQ(expected, off > 0.5F ? 40 : 0);
    for (const Kernels* kernels : runnable()) EXPECT_EQ(kernels->restless_blocks(series.data(), 16, 40), expected);
  }
}

constexpr std::int64_t million = 1000000;

TEST(AMillionPositions, OfSvdFeaturesEqualThePlainForm) {
  Comparison comparison;
  for (int order = 1; order <= orders; order++) compare_features(comparison, order, 1, 5000);
  EXPECT_GE(comparison.positions(), million);
}

TEST(AMillionPositions, OfMediansEqualThePlainForm) {
  Comparison comparison;
  for (int rate = 32; rate <= 128; rate++) compare_medians(comparison, rate / 2 + 1, 500);
  EXPECT_GE(comparison.positions(), million);
}

TEST(AMillionPositions, OfExtremesEqualThePlainForm) {
  Comparison comparison;
  for (int width = 1; width <= DQ_FILTER_ROWS; width++) compare_extremes(comparison, width, 3000);
  EXPECT_GE(comparison.positions(), million);
}

TEST(AMillionPositions, OfRestlessBlocksEqualThePlainForm) {
  Comparison comparison;
  // The number of half-cycles is close to the number that is processed together. The kernel counts blocks, but the
  // comparison covers every value in them.
  std::int64_t positions = 0;
  for (int rate = 32; rate <= 128; rate++) {
    const int length = rate / 2;
    for (const int blocks : {1, 15, 16, 17, 31, 32, 33, 67}) {
      compare_restless_blocks(comparison, length, blocks);
      positions += static_cast<std::int64_t>(tests::kinds().size()) * length * blocks;
    }
  }
  EXPECT_GE(positions, million);
}

TEST(AMillionPositions, OfRmsEqualThePlainForm) {
  Comparison comparison;
  for (int cycle = 32; cycle <= 128; cycle++) compare_rms(comparison, cycle, cycle + 9000);
  EXPECT_GE(comparison.positions(), million);
}

}  // namespace
