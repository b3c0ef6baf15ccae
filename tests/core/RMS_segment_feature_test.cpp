// At 32 samples per cycle the feature is of order 4 (16 differences) and stands at every 4th sample from 16 on. A
// change over the samples b to b + L, b and L multiples of 4, comes into sight at position b + 4 and leaves it at b + L
// + 16; a crossing is recorded 7 samples ahead: boundaries b - 3 and b + L + 9. Its feature is that of a ramp, at least
// twice the slope. A step of one sample has its height for a feature and the boundaries b - 3 and b + 13, which leave
// no doubt of a rounding.
#include "sagx/RMS_segment_feature.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <vector>

#include "tests/core/dip_waveforms.h"
#include "tests/core/faults.h"
#include "tests/core/printed_lines.h"

namespace {

using tests::zeroed;
using Boundaries = std::vector<int>;

class RmsSegmentation : public testing::Test {
 protected:
  RmsSegmentation() {
    buf->smp = 32;
    dipx->un = 100;  // changes count from a feature of 1 on
    dipx->ut = 90;
  }

  /// A window of the given length at a level in all phases.
  void window(int samples, float level = 100) {
    buf->num = static_cast<unsigned>(samples);
    for (float* phase : {buf->rms_ua, buf->rms_ub, buf->rms_uc}) std::fill_n(phase, samples, level);
  }
  /// From sample `begin` on the phase changes by `slope` per sample, for `length` samples, and then holds.
  static void ramp(float* phase, int samples, int begin, int length, float slope) {
    for (int i = begin + 1; i < samples; i++) phase[i] = phase[i - 1] + (i <= begin + length ? slope : 0.0F);
  }
  /// The same in all phases.
  void ramp(int begin, int length, float slope) {
    for (float* phase : {buf->rms_ua, buf->rms_ub, buf->rms_uc}) {
      ramp(phase, static_cast<int>(buf->num), begin, length, slope);
    }
  }
  void step(int begin, float height) { ramp(begin, 1, height); }
  /// A change that is taken back at once: boundaries begin - 3 and begin + 17, none of them apart in voltage.
  void blip(int begin) {
    ramp(begin, 4, -1);
    ramp(begin + 4, 4, 1);
  }
  /// `count` blips, 40 samples apart.
  void blips(int count) {
    window(40 * count + 60);
    for (int i = 0; i < count; i++) blip(40 + 40 * i);
  }

  std::string run() {
    const auto printed = tests::printed_by([&] { SVDsegment_multiclass(buf.get(), dipx.get()); });
    EXPECT_EQ(printed.err, "");
    return printed.out;
  }
  Boundaries segmented() {
    run();
    return boundaries();
  }
  [[nodiscard]] Boundaries boundaries() const { return {dipx->Trms, dipx->Trms + dipx->Trms_num}; }
  [[nodiscard]] Boundaries crossings(int count) const { return {dipx->T0rms, dipx->T0rms + count}; }

