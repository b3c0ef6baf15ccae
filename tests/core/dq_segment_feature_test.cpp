// These tests use two kinds of window. At 32 samples per cycle the samples are transformed as in any record. At 512
// samples per cycle the filter's element is too long for the transform, which then leaves its outputs unchanged. Every
// section then finds in the window's arrays what a test has put there, apart from its padded ends and the median of 257
// samples, which does not alter a curve that only rises or only falls. Half a cycle is 256 samples, a segment's
// reference point is entry 1536, and without an order there are no crossings, so transitions are at the RMS boundaries.
#include "sagx/dq_segment_feature.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <numeric>
#include <ostream>
#include <vector>

#include "sagx/dq_delay.h"
#include "tests/core/dip_waveforms.h"
#include "tests/core/kernel_inputs.h"
#include "tests/core/printed_lines.h"
#include "tests/plain/dq_segment_feature.h"

namespace {

using tests::SineRecord;
using tests::zeroed;
using Boundaries = std::vector<int>;

constexpr int largest_int = std::numeric_limits<int>::max();

class LongWindow : public testing::Test {
 protected:
  explicit LongWindow(unsigned samples_per_cycle = 32) {
    dq_data_buf = data.get();
    data->smp = samples_per_cycle;
    for (int i = 0; i < DQ_RECORD_CAPACITY; i++) data->t[i] = static_cast<float>(i) * static_cast<float>(0.02 / 32);
    dipx->smprate = static_cast<int>(samples_per_cycle);
    dipx->un = 100;  // a change is a difference of more than one volt per sample
    dipx->ut = 90;
    dipx->f = 50;
  }
  ~LongWindow() override { dq_data_buf = nullptr; }

  void set_rms(const Boundaries& boundaries) {
    std::copy(boundaries.begin(), boundaries.end(), dipx->Trms);
    dipx->Trms_num = static_cast<int>(boundaries.size());
  }
  std::string run() {
    const auto printed = tests::printed_by([&] { dq_segment_feature(data.get(), dipx.get()); });
    EXPECT_EQ(printed.err, "");
    return printed.out;
  }
  [[nodiscard]] Boundaries boundaries() const { return {dipx->T, dipx->T + dipx->T_num}; }
  /// Returns the boundaries that result from these RMS boundaries.
  Boundaries from_rms(const Boundaries& rms) {
    set_rms(rms);
    run();
    return boundaries();
  }
  /// Sets one segment, whose minimum is at this sample.
  void set_reference(int sample) {
    dipx->min_num = 1;
    dipx->order_min[0] = sample;
  }

  tests::Zeroed<dq_data> data = zeroed<dq_data>();
  tests::Zeroed<dq_dipx_struct> dipx = zeroed<dq_dipx_struct>();
};

// --- boundaries of a window in which nothing changes -----------------------------------------------------------------

TEST_F(LongWindow, OfFourBoundariesHasTheirTransitions) {
  EXPECT_EQ(from_rms({100, 140, 400, 440}), (Boundaries{100, 140, 400, 440}));
}

TEST_F(LongWindow, OfTwoBoundariesEndsWithTwoZerosAndIsRejected) {
  set_rms({100, 140});
  EXPECT_EQ(run(), "seg check err3\r\n");
  EXPECT_EQ(boundaries(), (Boundaries{100, 140, 0, 0}));
}

TEST_F(LongWindow, OfTwoBoundariesAtItsFirstSampleIsNotRejected) {
  // The resulting zeros are in ascending order.
  set_rms({0, 0});
  EXPECT_EQ(run(), "");
  EXPECT_EQ(boundaries(), (Boundaries{0, 0, 0, 0}));
}

TEST_F(LongWindow, OfThreeBoundariesShiftsTheEndOfItsStartByTheSecond) {
  // The start transition ends 40 samples after it begins. The voltage never recovers, so the end is half a cycle before
  // the third boundary.
  EXPECT_EQ(from_rms({100, 140, 400}), (Boundaries{100, 180, 384}));
}

TEST_F(LongWindow, OfFiveBoundariesShiftsItsEndByTheLast) {
  // The end transition extends from the fourth boundary to the fifth, which is 260 samples.
  EXPECT_EQ(from_rms({100, 140, 300, 340, 600}), (Boundaries{100, 140, 300, 340, 600, 860}));
}

TEST_F(LongWindow, OfSixBoundariesHasOneTransitionInTheMiddle) {
  EXPECT_EQ(from_rms({100, 140, 300, 340, 600, 640}), (Boundaries{100, 140, 300, 340, 600, 640}));
}

TEST_F(LongWindow, OfSevenBoundariesShiftsItsEndByTheLast) {
  EXPECT_EQ(from_rms({100, 140, 300, 340, 500, 540, 700}), (Boundaries{100, 140, 300, 340, 500, 540, 700, 860}));
}

TEST_F(LongWindow, OfEightBoundariesHasTwoTransitionsInTheMiddle) {
  EXPECT_EQ(from_rms({100, 140, 300, 340, 500, 540, 700, 740}), (Boundaries{100, 140, 300, 340, 500, 540, 700, 740}));
}

TEST_F(LongWindow, OfThirtyOneAndThirtyTwoBoundariesFillsItsList) {
  Boundaries rms;
  for (int i = 0; i < 32; i++) rms.push_back(100 + 50 * i);
  EXPECT_EQ(from_rms(rms), rms);
  rms.pop_back();
  auto expected = rms;
  expected.push_back(rms.back() + 50);
  EXPECT_EQ(from_rms(rms), expected);
}

TEST_F(LongWindow, AcceptsBoundariesThatCoincide) {
  EXPECT_EQ(from_rms({100, 100, 100, 100}), (Boundaries{100, 100, 100, 100}));
  EXPECT_EQ(from_rms({100, 100, 300, 300, 300, 300}), (Boundaries{100, 100, 300, 300, 300, 300}));
}

TEST_F(LongWindow, ShiftsByBoundariesWhereverItsStretchesBegin) {
  EXPECT_EQ(from_rms({0, 8, 15, 20}), (Boundaries{0, 8, 15, 20}))
      << "there is less than half a cycle before the transition";
}

// --- rejected boundaries ---------------------------------------------------------------------------------------------

struct RejectedCase {
  const char* name;
  Boundaries rms;
  int count;
  const char* line;
};

void PrintTo(const RejectedCase& one, std::ostream* out) {
  *out << one.name;
}

class RejectedRms : public LongWindow, public testing::WithParamInterface<RejectedCase> {};

TEST_P(RejectedRms, LeavesEverythingAsItWas) {
  set_rms(GetParam().rms);
  dipx->Trms_num = GetParam().count;
  set_reference(77);
  std::fill_n(dipx->T, 32, 77);
  dipx->T_num = 77;
  dipx->POW_a = dipx->POW_b = dipx->POW_c = 78;
  dipx->ua_min[0] = dipx->angle_diff_an[0] = 78;
  dipx->dipx_cata_seg[0] = 79;
  data->num = 5;
  data->ua[0] = data->angle_a[0] = data->ua0[0] = data->u[0] = 80;
  EXPECT_EQ(run(), GetParam().line);
  EXPECT_EQ(std::count(dipx->T, dipx->T + 32, 77), 32);
  EXPECT_EQ(dipx->T_num, 77);
  EXPECT_EQ(dipx->POW_a, 78.0F);
  EXPECT_EQ(dipx->POW_c, 78.0F);
  EXPECT_EQ(dipx->order_min[0], 77);
  EXPECT_EQ(dipx->ua_min[0], 78.0F);
  EXPECT_EQ(dipx->angle_diff_an[0], 78.0F);
  EXPECT_EQ(dipx->dipx_cata_seg[0], 79);
  EXPECT_EQ(data->num, 5U);
  EXPECT_EQ(data->ua[0], 80.0F);
  EXPECT_EQ(data->angle_a[0], 80.0F);
  EXPECT_EQ(data->ua0[0], 80.0F);
  EXPECT_EQ(data->u[0], 80.0F);
}

INSTANTIATE_TEST_SUITE_P(Boundaries, RejectedRms,
                         testing::Values(RejectedCase{"None", {100, 140, 400, 440}, 0, "seg check err1\r\n"},
                                         RejectedCase{"One", {100, 140, 400, 440}, 1, "seg check err1\r\n"},
                                         RejectedCase{"ThirtyThree", {100, 140, 400, 440}, 33, "seg check err1\r\n"},
                                         RejectedCase{"NegativeCount", {100, 140, 400, 440}, -4, "seg check err1\r\n"},
                                         RejectedCase{"NegativeEntry", {-1, 140, 400, 440}, 4, "seg check err2\r\n"},
                                         RejectedCase{"Descent", {100, 140, 400, 399}, 4, "seg check err3\r\n"}),
                         [](const auto& test) { return test.param.name; });

TEST_F(LongWindow, WhoseOwnBoundariesAreRejectedHasNoSegments) {
  // 180 comes before 134 in the list, so it is out of order.
  set_rms({100, 140, 150});
  dipx->min_num = 2;
  std::fill_n(dipx->order_min, 32, 5);
  for (float* list : {dipx->ua_min, dipx->ub_min, dipx->uc_min, dipx->u3_min, dipx->angle_a_min, dipx->angle_b_min,
                      dipx->angle_c_min, dipx->bph_max_value, dipx->angle_diff_ap, dipx->angle_diff_an}) {
    std::fill_n(list, 32, 77.0F);
  }
  for (int* list : {dipx->dipx_type, dipx->dipx_phase, dipx->dipx_cata_seg}) std::fill_n(list, 32, 78);
  dipx->POW_a = 79;
  data->angle_a[72] = 10;
  EXPECT_EQ(run(), "seg check err3\r\n");
  EXPECT_EQ(boundaries(), (Boundaries{100, 180, 134}));
  EXPECT_NE(dipx->POW_a, 79.0F) << "the point on wave was measured before the rejection";
  EXPECT_EQ(std::count(dipx->order_min, dipx->order_min + 32, 5), 32);
  for (const float* list :
       {dipx->ua_min, dipx->ub_min, dipx->uc_min, dipx->u3_min, dipx->angle_a_min, dipx->angle_b_min, dipx->angle_c_min,
        dipx->bph_max_value, dipx->angle_diff_ap, dipx->angle_diff_an}) {
    EXPECT_EQ(std::count(list, list + 32, 77.0F), 32);
  }
  for (const int* list : {dipx->dipx_type, dipx->dipx_phase, dipx->dipx_cata_seg}) {
    EXPECT_EQ(std::count(list, list + 32, 78), 32);
  }
}

// --- point on wave ---------------------------------------------------------------------------------------------------

TEST_F(LongWindow, ReadsThePointOnWaveWithTimesFromItsFirstSample) {
  // No phase reaches 95 V, so the entry after the section of 72 samples decides: 18000 x 0.045 + 10 + 90 = 2 x 360 +
  // 190.
  set_rms({100, 140, 400, 440});
  data->angle_a[72] = 10;
  data->angle_b[72] = 20;
  data->angle_c[72] = 30;
  run();
  EXPECT_NEAR(dipx->POW_a, 190, 1e-3);
  EXPECT_NEAR(dipx->POW_b, 200, 1e-3);
  EXPECT_NEAR(dipx->POW_c, 210, 1e-3);
}

// --- windows with prepared arrays: transitions -----------------------------------------------------------------------

class LaidOutWindow : public LongWindow {
 protected:
  static constexpr int reference = 1536;
  static constexpr int laid_out = 3072;

