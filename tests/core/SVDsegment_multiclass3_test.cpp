// At one sample per cycle the order is 1 and nothing is smoothed, so the feature is the difference between neighbouring
// samples. A change over the samples b to b + L has boundaries b - 1 and b + L - 1, two samples before the feature
// rises and falls. Where a tenth of the depth is to be the threshold, windows are so long that less than 5 % of their
// samples are within a change.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "sagx/dq_segment_feature_multiclass.h"
#include "tests/core/dip_waveforms.h"
#include "tests/core/printed_lines.h"

namespace {

using tests::zeroed;
using Boundaries = std::vector<int>;

class ShortSegmentation : public testing::Test {
 protected:
  ShortSegmentation() {
    buf->smp = 1;
    dipx->un = 100;
    dipx->ut = 90;
    dipx->ud = 10;  // changes count from a feature of 1 on
  }

  void window(int samples, float level = 100) {
    buf->num = static_cast<unsigned>(samples);
    for (float* phase : {buf->ua, buf->ub, buf->uc}) std::fill_n(phase, samples, level);
  }
  /// Changes the phase by `slope` per sample from sample `begin` on for `length` samples; after that the phase is
  /// constant.
  static void ramp(float* phase, int samples, int begin, int length, float slope) {
    for (int i = begin + 1; i < samples; i++) phase[i] = phase[i - 1] + (i <= begin + length ? slope : 0.0F);
  }
  void ramp(int begin, int length, float slope) {
    for (float* phase : {buf->ua, buf->ub, buf->uc}) ramp(phase, static_cast<int>(buf->num), begin, length, slope);
  }
  /// Sets all phases to a level from sample `begin` on.
  void hold(int begin, float level) {
    for (float* phase : {buf->ua, buf->ub, buf->uc}) std::fill(phase + begin, phase + buf->num, level);
  }

  std::string run() {
    const auto printed = tests::printed_by([&] { SVDsegment_multiclass3(buf.get(), dipx.get()); });
    EXPECT_EQ(printed.err, "");
    return printed.out;
  }
  Boundaries segmented() {
    run();
    return {dipx->seg_idx, dipx->seg_idx + dipx->seg_num};
  }
  [[nodiscard]] Boundaries crossings(int count) const { return {dipx->seg_tmp, dipx->seg_tmp + count}; }
  [[nodiscard]] Boundaries dip() const { return {dipx->D[0], dipx->D[1]}; }