  tests::Zeroed<dq_data> buf = zeroed<dq_data>();
  tests::Zeroed<dq_dipx_struct> dipx = zeroed<dq_dipx_struct>();
};

TEST_F(RmsSegmentation, OfAConstantVoltageFindsNothing) {
  window(400);
  EXPECT_TRUE(run().ends_with("\r\nT_num = 0\r\n"));
  EXPECT_EQ(dipx->Trms_num, 0);
  EXPECT_EQ(std::count(buf->feasvd_a, buf->feasvd_a + 96, 0.0F), 96);
}

TEST_F(RmsSegmentation, PrintsTheTimeOfTheFeaturesAndTheCount) {
  window(400);
  ramp(40, 40, -1);
  ramp(200, 40, 1);
  const tests::StandInClock clock(5, 999000000, 7);
  EXPECT_EQ(run(), "svd time=7ms\r\nT_num = 4\r\n");
}

TEST_F(RmsSegmentation, OfADipFindsWhereItsFallAndItsRecoveryBeginAndEnd) {
  window(400);
  ramp(40, 40, -1);
  ramp(200, 40, 1);
  EXPECT_EQ(segmented(), (Boundaries{37, 89, 197, 249}));
  EXPECT_EQ(crossings(4), boundaries());
}

TEST_F(RmsSegmentation, LeavesWhatLiesBehindTheCountsUntouched) {
  window(400);
  ramp(40, 40, -1);
  ramp(200, 40, 1);
  std::fill_n(dipx->Trms, 32, 77);
  std::fill_n(dipx->T0rms, 32, 78);
  std::fill_n(buf->feasvd_a, 200, 79.0F);
  std::fill_n(buf->u, 500, 79.0F);
  run();
  EXPECT_EQ(std::count(dipx->Trms + 4, dipx->Trms + 32, 77), 28);
  EXPECT_EQ(std::count(dipx->T0rms + 4, dipx->T0rms + 32, 78), 28);
  EXPECT_NE(buf->feasvd_a[95], 79.0F) << "96 positions";
  EXPECT_EQ(buf->feasvd_a[96], 79.0F);
  EXPECT_NE(buf->u[399], 79.0F);
  EXPECT_EQ(buf->u[400], 79.0F);
}

TEST_F(RmsSegmentation, KeepsTheLowestPhaseOfEachSample) {
  window(100);
  buf->rms_ua[10] = 90;
  buf->rms_ub[20] = 80;
  buf->rms_uc[99] = 70;
  run();
  EXPECT_EQ(buf->u[9], 100.0F);
  EXPECT_EQ(buf->u[10], 90.0F);
  EXPECT_EQ(buf->u[20], 80.0F);
  EXPECT_EQ(buf->u[99], 70.0F);
}

TEST_F(RmsSegmentation, SeesAChangeOfAnyPhase) {
  window(400);
  ramp(buf->rms_ua, 400, 40, 1, 2);
  ramp(buf->rms_ub, 400, 140, 1, -2);
  ramp(buf->rms_uc, 400, 240, 1, 2);
  EXPECT_TRUE(run().ends_with("T_num = 6\r\n"));
  EXPECT_GT(buf->feasvd_a[10], 0.0F);
  EXPECT_EQ(buf->feasvd_b[10], 0.0F);
}

// --- the feature -----------------------------------------------------------------------------------------------------

TEST_F(RmsSegmentation, MeasuresALongRampByOrderTimesSlope) {
  window(200);
  ramp(0, 200, -0.25F);
  run();
  for (int p = 0; p < 46; p++) EXPECT_NEAR(buf->feasvd_c[p], 1.0, 1e-4) << p;
}

TEST_F(RmsSegmentation, FillsTheMatrixColumnByColumnWithoutOverlap) {
  window(17, 0);
  const auto feature_of_steps = [&](std::initializer_list<int> differences) {
    window(17, 0);
    for (const int difference : differences) step(difference, 1);
    run();
    return buf->feasvd_a[0];
  };
  EXPECT_FLOAT_EQ(feature_of_steps({0}), 1.0F);
  EXPECT_FLOAT_EQ(feature_of_steps({0, 1}), std::sqrt(2.0F)) << "one column";
  EXPECT_FLOAT_EQ(feature_of_steps({0, 4}), std::sqrt(2.0F)) << "one row";
  EXPECT_FLOAT_EQ(feature_of_steps({0, 5}), 1.0F) << "neither";
  EXPECT_FLOAT_EQ(feature_of_steps({3, 4}), 1.0F) << "neighbours, but neither";
  EXPECT_FLOAT_EQ(feature_of_steps({0, 5, 10, 15}), 1.0F);
  EXPECT_FLOAT_EQ(feature_of_steps({12, 13, 14, 15}), 2.0F);
}

TEST_F(RmsSegmentation, TakesOrderAndStepFromTheRate) {
  const auto boundaries_at = [&](unsigned rate, int first, int second) {
    window(1200);
    buf->smp = rate;
    step(first, 2);
    step(second, -2);
    return segmented();
  };
  EXPECT_EQ(boundaries_at(32, 40, 240), (Boundaries{37, 53, 237, 253}));
  EXPECT_EQ(boundaries_at(50, 84, 684), (Boundaries{74, 104, 674, 704}));
  EXPECT_EQ(boundaries_at(128, 200, 600), (Boundaries{177, 241, 577, 641}));
}

TEST_F(RmsSegmentation, RoundsTheRootOfHalfACycleHalfUp) {
  // Half of 41 samples is 20.5, whose root 4.53 makes 5; of 20 it would make 4.
  window(600);
  buf->smp = 41;
  step(100, 2);
  step(300, -2);
  EXPECT_EQ(segmented(), (Boundaries{96, 121, 296, 321}));
}

TEST_F(RmsSegmentation, OfAWindowNoLongerThanTheMatrixFindsNothing) {
  for (const int samples : {0, 1, 16}) {
    window(samples);
    buf->feasvd_a[0] = 77;
    EXPECT_TRUE(run().ends_with("T_num = 0\r\n")) << samples;
    EXPECT_EQ(dipx->Trms_num, 0);
    EXPECT_EQ(buf->feasvd_a[0], 77.0F);
  }
  window(17);
  run();
  EXPECT_EQ(buf->feasvd_a[0], 0.0F);
}

TEST_F(RmsSegmentation, AtARateWithoutAnOrderOrAStepHasNoFeatures) {
  for (const unsigned rate : {0U, 1U, 7U, 181U, 1000U, 0x80000000U, 0xFFFFFFFFU}) {
    window(400);
    step(200, 2);
    step(300, -2);
    buf->smp = rate;
    buf->feasvd_a[0] = 77;
    EXPECT_TRUE(run().ends_with("T_num = 0\r\n")) << rate;
    EXPECT_EQ(buf->feasvd_a[0], 77.0F) << rate;
    EXPECT_EQ(buf->u[250], 102.0F) << rate;
  }
}

TEST_F(RmsSegmentation, AtOtherRatesWithAnOrderHasFeatures) {
  for (const unsigned rate : {8U, 180U}) {
    window(1000);
    step(300, 2);
    step(600, -2);
    buf->smp = rate;
    EXPECT_EQ(segmented().size(), 4U) << rate;
  }
}

TEST_F(RmsSegmentation, StaysInsideTheArraysWhateverTheCountSays) {
  window(DQ_RECORD_CAPACITY);
  step(1000, 2);
  step(DQ_RECORD_CAPACITY - 100, -2);
  buf->num = std::numeric_limits<unsigned>::max();
  buf->upd[0] = 77;
  EXPECT_EQ(segmented(), (Boundaries{997, 1013, DQ_RECORD_CAPACITY - 103, DQ_RECORD_CAPACITY - 87}));
  EXPECT_EQ(buf->upd[0], 77.0F) << "what lies behind the minimum curve";
}

TEST_F(RmsSegmentation, EndsOnVoltagesThatAreNoNumbers) {
  for (const float odd : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                          std::numeric_limits<float>::max(), std::numeric_limits<float>::denorm_min()}) {
    window(400);
    ramp(40, 40, -1);
    buf->rms_ua[200] = odd;
    buf->rms_ub[60] = -odd;
    EXPECT_NE(run().find("T_num = "), std::string::npos);
    EXPECT_LE(dipx->Trms_num, 32);
    dipx->un = odd;
    EXPECT_NE(run().find("T_num = "), std::string::npos);
    dipx->un = 100;
  }
}