  LaidOutWindow() : LongWindow(512) {
    for (float* magnitude : {data->ua, data->ub, data->uc}) std::fill_n(magnitude, laid_out, 100.0F);
  }

  /// Sets the magnitude of a phase from entry `begin` on.
  static void hold(float* magnitude, int begin, float volts) {
    std::fill(magnitude + begin, magnitude + laid_out, volts);
  }
};

TEST_F(LaidOutWindow, PadsTheEndsOfAStretchInMagnitudesAndAnglesOnly) {
  // Of 612 samples, 193 are padded at either end.
  float* const padded[] = {data->ua, data->ub, data->uc, data->angle_a, data->angle_b, data->angle_c};
  for (float* values : padded) std::iota(values, values + laid_out, 0.0F);
  for (int i = 0; i < laid_out; i++) data->vec_ua[i] = data->vec_ub[i] = data->vec_uc[i] = {static_cast<float>(i), -1};
  set_rms({1000, 1100});
  run();
  for (const float* values : padded) {
    EXPECT_EQ(std::count(values, values + 194, 193.0F), 194);
    EXPECT_EQ(values[194], 194.0F);
    EXPECT_EQ(values[418], 418.0F);
    EXPECT_EQ(std::count(values + 419, values + 612, 419.0F), 193);
    EXPECT_EQ(values[612], 612.0F);
  }
  for (const auto* phasors : {data->vec_ua, data->vec_ub, data->vec_uc}) {
    EXPECT_EQ(phasors[0].r, 0.0F);
    EXPECT_EQ(phasors[611].r, 611.0F);
  }
  EXPECT_EQ(data->num, 612U);
  EXPECT_EQ(data->ua0[100], 193.0F) << "the magnitudes are padded before they are segmented";
}

TEST_F(LaidOutWindow, LeavesTheLengthOfTheLastSegmentedStretch) {
  from_rms({1000, 1100, 3000, 3050});
  EXPECT_EQ(data->num, 562U) << "the end";
  from_rms({1000, 1100, 2000, 2070, 3000, 3050});
  EXPECT_EQ(data->num, 582U) << "the middle transition is transformed last";
  from_rms({1000, 1100, 3000});
  EXPECT_EQ(data->num, 612U) << "the section of an end crossing is not segmented";
}

TEST_F(LaidOutWindow, ClearsTheArraysOfTheSegmentation) {
  data->feasvd_a[DQ_RECORD_CAPACITY - 1] = data->ua0[DQ_WINDOW_CAPACITY - 1] = data->u[DQ_RECORD_CAPACITY - 1] = 5;
  from_rms({1000, 1100, 3000, 3100});
  EXPECT_EQ(data->feasvd_a[DQ_RECORD_CAPACITY - 1], 0.0F);
  EXPECT_EQ(data->ua0[DQ_WINDOW_CAPACITY - 1], 0.0F);
  EXPECT_EQ(data->u[DQ_RECORD_CAPACITY - 1], 0.0F);
}

struct SharpenedCase {
  int change;     ///< entry of a section that differs from the previous one
  int start_end;  ///< resulting end of the start transition
  int end_start;  ///< resulting start of the end transition
};

/// A transition of 100 samples, from entry 256 to entry 356 of its section.
class SharpenedTransitions : public LaidOutWindow, public testing::WithParamInterface<SharpenedCase> {};

TEST_P(SharpenedTransitions, EndAtTheLastAndStartBeforeTheFirstChange) {
  hold(data->ub, GetParam().change, 50);
  EXPECT_EQ(from_rms({1000, 1100, 3000, 3100}), (Boundaries{1000, GetParam().start_end, GetParam().end_start, 3100}));
}

INSTANTIATE_TEST_SUITE_P(Changes, SharpenedTransitions,
                         testing::Values(SharpenedCase{255, 1100, 3000}, SharpenedCase{256, 1100, 2999},
                                         SharpenedCase{257, 1001, 3000}, SharpenedCase{300, 1044, 3043},
                                         SharpenedCase{355, 1099, 3098}, SharpenedCase{356, 1100, 3000},
                                         SharpenedCase{357, 1100, 3000}),
                         [](const auto& test) { return std::to_string(test.param.change); });

TEST_F(LaidOutWindow, SharpensAtTheOutermostOfSeveralChanges) {
  hold(data->uc, 280, 80);
  hold(data->uc, 330, 60);
  EXPECT_EQ(from_rms({1000, 1100, 3000, 3100}), (Boundaries{1000, 1074, 3023, 3100}));
}

TEST_F(LaidOutWindow, SharpensAtAChangeOfAnyPhaseInAnyDirection) {
  for (float* magnitude : {data->ua, data->ub, data->uc}) {
    hold(magnitude, 300, 120);
    EXPECT_EQ(from_rms({1000, 1100, 3000, 3100}), (Boundaries{1000, 1044, 3043, 3100}));
    hold(magnitude, 0, 100);
  }
}

TEST_F(LaidOutWindow, SharpensAtMoreThanOnePerCentOfNominal) {
  hold(data->ua, 300, 99);
  EXPECT_EQ(from_rms({1000, 1100, 3000, 3100}), (Boundaries{1000, 1100, 3000, 3100}));
  hold(data->ua, 300, std::nextafter(99.0F, 0.0F));
  EXPECT_EQ(from_rms({1000, 1100, 3000, 3100}), (Boundaries{1000, 1044, 3043, 3100}));
}

TEST_F(LaidOutWindow, ComparesChangesInDouble) {
  // The float nearest to 0.3 is above it.
  ASSERT_GT(static_cast<double>(0.3F), 0.01 * 30);
  ASSERT_EQ(0.3F, static_cast<float>(0.01 * 30));
  dipx->un = 30;
  hold(data->ua, 0, 0);
  hold(data->ua, 300, 0.3F);
  EXPECT_EQ(from_rms({1000, 1100, 3000, 3100}), (Boundaries{1000, 1044, 3043, 3100}));
}

TEST_F(LaidOutWindow, SharpensSmoothedMagnitudes) {
  data->ua[280] = data->ua[320] = 10;
  EXPECT_EQ(from_rms({1000, 1100, 3000, 3100}), (Boundaries{1000, 1100, 3000, 3100}));
}

TEST_F(LaidOutWindow, DoesNotSharpenATransitionInTheMiddleWithoutCrossings) {
  hold(data->ua, 300, 50);
  EXPECT_EQ(from_rms({1000, 1100, 2000, 2100, 3000, 3100}), (Boundaries{1000, 1044, 2000, 2100, 3043, 3100}));
}

TEST_F(LaidOutWindow, ReadsNoSampleBeforeItsArrays) {
  // At rate 0 a transition begins with its section. The entry before the magnitudes is 0.
  data->smp = 0;
  EXPECT_EQ(from_rms({1000, 1100, 3000, 3100}), (Boundaries{1000, 1100, 3000, 3100}));
  hold(data->ua, 2, 50);
  EXPECT_EQ(from_rms({1000, 1100, 3000, 3100}), (Boundaries{1000, 1002, 3001, 3100}));
}

// --- windows with prepared arrays: three boundaries ------------------------------------------------------------------

/// The voltage recovers within the cycle around the third boundary; that section has 512 samples.
class EndCrossing : public LaidOutWindow {
 protected:
  /// Returns the boundaries when the magnitudes are `before` and, from entry `begin` on, `after`.
  Boundaries with_rise(int begin, float after = 100, float before = 50) {
    for (float* magnitude : {data->ua, data->ub, data->uc}) {
      hold(magnitude, 0, before);
      hold(magnitude, begin, after);
    }
    return from_rms({1000, 1100, 3000});
  }
};

TEST_F(EndCrossing, IsTheSampleBeforeTheVoltageIsBack) {
  // The change at entry 300 also refines the start, whose end is shifted by the second boundary.
  EXPECT_EQ(with_rise(300), (Boundaries{1000, 1144, 3043}));
}

TEST_F(EndCrossing, CountsTheThresholdItselfAsBack) {
  EXPECT_EQ(with_rise(300, 90)[2], 3043);
  EXPECT_EQ(with_rise(300, std::nextafter(90.0F, 0.0F))[2], 2744) << "never back";
  EXPECT_EQ(with_rise(300, 100, 90)[2], 2744) << "never down";
  EXPECT_EQ(with_rise(300, 100, std::nextafter(90.0F, 0.0F))[2], 3043);
}

TEST_F(EndCrossing, IsThatOfTheLastPhase) {
  with_rise(300);
  hold(data->ub, 0, 50);
  hold(data->ub, 310, 100);
  EXPECT_EQ(from_rms({1000, 1100, 3000})[2], 3053);
  hold(data->uc, 0, 50);
  EXPECT_EQ(from_rms({1000, 1100, 3000})[2], 2744) << "phase C stays low";
}

TEST_F(EndCrossing, IsSoughtInThePaddedStretch) {
  EXPECT_EQ(with_rise(193)[2], 2744) << "the voltage is high from the start";
  EXPECT_EQ(with_rise(194)[2], 2937);
  EXPECT_EQ(with_rise(319)[2], 3062);
  EXPECT_EQ(with_rise(320)[2], 2744) << "the voltage is low up to the end";
}

// --- windows with prepared arrays: segments --------------------------------------------------------------------------

/// One segment from 1100 to 3000 with its minimum at 1200, or several of them.
class LaidOutSegment : public LaidOutWindow {
 protected:
  LaidOutSegment() {
    set_rms({1000, 1100, 3000, 3100});
    set_reference(1200);
  }

