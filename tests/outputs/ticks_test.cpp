// Tests that the ticks of an axis are round, few, and limited in number for any range.
#include "outputs/ticks.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using outputs::Ticks;

TEST(Ticks, AreRoundValuesWithinTheirBounds) {
  const Ticks ticks(0.25, 0.65);
  const std::vector<double> expected = {0.3, 0.4, 0.5, 0.6};
  ASSERT_EQ(ticks.values().size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); i++) EXPECT_NEAR(ticks.values()[i], expected[i], 1e-12);
  EXPECT_EQ(ticks.text(0.3), "0.3");
  EXPECT_EQ(ticks.text(-0.3), "\u22120.3");
  EXPECT_EQ(ticks.text(-1e-15), "0.0");
  EXPECT_EQ(ticks.base(), 0);
}

TEST(Ticks, AreLimitedInNumberForAnyBounds) {
  constexpr double huge = std::numeric_limits<double>::max();
  constexpr double infinity = std::numeric_limits<double>::infinity();
  const double bounds[] = {-infinity, -huge, -1.7e9,       -1,   -1e-300,    0,    1e-300,   1e-12,       1,
                           1 + 1e-15, 1.7e9, 1.7e9 + 1e-6, 1e18, 1e18 + 200, huge, infinity, std::nan("")};
  for (const double low : bounds) {
    for (const double high : bounds) {
      const Ticks ticks(low, high);
      EXPECT_LE(ticks.values().size(), 12U) << low << " to " << high;
      for (std::size_t i = 0; i < ticks.values().size(); i++) {
        const double tick = ticks.values()[i];
        EXPECT_TRUE(std::isfinite(tick)) << low << " to " << high;
        if (i > 0) {
          EXPECT_GT(tick, ticks.values()[i - 1]) << low << " to " << high;
        }
      }
    }
  }
}

TEST(Ticks, HaveShortTextsFarFromZero) {
  const Ticks ticks(1.7e9 + 0.2, 1.7e9 + 0.9);
  ASSERT_FALSE(ticks.values().empty());
  EXPECT_EQ(ticks.base_text(), "1700000000");
  for (const double tick : ticks.values()) EXPECT_EQ(ticks.text(tick).size(), 3U) << ticks.text(tick);
}

TEST(Ticks, DoNotExistWithoutASpan) {
  EXPECT_TRUE(Ticks(1, 1).values().empty());
  EXPECT_TRUE(Ticks(2, 1).values().empty());
}

TEST(Scale, PutsOneValueInTheMiddle) {
  EXPECT_EQ((outputs::Scale{5, 5, 10, 20}(5)), 15);
  EXPECT_EQ((outputs::Scale{0, 10, 10, 20}(2)), 12);
}

}  // namespace