TEST_F(RmsSegmentation, WithoutARecordDoesNothing) {
  window(400);
  const auto printed = tests::printed_by([&] {
    SVDsegment_multiclass(nullptr, dipx.get());
    SVDsegment_multiclass(buf.get(), nullptr);
  });
  EXPECT_EQ(printed.out, "");
  EXPECT_EQ(buf->u[0], 0.0F);
}

// --- crossings -------------------------------------------------------------------------------------------------------

TEST_F(RmsSegmentation, RecordsTheFirstPossibleCrossingAheadOfTheFirstPosition) {
  window(400);
  step(16, 2);  // in sight from the second position on
  step(200, 2);
  EXPECT_EQ(segmented(), (Boundaries{13, 29, 197, 213}));
}

TEST_F(RmsSegmentation, RecordsNoRiseAtTheFirstPositionNorItsFall) {
  window(600);
  step(12, 2);  // in sight at the first position
  step(200, 2);
  step(400, 2);
  EXPECT_EQ(segmented(), (Boundaries{197, 213, 397, 413}));
}

TEST_F(RmsSegmentation, CountsAFeatureEqualToTheThresholdAsAbove) {
  window(600, 0);
  step(40, 1);
  step(200, 1);
  step(400, 0.9375F);
  EXPECT_EQ(segmented(), (Boundaries{37, 53, 197, 213})) << "the third step would count at the second try";
}

TEST_F(RmsSegmentation, EndsAStretchOnlyBelowTheThreshold) {
  window(600, 0);
  step(40, 2);
  step(56, 1);  // takes over as the step before goes out of sight
  step(400, 2);
  EXPECT_EQ(segmented(), (Boundaries{37, 69, 397, 413}));
  window(600, 0);
  step(40, 2);
  step(56, 0.9375F);
  step(400, 2);
  EXPECT_EQ(segmented(), (Boundaries{37, 53, 397, 413}));
}