  static vec_struct vector_of(const tests::Phasor& phasor) {
    return {static_cast<float>(phasor.real()), static_cast<float>(phasor.imag())};
  }
  /// Sets the entries from `from` up to, but not including, `to` to 100 V times these phasors.
  void set_phasors(int from, int to, const tests::Phasors& phasors) {
    for (int i = from; i < to; i++) {
      data->vec_ua[i] = vector_of(100.0 * phasors[0]);
      data->vec_ub[i] = vector_of(100.0 * phasors[1]);
      data->vec_uc[i] = vector_of(100.0 * phasors[2]);
    }
  }
  void set_magnitudes(int from, int to, float a, float b, float c) {
    std::fill(data->ua + from, data->ua + to, a);
    std::fill(data->ub + from, data->ub + to, b);
    std::fill(data->uc + from, data->uc + to, c);
  }
  int category() {
    run();
    return dipx->dipx_cata_seg[0];
  }
};

TEST_F(LaidOutSegment, KeepsAReferencePointWithinItsBoundaries) {
  for (const int sample : {1100, 1101, 2000, 3000}) {
    set_reference(sample);
    run();
    EXPECT_EQ(dipx->order_min[0], sample);
  }
}

TEST_F(LaidOutSegment, MovesAReferencePointOutsideToTheMiddleOfItsOpeningTransition) {
  set_rms({1000, 1101, 3000, 3100});
  for (const int sample : {1100, 3001, 0, -5, largest_int}) {
    set_reference(sample);
    run();
    EXPECT_EQ(dipx->order_min[0], 1051) << "1050.5, rounded half up";
  }
}

TEST_F(LaidOutSegment, MovesEachReferencePointByItsOwnBoundaries) {
  set_rms({1000, 1100, 2000, 2100, 3000, 3100});
  dipx->min_num = 2;
  dipx->order_min[0] = dipx->order_min[1] = 2050;
  run();
  EXPECT_EQ(dipx->order_min[0], 1050);
  EXPECT_EQ(dipx->order_min[1], 2050) << "the middle of the transition that opens this segment";
  dipx->order_min[0] = dipx->order_min[1] = 2500;
  run();
  EXPECT_EQ(dipx->order_min[0], 1050);
  EXPECT_EQ(dipx->order_min[1], 2500);
}

TEST_F(LaidOutSegment, HasTheValuesAtThreeCyclesIntoItsStretch) {
  set_magnitudes(reference, reference + 1, 70, 60, 95);
  data->angle_a[reference] = 11;
  data->angle_b[reference] = -12;
  data->angle_c[reference] = 13;
  data->vec_ua[reference] = {1, 2};
  data->vec_ub[reference] = {3, 4};
  data->vec_uc[reference] = {5, 6};
  run();
  EXPECT_EQ(dipx->ua_min[0], 70.0F);
  EXPECT_EQ(dipx->ub_min[0], 60.0F);
  EXPECT_EQ(dipx->uc_min[0], 95.0F);
  EXPECT_EQ(dipx->u3_min[0], 60.0F);
  EXPECT_EQ(dipx->angle_a_min[0], 11.0F);
  EXPECT_EQ(dipx->angle_b_min[0], -12.0F);
  EXPECT_EQ(dipx->angle_c_min[0], 13.0F);
  EXPECT_EQ(dipx->phasor_ua[0].r, 1.0F);
  EXPECT_EQ(dipx->phasor_ua[0].x, 2.0F);
  EXPECT_EQ(dipx->phasor_ub[0].r, 3.0F);
  EXPECT_EQ(dipx->phasor_ub[0].x, 4.0F);
  EXPECT_EQ(dipx->phasor_uc[0].r, 5.0F);
  EXPECT_EQ(dipx->phasor_uc[0].x, 6.0F);
  EXPECT_EQ(dipx->dipx_type[0], 2);
  EXPECT_EQ(dipx->dipx_phase[0], 3);
}

TEST_F(LaidOutSegment, CountsPhasesStrictlyBelowTheThreshold) {
  const float below = std::nextafter(90.0F, 0.0F);
  const auto phases_of = [&](float a, float b, float c) {
    set_magnitudes(reference, reference + 1, a, b, c);
    dipx->dipx_type[0] = dipx->dipx_phase[0] = 77;
    run();
    return std::pair(dipx->dipx_type[0], dipx->dipx_phase[0]);
  };
  EXPECT_EQ(phases_of(90, 90, 90), std::pair(0, 0));
  EXPECT_EQ(phases_of(below, 90, 90), std::pair(1, 1));
  EXPECT_EQ(phases_of(90, below, 90), std::pair(1, 2));
  EXPECT_EQ(phases_of(90, 90, below), std::pair(1, 4));
  EXPECT_EQ(phases_of(below, 90, below), std::pair(2, 5));
  EXPECT_EQ(phases_of(0, 0, 0), std::pair(3, 7));
}

TEST_F(LaidOutSegment, HasTheRatioOfNegativeToPositiveSequenceAsUnbalance) {
  // The ratio is (100 + 173.2) / (173.2 - 100).
  data->vec_ua[reference] = {100, 0};
  data->vec_ub[reference] = {0, 100};
  data->vec_uc[reference] = {0, -100};
  run();
  EXPECT_NEAR(dipx->bph_max_value[0], 373.224, 1e-3);
  set_phasors(reference, reference + 1, tests::balanced());
  run();
  EXPECT_NEAR(dipx->bph_max_value[0], 0, 0.01);
}

TEST_F(LaidOutSegment, HasNoUnbalanceFromAPositiveSequenceOfOneVoltOrLess) {
  data->vec_ua[reference] = {3, 0};  // both sequences are 1 V
  dipx->bph_max_value[0] = 77;
  run();
  EXPECT_EQ(dipx->bph_max_value[0], 0.0F);
  data->vec_ua[reference] = {3.001F, 0};
  run();
  EXPECT_EQ(dipx->bph_max_value[0], 100.0F);
}

TEST_F(LaidOutSegment, RefersItsPhaseJumpsToTheAnglesHalfACycleIntoTheStart) {
  data->angle_a[256] = 10;
  data->angle_b[256] = 30;
  data->angle_c[256] = -20;
  data->angle_a[reference] = 40;
  data->angle_b[reference] = 12;
  data->angle_c[reference] = -20;
  for (float* jump : {dipx->angle_diff_ap, dipx->angle_diff_an, dipx->angle_diff_bp, dipx->angle_diff_bn,
                      dipx->angle_diff_cp, dipx->angle_diff_cn}) {
    jump[0] = 77;
  }
  run();
  EXPECT_EQ(dipx->angle_diff_ap[0], 30.0F);
  EXPECT_EQ(dipx->angle_diff_an[0], 0.0F);
  EXPECT_EQ(dipx->angle_diff_bp[0], 0.0F);
  EXPECT_EQ(dipx->angle_diff_bn[0], -18.0F);
  EXPECT_EQ(dipx->angle_diff_cp[0], 0.0F);
  EXPECT_EQ(dipx->angle_diff_cn[0], 0.0F);
}

TEST_F(LaidOutSegment, DoesNotBringPhaseJumpsIntoOneTurn) {
  data->angle_a[256] = 179;
  data->angle_a[reference] = -179;
  data->angle_c[256] = -179;
  data->angle_c[reference] = 179;
  run();
  EXPECT_EQ(dipx->angle_diff_an[0], -358.0F);
  EXPECT_EQ(dipx->angle_diff_cp[0], 358.0F);
}

TEST_F(LaidOutSegment, ReferredToTheSameAnglesHasEqualJumpsInEachSegment) {
  set_rms({1000, 1100, 2000, 2100, 3000, 3100});
  dipx->min_num = 2;
  dipx->order_min[0] = 1500;
  dipx->order_min[1] = 2500;
  data->angle_b[256] = 5;
  data->angle_b[reference] = 25;
  run();
  EXPECT_EQ(dipx->angle_diff_bp[0], 20.0F);
  EXPECT_EQ(dipx->angle_diff_bp[1], 20.0F);
}

// --- windows with prepared arrays: categories ------------------------------------------------------------------------

TEST_F(LaidOutSegment, IsClassifiedAgainstThePositiveSequenceAtTheFirstSampleOfTheStart) {
  set_phasors(0, 1, tests::balanced());
  set_phasors(1, laid_out, tests::scaled(0.4, 1, 1));
  EXPECT_EQ(category(), 3);
  // There is no voltage before the dip, so the positive sequence has risen and the angle is the opposite one.
  set_phasors(0, 1, tests::scaled(0, 0, 0));
  EXPECT_EQ(category(), 6);
}

TEST_F(LaidOutSegment, IsClassifiedByTheSequencesOfEachSample) {
  set_phasors(0, 1, tests::balanced());
  const auto category_of = [&](const tests::Phasors& phasors) {
    set_phasors(1, laid_out, phasors);
    return category();
  };
  EXPECT_EQ(category_of(tests::scaled(1, 0.4, 1)), 5);
  EXPECT_EQ(category_of(tests::scaled(1, 1, 0.4)), 1);
  EXPECT_EQ(category_of(tests::fault_between_others(0, 0.5)), 0);
  EXPECT_EQ(category_of(tests::fault_between_others(1, 0.5)), 2);
  EXPECT_EQ(category_of(tests::fault_between_others(2, 0.5)), 4);
  EXPECT_EQ(category_of(tests::scaled(1, 0.4, 0.4)), 6) << "the dip has a zero sequence";
  EXPECT_EQ(category_of(tests::scaled(0.4, 1, 0.4)), 7);
  EXPECT_EQ(category_of(tests::scaled(0.4, 0.4, 1)), 8);
}

TEST_F(LaidOutSegment, OfBalancedSamplesIsClassifiedByTheirLowPhases) {
  const auto category_of = [&](float a, float b, float c) {
    set_magnitudes(1000, laid_out, a, b, c);
    return category();
  };
  EXPECT_EQ(category_of(90, 90, 90), 10);
  EXPECT_EQ(category_of(89, 90, 90), 3);
  EXPECT_EQ(category_of(90, 89, 90), 5);
  EXPECT_EQ(category_of(90, 90, 89), 1);
  EXPECT_EQ(category_of(89, 89, 90), 4);
  EXPECT_EQ(category_of(90, 89, 89), 0);
  EXPECT_EQ(category_of(89, 90, 89), 2);
  EXPECT_EQ(category_of(89, 89, 89), 9);
}

TEST_F(LaidOutSegment, GetsTheCategoryOfMostSamples) {
  // The voting range extends from 100 samples before the reference point to 512 after it.
  set_magnitudes(1436, 1742, 100, 100, 50);
  set_magnitudes(1742, 2048, 100, 50, 100);
  EXPECT_EQ(category(), 1) << "306 votes each, so the lower category wins";
  set_magnitudes(1741, 1742, 100, 50, 100);
  EXPECT_EQ(category(), 5) << "307 votes";
  set_magnitudes(1436, 1742, 50, 50, 50);
  set_magnitudes(1742, 2048, 100, 50, 100);
  EXPECT_EQ(category(), 5) << "the lower category wins although it comes last";
}

TEST_F(LaidOutSegment, GetsACategoryOfFewSamplesWhenTheOthersHaveNone) {
  set_magnitudes(1800, 1801, 50, 50, 50);
  EXPECT_EQ(category(), 9);
}

/// Tests which entries vote: each test tries the outermost entry that does and the next one.
class VotingRange : public LaidOutSegment {
 protected:
  bool votes(int entry) {
    set_magnitudes(entry, entry + 1, 50, 50, 50);
    const int found = category();
    set_magnitudes(entry, entry + 1, 100, 100, 100);
    EXPECT_TRUE(found == 9 || found == 10) << found;
    return found == 9;
  }
};

TEST_F(VotingRange, ReachesACycleToEitherSide) {
  set_reference(2000);
  EXPECT_FALSE(votes(1023));
  EXPECT_TRUE(votes(1024));
  EXPECT_TRUE(votes(2047));
  EXPECT_FALSE(votes(2048));
}

TEST_F(VotingRange, EndsAtTheBoundariesOfTheSegment) {
  set_reference(1200);
  EXPECT_FALSE(votes(1435));
  EXPECT_TRUE(votes(1436));
  set_reference(2900);
  EXPECT_TRUE(votes(1635));
  EXPECT_FALSE(votes(1636));
}

TEST_F(VotingRange, BeginsAtTheBoundaryAfterAMovedReferencePoint) {
  // The reference point moves to 1050, 50 samples before the segment.
  set_reference(0);
  EXPECT_FALSE(votes(1585));
  set_reference(0);
  EXPECT_TRUE(votes(1586));
  set_reference(0);
  EXPECT_TRUE(votes(2047));
  set_reference(0);
  EXPECT_FALSE(votes(2048));
}

TEST_F(VotingRange, IsEmptyMoreThanACycleBeforeTheSegment) {
  // The reference point moves to 1513. It is 513 samples before the segment, and only 512 samples after it count.
  set_magnitudes(0, laid_out, 50, 50, 50);
  set_rms({1000, 2026, 3000, 3100});
  set_reference(0);
  EXPECT_EQ(category(), 10);
  set_rms({1000, 2022, 3000, 3100});
  set_reference(0);
  EXPECT_EQ(category(), 9) << "one sample";
}

TEST_F(VotingRange, IsEmptyInASegmentWithoutLength) {
  set_magnitudes(0, laid_out, 50, 50, 50);
  set_rms({1000, 1100, 1100, 1200});
  set_reference(1100);
  EXPECT_EQ(category(), 10);
}

// --- windows with prepared arrays: segments that the boundaries do not cover -----------------------------------------

TEST_F(LaidOutSegment, AfterTheLastBoundaryIsMeasuredAtTheMiddleOfTheLastTransition) {
  // The segment's end is read after the end of the list, where 0 is stored.
  set_magnitudes(0, laid_out, 50, 50, 50);
  dipx->min_num = 2;
  dipx->order_min[1] = 3500;
  run();
  EXPECT_EQ(dipx->order_min[1], 3050);
  EXPECT_EQ(dipx->ua_min[1], 50.0F);
  EXPECT_EQ(dipx->dipx_type[1], 3);
  EXPECT_EQ(dipx->dipx_cata_seg[1], 10) << "nothing votes";
  EXPECT_EQ(dipx->dipx_cata_seg[0], 9);
}

TEST_F(LaidOutSegment, IsNotMeasuredWhenThereIsNone) {
  dipx->ua_min[0] = 77;
  for (const int segments : {0, -1, std::numeric_limits<int>::min()}) {
    dipx->min_num = segments;
    run();
    EXPECT_EQ(dipx->order_min[0], 1200);
    EXPECT_EQ(dipx->ua_min[0], 77.0F);
  }
  EXPECT_EQ(boundaries(), (Boundaries{1000, 1100, 3000, 3100}));
}

TEST_F(LongWindow, MeasuresNoSegmentBeyondItsLists) {
  Boundaries rms;
  for (int i = 0; i < 32; i++) rms.push_back(1000 + 100 * i);
  set_rms(rms);
  for (const int segments : {15, 16, 32, largest_int}) {
    dipx->min_num = segments;
    std::fill_n(dipx->order_min, 32, 5);
    std::fill_n(dipx->ua_min, 32, 77.0F);
    std::fill_n(dipx->dipx_cata_seg, 32, 78);
    run();
    EXPECT_EQ(std::count(dipx->order_min, dipx->order_min + 32, 5), 17) << segments;
    EXPECT_EQ(std::count(dipx->ua_min, dipx->ua_min + 32, 77.0F), 17) << segments;
    EXPECT_EQ(std::count(dipx->dipx_cata_seg, dipx->dipx_cata_seg + 32, 78), 17) << segments;
    EXPECT_EQ(dipx->order_min[14], 3850) << segments;
  }
}

// --- waveforms -------------------------------------------------------------------------------------------------------

/// Magnitudes and angles of a section of the three phases.
struct Transformed {
  explicit Transformed(int samples)
      : magnitude{std::vector<float>(static_cast<std::size_t>(samples)), {}, {}}, angle(magnitude) {
    magnitude[1] = magnitude[2] = angle[0] = angle[1] = angle[2] = magnitude[0];
  }
  std::array<std::vector<float>, 3> magnitude;
  std::array<std::vector<float>, 3> angle;
};

/// A window of 1280 samples of 100 V with a dip from sample 320 to sample 960, and RMS boundaries around both ends.
class DippedWindow : public LongWindow {
 protected:
  static constexpr int samples = 1280;
  static constexpr int fall = 320;
  static constexpr int recovery = 960;

