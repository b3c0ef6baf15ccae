#include "outputs/rounding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

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
TEST(RoundedFigure, HasTwoDigitsOfItsUncertainty) {
  const auto rounded = [](double value, double plus_minus) {
    const auto figure = outputs::rounded_figure({value, plus_minus}, 9);
    return std::pair(figure.value, figure.plus_minus);
  };
  EXPECT_EQ(rounded(20455.4, 230.249), std::pair(20460.0, 240.0));
  EXPECT_EQ(rounded(0.275547, 0.000234375), std::pair(0.27555, 0.00024));
  EXPECT_EQ(rounded(97.63, 4.21894), std::pair(97.6, 4.3));
  EXPECT_EQ(rounded(97.63, 9.94), std::pair(98.0, 10.0)) << "rounded up it has a digit more";
  EXPECT_EQ(rounded(97.63, 9.9), std::pair(97.6, 9.9)) << "what is a whole number of units stays";
  EXPECT_EQ(rounded(-3.75, 81), std::pair(-4.0, 81.0));
  EXPECT_EQ(rounded(5, 1e-12), std::pair(5.0, 1e-9)) << "no more decimals than there may be";
  EXPECT_EQ(rounded(5.123, 0), std::pair(5.123, 0.0)) << "none is known";
}

}  // namespace outputs
