#include "measure/half_cycle_rms.h"

#include <gtest/gtest.h>

#include "measure/cycle_track.h"
#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::phasor;
using tests::staged;
using tests::turning;

HalfCycleRms rms_of(const MadeWaveform& made, std::size_t phase = 0) {
  return half_cycle_rms(made.waveform(), phase, CycleTrack(made.waveform()), 230);
}

TEST(HalfCycleRms, OfASinusoidIsItsRms) {
  // A window of a whole number of samples has the mean square of the sinusoid, wherever it lies among the samples.
  for (const double degrees : {-90.0, 0.0, 33.3, 170.0}) {
    const auto made = staged({{0, balanced(230, degrees)}}, 0.5);
    for (const double volts : rms_of(made).volts) EXPECT_NEAR(volts, 230, 1e-3);
  }
}

TEST(HalfCycleRms, IncludesHarmonicsAndAConstant) {
  auto made = staged({{0, balanced(230)}}, 0.5);
  made.add(0, [](double t) { return turning(23, 250, t) + turning(phasor(46, 50), 350, t) + 20; });
  const double expected = std::sqrt(230.0 * 230 + 23 * 23 + 46 * 46 + 20 * 20);
  for (const double volts : rms_of(made).volts) EXPECT_NEAR(volts, expected, 0.01);
}

TEST(HalfCycleRms, IsRefreshedEveryHalfCycleAtTheZeroCrossings) {
  for (std::size_t phase = 0; phase < 3; phase++) {
    const auto made = staged({{0, balanced(230, 33)}}, 0.5);
    const HalfCycleRms rms = rms_of(made, phase);
    ASSERT_GE(rms.size(), 47U);
    for (std::size_t k = 0; k < rms.size(); k++) {
      EXPECT_NEAR(rms.end_s[k] - rms.start_s[k], 0.02, 1e-6);
      EXPECT_NEAR(turning(balanced(230, 33)[phase], 50, rms.start_s[k]), 0, 0.1);
      if (k > 0) {
        EXPECT_NEAR(rms.start_s[k] - rms.start_s[k - 1], 0.01, 1e-6);
      }
    }
    EXPECT_LT(rms.start_s.front(), 0.01);
    EXPECT_GT(rms.end_s.back(), 0.5 - 0.01 - 1e-3);
  }
}

TEST(HalfCycleRms, FollowsAnotherFrequency) {
  for (const double hertz : {49.7, 50.3, 60.0, 59.1}) {
    const auto made = staged({{0, balanced(230)}}, 1, {6400, hertz, 3});
    const HalfCycleRms rms = rms_of(made);
    EXPECT_NEAR(static_cast<double>(rms.size()), 2 * hertz, 2.5);
    for (std::size_t k = 0; k < rms.size(); k++) {
      // Windows end between samples, and the last sample counts in proportion.
      EXPECT_NEAR(rms.volts[k], 230, 0.05);
      EXPECT_NEAR(turning(230, hertz, rms.start_s[k]), 0, 1) << k;
    }
  }
}

TEST(HalfCycleRms, OfEightSamplesPerCycleIsStillTheRms) {
  const auto made = staged({{0, balanced(230, 20)}}, 0.5, {400, 50, 3});
  for (const double volts : rms_of(made).volts) EXPECT_NEAR(volts, 230, 0.01);
}

TEST(HalfCycleRms, OverAStepHasTheMeanSquareOfBothSides) {
  // The sine begins with a zero crossing at 0 s, and so do windows at whole half cycles.
  const Phasors high = balanced(230, -90);
  const Phasors low = balanced(46, -90);
  const auto made = staged({{0, high}, {0.2 - 1e-6, low}}, 0.5);
  const HalfCycleRms rms = rms_of(made);
  for (std::size_t k = 0; k < rms.size(); k++) {
    const double expected = rms.start_s[k] > 0.195   ? 46
                            : rms.start_s[k] > 0.185 ? std::sqrt((230.0 * 230 + 46 * 46) / 2)
                                                     : 230;
    EXPECT_NEAR(rms.volts[k], expected, 0.1) << rms.start_s[k];
  }
}

TEST(HalfCycleRms, IsMissingInEveryWindowWithAMissingSample) {
  auto made = staged({{0, balanced(230, -90)}}, 0.5);
  made.lose(0, 0.2049, 0.2051);
  const HalfCycleRms rms = rms_of(made);
  std::size_t missing = 0;
  for (std::size_t k = 0; k < rms.size(); k++) {
    const bool holds = rms.start_s[k] < 0.205 && rms.end_s[k] > 0.205;
    EXPECT_EQ(std::isnan(rms.volts[k]), holds) << rms.start_s[k];
    missing += holds ? 1 : 0;
    if (!holds) {
      EXPECT_NEAR(rms.volts[k], 230, 1e-3);
    }
  }
  EXPECT_EQ(missing, 2U);
}

TEST(HalfCycleRms, SharesASampleBetweenTheWindowsThatMeetInIt) {
  // A sample covers the time around it, so half of the one at 0.2 s belongs to the window before and half to the one
  // after.
  auto made = staged({{0, balanced(230, -90)}}, 0.5);
  made.lose(0, 0.2 - 1e-6, 0.2 + 1e-6);
  const HalfCycleRms rms = rms_of(made);
  for (std::size_t k = 0; k < rms.size(); k++) {
    const bool holds = rms.start_s[k] > 0.175 && rms.start_s[k] < 0.205;
    EXPECT_EQ(std::isnan(rms.volts[k]), holds) << rms.start_s[k];
  }
}

TEST(HalfCycleRms, CatchesUpWithAnotherAngle) {
  // The angle jumps by a tenth of a turn, and each half cycle catches up by at most a hundredth of a cycle.
  const auto made = staged({{0, balanced(230, -90)}, {0.2, balanced(230, -54)}}, 0.8);
  const HalfCycleRms rms = rms_of(made);
  for (std::size_t k = 0; k < rms.size(); k++) {
    EXPECT_NEAR(rms.end_s[k] - rms.start_s[k], 0.02, 2 * 0.0002 + 1e-6);
    if (rms.end_s[k] < 0.2 || rms.start_s[k] > 0.2 + 12 * 0.01) {
      EXPECT_NEAR(turning(balanced(230, rms.end_s[k] < 0.2 ? -90 : -54)[0], 50, rms.start_s[k]), 0, 1);
    }
  }
}

TEST(HalfCycleRms, ContinuesThroughAnInterruption) {
  const auto made = staged({{0, balanced(230, -90)}, {0.2, {}}, {0.4, balanced(230, -90)}}, 0.6);
  const HalfCycleRms rms = rms_of(made);
  for (std::size_t k = 0; k < rms.size(); k++) {
    if (k > 0) {
      EXPECT_NEAR(rms.start_s[k] - rms.start_s[k - 1], 0.01, 1e-6);
    }
    if (rms.start_s[k] > 0.205 && rms.end_s[k] < 0.395) {
      EXPECT_NEAR(rms.volts[k], 0, 1e-9);
    }
  }
}

TEST(HalfCycleRms, OfLessThanACycleHasNoValues) {
  const auto made = staged({{0, balanced(230)}}, 0.015);
  EXPECT_EQ(rms_of(made).size(), 0U);
}

}  // namespace
}  // namespace measure
