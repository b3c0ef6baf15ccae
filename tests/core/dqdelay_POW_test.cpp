#include "sagx/dqdelay_POW.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "sagx/dq_dipx.h"
#include "tests/core/dip_waveforms.h"

namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinity = std::numeric_limits<float>::infinity();

/// A window of 100 V with samples 1 ms apart, so the frame rotates by 18 degrees per sample. All angles are 0, and
/// there is one more angle than there are magnitudes.
class PointOnWave : public testing::Test {
 protected:
  PointOnWave() {
    for (std::size_t i = 0; i < t.size(); i++) t[i] = static_cast<float>(i) / 1000.0F;
  }

  /// Returns the point on wave of phase A.
  float run(float nominal = 100) {
    dqdelay_POW(a.data(), b.data(), c.data(), angle_a.data(), angle_b.data(), angle_c.data(), t.data(), dipx.get(),
                nominal, static_cast<unsigned>(a.size()));
    return dipx->POW_a;
  }
  /// Returns the sample at which the angle was read, with the initial times.
  int sample(float nominal = 100) { return static_cast<int>(std::lround((run(nominal) - 90) / 18)); }
  /// Returns the point on wave when only the angle at time 0 contributes.
  float reduced(float angle) {
    a = {100, 100, 80, 80, 80, 80, 80, 80, 80, 80};
    t[1] = 0;
    angle_a[1] = angle;
    return run();
  }

  std::vector<float> a = std::vector<float>(10, 100.0F);
  std::vector<float> b = a;
  std::vector<float> c = a;
  std::vector<float> angle_a = std::vector<float>(11);
  std::vector<float> angle_b = angle_a;
  std::vector<float> angle_c = angle_a;
  std::vector<float> t = angle_a;
  tests::Zeroed<dq_dipx_struct> dipx = tests::zeroed<dq_dipx_struct>();
};

TEST_F(PointOnWave, IsReadAtTheLastSampleBeforeTheFallThatStoodAt95PerCent) {
  a = {100, 100, 100, 95, 94, 92, 90, 80, 80, 80};
  EXPECT_EQ(sample(), 3);
  a[3] = std::nextafter(95.0F, 0.0F);
  EXPECT_EQ(sample(), 2);
}

TEST_F(PointOnWave, TreatsNinetyPerCentAsFallen) {
  a = {100, 100, 94, 94, 90, 94, 97, 94, 80, 80};
  EXPECT_EQ(sample(), 1);
  a[4] = std::nextafter(90.0F, 100.0F);
  EXPECT_EQ(sample(), 6);
}

TEST_F(PointOnWave, StoresItsThresholdsAsFloat) {
  // 0.95 x 1 is above the nearest float, 0.9 x 3 is below it.
  ASSERT_LT(static_cast<double>(0.95F), 0.95);
  a = {1, 1, 1, 0.95F, 0.5F, 0.5F, 0.5F, 0.5F, 0.5F, 0.5F};
  b = c = std::vector<float>(10, 1.0F);
  EXPECT_EQ(sample(1), 3);
  ASSERT_GT(static_cast<double>(2.7F), 0.9 * 3);
  a = {3, 3, 2.7F, 2.8F, 2.9F, 2.8F, 2, 2, 2, 2};
  b = c = std::vector<float>(10, 3.0F);
  EXPECT_EQ(sample(3), 1);
}

TEST_F(PointOnWave, UsesTheFirstFall) {
  a = {100, 100, 100, 80, 100, 100, 100, 80, 100, 100};
  EXPECT_EQ(sample(), 2);
}

TEST_F(PointOnWave, SearchesBackFromTheFallItself) {
  // With a nominal voltage of 0 both thresholds are 0.
  a = {1, 1, 1, 0, -1, -1, -1, -1, -1, -1};
  EXPECT_EQ(sample(0), 3);
}

TEST_F(PointOnWave, LooksBackToSample1AndNotTo0) {
  a = {100, 97, 94, 80, 80, 80, 80, 80, 80, 80};
  EXPECT_EQ(sample(), 1);
  a[1] = 94;
  EXPECT_EQ(sample(), 10) << "there is none, so the entry after the window is used";
}

TEST_F(PointOnWave, LeavesOutAPhaseThatIsLowFromTheStart) {
  a = std::vector<float>(10, 80.0F);
  EXPECT_EQ(sample(), 10);
  b[6] = 80;
  EXPECT_EQ(sample(), 5);
}

TEST_F(PointOnWave, FollowsThePhaseThatLeavesFirst) {
  a[7] = 80;
  EXPECT_EQ(sample(), 6);
  c[3] = 80;
  EXPECT_EQ(sample(), 2);
  b[2] = 80;
  EXPECT_EQ(sample(), 1);
}

TEST_F(PointOnWave, WithoutAFallIsReadAfterTheWindow) {
  t[10] = 0.001F;
  angle_a[10] = 10;
  angle_b[10] = 20;
  angle_c[10] = 30;
  EXPECT_FLOAT_EQ(run(), 118);
  EXPECT_FLOAT_EQ(dipx->POW_b, 128);
  EXPECT_FLOAT_EQ(dipx->POW_c, 138);
}

