#include "sagx/svd_feature.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "tests/core/kernel_inputs.h"
#include "tests/plain/svd_feature.h"

namespace {

using sagx::svd_order;
using tests::same_bits;
using Values = std::vector<float>;

/// Returns the series that begins at `start` and has these differences.
Values with_differences(const Values& differences, float start = 0) {
  Values series = {start};
  for (const float difference : differences) series.push_back(series.back() + difference);
  return series;
}

/// Returns the feature at series[end], computed separately.
float svd_feature(const float* series, int end, int order) {
  const int differences = order * order;
  float feature = -1;
  EXPECT_EQ(sagx::svd_features(series + (end - differences), differences + 1, 1, order, &feature), 1);
  return feature;
}

float feature_at_end(const Values& series, int order) {
  return svd_feature(series.data(), static_cast<int>(series.size()) - 1, order);
}

TEST(FeatureOrder, IsTheRootRoundedHalfUp) {
  EXPECT_EQ(svd_order(32 / 2.0), 4);
  EXPECT_EQ(svd_order(50 / 2.0), 5);
  EXPECT_EQ(svd_order(64 / 2.0), 6);
  EXPECT_EQ(svd_order(128 / 2.0), 8);
  EXPECT_EQ(svd_order(32 / 4.0), 3);
  EXPECT_EQ(svd_order(64 / 4.0), 4);
  EXPECT_EQ(svd_order(128 / 4.0), 6);
  EXPECT_EQ(svd_order(6.25), 3);
  EXPECT_EQ(svd_order(std::nextafter(6.25, 0) - 1e-9), 2);
}

TEST(FeatureOrder, IsMissingOutsideOneToNine) {
  EXPECT_EQ(svd_order(0.25), 1);
  EXPECT_EQ(svd_order(0.2499), 0);
  EXPECT_EQ(svd_order(90.2499), 9);
  EXPECT_EQ(svd_order(90.25), 0);
  EXPECT_EQ(svd_order(0), 0);
  EXPECT_EQ(svd_order(-16), 0);
  EXPECT_EQ(svd_order(1e300), 0);
  EXPECT_EQ(svd_order(std::numeric_limits<double>::infinity()), 0);
  EXPECT_EQ(svd_order(std::numeric_limits<double>::quiet_NaN()), 0);
}

TEST(Feature, OfAFlatSeriesIsZero) {
  for (int order = 1; order <= 9; order++) {
    for (const float level : {0.0F, 220.0F, -1e30F, tests::smallest}) {
      EXPECT_TRUE(same_bits(feature_at_end(Values(static_cast<std::size_t>(order * order) + 1, level), order), 0.0F));
    }
  }
  EXPECT_TRUE(same_bits(feature_at_end({0.0F, -0.0F}, 1), 0.0F)) << "the difference is -0";
}

TEST(Feature, OfOrderOneIsTheSizeOfTheLastDifference) {
  EXPECT_EQ(feature_at_end({220, 217.5F}, 1), 2.5F);
  EXPECT_EQ(feature_at_end({217.5F, 220}, 1), 2.5F);
}

TEST(Feature, OfASingleStepIsItsHeightWhereverItLies) {
  for (int order = 2; order <= 9; order++) {
    for (int at = 0; at < order * order; at++) {
      Values differences(static_cast<std::size_t>(order * order), 0);
      differences[static_cast<std::size_t>(at)] = -60;
      EXPECT_FLOAT_EQ(feature_at_end(with_differences(differences, 220), order), 60.0F) << order << " " << at;
    }
  }
}

TEST(Feature, FillsTheColumnsWithRunsOfDifferences) {
  // The matrix (1 0, 0 3) has the singular values 1 and 3. Overlapping runs would give other matrices, as would filling
  // it row by row.
  EXPECT_FLOAT_EQ(feature_at_end(with_differences({1, 0, 0, 3}), 2), 3.0F);
  // A matrix with the single column (3 4) has the length of that column.
  EXPECT_FLOAT_EQ(feature_at_end(with_differences({3, 4, 0, 0}), 2), 5.0F);
  EXPECT_FLOAT_EQ(feature_at_end(with_differences({0, 0, 3, 4}), 2), 5.0F);
  // A matrix with the single row (3 4) has the length of that row.
  EXPECT_FLOAT_EQ(feature_at_end(with_differences({3, 0, 4, 0}), 2), 5.0F);
  // With one entry in each column, in different rows, the larger entry is the feature.
  EXPECT_FLOAT_EQ(feature_at_end(with_differences({0, 4, 3, 0}), 2), 4.0F);
}

TEST(Feature, OfASteadyRiseIsTheOrderTimesItsSlope) {
  for (int order = 1; order <= 9; order++) {
    const Values slope(static_cast<std::size_t>(order * order), 0.5F);
    EXPECT_NEAR(feature_at_end(with_differences(slope), order), 0.5 * order, 1e-5) << order;
  }
}

TEST(Feature, FindsTheLargestValueThoughItComesLate) {
  EXPECT_FLOAT_EQ(feature_at_end(with_differences({1, 0, 0, 0, 2, 0, 0, 0, 5}), 3), 5.0F);
  EXPECT_FLOAT_EQ(feature_at_end(with_differences({5, 0, 0, 0, 2, 0, 0, 0, 1}), 3), 5.0F);
}

TEST(Feature, ReadsNothingOutsideItsSamples) {
  auto series = tests::series(tests::kinds()[0], 60);
  const float before = svd_feature(series.data(), 40, 4);
  for (std::size_t i = 0; i < 60; i++) {
    if (i < 24 || i > 40) series[i] = tests::nan;
  }
  EXPECT_TRUE(same_bits(svd_feature(series.data(), 40, 4), before));
  for (const std::size_t edge : {24U, 40U}) {
    auto changed = series;
    changed[edge] += 100;
    EXPECT_NE(svd_feature(changed.data(), 40, 4), before) << edge;
  }
}

TEST(Features, ArePlacedAtEveryStepFromTheFirstFullMatrixOn) {
  const auto series = tests::series(tests::kinds()[0], 60);
  for (int order = 1; order <= 5; order++) {
    for (const int step : {1, 3, 8, 100}) {
      Values features(60, -1);
      const int count = sagx::svd_features(series.data(), 60, step, order, features.data());
      int expected = 0;
      for (int end = order * order; end < 60; end += step) {
        EXPECT_TRUE(same_bits(features[static_cast<std::size_t>(expected++)], svd_feature(series.data(), end, order)));
      }
      EXPECT_EQ(count, expected) << order << " " << step;
      EXPECT_EQ(features[static_cast<std::size_t>(count)], -1);
    }
  }
}

TEST(Features, AreMissingWithoutAFullMatrixAnOrderOrAStep) {
  const auto series = tests::series(tests::kinds()[0], 60);
  float features[60] = {-1};
  EXPECT_EQ(sagx::svd_features(series.data(), 16, 1, 4, features), 0);
  EXPECT_EQ(sagx::svd_features(series.data(), 17, 1, 4, features + 1), 1);
  EXPECT_EQ(sagx::svd_features(series.data(), 60, 1, 0, features), 0);
  EXPECT_EQ(sagx::svd_features(series.data(), 60, 0, 4, features), 0);
  EXPECT_EQ(sagx::svd_features(series.data(), 0, 1, 4, features), 0);
  EXPECT_EQ(sagx::svd_features(series.data(), -5, 1, 4, features), 0);
  EXPECT_EQ(features[0], -1);
}

TEST(Feature, EqualsThePlainFormWhereASeriesIsMostlyFlat) {
  for (const float step : {60.0F, -60.0F, 1e-30F, tests::smallest, 1e30F, tests::nan, tests::infinity}) {
    Values series(200, 220);
    if (std::fabs(step) < 1) std::fill(series.begin(), series.end(), 0.0F);
    std::fill(series.begin() + 100, series.end(), series[0] + step);
    for (int order = 1; order <= 9; order++) {
      for (int end = order * order; end < 200; end++) {
        ASSERT_TRUE(same_bits(svd_feature(series.data(), end, order), plain::svd_feature(series.data(), end, order)))
            << step << " order " << order << " end " << end;
      }
    }
  }
}

}  // namespace