  DippedWindow() {
    load_dip(tests::scaled(0.4, 0.4, 0.4));
    set_rms({310, 350, 950, 990});
    set_reference(600);
  }

  void load(const SineRecord& wave, int to = 0) {
    std::copy(wave.phases[0].begin(), wave.phases[0].end(), data->Va + to);
    std::copy(wave.phases[1].begin(), wave.phases[1].end(), data->Vb + to);
    std::copy(wave.phases[2].begin(), wave.phases[2].end(), data->Vc + to);
  }
  void load_dip(const tests::Phasors& during, double degrees = 0) {
    load(SineRecord(32, samples, 100, degrees).set(fall, recovery, during));
  }

  /// Returns the transform of `length` samples from `begin` on.
  Transformed transformed(int begin, int length) {
    Transformed result(length);
    std::vector<vec_struct> phasors(static_cast<std::size_t>(length));
    float* const waves[] = {data->Va, data->Vb, data->Vc};
    for (std::size_t x = 0; x < 3; x++) {
      dq_delay(waves[x] + begin, data->t + begin, 32, length, 50, result.magnitude[x].data(), result.angle[x].data(),
               phasors.data());
    }
    return result;
  }
  /// Returns the jumps of the three phases, whatever their sign.
  [[nodiscard]] std::array<float, 3> jumps() const {
    return {dipx->angle_diff_ap[0] + dipx->angle_diff_an[0], dipx->angle_diff_bp[0] + dipx->angle_diff_bn[0],
            dipx->angle_diff_cp[0] + dipx->angle_diff_cn[0]};
  }
};

TEST_F(DippedWindow, FindsWhereTheStartEndsAndTheEndStartsAndEnds) {
  EXPECT_EQ(run(), "");
  ASSERT_EQ(dipx->T_num, 4);
  EXPECT_EQ(dipx->T[0], 310) << "the start is the RMS boundary, whatever the crossings are";
  EXPECT_GT(dipx->T[1], fall);
  EXPECT_LT(dipx->T[1], fall + 16);
  EXPECT_NEAR(dipx->T[2], recovery, 4);
  EXPECT_GT(dipx->T[3], recovery);
  EXPECT_NE(dipx->T[3], 990) << "the crossings'";
}

TEST_F(DippedWindow, FindsBothEndsOfATransitionInTheMiddle) {
  SineRecord wave(32, samples, 100);
  wave.set(fall, 640, tests::scaled(0.4, 0.4, 0.4)).set(640, recovery, tests::scaled(0.7, 0.7, 0.7));
  load(wave);
  EXPECT_EQ(from_rms({310, 350, 630, 670, 950, 990}).size(), 6U);
  EXPECT_NEAR(dipx->T[2], 640, 4);
  EXPECT_GT(dipx->T[3], 640);
  EXPECT_LT(dipx->T[3], 656);
}

TEST_F(DippedWindow, OfThreeBoundariesEndsWhereTheVoltageIsBack) {
  EXPECT_EQ(from_rms({310, 350, recovery + 4}).size(), 3U);
  EXPECT_EQ(dipx->T[0], 310);
  EXPECT_GT(dipx->T[1], fall + 40) << "the end is shifted by the length of the transition";
  EXPECT_LT(dipx->T[1], fall + 40 + 16);
  EXPECT_NEAR(dipx->T[2], recovery, 4);
}

TEST_F(DippedWindow, HasTheVoltagesOfItsReferencePoint) {
  load_dip(tests::scaled(0.3, 0.5, 0.7));
  run();
  EXPECT_NEAR(dipx->ua_min[0], 30, 0.1);
  EXPECT_NEAR(dipx->ub_min[0], 50, 0.1);
  EXPECT_NEAR(dipx->uc_min[0], 70, 0.1);
  EXPECT_EQ(dipx->u3_min[0], dipx->ua_min[0]);
  EXPECT_EQ(dipx->dipx_type[0], 3);
  EXPECT_EQ(dipx->dipx_phase[0], 7);
  EXPECT_EQ(dipx->order_min[0], 600);
}

TEST_F(DippedWindow, MeasuresSixCyclesRoundItsReferencePoint) {
  run();
  const auto stretch = transformed(600 - 96, 192);
  EXPECT_EQ(dipx->ua_min[0], stretch.magnitude[0][96]);
  EXPECT_EQ(dipx->ub_min[0], stretch.magnitude[1][96]);
  EXPECT_EQ(dipx->uc_min[0], stretch.magnitude[2][96]);
  EXPECT_EQ(dipx->angle_a_min[0], stretch.angle[0][96]);
  EXPECT_EQ(dipx->angle_b_min[0], stretch.angle[1][96]);
  EXPECT_EQ(dipx->angle_c_min[0], stretch.angle[2][96]);
}

TEST_F(DippedWindow, RefersItsPhaseJumpsToTheFirstBoundary) {
  load_dip(tests::fault_between_others(0, 0.5));  // phases B and C turn by 19.1 degrees
  run();
  EXPECT_NEAR(jumps()[0], 0, 0.1);
  EXPECT_NEAR(dipx->angle_diff_bn[0], -19.1, 0.2);
  EXPECT_NEAR(dipx->angle_diff_cp[0], 19.1, 0.2);
  const auto before = transformed(310 - 16, 72);
  EXPECT_EQ(jumps()[1], dipx->angle_b_min[0] - before.angle[1][16]);
}

TEST_F(DippedWindow, ThatBeginsBeforeItsStretchUsesTheVoltageAfterThreeCycles) {
  // The voltage falls slowly from the window's first sample on. The reference point is sample 40, and the measured one
  // is sample 96.
  SineRecord wave(32, samples, 100);
  for (int i = 0; i < samples; i++) {
    const double level = 1 - 0.0005 * i;
    wave.set(i, i + 1, tests::scaled(level, level, level));
  }
  load(wave);
  set_rms({5, 20, 500, 540});
  set_reference(40);
  run();
  ASSERT_EQ(dipx->order_min[0], 40);
  EXPECT_NEAR(dipx->ua_min[0], 95.2, 0.5);
  EXPECT_EQ(dipx->ua_min[0], transformed(0, 192).magnitude[0][96]);
  // The section of the start also begins at sample 0, so its boundary is not half a cycle into it.
  EXPECT_EQ(jumps()[0], dipx->angle_a_min[0] - transformed(0, 47).angle[0][16]);
}

TEST_F(DippedWindow, HasAPointOnWaveThatLagsByTheWayToItsStartsStretch) {
  // The section begins at sample 294, by which time the frame has rotated for 294 samples.
  for (const double degrees : {0.0, 60.0, 90.0, 200.0}) {
    load_dip(tests::scaled(0.3, 0.3, 0.3), degrees);
    run();
    const double true_point = degrees + 360.0 * (fall - 1) / 32;
    EXPECT_LT(std::fabs(std::remainder(dipx->POW_a - (true_point - 360.0 * 294 / 32), 360.0)), 0.5) << degrees;
    EXPECT_LT(std::fabs(std::remainder(dipx->POW_a - dipx->POW_b - 120, 360.0)), 1) << degrees;
    EXPECT_LT(std::fabs(std::remainder(dipx->POW_c - dipx->POW_a - 120, 360.0)), 1) << degrees;
  }
}

TEST_F(DippedWindow, HasTheCategoryOfItsFault) {
  const std::pair<tests::Phasors, int> faults[] = {
      {tests::scaled(0.4, 1, 1), 3},
      {tests::scaled(1, 0.4, 1), 5},
      {tests::scaled(1, 1, 0.4), 1},
      {tests::fault_between_others(0, 0.5), 0},
      {tests::fault_between_others(1, 0.5), 2},
      {tests::fault_between_others(2, 0.5), 4},
      {tests::scaled(1, 0.4, 0.4), 6},
      {tests::scaled(0.4, 1, 0.4), 7},
      {tests::scaled(0.4, 0.4, 1), 8},
      {tests::scaled(0.4, 0.4, 0.4), 9},
      {tests::scaled(0.95, 0.95, 0.95), 10},
  };
  for (const auto& [phasors, category] : faults) {
    load_dip(phasors);
    set_reference(600);
    run();
    EXPECT_EQ(dipx->dipx_cata_seg[0], category);
  }
}

TEST_F(DippedWindow, WithItsMinimumOutsideIsMeasuredInItsOpeningTransition) {
  load_dip(tests::scaled(0.4, 1, 1));
  set_reference(100);
  run();
  const int middle = (310 + dipx->T[1] + 1) / 2;
  EXPECT_EQ(dipx->order_min[0], middle);
  EXPECT_EQ(dipx->ua_min[0], transformed(middle - 96, 192).magnitude[0][96]);
}

TEST_F(DippedWindow, ReadsItsArraysUnchangedPastItsLastSample) {
  run();
  const auto before = std::vector<char>(reinterpret_cast<char*>(dipx.get()),
                                        reinterpret_cast<char*>(dipx.get()) + sizeof(dq_dipx_struct));
  data->num = 400;
  run();
  EXPECT_EQ(std::memcmp(before.data(), dipx.get(), before.size()), 0);
}

// --- the plain form --------------------------------------------------------------------------------------------------

struct WindowCase {
  unsigned rate;
  int boundaries;
};

/// Voltages that step, drift and ripple, with RMS boundaries somewhere near these changes.
class LongWindowOfAnything : public LongWindow, public testing::WithParamInterface<WindowCase> {
 protected:
  void fill(std::uint32_t seed) {
    tests::Numbers numbers(seed);
    const auto rate = static_cast<int>(GetParam().rate);
    data->smp = GetParam().rate;
    std::fill_n(dipx->Trms, 32, 0);
    std::vector<int> rms;
    int at = numbers.below(6 * rate);
    for (int i = 0; i < GetParam().boundaries; i++) {
      rms.push_back(at);
      at += i % 2 == 0 ? numbers.below(2 * rate) : rate + numbers.below(6 * rate);
    }
    set_rms(rms);
    const int length = at + 8 * rate;
    SineRecord wave(rate, length, 100, 180 * numbers.unit());
    int from = rms[0] + rate / 4;
    for (std::size_t i = 2; i <= rms.size(); i += 2) {
      const int to = i < rms.size() ? rms[i] + rate / 4 : length;
      auto phasors = tests::scaled(1 + 0.8 * numbers.unit(), 0.6 + 0.5 * numbers.unit(), 0.6 + 0.5 * numbers.unit());
      for (auto& phasor : phasors) phasor *= tests::phasor(1, 40 * numbers.unit());
      if (numbers.below(4) != 0) wave.set(from, to, phasors);
      from = to;
    }
    const float noise = numbers.below(2) == 0 ? 0.0F : 2.0F;
    float* const arrays[] = {data->Va, data->Vb, data->Vc};
    for (std::size_t x = 0; x < 3; x++) {
      for (int i = 0; i < length; i++)
        arrays[x][i] = wave.phases[x][static_cast<std::size_t>(i)] + noise * numbers.unit();
      std::fill_n(arrays[x] + length, 8 * rate, 0.0F);
    }
    dipx->min_num = (GetParam().boundaries - 1) / 2;
    for (int s = 0; s < dipx->min_num; s++) {
      dipx->order_min[s] = rms[static_cast<std::size_t>(2 * s) + 1] + numbers.below(3 * rate) - rate / 2;
    }
  }
};

TEST_P(LongWindowOfAnything, EqualsThePlainFormToTheLastBit) {
  const auto other = zeroed<dq_data>();
  const auto other_dip = zeroed<dq_dipx_struct>();
  int accepted = 0;
  for (std::uint32_t seed = 1; seed <= 6; seed++) {
    fill(seed);
    std::memcpy(other.get(), data.get(), offsetof(dq_data, rms_ua));
    other->smp = data->smp;
    *other_dip = *dipx;
    const auto own_lines = run();
    dq_data_buf = other.get();
    const auto lines = tests::printed_by([&] { plain::dq_segment_feature(other.get(), other_dip.get()); });
    dq_data_buf = data.get();
    EXPECT_EQ(own_lines, lines.out) << seed;
    EXPECT_EQ(std::memcmp(dipx.get(), other_dip.get(), sizeof(dq_dipx_struct)), 0) << seed;
    EXPECT_EQ(boundaries(), (Boundaries{other_dip->T, other_dip->T + other_dip->T_num})) << seed;
    // This compares the working arrays from the magnitudes to the phasors, and those of the segmentation.
    EXPECT_EQ(std::memcmp(data->ua, other->ua, offsetof(dq_data, hold_time) - offsetof(dq_data, ua)), 0) << seed;
    EXPECT_EQ(std::memcmp(data->ua0, other->ua0, sizeof(dq_data) - offsetof(dq_data, ua0)), 0) << seed;
    EXPECT_EQ(std::memcmp(data->u, other->u, sizeof data->u), 0) << seed;
    accepted += own_lines.empty() ? 1 : 0;
  }
  // A dip with two boundaries never has segments.
  EXPECT_TRUE(accepted > 0 || GetParam().boundaries == 2);
}

INSTANTIATE_TEST_SUITE_P(RatesAndBoundaries, LongWindowOfAnything,
                         testing::Values(WindowCase{32, 2}, WindowCase{32, 3}, WindowCase{32, 4}, WindowCase{32, 5},
                                         WindowCase{32, 6}, WindowCase{32, 7}, WindowCase{32, 8}, WindowCase{32, 32},
                                         WindowCase{33, 6}, WindowCase{50, 5}, WindowCase{64, 8}, WindowCase{99, 3},
                                         WindowCase{128, 4}, WindowCase{128, 6}),
                         [](const auto& test) {
                           return fmt::format("{}And{}", test.param.rate, test.param.boundaries);
                         });

// --- bounds ----------------------------------------------------------------------------------------------------------

TEST_F(DippedWindow, CutsAStretchWhereTheArraysEnd) {
  // Of the six cycles that start three cycles before it, 106 samples exist. After the samples of phase A come those of
  // phase B.
  load(SineRecord(32, 400, 100), DQ_RECORD_CAPACITY - 400);
  std::fill_n(data->Vb, 400, 1e6F);
  set_rms({310, 350, DQ_RECORD_CAPACITY, DQ_RECORD_CAPACITY + 20});
  set_reference(DQ_RECORD_CAPACITY - 10);
  run();
  EXPECT_EQ(dipx->order_min[0], DQ_RECORD_CAPACITY - 10);
  const auto stretch = transformed(DQ_RECORD_CAPACITY - 106, 106);
  EXPECT_EQ(dipx->ua_min[0], stretch.magnitude[0][96]);
  EXPECT_EQ(dipx->angle_c_min[0], stretch.angle[2][96]);
  EXPECT_NEAR(dipx->ua_min[0], 100, 0.5);
}

TEST_F(LongWindow, ReadsThePointOnWaveOfACutStretchAfterItsLastSample) {
  // Of 42 samples 36 exist: 18000 x 0.0225 + 10 + 90 = 360 + 145.
  set_rms({DQ_RECORD_CAPACITY - 20, DQ_RECORD_CAPACITY - 10});
  data->angle_a[36] = 10;
  run();
  EXPECT_NEAR(dipx->POW_a, 145, 1e-3);
  EXPECT_EQ(data->num, 36U);
}

TEST_F(LongWindow, CutsAStretchAtTheLengthOfTheTransform) {
  set_rms({100, 80100});
  data->angle_b[0] = 77;  // the first entry after the angles of phase A
  run();
  EXPECT_EQ(data->num, unsigned{DQ_WINDOW_CAPACITY});
  EXPECT_EQ(boundaries(), (Boundaries{100, 80100, 0, 0})) << "nothing changes";
  EXPECT_EQ(from_rms({100, 140, 1000, 81000}), (Boundaries{100, 140, 1000, 81000}));
  EXPECT_EQ(data->num, unsigned{DQ_WINDOW_CAPACITY});
}

TEST_F(DippedWindow, SeesNoChangePastTheTransform) {
  // Phase A is silent, and so is phase B except for the first 100 samples of the section. After the magnitudes of A,
  // which end at 0, memory holds 100 V.
  load_dip(tests::balanced());
  std::fill_n(data->Va, samples, 0.0F);
  std::fill_n(data->Vc, samples, 0.0F);
  std::fill(data->Vb + 184, data->Vb + samples, 0.0F);
  set_rms({100, 80100});
  run();
  ASSERT_NEAR(data->ub[0], 100, 1);
  EXPECT_GT(dipx->T[1], 180);
  EXPECT_LT(dipx->T[1], 200);
}

TEST_F(LongWindow, CopesWithBoundariesBeyondAllArrays) {
  for (const int far : {DQ_RECORD_CAPACITY - 1, +DQ_RECORD_CAPACITY, DQ_RECORD_CAPACITY + 1000, 2000000000}) {
    const Boundaries rms = {far, far + 10, far + 1000, far + 1010};
    set_reference(far + 500);
    EXPECT_EQ(from_rms(rms), rms);
    EXPECT_EQ(dipx->order_min[0], far + 500);
  }
  EXPECT_EQ(from_rms({100, 140, largest_int - 600, largest_int}),
            (Boundaries{100, 140, largest_int - 600, largest_int}));
  EXPECT_EQ(from_rms({0, 0, 0, largest_int, largest_int}).size(), 6U);
}

TEST_F(LongWindow, RejectsABoundaryShiftedBeyondTheLargestInt) {
  set_rms({0, 2000000000, 2100000000});
  EXPECT_EQ(run(), "seg check err2\r\n");
}

TEST_F(LongWindow, OfSamplesThatAreNotNumbersEnds) {
  for (const float odd : {tests::nan, tests::infinity, -tests::infinity, std::numeric_limits<float>::max()}) {
    for (float* phase : {data->Va, data->Vb, data->Vc}) std::fill_n(phase, 1000, odd);
    set_reference(300);
    EXPECT_EQ(from_rms({100, 140, 400, 440}).size(), 4U) << odd;
    EXPECT_LE(dipx->dipx_cata_seg[0], 10) << odd;
    dipx->un = dipx->ut = odd;
    EXPECT_EQ(from_rms({100, 140, 400, 440}).size(), 4U) << odd;
    dipx->un = 100;
    dipx->ut = 90;
  }
}

TEST_F(LongWindow, AtRatesOutsideAnyRecordStaysInsideItsArrays) {
  for (const unsigned rate : {0U, 1U, 2U, 3U, 7U, 181U, 507U, 508U, 11733U}) {
    data->smp = rate;
    set_reference(12000);
    EXPECT_EQ(from_rms({1000, 1040, 20000, 20040}).size(), 4U) << rate;
    EXPECT_EQ(dipx->T[0], 1000) << rate;
  }
}

TEST_F(LongWindow, AtRatesWithoutRoomForSixCyclesDoesNothing) {
  set_rms({1000, 1040, 20000, 20040});
  for (const unsigned rate : {11734U, 0x80000000U, 0xFFFFFFFFU}) {
    data->smp = rate;
    EXPECT_EQ(run(), "") << rate;
    EXPECT_EQ(dipx->T_num, 0) << rate;
  }
}

TEST_F(LongWindow, WithoutItsRecordsDoesNothing) {
  set_rms({100, 140, 400, 440});
  const auto printed = tests::printed_by([&] {
    dq_segment_feature(nullptr, dipx.get());
    dq_segment_feature(data.get(), nullptr);
    dq_data_buf = nullptr;
    dq_segment_feature(data.get(), dipx.get());
  });
  EXPECT_EQ(printed.out, "");
  EXPECT_EQ(dipx->T_num, 0);
}

}  // namespace