TEST_F(PointOnWave, PastTheCapacityOfWindowsCountsAs0) {
  std::vector<float> high(DQ_RECORD_CAPACITY, 100.0F);
  std::vector<float> angles(DQ_WINDOW_CAPACITY, 45.0F);
  std::vector<float> times(DQ_RECORD_CAPACITY, 0.005F);
  const auto run_to = [&](unsigned num) {
    dqdelay_POW(high.data(), high.data(), high.data(), angles.data(), angles.data(), angles.data(), times.data(),
                dipx.get(), 100, num);
    return dipx->POW_a;
  };
  EXPECT_FLOAT_EQ(run_to(DQ_WINDOW_CAPACITY - 1), 225);
  EXPECT_FLOAT_EQ(run_to(DQ_WINDOW_CAPACITY), 180) << "the array of times is longer than that of angles";
  EXPECT_FLOAT_EQ(run_to(DQ_RECORD_CAPACITY), 90);
}

TEST_F(PointOnWave, IsNinetyAtTimeZeroAndAngleZero) {
  EXPECT_EQ(reduced(0), 90.0F);
  EXPECT_EQ(dipx->POW_b, 90.0F);
  EXPECT_EQ(dipx->POW_c, 90.0F);
}

TEST_F(PointOnWave, AddsThePhasesOwnAngle) {
  angle_b[1] = -120;
  angle_c[1] = 120;
  EXPECT_EQ(reduced(30), 120.0F);
  EXPECT_EQ(dipx->POW_b, -30.0F);
  EXPECT_EQ(dipx->POW_c, 210.0F);
}

TEST_F(PointOnWave, LiesWithinOneTurn) {
  EXPECT_EQ(reduced(269.5F), 359.5F);
  EXPECT_EQ(reduced(270), 0.0F);
  EXPECT_EQ(reduced(275), 5.0F);
  EXPECT_EQ(reduced(270 + 720), 0.0F);
}

TEST_F(PointOnWave, StaysNegativeNearTheWindowsStart) {
  EXPECT_EQ(reduced(-180), -90.0F);
  EXPECT_EQ(reduced(-449.5F), -359.5F);
  EXPECT_EQ(reduced(-450), 0.0F);
  EXPECT_EQ(reduced(-455), -5.0F);
}

TEST_F(PointOnWave, TurnsBy18000DegreesPerSecond) {
  a = {100, 100, 80, 80, 80, 80, 80, 80, 80, 80};
  t[1] = 0.0125F;  // five eighths of a cycle
  EXPECT_FLOAT_EQ(run(), 225 + 90);
  t[1] = 0.03125F;
  EXPECT_FLOAT_EQ(run(), 562.5F + 90 - 360);
}

TEST_F(PointOnWave, AddsInFloatTheTurnFirstThenTheAngleThenNinety) {
  // 18000 x 1024 is above 2^24, so adding 1 does not change it, but adding 91 would.
  a = {100, 100, 80, 80, 80, 80, 80, 80, 80, 80};
  t[1] = 1024;
  angle_a[1] = 1;
  EXPECT_EQ(run(), 90.0F);
}

TEST_F(PointOnWave, ThatIsNotANumberOrIsTooLargeIsNotReduced) {
  EXPECT_TRUE(std::isnan(reduced(nan)));
  EXPECT_EQ(reduced(infinity), infinity);
  EXPECT_EQ(reduced(-infinity), -infinity);
  EXPECT_EQ(reduced(1e30F), 1e30F);
  EXPECT_EQ(reduced(-1e30F), -1e30F);
  const float turns_of_an_int = 360.0F * 2147483648.0F;
  EXPECT_EQ(reduced(turns_of_an_int), turns_of_an_int);
  EXPECT_LT(reduced(std::nextafter(turns_of_an_int, 0.0F)), turns_of_an_int / 2);
}

TEST_F(PointOnWave, SkipsMagnitudesThatAreNotNumbers) {
  a = {100, 100, 97, nan, 92, nan, 80, 80, 80, 80};
  EXPECT_EQ(sample(), 2);
}

TEST_F(PointOnWave, OfAnEmptyWindowIsReadAtItsFirstEntry) {
  dqdelay_POW(a.data(), b.data(), c.data(), angle_a.data(), angle_b.data(), angle_c.data(), t.data(), dipx.get(), 100,
              0);
  EXPECT_EQ(dipx->POW_a, 90.0F);
}

TEST_F(PointOnWave, WritesNothingElse) {
  a[5] = 80;
  run();
  dipx->POW_a = dipx->POW_b = dipx->POW_c = 0;
  const auto untouched = tests::zeroed<dq_dipx_struct>();
  EXPECT_EQ(std::memcmp(dipx.get(), untouched.get(), sizeof *dipx), 0);
}

TEST_F(PointOnWave, WithoutAnArrayOrAResultIsLeftAsItWas) {
  dipx->POW_a = 7;
  float* arrays[] = {a.data(), b.data(), c.data(), angle_a.data(), angle_b.data(), angle_c.data(), t.data()};
  for (float*& missing : arrays) {
    float* const kept = missing;
    missing = nullptr;
    dqdelay_POW(arrays[0], arrays[1], arrays[2], arrays[3], arrays[4], arrays[5], arrays[6], dipx.get(), 100, 10);
    missing = kept;
  }
  dqdelay_POW(arrays[0], arrays[1], arrays[2], arrays[3], arrays[4], arrays[5], arrays[6], nullptr, 100, 10);
  EXPECT_EQ(dipx->POW_a, 7.0F);
}

}  // namespace
