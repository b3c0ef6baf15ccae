#include "archive/clock_offsets.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

namespace archive {
namespace {

const std::vector<std::string> sites = {"East", "North", "South", "West"};
enum Site : std::size_t { east, north, south, west };

/// Lets a site see dips that begin at these times and last 0.1 s, 0.2 s and so on, with a clock that is ahead.
void see(std::vector<SeenDip>& dips, std::size_t site, const std::vector<double>& times, double ahead) {
  double seconds = 0.1;
  for (const double time : times) {
    dips.push_back({site, time + ahead, time + ahead + seconds});
    seconds += 0.1;
  }
}

TEST(ClockOffsets, AreTheDifferencesOfTheSameDips) {
  std::vector<SeenDip> dips;
  see(dips, north, {1000, 2000, 3000}, 0);
  see(dips, south, {1000, 2000, 3000}, 12.5);
  const auto offsets = clock_offsets(dips, sites);
  ASSERT_EQ(offsets.size(), 1U);
  EXPECT_EQ(offsets[0].site, "South");
  EXPECT_EQ(offsets[0].reference, "North");
  EXPECT_NEAR(offsets[0].ahead_s, 12.5, 1e-9);
  EXPECT_NEAR(offsets[0].deviation_s, 0, 1e-9);
  EXPECT_EQ(offsets[0].dips, 3U);
}

TEST(ClockOffsets, AreMeansWithAStandardDeviation) {
  std::vector<SeenDip> dips;
  see(dips, north, {1000, 2000, 3000}, 0);
  dips.push_back({south, 998.99, 999.09});
  dips.push_back({south, 1999.00, 1999.20});
  dips.push_back({south, 2999.01, 2999.31});
  const auto offsets = clock_offsets(dips, sites);
  ASSERT_EQ(offsets.size(), 1U);
  EXPECT_NEAR(offsets[0].ahead_s, -1, 1e-9);
  EXPECT_NEAR(offsets[0].deviation_s, 0.01, 1e-9);  // of -0.01, 0 and 0.01 about their mean
}

TEST(ClockOffsets, NeedThreeDips) {
  std::vector<SeenDip> dips;
  see(dips, north, {1000, 2000}, 0);
  see(dips, south, {1000, 2000}, 0.5);
  EXPECT_TRUE(clock_offsets(dips, sites).empty());
}

TEST(ClockOffsets, CountADipOfTwoSetsOfVoltagesOnce) {
  std::vector<SeenDip> dips;
  for (int set = 0; set < 2; set++) {
    see(dips, north, {1000, 2000}, 0.001 * set);
    see(dips, south, {1000, 2000}, 0.5 + 0.001 * set);
  }
  EXPECT_TRUE(clock_offsets(dips, sites).empty());
}

TEST(ClockOffsets, AreNoneOfDipsThatLastDifferentTimes) {
  std::vector<SeenDip> dips;
  see(dips, north, {1000, 2000, 3000}, 0);
  for (const double time : {1000.0, 2000.0, 3000.0}) dips.push_back({south, time + 0.5, time + 1.5});
  EXPECT_TRUE(clock_offsets(dips, sites).empty());
}

TEST(ClockOffsets, AreNotGuessedIfTwoDifferencesAreEquallyFrequent) {
  // Each fault is followed by an equal one after a reclosure that takes 5 s, and each site misses one of both.
  std::vector<SeenDip> dips;
  for (const double time : {1000.0, 2000.0, 3000.0}) {
    dips.push_back({north, time, time + 0.1});
    dips.push_back({south, time, time + 0.1});
    dips.push_back({south, time + 5, time + 5.1});
  }
  EXPECT_TRUE(clock_offsets(dips, sites).empty());
  // Where both sites see all of them, the true difference is the more frequent one.
  for (const double time : {1000.0, 2000.0, 3000.0}) dips.push_back({north, time + 5, time + 5.1});
  const auto offsets = clock_offsets(dips, sites);
  ASSERT_EQ(offsets.size(), 1U);
  EXPECT_NEAR(offsets[0].ahead_s, 0, 1e-9);
  EXPECT_EQ(offsets[0].dips, 6U);
}

TEST(ClockOffsets, GoThroughAThirdSite) {
  std::vector<SeenDip> dips;
  see(dips, east, {1000, 2000, 3000}, 2);
  see(dips, north, {1000, 2000, 3000, 5000, 6000, 7000, 8000}, 0);
  // The dips of West last as long as those of North at the same times.
  double seconds = 0.4;
  for (const double time : {5000.0, 6000.0, 7000.0, 8000.0}) {
    dips.push_back({west, time - 3, time - 3 + seconds});
    seconds += 0.1;
  }
  const auto offsets = clock_offsets(dips, sites);
  ASSERT_EQ(offsets.size(), 2U);
  EXPECT_EQ(offsets[0].site, "East");
  EXPECT_EQ(offsets[0].reference, "North") << "North shares the most dips";
  EXPECT_NEAR(offsets[0].ahead_s, 2, 1e-9);
  EXPECT_EQ(offsets[1].site, "West");
  EXPECT_NEAR(offsets[1].ahead_s, -3, 1e-9);
  EXPECT_EQ(offsets[1].dips, 4U);
}

TEST(ClockOffsets, AreNoneOfNothing) {
  EXPECT_TRUE(clock_offsets({}, {}).empty());
  EXPECT_TRUE(clock_offsets({}, sites).empty());
}

}  // namespace
}  // namespace archive
