// At 32 samples per cycle the feature has order 4 (16 differences) and is computed at every 4th sample from 16 on. A
// change over the samples b to b + L, where b and L are multiples of 4, first affects the feature at position b + 4 and
// no longer affects it at b + L + 16. A crossing is recorded 7 samples earlier, so the boundaries are b - 3 and b + L +
// 9. The feature of a change is that of a ramp: at least twice the slope. A step of one sample has a feature equal to
// its height and the boundaries b - 3 and b + 13; it is used where rounding must not matter.
#include "sagx/RMS_segment_feature.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <ostream>
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

  /// Fills in a window of the given length with one level in all phases.
  void window(int samples, float level = 100) {
    buf->num = static_cast<unsigned>(samples);
    for (float* phase : {buf->rms_ua, buf->rms_ub, buf->rms_uc}) std::fill_n(phase, samples, level);
  }
  /// Changes the phase by `slope` per sample from sample `begin` on for `length` samples; after that the phase is
  /// constant.
  static void ramp(float* phase, int samples, int begin, int length, float slope) {
    for (int i = begin + 1; i < samples; i++) phase[i] = phase[i - 1] + (i <= begin + length ? slope : 0.0F);
  }
  /// Does the same in all phases.
  void ramp(int begin, int length, float slope) {
    for (float* phase : {buf->rms_ua, buf->rms_ub, buf->rms_uc}) {
      ramp(phase, static_cast<int>(buf->num), begin, length, slope);
    }
  }
  void step(int begin, float height) { ramp(begin, 1, height); }
  /// Adds a change that is reversed at once. Its boundaries are begin - 3 and begin + 17, and the voltage is the same
  /// at both.
  void blip(int begin) {
    ramp(begin, 4, -1);
    ramp(begin + 4, 4, 1);
  }
  /// Adds `count` blips, 40 samples apart.
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

TEST_F(RmsSegmentation, LeavesEntriesPastTheCountsUntouched) {
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
  EXPECT_FLOAT_EQ(feature_of_steps({3, 4}), 1.0F) << "adjacent differences that share neither a row nor a column";
  EXPECT_FLOAT_EQ(feature_of_steps({0, 5, 10, 15}), 1.0F);
  EXPECT_FLOAT_EQ(feature_of_steps({12, 13, 14, 15}), 2.0F);
}

