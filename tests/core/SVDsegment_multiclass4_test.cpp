// At one sample per cycle the order is 1, so the feature is the difference between neighbouring samples, with one
// feature per sample from the first on. A change over the samples b to b + L has the boundaries b and b + L. At 32
// samples per cycle the order is 4, and a step over one sample from b on affects 16 features: its boundaries are b and
// b + 16, and the second one moves to b + 1 if phase A makes the step.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "sagx/dq_segment_feature_multiclass.h"
#include "tests/core/dip_waveforms.h"
#include "tests/core/faults.h"
#include "tests/core/kernel_inputs.h"
#include "tests/core/printed_lines.h"
#include "tests/plain/svd_feature.h"

namespace {

using tests::zeroed;
using Boundaries = std::vector<int>;

class AlternativeSegmentation : public testing::Test {
 protected:
  AlternativeSegmentation() {
    buf->smp = 1;
    dipx->un = 100;  // changes count from a feature of 1 on
    dipx->ud = 50;   // the end of a transition is where phase A changes by more than 0.5
  }

  void window(int samples, float level = 100) {
    buf->num = static_cast<unsigned>(samples);
    for (float* phase : {buf->rms_ua, buf->rms_ub, buf->rms_uc}) std::fill_n(phase, samples, level);
  }
  /// Changes the phase by `slope` per sample from sample `begin` on for `length` samples; after that the phase is
  /// constant.
  void ramp(float* phase, int begin, int length, float slope) {
    for (int i = begin + 1; i < static_cast<int>(buf->num); i++) {
      phase[i] = phase[i - 1] + (i <= begin + length ? slope : 0.0F);
    }
  }
  void ramp(int begin, int length, float slope) {
    for (float* phase : {buf->rms_ua, buf->rms_ub, buf->rms_uc}) ramp(phase, begin, length, slope);
  }
  /// Adds `count` steps, up and down, ten samples apart from sample 10 on, with boundaries 10 and 11, 20 and 21, ...
  void steps(int count, float height) {
    window(10 * count + 20);
    for (int i = 0; i < count; i++) ramp(10 + 10 * i, 1, i % 2 == 0 ? -height : height);
  }
  static Boundaries boundaries_of_steps(int count) {
    Boundaries result;
    for (int i = 0; i < count; i++) {
      result.push_back(10 + 10 * i);
      result.push_back(11 + 10 * i);
    }
    return result;
  }

  std::string run() {
    const auto printed = tests::printed_by([&] { SVDsegment_multiclass4(buf.get(), dipx.get()); });
    EXPECT_EQ(printed.err, "");
    return printed.out;
  }
  Boundaries segmented() {
    const auto line = run();
    EXPECT_TRUE(line.starts_with("T_num = ")) << line;
    return {dipx->T_rms, dipx->T_rms + dipx->T_rms_num};
  }