TEST_F(RmsSegmentation, StoresTheThresholdAsFloat) {
  // A hundredth of 230 V lies above the float next to 2.3.
  ASSERT_LT(static_cast<double>(2.3F), 0.01 * 230);
  dipx->un = 230;
  window(600, 0);
  step(40, 2.3F);
  ramp(200, 1, -2.3F);
  step(400, 2);
  EXPECT_EQ(segmented().size(), 4U) << "the third step would count at the second try";
}

TEST_F(RmsSegmentation, LowersTheThresholdByAFifthUntilMoreThanThreeCross) {
  window(600, 0);
  step(40, 2);
  step(200, 0.8125F);
  step(400, 0.75F);  // below 0.8
  EXPECT_EQ(segmented(), (Boundaries{37, 53, 197, 213}));
}

TEST_F(RmsSegmentation, GoesOnWithThreeCrossings) {
  // Two stretches of which the second does not end, and a smaller step between them.
  window(416, 0);
  step(40, 2);
  step(200, 0.9375F);
  step(400, 2);
  EXPECT_TRUE(run().ends_with("T_num = 5\r\n"));
}

TEST_F(RmsSegmentation, TriesTenThresholds) {
  // The tenth is 0.8^9 = 0.1342.
  window(600, 0);
  step(40, 0.135F);
  ramp(200, 1, -0.135F);
  EXPECT_EQ(segmented(), (Boundaries{37, 53, 197, 213}));
  window(600, 0);
  step(40, 0.134F);
  ramp(200, 1, -0.134F);
  EXPECT_TRUE(run().ends_with("T_num = 0\r\n"));
  EXPECT_EQ(dipx->Trms_num, 0);
}

TEST_F(RmsSegmentation, StopsAt128Crossings) {
  blips(70);
  EXPECT_TRUE(run().ends_with("T_num = 128\r\n"));
}

// --- pruning ---------------------------------------------------------------------------------------------------------

TEST_F(RmsSegmentation, KeepsAllOfFourCrossings) {
  window(400);
  blip(40);
  ramp(200, 40, -1);
  EXPECT_EQ(segmented(), (Boundaries{37, 57, 197, 249}));
}

TEST_F(RmsSegmentation, DropsAPairWithLessThanATenthOfTheLargestChange) {
  const auto with_middle_change = [&](float slope) {
    window(400);
    ramp(40, 40, -1);     // 40 V
    ramp(120, 4, slope);  // four times the slope
    ramp(200, 36, 1);     // 36 V
    return segmented();
  };
  EXPECT_EQ(with_middle_change(1), (Boundaries{37, 89, 117, 133, 197, 245})) << "a tenth";
  EXPECT_EQ(with_middle_change(0.96875F), (Boundaries{37, 89, 197, 245}));
  EXPECT_EQ(crossings(4), boundaries());
}

TEST_F(RmsSegmentation, MeasuresTheLargestChangeAtTheLastPairToo) {
  window(500);
  ramp(40, 4, -1);   // 4 V
  ramp(120, 4, -1);  // 4 V
  ramp(300, 44, 1);  // 44 V
  EXPECT_EQ(segmented(), (Boundaries{297, 353, 0})) << "two survivors, and the mark of a dropped one";
  EXPECT_EQ(crossings(2), (Boundaries{297, 353}));
}

TEST_F(RmsSegmentation, DropsTheFirstAndTheLastPairLikeOthers) {
  window(500);
  ramp(40, 40, -1);
  ramp(160, 40, -1);
  blip(300);
  EXPECT_EQ(segmented(), (Boundaries{37, 89, 157, 209}));
}

TEST_F(RmsSegmentation, ComparesAnUnpairedLastCrossingWithTheFirstSample) {
  // Too slow to be seen, the voltage comes back to 90 V or to 100 V between the dip's fall and a last, unfinished one.
  const auto recovered = [&](int slow_samples) {
    window(420);
    blip(40);
    ramp(100, 40, -1);
    ramp(160, slow_samples, 0.2F);
    ramp(400, 20, -1);
    return segmented();
  };
  EXPECT_EQ(recovered(150), (Boundaries{97, 149, 397})) << "10 V off the start";
  EXPECT_EQ(recovered(200), (Boundaries{97, 149, 97})) << "as at the start: two survivors";
  EXPECT_EQ(crossings(2), (Boundaries{97, 149}));
}

