#include "outputs/rounding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace outputs {
namespace {

TEST(RoundedVolts, HaveSixSignificantDigits) {
  EXPECT_EQ(rounded_volts(63508.5349), 63508.5);
  EXPECT_EQ(rounded_volts(-230.123456), -230.123);
  EXPECT_EQ(rounded_volts(0.000385111149), 0.000385111);
}

TEST(RoundedVolts, AreZeroWhereNothingButCancelledSumsIsLeft) {
  EXPECT_EQ(rounded_volts(1.56217e-19), 0);
  EXPECT_EQ(rounded_volts(-9.9e-10), 0);
  EXPECT_EQ(rounded_volts(1.5e-9), 1.5e-9);
  EXPECT_FALSE(std::signbit(rounded_volts(-1e-12)));
}

TEST(RoundedVolts, StayWhatTheyAreIfTheyAreNotFinite) {
  EXPECT_TRUE(std::isnan(rounded_volts(std::numeric_limits<double>::quiet_NaN())));
}

}  // namespace
}  // namespace outputs