  tests::Zeroed<dq_data> buf = zeroed<dq_data>();
  tests::Zeroed<dq_dipx_struct> dipx = zeroed<dq_dipx_struct>();
};

// --- written results and printed lines -------------------------------------------------------------------------------

TEST_F(AlternativeSegmentation, OfADipFindsWhereItsFallAndItsRecoveryBeginAndEnd) {
  window(400);
  ramp(40, 30, -1);
  ramp(200, 20, 1.5F);
  EXPECT_EQ(segmented(), (Boundaries{40, 70, 200, 220}));
}

TEST_F(AlternativeSegmentation, PrintsTheNumberOfBoundariesAndNoTime) {
  window(400);
  ramp(40, 30, -1);
  const tests::StandInClock clock(5, 0, 7);
  EXPECT_EQ(run(), "T_num = 2\r\n");
}

TEST_F(AlternativeSegmentation, OfAConstantVoltageFindsNothing) {
  window(400);
  dipx->T_rms_num = 7;
  EXPECT_EQ(run(), "T_num = 0\r\n");
  EXPECT_EQ(dipx->T_rms_num, 0);
}

TEST_F(AlternativeSegmentation, WritesItsOwnListAndNoOther) {
  window(400);
  ramp(40, 30, -1);
  std::fill_n(dipx->T_rms, 32, 71);
  for (int* list : {dipx->T0_rms, dipx->Trms, dipx->T0rms, dipx->T, dipx->T0}) std::fill_n(list, 32, 72);
  dipx->Trms_num = dipx->T_num = 73;
  EXPECT_EQ(segmented(), (Boundaries{40, 70}));
  EXPECT_EQ(std::count(dipx->T_rms + 2, dipx->T_rms + 32, 71), 30) << "entries beyond the count must not change";
  for (const int* list : {dipx->T0_rms, dipx->Trms, dipx->T0rms, dipx->T, dipx->T0}) {
    EXPECT_EQ(std::count(list, list + 32, 72), 32);
  }
  EXPECT_EQ(dipx->Trms_num, 73);
  EXPECT_EQ(dipx->T_num, 73);
}

TEST_F(AlternativeSegmentation, KeepsTheLowestPhaseOfEachSample) {
  window(100);
  buf->rms_ua[0] = 90;
  buf->rms_ub[20] = 80;
  buf->rms_uc[99] = 70;
  buf->u[100] = 77;
  run();
  EXPECT_EQ(buf->u[0], 90.0F);
  EXPECT_EQ(buf->u[1], 100.0F);
  EXPECT_EQ(buf->u[20], 80.0F);
  EXPECT_EQ(buf->u[99], 70.0F);
  EXPECT_EQ(buf->u[100], 77.0F);
}

TEST_F(AlternativeSegmentation, LeavesTheCurvesUnchanged) {
  window(200);
  ramp(40, 30, -1);
  const std::vector<float> before(buf->rms_ua, buf->rms_ua + 200);
  run();
  EXPECT_TRUE(tests::same_bits({buf->rms_ua, buf->rms_ua + 200}, before));
  EXPECT_TRUE(tests::same_bits({buf->rms_uc, buf->rms_uc + 200}, before));
}

// --- the features ----------------------------------------------------------------------------------------------------

TEST_F(AlternativeSegmentation, MeasuresAtEverySample) {
  buf->smp = 32;
  const int samples = 300;
  buf->num = samples;
  const auto fill = [&](float* phase, std::uint32_t seed) {
    const auto values = tests::series(tests::kinds()[0], samples, seed);
    std::copy(values.begin(), values.end(), phase);
  };
  fill(buf->rms_ua, 1);
  fill(buf->rms_ub, 2);
  fill(buf->rms_uc, 3);
  const int positions = samples - 16;
  buf->feasvd_a[positions] = buf->feasvd_b[positions] = buf->feasvd_c[positions] = 77;
  run();
  for (int p = 0; p < positions; p++) {
    ASSERT_TRUE(tests::same_bits(buf->feasvd_a[p], plain::svd_feature(buf->rms_ua, 16 + p, 4))) << p;
    ASSERT_TRUE(tests::same_bits(buf->feasvd_b[p], plain::svd_feature(buf->rms_ub, 16 + p, 4))) << p;
    ASSERT_TRUE(tests::same_bits(buf->feasvd_c[p], plain::svd_feature(buf->rms_uc, 16 + p, 4))) << p;
  }
  for (const float* features : {buf->feasvd_a, buf->feasvd_b, buf->feasvd_c}) EXPECT_EQ(features[positions], 77.0F);
}

TEST_F(AlternativeSegmentation, DerivesTheOrderFromHalfACycle) {
  const auto length_of_a_step_at = [&](unsigned rate) {
    buf->smp = rate;
    window(400);
    ramp(buf->rms_ub, 150, 1, 2);
    const auto found = segmented();
    EXPECT_EQ(found.size(), 2U) << rate;
    EXPECT_EQ(found.front(), 150) << rate;
    return found.back() - found.front();
  };
  EXPECT_EQ(length_of_a_step_at(32), 16);
  EXPECT_EQ(length_of_a_step_at(40), 16);
  EXPECT_EQ(length_of_a_step_at(41), 25) << "the order is the square root of 20.5, rounded half up";
  EXPECT_EQ(length_of_a_step_at(50), 25);
  EXPECT_EQ(length_of_a_step_at(64), 36);
  EXPECT_EQ(length_of_a_step_at(128), 64);
  EXPECT_EQ(length_of_a_step_at(7), 4) << "at this rate the other segmentation has no step";
}

TEST_F(AlternativeSegmentation, OfAWindowNoLongerThanTheMatrixFindsNothing) {
  buf->smp = 32;
  for (const int samples : {0, 1, 16}) {
    window(samples);
    buf->feasvd_a[0] = 77;
    EXPECT_EQ(run(), "T_num = 0\r\n") << samples;
    EXPECT_EQ(dipx->T_rms_num, 0) << samples;
    EXPECT_EQ(buf->feasvd_a[0], 77.0F) << samples;
  }
  window(17);
  run();
  EXPECT_EQ(buf->feasvd_a[0], 0.0F);
}

TEST_F(AlternativeSegmentation, AtARateWithoutAnOrderHasNoFeatures) {
  for (const unsigned rate : {0U, 181U, 1000U, 0x80000000U, 0xFFFFFFFFU}) {
    window(400);
    ramp(200, 10, -2);
    buf->smp = rate;
    buf->feasvd_a[0] = 77;
    EXPECT_EQ(run(), "T_num = 0\r\n") << rate;
    EXPECT_EQ(buf->feasvd_a[0], 77.0F) << rate;
    EXPECT_EQ(buf->u[250], 80.0F) << rate;
  }
  buf->smp = 180;
  EXPECT_EQ(segmented().size(), 2U);
}

// --- crossings -------------------------------------------------------------------------------------------------------

TEST_F(AlternativeSegmentation, SeesAChangeOfAnyPhase) {
  window(400);
  ramp(buf->rms_ua, 40, 10, 2);
  ramp(buf->rms_ub, 140, 10, -2);
  ramp(buf->rms_uc, 240, 10, 2);
  EXPECT_EQ(segmented(), (Boundaries{40, 50, 140, 150, 240, 250}));
}

TEST_F(AlternativeSegmentation, CountsAFeatureEqualToTheThresholdAsAbove) {
  window(400);
  ramp(40, 10, 1);
  ramp(100, 10, 0.9990234375F);
  EXPECT_EQ(segmented(), (Boundaries{40, 50}));
}

TEST_F(AlternativeSegmentation, RecordsNoRiseAtTheFirstFeatureNorItsFall) {
  window(400);
  ramp(0, 10, 2);
  ramp(100, 10, 2);
  EXPECT_EQ(segmented(), (Boundaries{100, 110}));
}

TEST_F(AlternativeSegmentation, RecordsTheFirstPossibleRise) {
  window(400);
  ramp(1, 10, 2);
  EXPECT_EQ(segmented(), (Boundaries{1, 11}));
}

TEST_F(AlternativeSegmentation, StopsAtTwoBoundaries) {
  window(400);
  ramp(40, 10, 1);
  ramp(100, 10, 0.9F);  // above the second threshold
  EXPECT_EQ(segmented(), (Boundaries{40, 50}));
}

TEST_F(AlternativeSegmentation, LowersTheThresholdByAFifthWhileThereIsOneBoundaryOrNone) {
  window(400);
  ramp(100, 300, 2);  // continues to the end of the window
  ramp(buf->rms_ub, 20, 10, 0.85F);
  EXPECT_EQ(segmented(), (Boundaries{20, 30, 100})) << "the second threshold is used";
  window(400);
  ramp(20, 10, 0.65F);
  EXPECT_EQ(segmented(), (Boundaries{20, 30})) << "the third";
}

TEST_F(AlternativeSegmentation, StoresTheThresholdAsFloatAndTriesTen) {
  auto threshold = 1.0F;
  for (int attempt = 1; attempt < 10; attempt++) {
    threshold = static_cast<float>(static_cast<double>(threshold) * 0.8);
  }
  const auto with_change = [&](float change) {
    window(100, 0);
    ramp(buf->rms_ua, 40, 1, change);
    return segmented();
  };
  EXPECT_EQ(with_change(threshold).size(), 2U);
  EXPECT_EQ(with_change(std::nextafter(threshold, 0.0F)), Boundaries());
  EXPECT_NEAR(threshold, 0.1342, 1e-4) << "the threshold is one per cent of nominal times 0.8 to the ninth power";
}

TEST_F(AlternativeSegmentation, ComputesOnePerCentInDouble) {
  // One hundredth of 7, computed in double and stored as float, is below 7 times the float nearest to 0.01.
  dipx->un = 7;
  const auto threshold = static_cast<float>(0.01 * 7);
  const auto with_changes = [&](float change) {
    window(100, 0);
    ramp(buf->rms_ua, 10, 1, change);
    ramp(buf->rms_ub, 50, 1, change);
    ramp(buf->rms_ub, 70, 1, 1);
    return segmented().size();
  };
  EXPECT_EQ(with_changes(threshold), 6U);
  EXPECT_EQ(with_changes(std::nextafter(threshold, 0.0F)), 2U);
}

TEST_F(AlternativeSegmentation, WritesASingleBoundaryOfTheLastTry) {
  window(400);
  ramp(100, 300, 0.2F);  // above the ninth and the tenth threshold only
  EXPECT_EQ(run(), "T_num = 1\r\n");
  EXPECT_EQ((Boundaries{dipx->T_rms, dipx->T_rms + dipx->T_rms_num}), (Boundaries{100}));
}

TEST_F(AlternativeSegmentation, KeepsPairsWithoutAChangeOfVoltage) {
  // A change that is reversed at once lies between two large ones.
  window(400);
  ramp(40, 10, -4);
  ramp(100, 1, 2);
  ramp(101, 1, -2);
  ramp(200, 10, 4);
  EXPECT_EQ(segmented(), (Boundaries{40, 50, 100, 102, 200, 210}));
}

TEST_F(AlternativeSegmentation, AddsNoRecoveryToTwoBoundaries) {
  window(400);
  dipx->ut = 90;
  ramp(40, 10, -2);
  ramp(200, 40, 0.5F);  // crosses the dip threshold
  EXPECT_EQ(segmented(), (Boundaries{40, 50}));
}

TEST_F(AlternativeSegmentation, KeepsShortGaps) {
  window(400);
  ramp(40, 10, -2);
  ramp(51, 10, -2);
  ramp(100, 10, 2);
  EXPECT_EQ(segmented(), (Boundaries{40, 50, 51, 61, 100, 110}));
}

// --- ends of transitions ---------------------------------------------------------------------------------------------

/// At 32 samples per cycle a step affects the feature for 16 samples.
class AlternativeEnds : public AlternativeSegmentation {
 protected:
  AlternativeEnds() { buf->smp = 32; }
};

TEST_F(AlternativeEnds, MoveToTheLastChangeOfPhaseA) {
  window(400);
  ramp(100, 1, -10);
  ramp(200, 5, 10);
  EXPECT_EQ(segmented(), (Boundaries{100, 101, 200, 205}));
}

TEST_F(AlternativeEnds, StayWhereOnlyOtherPhasesChange) {
  window(400);
  ramp(buf->rms_ub, 100, 1, -10);
  ramp(buf->rms_uc, 200, 1, -10);
  EXPECT_EQ(segmented(), (Boundaries{100, 116, 200, 216}));
}

TEST_F(AlternativeEnds, MoveWithPhaseAThoughAnotherChangesLater) {
  window(400);
  ramp(buf->rms_ua, 100, 1, -10);
  ramp(buf->rms_ub, 105, 1, -10);
  EXPECT_EQ(segmented(), (Boundaries{100, 101}));
}

TEST_F(AlternativeEnds, AreSoughtOnlyAfterTheBeginOfTheTransition) {
  // Phase A changes at the first sample of the transition by too little to be detected, and phase B changes from there
  // on.
  dipx->ud = 1;
  window(400);
  ramp(buf->rms_ua, 99, 1, 0.0625F);
  ramp(buf->rms_ub, 100, 1, -10);
  EXPECT_EQ(segmented(), (Boundaries{100, 116}));
  window(400);
  ramp(buf->rms_ua, 100, 1, 0.0625F);
  ramp(buf->rms_ub, 100, 1, -10);
  EXPECT_EQ(segmented(), (Boundaries{100, 101})) << "one sample after the begin";
}

TEST_F(AlternativeEnds, AreSoughtFromWhereTheyWereFoundOn) {
  dipx->ud = 1;
  const auto with_change_behind = [&](int sample) {
    window(400);
    ramp(buf->rms_ua, sample, 1, 0.0625F);
    ramp(buf->rms_ub, 100, 1, -10);
    return segmented();
  };
  EXPECT_EQ(with_change_behind(110), (Boundaries{100, 111}));
  EXPECT_EQ(with_change_behind(115), (Boundaries{100, 116})) << "stays";
  EXPECT_EQ(with_change_behind(116), (Boundaries{100, 116})) << "a change one sample after the end does not count";
}

TEST_F(AlternativeEnds, AreWherePhaseAChangesByMoreThanOnePerCentOfTheDepth) {
  dipx->un = 1000;  // the change itself is too small to be detected
  dipx->ud = 100;
  const auto with_change = [&](float change) {
    window(400, 0);
    ramp(buf->rms_ub, 100, 1, -50);
    ramp(buf->rms_ua, 107, 1, change);
    return segmented();
  };
  EXPECT_EQ(with_change(1), (Boundaries{100, 116})) << "exactly one per cent does not count";
  EXPECT_EQ(with_change(std::nextafter(1.0F, 2.0F)), (Boundaries{100, 108}));
  EXPECT_EQ(with_change(-std::nextafter(1.0F, 2.0F)), (Boundaries{100, 108})) << "a change in either direction counts";
}

TEST_F(AlternativeEnds, CompareWithOnePerCentInDouble) {
  // The float nearest to 0.07 is above it.
  dipx->ud = 7;
  window(400, 0);
  ramp(buf->rms_ub, 100, 1, -50);
  ramp(buf->rms_ua, 107, 1, 0.07F);
  ASSERT_EQ(buf->rms_ua[108], 0.07F);
  EXPECT_EQ(segmented(), (Boundaries{100, 108}));
}

TEST_F(AlternativeEnds, OfADepthOfZeroAreAtAnyChangeAtAll) {
  dipx->ud = 0;
  window(400, 0);
  ramp(buf->rms_ub, 100, 1, -50);
  EXPECT_EQ(segmented(), (Boundaries{100, 116})) << "none";
  ramp(buf->rms_ua, 107, 1, tests::smallest);
  EXPECT_EQ(segmented(), (Boundaries{100, 108}));
}

TEST_F(AlternativeEnds, AreTheSecondFourthAndSoOnOnly) {
  // Phase A also changes before each begin; the begins do not move.
  dipx->ud = 1;
  window(500);
  for (const int begin : {100, 200, 300}) {
    ramp(buf->rms_ub, begin, 1, 10);
    buf->rms_ua[begin - 5] += 0.0625F;
    buf->rms_ua[begin + 5] += 0.0625F;
  }
  EXPECT_EQ(segmented(), (Boundaries{100, 106, 200, 206, 300, 306})) << "each end moves to the sample after the spike";
}

TEST_F(AlternativeEnds, LeaveAnUnpairedLastBeginUnchanged) {
  dipx->ud = 1;
  window(300);
  ramp(buf->rms_ub, 100, 1, 10);
  ramp(buf->rms_ub, 200, 100, 10);
  ramp(buf->rms_ua, 180, 1, 0.0625F);
  EXPECT_EQ(segmented(), (Boundaries{100, 116, 200}));
}

// --- bounds ----------------------------------------------------------------------------------------------------------

TEST_F(AlternativeSegmentation, WritesThirtyTwoOfMoreBoundaries) {
  steps(16, 2);
  EXPECT_EQ(segmented(), boundaries_of_steps(16));
  steps(17, 2);
  dipx->T0_rms[0] = 77;  // the list after T_rms
  EXPECT_EQ(run(), "T_num = 34\r\n");
  EXPECT_EQ((Boundaries{dipx->T_rms, dipx->T_rms + dipx->T_rms_num}), boundaries_of_steps(16));
  EXPECT_EQ(dipx->T0_rms[0], 77);
}

TEST_F(AlternativeSegmentation, StopsAt128Crossings) {
  steps(64, 2);
  EXPECT_EQ(run(), "T_num = 128\r\n");
  steps(80, 2);
  EXPECT_EQ(run(), "T_num = 128\r\n");
  EXPECT_EQ(dipx->T_rms_num, 32);
}

TEST_F(AlternativeSegmentation, StaysInsideTheArraysForAnyCount) {
  window(DQ_RECORD_CAPACITY);
  ramp(1000, 10, -2);
  ramp(DQ_RECORD_CAPACITY - 100, 10, 2);
  buf->num = std::numeric_limits<unsigned>::max();
  buf->upd[0] = 77;
  EXPECT_EQ(segmented(), (Boundaries{1000, 1010, DQ_RECORD_CAPACITY - 100, DQ_RECORD_CAPACITY - 90}));
  EXPECT_EQ(buf->upd[0], 77.0F) << "the array after the minimum curve must not change";
}

TEST_F(AlternativeSegmentation, OfAWindowThatEndsInAChangeReadsNothingPastTheWindow) {
  window(100);
  ramp(90, 9, 2);
  buf->rms_ua[100] = buf->rms_ua[101] = 500;
  EXPECT_EQ(segmented(), (Boundaries{90}));
}

TEST_F(AlternativeSegmentation, EndsOnVoltagesThatAreNotNumbers) {
  for (const unsigned rate : {1U, 32U, 128U}) {
    for (const float odd : {tests::nan, tests::infinity, std::numeric_limits<float>::max(), tests::smallest}) {
      buf->smp = rate;
      window(400);
      ramp(40, 40, -1);
      buf->rms_ua[200] = odd;
      buf->rms_ub[60] = -odd;
      EXPECT_LE(segmented().size(), 32U);
      dipx->un = dipx->ud = odd;
      EXPECT_LE(segmented().size(), 32U);
      dipx->un = 100;
      dipx->ud = 50;
    }
  }
}

TEST_F(AlternativeSegmentation, WithoutARecordDoesNothing) {
  window(100);
  dipx->T_rms_num = 7;
  const auto printed = tests::printed_by([&] {
    SVDsegment_multiclass4(nullptr, dipx.get());
    SVDsegment_multiclass4(buf.get(), nullptr);
  });
  EXPECT_EQ(printed.out + printed.err, "");
  EXPECT_EQ(dipx->T_rms_num, 7);
  EXPECT_EQ(buf->u[0], 0.0F);
}

}  // namespace