TEST_F(RmsSegmentation, LeavesZerosWhereNothingSurvives) {
  // A blip at 100 V and one at 60 V, an unfinished fall from 100 V: no pair holds a change, but the last two crossings
  // lie 40 V apart.
  window(820);
  blip(40);
  ramp(100, 200, -0.2F);
  blip(400);
  ramp(480, 200, 0.2F);
  ramp(800, 20, -1);
  EXPECT_EQ(segmented(), (Boundaries{0, 0, 0, 0, 0}));
}

TEST_F(RmsSegmentation, LeavesASingleCrossingAsItIs) {
  window(216);
  step(200, 2);
  EXPECT_EQ(segmented(), (Boundaries{197}));
  EXPECT_EQ(crossings(1), (Boundaries{197}));
}

TEST_F(RmsSegmentation, StoresThirtyTwoOfMoreBoundaries) {
  blips(17);
  EXPECT_TRUE(run().ends_with("T_num = 34\r\n"));
  EXPECT_EQ(dipx->Trms_num, 32);
  for (int i = 0; i < 16; i++) {
    EXPECT_EQ(dipx->Trms[2 * i], 37 + 40 * i);
    EXPECT_EQ(dipx->Trms[2 * i + 1], 57 + 40 * i);
    EXPECT_EQ(dipx->T0rms[2 * i], 37 + 40 * i);
    EXPECT_EQ(dipx->T0rms[2 * i + 1], 57 + 40 * i);
  }
  EXPECT_EQ(dipx->T_rms[0], 0) << "what lies behind the crossings";
}

// --- the third boundary ----------------------------------------------------------------------------------------------

class RmsRecovery : public RmsSegmentation {
 protected:
  /// A fall to `low`, in sight up to sample 61, and a recovery in steps too small to be seen, from sample 150 on.
  Boundaries recover(int samples, float low, std::initializer_list<float> levels) {
    window(samples);
    ramp(40, 10, (low - 100) / 10);
    for (float* phase : {buf->rms_ua, buf->rms_ub, buf->rms_uc}) {
      std::fill(phase + 50, phase + samples, low);
      int at = 150;
      for (const float level : levels) std::fill(phase + at++, phase + samples, level);
    }
    auto result = segmented();
    EXPECT_EQ(crossings(2), (Boundaries{37, 61}));
    return result;
  }
};

TEST_F(RmsRecovery, IsWhereTheVoltageRisesThroughTheThreshold) {
  EXPECT_EQ(recover(800, 89.95F, {90.05F}), (Boundaries{37, 61, 150}));
}

TEST_F(RmsRecovery, IsNotYetAtTheThresholdItself) {
  EXPECT_EQ(recover(800, 89.95F, {90, 90.05F}), (Boundaries{37, 61, 151}));
}

TEST_F(RmsRecovery, IsTheFirst) {
  EXPECT_EQ(recover(800, 89.97F, {90.02F, 89.97F, 90.02F}), (Boundaries{37, 61, 150}));
}

TEST_F(RmsRecovery, IsSoughtBelowTheNumberOfPositionsOnly) {
  EXPECT_EQ(recover(616, 89.95F, {90.05F}), (Boundaries{37, 61, 150})) << "150 positions";
  EXPECT_EQ(recover(612, 89.95F, {90.05F}), (Boundaries{37, 61, 0})) << "149 positions";
}

TEST_F(RmsRecovery, IsSoughtBehindTheSecondCrossingOnly) {
  // The voltage comes back to 90.05 V at sample 61 or one sample earlier, still within the fall's stretch.
  const auto back_at = [&](int sample) {
    window(800);
    ramp(40, 10, -1.005F);
    for (float* phase : {buf->rms_ua, buf->rms_ub, buf->rms_uc}) {
      std::fill(phase + 50, phase + 800, 89.95F);
      std::fill(phase + sample, phase + 800, 90.05F);
    }
    return segmented();
  };
  EXPECT_EQ(back_at(62), (Boundaries{37, 61, 62}));
  EXPECT_EQ(back_at(61), (Boundaries{37, 61, 0}));
}

TEST_F(RmsRecovery, ThatDoesNotComeLeavesThreeBoundariesAllTheSame) {
  EXPECT_EQ(recover(800, 89.95F, {}), (Boundaries{37, 61, 0}));
}

}  // namespace
