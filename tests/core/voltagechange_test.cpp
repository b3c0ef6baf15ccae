#include "sagx/voltagechange.h"

#include <gtest/gtest.h>

#include <limits>
#include <vector>

namespace {

float rate(std::vector<float> rms, unsigned sample = 128) {
  return voltagechange(rms.data(), static_cast<unsigned>(rms.size()), sample);
}

TEST(RateOfChange, IsTheSlopeInVoltsPerSecond) {
  EXPECT_FLOAT_EQ(rate({0, 0, 1}), 6400.0F);
  EXPECT_FLOAT_EQ(rate({0, 0, 1}, 32), 1600.0F);
  EXPECT_FLOAT_EQ(rate({0, 0, 2.5F}, 64), 8000.0F);
}

TEST(RateOfChange, DividesByTheSampleTimeStoredAsFloat) {
  // 0.02 / 99 is not a float, so a quotient formed in double would give another result.
  const auto sample_time = static_cast<float>(0.02 / 99);
  int apart = 0;
  for (int volts = 1; volts <= 20; volts++) {
    const auto step = static_cast<float>(volts);
    EXPECT_EQ(rate({0, 0, step}, 99), step / sample_time);
    apart += step / sample_time != static_cast<float>(volts / (0.02 / 99));
  }
  EXPECT_GT(apart, 0);
}

TEST(RateOfChange, LeavesOutTheFirstDifference) {
  EXPECT_FLOAT_EQ(rate({0, 100, 101}), 6400.0F);
  EXPECT_EQ(rate({0, 100, 100, 100}), 0.0F);
}

TEST(RateOfChange, CountsTheLastDifference) {
  EXPECT_FLOAT_EQ(rate({5, 5, 5, 5, 6}), 6400.0F);
}

TEST(RateOfChange, ReadsNothingPastTheCount) {
  float rms[] = {5, 5, 5, 5, 6};
  EXPECT_EQ(voltagechange(rms, 4, 128), 0.0F);
}

TEST(RateOfChange, CountsFallsLikeRises) {
  EXPECT_FLOAT_EQ(rate({220, 220, 217, 218}), 3 * 6400.0F);
  EXPECT_FLOAT_EQ(rate({220, 220, 221, 218, 222}), 4 * 6400.0F);
}

TEST(RateOfChange, IsTheLargestWhereverItLies) {
  EXPECT_FLOAT_EQ(rate({0, 0, 3, 4, 5}), 3 * 6400.0F);
  EXPECT_FLOAT_EQ(rate({0, 0, 1, 4, 5}), 3 * 6400.0F);
}

TEST(RateOfChange, OfTwoValuesOrLessIsZero) {
  EXPECT_EQ(rate({}), 0.0F);
  EXPECT_EQ(rate({1}), 0.0F);
  EXPECT_EQ(rate({1, 100}), 0.0F);
  EXPECT_GT(rate({1, 1, 100}), 0.0F);
}

TEST(RateOfChange, OfASteadyCurveIsZero) {
  EXPECT_EQ(rate({220, 220, 220, 220}), 0.0F);
}

TEST(RateOfChange, SkipsValuesThatAreNotNumbers) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  EXPECT_FLOAT_EQ(rate({0, 0, 1, nan, 5, 7}), 2 * 6400.0F);
}

TEST(RateOfChange, OfAMissingCurveIsZero) {
  EXPECT_EQ(voltagechange(nullptr, 10, 128), 0.0F);
}

TEST(RateOfChange, AtNoSamplesPerCycleIsZero) {
  EXPECT_EQ(rate({0, 0, 1}, 0), 0.0F) << "the sample duration is infinite";
}

}  // namespace