TEST_F(RmsSegmentation, DerivesOrderAndStepFromTheRate) {
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
  // Half of 41 samples is 20.5, whose root 4.53 rounds to 5; if 41 were halved to 20, the root would round to 4.
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

TEST_F(RmsSegmentation, StaysInsideTheArraysForAnyCount) {
  window(DQ_RECORD_CAPACITY);
  step(1000, 2);
  step(DQ_RECORD_CAPACITY - 100, -2);
  buf->num = std::numeric_limits<unsigned>::max();
  buf->upd[0] = 77;
  EXPECT_EQ(segmented(), (Boundaries{997, 1013, DQ_RECORD_CAPACITY - 103, DQ_RECORD_CAPACITY - 87}));
  EXPECT_EQ(buf->upd[0], 77.0F) << "the array after the minimum curve must not change";
}

TEST_F(RmsSegmentation, EndsOnVoltagesThatAreNotNumbers) {
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

TEST_F(RmsSegmentation, RecordsTheFirstPossibleCrossingBeforeTheFirstPosition) {
  window(400);
  step(16, 2);  // affects the feature from the second position on
  step(200, 2);
  EXPECT_EQ(segmented(), (Boundaries{13, 29, 197, 213}));
}

TEST_F(RmsSegmentation, RecordsNoRiseAtTheFirstPositionNorItsFall) {
  window(600);
  step(12, 2);  // affects the feature at the first position
  step(200, 2);
  step(400, 2);
  EXPECT_EQ(segmented(), (Boundaries{197, 213, 397, 413}));
}

TEST_F(RmsSegmentation, CountsAFeatureEqualToTheThresholdAsAbove) {
  window(600, 0);
  step(40, 1);
  step(200, 1);
  step(400, 0.9375F);
  EXPECT_EQ(segmented(), (Boundaries{37, 53, 197, 213})) << "the third step would exceed the second threshold";
}

TEST_F(RmsSegmentation, EndsAStretchOnlyBelowTheThreshold) {
  window(600, 0);
  step(40, 2);
  step(56, 1);  // affects the feature from where the previous step ceases to
  step(400, 2);
  EXPECT_EQ(segmented(), (Boundaries{37, 69, 397, 413}));
  window(600, 0);
  step(40, 2);
  step(56, 0.9375F);
  step(400, 2);
  EXPECT_EQ(segmented(), (Boundaries{37, 53, 397, 413}));
}

TEST_F(RmsSegmentation, StoresTheThresholdAsFloat) {
  // One hundredth of 230 V is above the float nearest to 2.3.
  ASSERT_LT(static_cast<double>(2.3F), 0.01 * 230);
  dipx->un = 230;
  window(600, 0);
  step(40, 2.3F);
  ramp(200, 1, -2.3F);
  step(400, 2);
  EXPECT_EQ(segmented().size(), 4U) << "the third step would exceed the second threshold";
}

TEST_F(RmsSegmentation, LowersTheThresholdByAFifthUntilMoreThanThreeCross) {
  window(600, 0);
  step(40, 2);
  step(200, 0.8125F);
  step(400, 0.75F);  // below the second threshold of 0.8
  EXPECT_EQ(segmented(), (Boundaries{37, 53, 197, 213}));
}

TEST_F(RmsSegmentation, ContinuesWithThreeCrossings) {
  // There are two changes, the second of which does not end, and a smaller step between them.
  window(416, 0);
  step(40, 2);
  step(200, 0.9375F);
  step(400, 2);
  EXPECT_TRUE(run().ends_with("T_num = 5\r\n"));
}

TEST_F(RmsSegmentation, TriesTenThresholds) {
  // The tenth threshold is 0.8^9 = 0.1342.
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
  EXPECT_EQ(segmented(), (Boundaries{297, 353, 0})) << "two crossings remain, followed by the zero of a removed one";
  EXPECT_EQ(crossings(2), (Boundaries{297, 353}));
}

TEST_F(RmsSegmentation, MeasuresTheFirstPairsChangeWithoutTheDriftAfterIt) {
  window(500);
  ramp(40, 40, -1);       // 40 V, so changes below 4 V are removed
  ramp(80, 160, 0.125F);  // too slow for a crossing; reverses 20 of the 40 V
  ramp(280, 4, -0.8125F);
  ramp(360, 30, 1);  // 30 V
  EXPECT_EQ(segmented(), (Boundaries{37, 89, 357, 401}));
}

TEST_F(RmsSegmentation, DropsTheFirstAndTheLastPairLikeOthers) {
  window(500);
  ramp(40, 40, -1);
  ramp(160, 40, -1);
  blip(300);
  EXPECT_EQ(segmented(), (Boundaries{37, 89, 157, 209}));
}

TEST_F(RmsSegmentation, ComparesAnUnpairedLastCrossingWithTheFirstSample) {
  // The voltage recovers too slowly to be detected, to 90 V or to 100 V, between the dip's fall and a last, unfinished
  // fall.
  const auto recovered = [&](int slow_samples) {
    window(420);
    blip(40);
    ramp(100, 40, -1);
    ramp(160, slow_samples, 0.2F);
    ramp(400, 20, -1);
    return segmented();
  };
  EXPECT_EQ(recovered(150), (Boundaries{97, 149, 397})) << "the voltage differs by 10 V from the start";
  EXPECT_EQ(recovered(200), (Boundaries{97, 149, 97})) << "the voltage is that of the start, so two crossings remain";
  EXPECT_EQ(crossings(2), (Boundaries{97, 149}));
}

TEST_F(RmsSegmentation, LeavesZerosWhereNothingSurvives) {
  // The window has a blip at 100 V, one at 60 V and an unfinished fall from 100 V. No pair of crossings contains a
  // change, but the last two crossings differ by 40 V.
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
  EXPECT_EQ(dipx->T_rms[0], 0) << "the array after the crossings must not change";
}

// --- the third boundary ----------------------------------------------------------------------------------------------

class RmsRecovery : public RmsSegmentation {
 protected:
  /// Builds a fall to `low`, which affects the feature up to sample 61, and a recovery from sample 150 on in steps too
  /// small to be detected.
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

TEST_F(RmsRecovery, IsSoughtOnlyAfterTheSecondCrossing) {
  // The voltage returns to 90.05 V at sample 61 or one sample earlier, while the fall still affects the feature.
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

// --- features --------------------------------------------------------------------------------------------------------

class RmsFeatures : public RmsSegmentation {
 protected:
  // the bytes are GBK
  static constexpr const char* check_line = "\xD3\xD0\xD0\xA7\xD6\xB5\xB7\xD6\xB6\xCE\xD0\xA3\xD1\xE9!!!\r\n";

  RmsFeatures() { dipx->smprate = 32; }

  std::string run_features() {
    const auto printed = tests::printed_by([&] { RMS_segment_feature(buf.get(), dipx.get()); });
    EXPECT_EQ(printed.err, "");
    return printed.out;
  }
  Boundaries joined() {
    run_features();
    return boundaries();
  }
  /// Builds a window whose voltage falls by 2 V at each of these samples. The last fall has no second boundary if the
  /// window ends within 16 samples of it.
  void falls(int samples, const std::vector<int>& begins) {
    window(samples);
    for (const int begin : begins) step(begin, -2);
  }
  /// Sets the voltage of a phase from sample `from` up to, but not including, `to`.
  static void level(float* phase, int from, int to, float volts) { std::fill(phase + from, phase + to, volts); }

  /// Fills the lists to which the features are written with a mark.
  void mark() {
    for (float* minima : {dipx->ua_rms_min, dipx->ub_rms_min, dipx->uc_rms_min, dipx->u3_rms_min}) {
      std::fill_n(minima, 32, 77.0F);
    }
    std::fill_n(dipx->order_min, 32, 78);
    std::fill_n(dipx->dipx_rms_type, 32, 78);
    dipx->min_num = dipx->u_min_num = 79;
    dipx->Voltagechange_Va = dipx->Voltagechange_Vb = dipx->Voltagechange_Vc = 76;
  }
  /// Returns the number of entries from `first` on that still hold the mark, over all six lists.
  [[nodiscard]] long marked(int first) const {
    long count = 0;
    for (const float* minima : {dipx->ua_rms_min, dipx->ub_rms_min, dipx->uc_rms_min, dipx->u3_rms_min}) {
      count += std::count(minima + first, minima + 32, 77.0F);
    }
    for (const int* list : {dipx->order_min, dipx->dipx_rms_type}) count += std::count(list + first, list + 32, 78);
    return count;
  }
};

TEST_F(RmsFeatures, PrintTheirCheckInGbkAfterTheSegmentation) {
  falls(400, {40, 200});
  const tests::StandInClock clock(5, 0, 7);
  EXPECT_EQ(run_features(), std::string("svd time=7ms\r\nT_num = 4\r\n") + check_line);
}

TEST_F(RmsFeatures, BeginWithClearedArrays) {
  falls(400, {40, 200});
  for (float* feature : {buf->feasvd_a, buf->feasvd_b, buf->feasvd_c}) feature[DQ_RECORD_CAPACITY - 1] = 5;
  for (float* magnitude : {buf->ua0, buf->ub0, buf->uc0}) magnitude[DQ_WINDOW_CAPACITY - 1] = 5;
  buf->u[DQ_RECORD_CAPACITY - 1] = 5;
  run_features();
  for (const float* feature : {buf->feasvd_a, buf->feasvd_b, buf->feasvd_c}) {
    EXPECT_EQ(feature[DQ_RECORD_CAPACITY - 1], 0.0F);
  }
  for (const float* magnitude : {buf->ua0, buf->ub0, buf->uc0}) EXPECT_EQ(magnitude[DQ_WINDOW_CAPACITY - 1], 0.0F);
  EXPECT_EQ(buf->u[DQ_RECORD_CAPACITY - 1], 0.0F);
  EXPECT_EQ(buf->u[300], 96.0F) << "the segmentation's own results must be present";
}

// --- joining of transitions ------------------------------------------------------------------------------------------

TEST_F(RmsFeatures, JoinTransitionsLessThanACycleApart) {
  const auto with_cycle = [&](int samples) {
    falls(500, {40, 88, 300});  // 32 samples between the first two
    dipx->smprate = samples;
    return joined();
  };
  EXPECT_EQ(with_cycle(32), (Boundaries{37, 53, 85, 101, 297, 313})) << "a cycle";
  EXPECT_EQ(with_cycle(33), (Boundaries{37, 101, 297, 313}));
}

TEST_F(RmsFeatures, WriteTheJoinedBoundariesOverTheFirstAndLeaveTheOthers) {
  falls(500, {40, 84, 300});
  std::fill_n(dipx->Trms, 32, 77);
  EXPECT_EQ(joined(), (Boundaries{37, 97, 297, 313}));
  EXPECT_EQ((Boundaries{dipx->Trms + 4, dipx->Trms + 7}), (Boundaries{297, 313, 77})) << "as segmented";
  EXPECT_EQ(crossings(6), (Boundaries{37, 53, 81, 97, 297, 313})) << "crossings are not joined";
}

struct JoinedCase {
  const char* name;
  int samples;
  std::vector<int> begins;
  Boundaries boundaries;
};

void PrintTo(const JoinedCase& one, std::ostream* out) {
  *out << one.name;
}

/// The falls are 28 samples apart, which is always less than a cycle.
class RmsFeaturesOfManyFalls : public RmsFeatures, public testing::WithParamInterface<JoinedCase> {};

TEST_P(RmsFeaturesOfManyFalls, JoinUntilFourBoundariesWouldBeLeft) {
  falls(GetParam().samples, GetParam().begins);
  EXPECT_EQ(joined(), GetParam().boundaries);
}

INSTANTIATE_TEST_SUITE_P(
    Boundaries, RmsFeaturesOfManyFalls,
    testing::Values(JoinedCase{"Four", 500, {40, 84}, {37, 53, 81, 97}},
                    JoinedCase{"FiveFirstGap", 144, {40, 84, 128}, {37, 97, 125}},
                    JoinedCase{"SixFirstGap", 500, {40, 84, 128}, {37, 97, 125, 141}},
                    JoinedCase{"SevenFirstTwo", 188, {40, 84, 128, 172}, {37, 141, 169}},
                    JoinedCase{"EightFirstTwo", 500, {40, 84, 128, 172}, {37, 141, 169, 185}},
                    JoinedCase{"NineFirstThree", 232, {40, 84, 128, 172, 216}, {37, 185, 213}},
                    JoinedCase{"TenFirstThree", 500, {40, 84, 128, 172, 216}, {37, 185, 213, 229}},
                    JoinedCase{"SixSecondGapAlone", 500, {40, 140, 184}, {37, 53, 137, 153, 181, 197}},
                    JoinedCase{"EightThirdGapAlone", 600, {40, 140, 240, 284}, {37, 53, 137, 153, 237, 253, 281, 297}},
                    JoinedCase{"EightSecondGapAlone", 600, {40, 140, 184, 284}, {37, 53, 137, 197, 281, 297}}),
    [](const auto& test) { return test.param.name; });

TEST_F(RmsFeatures, OfThirtyTwoBoundariesHaveFifteenSegments) {
  blips(17);  // 20 samples apart
  dipx->smprate = 20;
  mark();
  run_features();
  ASSERT_EQ(dipx->Trms_num, 32);
  EXPECT_EQ(dipx->min_num, 15);
  EXPECT_EQ(dipx->u_min_num, 15);
  for (int s = 0; s < 15; s++) EXPECT_EQ(dipx->order_min[s], 57 + 40 * s);
  EXPECT_EQ(marked(0), 17 * 6);
  EXPECT_EQ(marked(15), 17 * 6);
}

TEST_F(RmsFeatures, OfThirtyTwoBoundariesJoinFourteenGaps) {
  blips(17);
  dipx->smprate = 21;
  EXPECT_EQ(joined(), (Boundaries{37, 617, 637, 657}));
  EXPECT_EQ(dipx->min_num, 1);
}

TEST_F(RmsFeatures, JoinPrunedBoundariesIntoNothing) {
  // In this window no pair of crossings remains.
  window(820);
  blip(40);
  ramp(100, 200, -0.2F);
  blip(400);
  ramp(480, 200, 0.2F);
  ramp(800, 20, -1);
  EXPECT_TRUE(run_features().ends_with(std::string("T_num = 5\r\n") + check_line + "seg check err1\r\n"));
  EXPECT_EQ(dipx->Trms_num, 0);
}

// --- rejected segmentations ------------------------------------------------------------------------------------------

TEST_F(RmsFeatures, OfNoBoundaryStayAsTheyWere) {
  window(400);
  mark();
  EXPECT_TRUE(run_features().ends_with(std::string("T_num = 0\r\n") + check_line + "seg check err1\r\n"));
  EXPECT_EQ(dipx->Trms_num, 0);
  EXPECT_EQ(marked(0), 32 * 6);
  EXPECT_EQ(dipx->min_num, 79);
  EXPECT_EQ(dipx->u_min_num, 79);
  EXPECT_EQ(dipx->Voltagechange_Va, 76.0F);
  EXPECT_EQ(dipx->Voltagechange_Vb, 76.0F);
  EXPECT_EQ(dipx->Voltagechange_Vc, 76.0F);
}

TEST_F(RmsFeatures, OfOneBoundaryStayAsTheyWere) {
  falls(216, {200});
  mark();
  EXPECT_TRUE(run_features().ends_with(std::string("T_num = 1\r\n") + check_line + "seg check err1\r\n"));
  EXPECT_EQ(boundaries(), Boundaries{197});
  EXPECT_EQ(marked(0), 32 * 6);
  EXPECT_EQ(dipx->min_num, 79);
}

TEST_F(RmsFeatures, OfBoundariesOutOfOrderStayAsTheyWere) {
  falls(400, {40});  // two crossings and no recovery
  mark();
  EXPECT_TRUE(run_features().ends_with(std::string("T_num = 2\r\n") + check_line + "seg check err3\r\n"));
  EXPECT_EQ(boundaries(), (Boundaries{37, 53, 0}));
  EXPECT_EQ(marked(0), 32 * 6);
  EXPECT_EQ(dipx->min_num, 79);
  EXPECT_EQ(dipx->Voltagechange_Va, 76.0F);
}

// --- segments --------------------------------------------------------------------------------------------------------

struct SegmentsCase {
  const char* name;
  int samples;
  std::vector<int> begins;
  Boundaries boundaries;
  int segments;
};

void PrintTo(const SegmentsCase& one, std::ostream* out) {
  *out << one.name;
}

class RmsFeaturesOfSegments : public RmsFeatures, public testing::WithParamInterface<SegmentsCase> {};

TEST_P(RmsFeaturesOfSegments, AreOnePerStretchBetweenTransitions) {
  falls(GetParam().samples, GetParam().begins);
  mark();
  EXPECT_EQ(joined(), GetParam().boundaries);
  const int segments = GetParam().segments;
  EXPECT_EQ(dipx->min_num, segments);
  EXPECT_EQ(dipx->u_min_num, segments);
  for (int s = 0; s < segments; s++) {
    const auto lowest = static_cast<float>(100 - 2 * (s + 1));
    EXPECT_EQ(dipx->ua_rms_min[s], lowest) << s;
    EXPECT_EQ(dipx->ub_rms_min[s], lowest) << s;
    EXPECT_EQ(dipx->uc_rms_min[s], lowest) << s;
    EXPECT_EQ(dipx->u3_rms_min[s], lowest) << s;
    EXPECT_EQ(dipx->order_min[s], dipx->Trms[2 * s + 1]) << s;
    EXPECT_EQ(dipx->dipx_rms_type[s], 0) << s;
  }
  EXPECT_EQ(marked(segments), (32 - segments) * 6);
}

INSTANTIATE_TEST_SUITE_P(
    Boundaries, RmsFeaturesOfSegments,
    testing::Values(SegmentsCase{"Three", 216, {40, 200}, {37, 53, 197}, 1},
                    SegmentsCase{"Four", 400, {40, 200}, {37, 53, 197, 213}, 1},
                    SegmentsCase{"Five", 416, {40, 200, 400}, {37, 53, 197, 213, 397}, 2},
                    SegmentsCase{"Six", 600, {40, 200, 400}, {37, 53, 197, 213, 397, 413}, 2},
                    SegmentsCase{"Seven", 616, {40, 200, 400, 600}, {37, 53, 197, 213, 397, 413, 597}, 3},
                    SegmentsCase{"Eight", 800, {40, 200, 400, 600}, {37, 53, 197, 213, 397, 413, 597, 613}, 3}),
    [](const auto& test) { return test.param.name; });

/// A window with one segment at 98 V, from sample 53 up to, but not including, sample 197.
class RmsSegment : public RmsFeatures {
 protected:
  RmsSegment() {
    window(400);
    step(40, -2);
    step(200, 2);
  }
  void measure() {
    run_features();
    ASSERT_EQ(boundaries(), (Boundaries{37, 53, 197, 213}));
    ASSERT_EQ(dipx->min_num, 1);
  }
};

TEST_F(RmsSegment, CountsItsFirstSample) {
  buf->rms_ua[52] = 97.625F;
  buf->rms_ua[53] = 97.75F;
  measure();
  EXPECT_EQ(dipx->ua_rms_min[0], 97.75F);
  EXPECT_EQ(dipx->u3_rms_min[0], 97.75F);
  EXPECT_EQ(dipx->order_min[0], 53);
}

TEST_F(RmsSegment, DoesNotCountItsEnd) {
  buf->rms_ub[196] = 97.75F;
  buf->rms_ub[197] = 97.625F;
  measure();
  EXPECT_EQ(dipx->ub_rms_min[0], 97.75F);
  EXPECT_EQ(dipx->u3_rms_min[0], 97.75F);
  EXPECT_EQ(dipx->order_min[0], 196);
}

TEST_F(RmsSegment, LiesLowestWhereAnyPhaseFirstDoes) {
  buf->rms_ua[120] = 97.75F;
  buf->rms_ub[100] = 97.75F;
  buf->rms_uc[80] = 97.875F;
  measure();
  EXPECT_EQ(dipx->ua_rms_min[0], 97.75F);
  EXPECT_EQ(dipx->ub_rms_min[0], 97.75F);
  EXPECT_EQ(dipx->uc_rms_min[0], 97.875F);
  EXPECT_EQ(dipx->u3_rms_min[0], 97.75F);
  EXPECT_EQ(dipx->order_min[0], 100);
}

TEST_F(RmsSegment, CountsPhasesStrictlyBelowTheThreshold) {
  const float just_below = std::nextafter(90.0F, 0.0F);
  const auto type_of = [&](float a, float b, float c) {
    level(buf->rms_ua, 41, 201, a);
    level(buf->rms_ub, 41, 201, b);
    level(buf->rms_uc, 41, 201, c);
    measure();
    return dipx->dipx_rms_type[0];
  };
  EXPECT_EQ(type_of(90, 90, 90), 0);
  EXPECT_EQ(type_of(just_below, 90, 90), 1);
  EXPECT_EQ(type_of(90, just_below, 90), 1);
  EXPECT_EQ(type_of(90, 90, just_below), 1);
  EXPECT_EQ(type_of(just_below, 90, 40), 2);
  EXPECT_EQ(type_of(40, 40, just_below), 3);
}

TEST_F(RmsSegment, CountsAPhaseByItsLowestSample) {
  dipx->ut = 97.875F;
  buf->rms_uc[150] = 97.75F;
  measure();
  EXPECT_EQ(dipx->dipx_rms_type[0], 1);
}

TEST_F(RmsSegment, HasAMinimumOfAMillionInAPhaseThatIsNotANumber) {
  level(buf->rms_uc, 0, 400, std::numeric_limits<float>::quiet_NaN());
  measure();
  EXPECT_EQ(dipx->uc_rms_min[0], 1000000.0F);
  EXPECT_EQ(dipx->ua_rms_min[0], 98.0F);
  EXPECT_EQ(dipx->u3_rms_min[0], 98.0F);
  EXPECT_EQ(dipx->dipx_rms_type[0], 0);
}

TEST_F(RmsFeatures, HaveMinimaOfAMillionIfTheVoltageIsNotLower) {
  window(400, 1000002);
  step(40, -2);
  step(200, 2);
  mark();
  run_features();
  ASSERT_EQ(boundaries(), (Boundaries{37, 53, 197, 213}));
  EXPECT_EQ(dipx->ua_rms_min[0], 1000000.0F);
  EXPECT_EQ(dipx->u3_rms_min[0], 1000000.0F);
  EXPECT_EQ(dipx->order_min[0], 0) << "a value of exactly a million is not below the start value";
}

TEST_F(RmsFeatures, OfASegmentWithoutAMinimumHaveThePlaceOfTheOneBefore) {
  window(600, 1000001);
  step(40, -2);
  step(200, 2);
  step(400, -2);
  run_features();
  ASSERT_EQ(boundaries(), (Boundaries{37, 53, 197, 213, 397, 413}));
  EXPECT_EQ(dipx->u3_rms_min[0], 999999.0F);
  EXPECT_EQ(dipx->order_min[0], 53);
  for (const float* minima : {dipx->ua_rms_min, dipx->ub_rms_min, dipx->uc_rms_min, dipx->u3_rms_min}) {
    EXPECT_EQ(minima[1], 1000000.0F);
  }
  EXPECT_EQ(dipx->order_min[1], 53);
}

TEST_F(RmsFeatures, BeginEachCallWithPlaceZero) {
  falls(400, {40, 200});
  run_features();
  ASSERT_EQ(dipx->order_min[0], 53);
  window(400, 1000010);
  step(40, -2);
  step(200, 2);
  run_features();
  EXPECT_EQ(dipx->order_min[0], 0);
}

// --- rates of change -------------------------------------------------------------------------------------------------

TEST_F(RmsSegment, ChangesAtTheSteepestSlopeOfItsFirstTransition) {
  // The transition extends from boundary 37 up to, but not including, 53. One volt per sample is 1600 V/s.
  level(buf->rms_ub, 0, 400, 100);
  level(buf->rms_uc, 0, 400, 100);
  level(buf->rms_ub, 39, 400, 100.5F);  // between the second and the third sample
  level(buf->rms_uc, 52, 400, 99.25F);  // up to the last sample
  measure();
  EXPECT_FLOAT_EQ(dipx->Voltagechange_Va, 3200);
  EXPECT_FLOAT_EQ(dipx->Voltagechange_Vb, 800);
  EXPECT_FLOAT_EQ(dipx->Voltagechange_Vc, 1200);
}

TEST_F(RmsSegment, DoesNotCountTheFirstSlopeOfATransitionNorTheOneOutOfIt) {
  level(buf->rms_ub, 0, 400, 100);
  level(buf->rms_uc, 0, 400, 100);
  level(buf->rms_ub, 38, 400, 100.5F);
  level(buf->rms_uc, 53, 400, 99.25F);
  measure();
  EXPECT_EQ(dipx->Voltagechange_Vb, 0.0F);
  EXPECT_EQ(dipx->Voltagechange_Vc, 0.0F);
}

TEST_F(RmsSegment, ChangesByTheDipsOwnRate) {
  dipx->smprate = 64;
  measure();
  EXPECT_FLOAT_EQ(dipx->Voltagechange_Va, 6400);
}

TEST_F(RmsFeatures, MeasureTheChangeOverAJoinedTransition) {
  window(500);
  step(40, -2);
  step(84, -5);
  step(300, -2);
  ASSERT_EQ(joined(), (Boundaries{37, 97, 297, 313}));
  EXPECT_FLOAT_EQ(dipx->Voltagechange_Va, 5 * 1600);
}

// --- bounds ----------------------------------------------------------------------------------------------------------

TEST_F(RmsFeatures, StayInsideTheArraysForAnyCount) {
  falls(DQ_RECORD_CAPACITY, {1000, DQ_RECORD_CAPACITY - 16});
  buf->num = std::numeric_limits<unsigned>::max();
  EXPECT_EQ(joined(), (Boundaries{997, 1013, DQ_RECORD_CAPACITY - 19}));
  EXPECT_EQ(dipx->ua_rms_min[0], 98.0F);
  EXPECT_EQ(dipx->order_min[0], 1013);
}

TEST_F(RmsFeatures, WithoutARecordAreNotMeasured) {
  falls(400, {40, 200});
  const auto printed = tests::printed_by([&] {
    RMS_segment_feature(nullptr, dipx.get());
    RMS_segment_feature(buf.get(), nullptr);
  });
  EXPECT_EQ(printed.out, "");
  EXPECT_EQ(dipx->Trms_num, 0);
}

}  // namespace