  tests::Zeroed<dq_data> buf = zeroed<dq_data>();
  tests::Zeroed<dq_dipx_struct> dipx = zeroed<dq_dipx_struct>();
};

// --- magnitudes ------------------------------------------------------------------------------------------------------

TEST_F(ShortSegmentation, KeepsTheMagnitudesBeforeItSmoothsThem) {
  buf->smp = 8;  // a median of 5
  window(40);
  for (const int spike : {1, 20, 38}) buf->ub[spike] = 50;
  run();
  for (const int spike : {1, 20, 38}) {
    EXPECT_EQ(buf->ub0[spike], 50.0F);
    EXPECT_EQ(buf->u[spike], 50.0F) << "the minimum curve is not smoothed";
  }
  EXPECT_EQ(buf->ub[1], 50.0F) << "no complete window fits here";
  EXPECT_EQ(buf->ub[20], 100.0F);
  EXPECT_EQ(buf->ub[38], 50.0F) << "no complete window fits here";
  EXPECT_EQ(buf->ua0[20], 100.0F);
}

TEST_F(ShortSegmentation, SmoothsFromAQuarterCycleInsideTheWindow) {
  buf->smp = 8;
  window(40);
  for (const int spike : {2, 37}) buf->uc[spike] = 50;
  run();
  EXPECT_EQ(buf->uc[2], 100.0F);
  EXPECT_EQ(buf->uc[37], 100.0F);
}

TEST_F(ShortSegmentation, SmoothsByHalfACycleAndASample) {
  buf->smp = 32;  // a median of 17
  window(100);
  std::fill_n(buf->ua + 30, 8, 50.0F);
  std::fill_n(buf->ub + 30, 9, 50.0F);
  run();
  EXPECT_EQ(std::count(buf->ua, buf->ua + 100, 50.0F), 0);
  EXPECT_EQ(std::count(buf->ub + 30, buf->ub + 39, 50.0F), 9) << "a step keeps its position";
  EXPECT_EQ(std::count(buf->ub, buf->ub + 100, 50.0F), 9);
}

TEST_F(ShortSegmentation, SmoothsEachPhaseByItself) {
  buf->smp = 8;
  window(40);
  std::fill_n(buf->ua, 40, 1.0F);
  std::fill_n(buf->ub, 40, 2.0F);
  std::fill_n(buf->uc, 40, 3.0F);
  run();
  EXPECT_EQ(buf->ua[20], 1.0F);
  EXPECT_EQ(buf->ub[20], 2.0F);
  EXPECT_EQ(buf->uc[20], 3.0F);
  EXPECT_EQ(buf->uc0[20], 3.0F);
}

TEST_F(ShortSegmentation, AtOddQuartersReadsOneEntryPastTheWindow) {
  // At 34 samples per cycle the median takes 18 values, from 8 before to 9 after a sample. In the last window 9 of
  // these are 0 and 8 are 10.
  buf->smp = 34;
  const auto last_with = [&](float behind) {
    window(20, 0);
    hold(12, 10);
    buf->ua0[20] = behind;
    run();
    return buf->ua[11];
  };
  EXPECT_EQ(last_with(0), 0.0F);
  EXPECT_EQ(last_with(50), 5.0F) << "the mean of the two middle values";
}

TEST_F(ShortSegmentation, AtTheEndOfTheArrayTheEntryPastTheWindowIsZero) {
  buf->smp = 34;
  window(DQ_WINDOW_CAPACITY, 0);
  std::fill_n(buf->ua + DQ_WINDOW_CAPACITY - 8, 8, 10.0F);
  buf->ub[0] = 50;  // its copy follows the copy of phase A in memory
  run();
  EXPECT_EQ(buf->ua[DQ_WINDOW_CAPACITY - 9], 0.0F);
}

// --- the feature -----------------------------------------------------------------------------------------------------

TEST_F(ShortSegmentation, MeasuresALongRampByOrderTimesSlope) {
  const std::pair<unsigned, int> orders[] = {{1, 1}, {8, 1}, {32, 3}, {48, 3}, {50, 4}, {64, 4}, {80, 4}, {81, 5}};
  for (const auto& [rate, order] : orders) {
    buf->smp = rate;
    window(100);
    ramp(0, 100, -0.25F);
    run();
    EXPECT_NEAR(buf->feasvd_a[70], 0.25 * order, 1e-4) << rate;
    EXPECT_NEAR(buf->feasvd_b[50], 0.25 * order, 1e-4) << rate;
    EXPECT_NEAR(buf->feasvd_c[50], 0.25 * order, 1e-4) << rate;
  }
}

TEST_F(ShortSegmentation, AtTheHighestRateIsOfOrderSix) {
  buf->smp = 128;
  window(120);
  ramp(0, 120, -0.25F);
  run();
  EXPECT_NEAR(buf->feasvd_a[80], 1.5, 1e-4);
}

TEST_F(ShortSegmentation, RepeatsTheFirstCompleteFeatureBackwards) {
  buf->smp = 32;
  window(60);
  ramp(0, 9, -1);
  run();
  EXPECT_NEAR(buf->feasvd_a[9], 3, 1e-4);
  EXPECT_LT(buf->feasvd_a[10], 3 - 1e-2);
  for (int i = 0; i < 9; i++) EXPECT_EQ(buf->feasvd_a[i], buf->feasvd_a[9]) << i;
}

TEST_F(ShortSegmentation, EndsAFeatureAtItsSample) {
  window(60);
  ramp(20, 1, 3);
  run();
  EXPECT_EQ(buf->feasvd_b[20], 0.0F);
  EXPECT_EQ(buf->feasvd_b[21], 3.0F);
  EXPECT_EQ(buf->feasvd_b[22], 0.0F);
}

TEST_F(ShortSegmentation, AtARateWithoutAnOrderHasNoFeatures) {
  for (const unsigned rate : {0U, 361U, 1000U, 0x80000000U, 0xFFFFFFFFU}) {
    buf->smp = rate;
    window(150);
    ramp(40, 20, -2);
    EXPECT_EQ(run(), "S=1.000\r\n") << rate;
    EXPECT_EQ(dipx->seg_num, 0) << rate;
    EXPECT_EQ(std::count(buf->feasvd_a, buf->feasvd_a + 150, 0.0F), 150) << rate;
    EXPECT_EQ(buf->u[70], 60.0F) << rate;
  }
  buf->smp = 360;
  window(150);
  ramp(40, 60, -2);
  run();
  EXPECT_GT(buf->feasvd_a[90], 0.0F);
}

// --- threshold -------------------------------------------------------------------------------------------------------

TEST_F(ShortSegmentation, OfAFlatWindowUsesATenthOfTheDepthAsThreshold) {
  window(100);
  dipx->ud = 12;
  EXPECT_EQ(run(), "S=1.200\r\n");
  EXPECT_EQ(dipx->seg_num, 0);
  EXPECT_EQ(dip(), (Boundaries{0, 0}));
  dipx->ud = 0;
  EXPECT_EQ(run(), "S=0.000\r\n");
}

TEST_F(ShortSegmentation, UsesTheLowerEdgeOfTheTopTenthsThatContainFivePerCent) {
  window(100);
  ramp(40, 5, 8);
  EXPECT_EQ(run(), "S=7.200\r\n") << "5 of 100 samples are in the top tenth";
  window(100);
  ramp(40, 4, 8);
  EXPECT_EQ(run(), "S=1.000\r\n")
      << "the upper tenths hold only 4 of 100 samples, so the lowest is needed and the depth decides";
  window(100);
  ramp(40, 4, 8);
  ramp(60, 1, 3);
  EXPECT_EQ(run(), "S=2.400\r\n") << "the fifth sample is in the tenth that starts at 2.4";
}

TEST_F(ShortSegmentation, UsesAThresholdOfAtLeastATenthOfTheDepth) {
  window(100);
  ramp(40, 5, 8);
  dipx->ud = 71;
  EXPECT_EQ(run(), "S=7.200\r\n");
  dipx->ud = 73;
  EXPECT_EQ(run(), "S=7.300\r\n");
}

TEST_F(ShortSegmentation, DerivesTheThresholdFromTheStrongestPhase) {
  window(100);
  ramp(buf->ub, 100, 40, 5, 8);
  ramp(buf->uc, 100, 60, 5, 6);
  EXPECT_EQ(run(), "S=7.200\r\n");
}

// --- crossings -------------------------------------------------------------------------------------------------------

TEST_F(ShortSegmentation, RecordsAStretchOfSevenSamplesButNotOfSix) {
  window(400);
  ramp(40, 7, -2);
  ramp(100, 7, 2);
  EXPECT_EQ(segmented(), (Boundaries{39, 46, 99, 106}));
  EXPECT_EQ(crossings(4), (Boundaries{39, 46, 99, 106}));
  window(400);
  ramp(40, 6, -2);
  ramp(100, 6, 2);
  EXPECT_EQ(segmented(), Boundaries{});
}

TEST_F(ShortSegmentation, EndsAStretchAfterSevenSamplesBelowAndNotAfterSix) {
  window(400);
  ramp(40, 10, -2);
  ramp(57, 10, -2);
  ramp(200, 10, 2);
  EXPECT_EQ(segmented(), (Boundaries{39, 49, 56, 66, 199, 209}));
  window(400);
  ramp(40, 10, -2);
  ramp(56, 10, -2);
  ramp(200, 10, 2);
  EXPECT_EQ(segmented(), (Boundaries{39, 65, 199, 209}));
}

TEST_F(ShortSegmentation, StartsAnewAfterOneSampleOnTheWrongSide) {
  window(400);
  ramp(40, 6, -2);
  ramp(47, 7, -2);
  ramp(100, 7, 2);
  EXPECT_EQ(segmented(), (Boundaries{46, 53, 99, 106}));
}

TEST_F(ShortSegmentation, CountsAFeatureEqualToTheThresholdAsAbove) {
  window(400);
  ramp(40, 7, -1);
  ramp(100, 7, 1);
  EXPECT_EQ(segmented(), (Boundaries{39, 46, 99, 106}));
  window(400);
  ramp(40, 7, -0.9375F);
  ramp(100, 7, 0.9375F);
  EXPECT_EQ(segmented(), Boundaries{});
}

TEST_F(ShortSegmentation, SeesAChangeOfAnyPhase) {
  window(1000);
  dipx->ut = 1000;
  ramp(buf->ua, 1000, 40, 7, -2);
  ramp(buf->ub, 1000, 100, 14, -2);
  ramp(buf->uc, 1000, 200, 21, -2);
  EXPECT_EQ(segmented(), (Boundaries{39, 46, 99, 113, 199, 220}));
}

TEST_F(ShortSegmentation, DropsARiseWithoutItsFall) {
  window(400);
  ramp(40, 10, -2);
  ramp(200, 10, 2);
  ramp(380, 20, 2);
  EXPECT_EQ(segmented(), (Boundaries{39, 49, 199, 209}));
}

TEST_F(ShortSegmentation, NeedsSevenSamplesBelowBeforeTheWindowEnds) {
  const auto with_length = [&](int samples) {
    window(samples);
    ramp(samples - 300, 10, -2);
    ramp(200, 10, -2);
    return segmented();
  };
  EXPECT_EQ(with_length(218), (Boundaries{199, 209, 0})) << "the fall is confirmed at the last sample";
  EXPECT_EQ(with_length(217), Boundaries{});
}

TEST_F(ShortSegmentation, RecordsNoStretchThatBeginsWithTheWindow) {
  window(400);
  ramp(0, 20, -2);
  ramp(100, 7, 2);
  ramp(200, 7, 2);
  EXPECT_EQ(segmented(), (Boundaries{99, 106, 199, 206}));
}

/// Runs that alternate between falling and rising, 30 samples apart; the run with the given number has a different
/// slope.
class ManyRuns : public ShortSegmentation {
 protected:
  void runs(int count, float slope, int odd_one = -1, float odd_slope = 0) {
    window(300 * count);
    dipx->ut = 95;
    for (int i = 0; i < count; i++) {
      const float size = i == odd_one ? odd_slope : slope;
      ramp(40 + 30 * i, 7, i % 2 == 0 ? -size : size);
    }
  }
  /// Returns the boundaries of runs `from` to `to` without those of the given odd one.
  static Boundaries boundaries(int from, int to, int odd_one = -1) {
    Boundaries result;
    for (int i = from; i < to; i++) {
      if (i == odd_one) continue;
      result.push_back(39 + 30 * i);
      result.push_back(46 + 30 * i);
    }
    return result;
  }
};

TEST_F(ManyRuns, AreAllKeptUpToThirtyTwoCrossings) {
  runs(16, 2, 3, 1.125F);
  EXPECT_EQ(segmented(), boundaries(0, 16)) << "the threshold is not raised";
}

TEST_F(ManyRuns, BeyondThirtyTwoCrossingsRaiseTheThresholdByAFifth) {
  runs(17, 2, 3, 1.1875F);
  EXPECT_EQ(run(), "S=1.000\r\n") << "the first threshold is printed";
  EXPECT_EQ((Boundaries{dipx->seg_idx, dipx->seg_idx + dipx->seg_num}), boundaries(0, 17, 3));
  runs(17, 2, 3, 1.25F);  // more than 1.2, so the threshold must be raised twice
  EXPECT_EQ(segmented(), boundaries(0, 17, 3));
}

TEST_F(ManyRuns, AreCutAfterThirtyTwoBoundariesWhenNoThresholdHelps) {
  // The 25th threshold is 1.2^24 = 79.50.
  runs(17, 200, 3, 80);
  EXPECT_EQ(segmented(), boundaries(0, 16));
  EXPECT_EQ(crossings(32), boundaries(0, 16));
  runs(17, 200, 3, 79);
  EXPECT_EQ(segmented(), boundaries(0, 17, 3));
}

TEST_F(ManyRuns, BeyondTheListAreIgnored) {
  runs(100, 200);
  EXPECT_EQ(segmented(), boundaries(0, 16));
  EXPECT_EQ(dipx->un, 100.0F) << "the field after the crossings must not change";
}

TEST_F(ManyRuns, LeaveARunInProgressToTheNextTry) {
  // The window begins and ends within a run. The two samples at its end count as three when the next try starts. Four
  // more samples then complete the run, eight samples after a crossing that lies before the window.
  const int samples = 6000;
  window(samples);
  dipx->ut = 10000;
  ramp(0, 10, 4);
  for (int i = 0; i < 17; i++) ramp(40 + 30 * i, 7, i == 3 || i == 4 ? 1.1875F : 4);
  ramp(samples - 3, 2, 4);
  const auto found = segmented();
  ASSERT_EQ(found.size(), 32U);
  EXPECT_EQ(found[0], -3);
  EXPECT_EQ(found[1], 9);
  EXPECT_EQ(found[2], 39);
}

TEST_F(ManyRuns, LeaveCrossingsOfAnEarlierTryInTheThirdPlace) {
  // Of 18 runs only the first crosses the second threshold, and no recovery can be found.
  runs(18, 1.125F, 0, 50);
  dipx->ut = -10000;
  EXPECT_EQ(segmented(), (Boundaries{39, 46, 69}));
  EXPECT_EQ(crossings(2), (Boundaries{39, 46}));
}

TEST_F(ShortSegmentation, LeavesEntriesPastTheCountsUntouched) {
  window(400);
  ramp(40, 7, -2);
  ramp(100, 7, 2);
  std::fill_n(dipx->seg_idx, 32, 77);
  std::fill_n(dipx->seg_tmp, 32, 78);
  run();
  EXPECT_EQ(std::count(dipx->seg_idx + 4, dipx->seg_idx + 32, 77), 28);
  EXPECT_EQ(std::count(dipx->seg_tmp + 4, dipx->seg_tmp + 32, 78), 28);
}

// --- pruning of short gaps -------------------------------------------------------------------------------------------

/// At 32 samples per cycle the order is 3, gaps below 8 samples are short, and the median does not alter a falling
/// curve. A change over b to b + L has boundaries b - 1 and b + L + 7.
class ShortGaps : public ShortSegmentation {
 protected:
  ShortGaps() {
    buf->smp = 32;
    dipx->ut = 1000;  // every run falls below the dip threshold
  }
  /// Builds runs of 20 V, each starting the given number of samples after the end of the previous one.
  Boundaries with_gaps(const std::vector<int>& gaps) {
    window(6000, 300);
    int at = 40;
    ramp(at, 20, -1);
    for (const int gap : gaps) {
      at += 20 + 8 + gap;
      ramp(at, 20, -1);
    }
    return segmented();
  }
};

TEST_F(ShortGaps, OfLessThanAQuarterCycleAreClosed) {
  EXPECT_EQ(with_gaps({8, 100}), (Boundaries{39, 67, 75, 103, 203, 231}));
  EXPECT_EQ(with_gaps({7, 100}), (Boundaries{39, 102, 202, 230}));
  EXPECT_EQ(crossings(4), (Boundaries{39, 102, 202, 230}));
}

TEST_F(ShortGaps, RoundAQuarterCycleHalfUp) {
  // A quarter cycle of 8.5 samples rounds to 9. The median of an even number of values spreads a corner over two
  // samples, so each run ends a sample earlier.
  buf->smp = 34;
  EXPECT_EQ(with_gaps({7, 100}), (Boundaries{39, 101, 202, 229}));
  EXPECT_EQ(with_gaps({8, 100}), (Boundaries{39, 66, 75, 102, 203, 230}));
}

TEST_F(ShortGaps, AreLookedAtOnlyUntilFourBoundariesWouldBeLeft) {
  EXPECT_EQ(with_gaps({8, 7}), (Boundaries{39, 67, 75, 103, 110, 138})) << "only the first gap is joined";
  EXPECT_EQ(with_gaps({7, 7}), (Boundaries{39, 102, 109, 137}));
  EXPECT_EQ(with_gaps({100, 7, 7}), (Boundaries{39, 67, 167, 230, 237, 265}))
      << "only the first two short gaps are joined";
}

TEST_F(ShortGaps, AreKeptBetweenFourBoundaries) {
  EXPECT_EQ(with_gaps({7}), (Boundaries{39, 67, 74, 102}));
}

// --- pruning of leading runs without a dip ---------------------------------------------------------------------------

TEST_F(ShortSegmentation, DropsALeadingRunAtOrAboveTheThreshold) {
  // The first run reaches the threshold, or a value just below it, at the last sample before its end.
  const auto down_to = [&](float level) {
    window(4000);
    ramp(40, 7, -2);
    hold(45, level);
    hold(46, level - 2);
    hold(47, level - 4);
    hold(60, 110);
    ramp(200, 20, -2);
    ramp(300, 20, 2);
    return segmented();
  };
  EXPECT_EQ(down_to(90), (Boundaries{199, 219, 299, 319}));
  EXPECT_EQ(down_to(std::nextafter(90.0F, 0.0F)).size(), 6U);
}

TEST_F(ShortSegmentation, DropsLeadingRunsWithoutADipOnlyWhileMoreThanFourBoundariesAreLeft) {
  window(4000, 200);
  for (const int begin : {40, 100, 160, 220}) ramp(begin, 10, 2);
  EXPECT_EQ(segmented(), (Boundaries{159, 169, 219, 229}));
}

TEST_F(ShortSegmentation, KeepsRunsWithoutADipAfterOneThatDips) {
  window(4000);
  ramp(40, 20, -2);
  ramp(100, 20, 2);
  ramp(160, 10, 2);
  ramp(220, 10, -2);
  EXPECT_EQ(segmented(), (Boundaries{39, 59, 99, 119, 159, 169, 219, 229}));
}

TEST_F(ShortSegmentation, KeepsRunsWithoutADipAmongFourBoundaries) {
  window(4000, 200);
  ramp(40, 10, 2);
  ramp(100, 10, -2);
  EXPECT_EQ(segmented(), (Boundaries{39, 49, 99, 109}));
}

TEST_F(ShortSegmentation, JudgesLeadingRunsBySmoothedMagnitudes) {
  // A notch of one sample in the first run reaches below the threshold only before smoothing.
  buf->smp = 8;
  window(4000, 200);
  ramp(40, 12, 2);
  buf->ua[46] = 10;
  ramp(200, 80, -2);
  ramp(400, 80, 2);
  const auto found = segmented();
  ASSERT_EQ(found.size(), 4U);
  EXPECT_GT(found[0], 190);
  EXPECT_EQ(buf->u[46], 10.0F);
}

// --- pruning of small changes ----------------------------------------------------------------------------------------

TEST_F(ShortSegmentation, DropsAMiddleRunWithLessThanATenthOfTheLargestChange) {
  // The voltage changes between the boundaries of a run by its slope times one sample less than its length.
  dipx->ud = 4;
  const auto with_middle_slope = [&](float slope) {
    window(4000);
    ramp(40, 21, -2);  // 40 V
    ramp(120, 9, slope);
    ramp(200, 18, 2);  // 34 V
    return segmented();
  };
  EXPECT_EQ(with_middle_slope(0.5F), (Boundaries{39, 60, 119, 128, 199, 217})) << "a tenth";
  EXPECT_EQ(with_middle_slope(0.4921875F), (Boundaries{39, 60, 199, 217}));
  EXPECT_EQ(crossings(4), (Boundaries{39, 60, 199, 217}));
}

TEST_F(ShortSegmentation, MeasuresTheLargestChangeAtTheLastRunToo) {
  dipx->ud = 4;
  dipx->ut = 1000;
  window(4000);
  ramp(40, 18, -2);
  ramp(120, 9, 0.4921875F);
  ramp(200, 21, 2);
  EXPECT_EQ(segmented(), (Boundaries{39, 57, 199, 220}));
}

TEST_F(ShortSegmentation, KeepsTheFirstAndTheLastRunHoweverSmall) {
  dipx->ud = 4;
  dipx->ut = 1000;
  window(4000);
  ramp(40, 8, -0.5F);
  ramp(120, 21, -2);
  ramp(200, 41, 2);
  EXPECT_EQ(segmented(), (Boundaries{39, 47, 119, 140, 199, 240}));
  window(4000);
  ramp(40, 41, -2);
  ramp(120, 21, 2);
  ramp(200, 8, 0.5F);
  EXPECT_EQ(segmented(), (Boundaries{39, 80, 119, 140, 199, 207}));
}

TEST_F(ShortSegmentation, KeepsSmallChangesAmongFourBoundaries) {
  dipx->ud = 4;
  window(4000);
  ramp(40, 8, -0.5F);
  ramp(120, 41, -2);
  EXPECT_EQ(segmented(), (Boundaries{39, 47, 119, 160}));
}

// --- the third boundary ----------------------------------------------------------------------------------------------

/// A fall to 80 V with boundaries 39 and 49, and a recovery too quick to be a run. The voltage counts as recovered 2 %
/// of nominal above the dip threshold, at 92 V.
class ShortRecovery : public ShortSegmentation {
 protected:
  Boundaries recover(std::initializer_list<float> levels) {
    window(300);
    ramp(40, 10, -2);
    int at = 150;
    for (const float level : levels) hold(at++, level);
    return segmented();
  }
};

TEST_F(ShortRecovery, IsTheLastSampleBeforeTheRise) {
  EXPECT_EQ(recover({100}), (Boundaries{39, 49, 149}));
  EXPECT_EQ(crossings(2), (Boundaries{39, 49}));
}

TEST_F(ShortRecovery, LiesAboveItsLevel) {
  EXPECT_EQ(recover({92, 93}), (Boundaries{39, 49, 150}));
  EXPECT_EQ(recover({std::nextafter(92.0F, 93.0F)}), (Boundaries{39, 49, 149}));
  EXPECT_EQ(recover({92}), (Boundaries{39, 49, 0})) << "there is no recovery, so the list keeps its earlier content";
}

TEST_F(ShortRecovery, IsTheFirst) {
  EXPECT_EQ(recover({100, 100, 80, 100}), (Boundaries{39, 49, 149}));
}

TEST_F(ShortRecovery, MayLieAtTheSecondCrossingButNotBeforeIt) {
  window(300, 78);
  ramp(40, 8, 2);  // 92 V at the second crossing, 94 V after it
  EXPECT_EQ(segmented(), (Boundaries{39, 47, 47}));
  window(300, 80);
  ramp(40, 8, 2);
  EXPECT_EQ(segmented(), (Boundaries{39, 47, 0}));
}

TEST_F(ShortRecovery, ReadsOneEntryPastTheWindow) {
  window(300);
  ramp(40, 10, -2);
  buf->u[300] = 200;
  EXPECT_EQ(segmented(), (Boundaries{39, 49, 299}));
}

// --- begin and end of the dip ----------------------------------------------------------------------------------------

TEST_F(ShortSegmentation, UsesTheFirstFallAndTheLastRiseAsTheDip) {
  window(100);
  hold(10, 80);
  hold(20, 100);
  hold(30, 80);
  hold(40, 100);
  run();
  EXPECT_EQ(dip(), (Boundaries{10, 40}));
}

TEST_F(ShortSegmentation, TreatsTheThresholdItselfAsDipped) {
  window(100);
  hold(10, 90);
  hold(20, 90.5F);
  run();
  EXPECT_EQ(dip(), (Boundaries{10, 20}));
  window(100);
  hold(10, std::nextafter(90.0F, 91.0F));
  hold(20, 91);
  run();
  EXPECT_EQ(dip(), (Boundaries{0, 0})) << "never down";
}

TEST_F(ShortSegmentation, HasNoDipWithoutAFallOrWithoutARise) {
  window(100);
  hold(10, 80);
  dipx->D[0] = dipx->D[1] = 7;
  run();
  EXPECT_EQ(dip(), (Boundaries{0, 0})) << "the voltage never rises again";
  window(100, 80);
  hold(10, 100);
  run();
  EXPECT_EQ(dip(), (Boundaries{0, 0})) << "the voltage is low from the start";
}

TEST_F(ShortSegmentation, HasNoDipIfTheLastRiseLiesBeforeTheFirstFall) {
  window(100, 80);
  hold(10, 100);
  hold(20, 80);
  run();
  EXPECT_EQ(dip(), (Boundaries{0, 0}));
}

TEST_F(ShortSegmentation, FindsTheDipAtTheWindowsEdges) {
  window(100);
  hold(1, 80);
  hold(99, 100);
  run();
  EXPECT_EQ(dip(), (Boundaries{1, 99}));
}

TEST_F(ShortSegmentation, FindsTheDipOnTheCurveBeforeSmoothing) {
  buf->smp = 8;
  window(100);
  buf->ua[50] = 80;
  run();
  EXPECT_EQ(buf->ua[50], 100.0F);
  EXPECT_EQ(dip(), (Boundaries{50, 51}));
}

// --- bounds ----------------------------------------------------------------------------------------------------------

TEST_F(ShortSegmentation, StaysInsideTheArraysForAnyCount) {
  window(DQ_WINDOW_CAPACITY);
  ramp(40, 7, -2);
  ramp(DQ_WINDOW_CAPACITY - 100, 7, 2);
  buf->angle_a[0] = 77;
  buf->u[DQ_WINDOW_CAPACITY] = 77;
  buf->num = std::numeric_limits<unsigned>::max();
  EXPECT_EQ(segmented(), (Boundaries{39, 46, DQ_WINDOW_CAPACITY - 101, DQ_WINDOW_CAPACITY - 94}));
  EXPECT_EQ(buf->angle_a[0], 77.0F) << "the array after the magnitudes must not change";
  EXPECT_EQ(buf->u[DQ_WINDOW_CAPACITY], 77.0F);
}

TEST_F(ShortSegmentation, OfAnEmptyWindowFindsNothing) {
  window(0);
  EXPECT_EQ(run(), "S=1.000\r\n");
  EXPECT_EQ(dipx->seg_num, 0);
  EXPECT_EQ(dip(), (Boundaries{0, 0}));
}

TEST_F(ShortSegmentation, OfAWindowShorterThanItsMatrixFindsNothing) {
  buf->smp = 64;
  window(10);
  ramp(2, 5, -10);
  run();
  EXPECT_EQ(dipx->seg_num, 0);
}

TEST_F(ShortSegmentation, EndsOnVoltagesThatAreNotNumbers) {
  for (const unsigned rate : {1U, 32U}) {
    for (const float odd : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                            std::numeric_limits<float>::max(), std::numeric_limits<float>::denorm_min()}) {
      buf->smp = rate;
      window(300);
      ramp(40, 20, -2);
      std::fill_n(buf->ua + 100, 40, odd);
      buf->ub[200] = -odd;
      EXPECT_TRUE(run().ends_with("\r\n"));
      EXPECT_LE(dipx->seg_num, 32);
      dipx->ud = dipx->ut = odd;
      EXPECT_TRUE(run().ends_with("\r\n"));
      dipx->ud = 10;
      dipx->ut = 90;
    }
  }
}

TEST_F(ShortSegmentation, WithoutARecordDoesNothing) {
  window(100);
  const auto printed = tests::printed_by([&] {
    SVDsegment_multiclass3(nullptr, dipx.get());
    SVDsegment_multiclass3(buf.get(), nullptr);
  });
  EXPECT_EQ(printed.out, "");
  EXPECT_EQ(buf->ua0[0], 0.0F);
}

}  // namespace
