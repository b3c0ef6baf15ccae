#include "sagx/dq_segment_feature_multiclass.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

#include "sagx/dipx_outcome.h"
#include "sagx/signal_acquisition.h"
#include "tests/core/dip_waveforms.h"
#include "tests/core/printed_lines.h"
#include "tests/core/working_folder.h"

namespace {

using tests::SineRecord;
using tests::zeroed;
using Boundaries = std::vector<int>;

constexpr const char* check_line = "逐点dq分段校验!!!\r\n";

/// A window at 32 samples per cycle together with the first fall and recovery of its record, in the records that the
/// analysis shares. The depth is chosen so that the segmentation finds nothing unless a test sets another one.
class ShortWindow : public testing::Test {
 protected:
  static constexpr int smp = 32;
  static constexpr int quarter = smp / 4 + 1;

  ShortWindow() {
    dq_data_buf = data.get();
    dq_rms_buf = record.get();
    dipx->smprate = smp;
    dipx->un = 100;
    dipx->ut = 90;
    dipx->ud = 1e6F;
    dipx->f = 50;
    data->smp = smp;
    set_samples(256);
  }
  ~ShortWindow() override {
    dq_data_buf = nullptr;
    dq_rms_buf = nullptr;
  }

  void set_samples(int samples) {
    data->num = static_cast<unsigned>(samples);
    for (int i = 0; i < samples; i++) data->t[i] = static_cast<float>(i) * static_cast<float>(0.02 / smp);
  }
  void load(const SineRecord& wave) {
    set_samples(wave.samples());
    std::copy(wave.phases[0].begin(), wave.phases[0].end(), data->Va);
    std::copy(wave.phases[1].begin(), wave.phases[1].end(), data->Vb);
    std::copy(wave.phases[2].begin(), wave.phases[2].end(), data->Vc);
  }
  /// Places the record's first fall and recovery at these window positions.
  void set_rms(int fall, int recovery) {
    record->T[0] = fall + smp;
    record->T[1] = recovery + smp;
  }
  std::string run() {
    const auto printed = tests::printed_by([&] { dq_segment_feature_multiclass(data.get(), dipx.get()); });
    EXPECT_EQ(printed.err, "");
    return printed.out;
  }
  [[nodiscard]] Boundaries segmentation() const { return {dipx->seg_idx, dipx->seg_idx + dipx->seg_num}; }
  [[nodiscard]] Boundaries boundaries() const { return {dipx->T, dipx->T + dipx->T_num}; }

  tests::Zeroed<dq_data> data = zeroed<dq_data>();
  tests::Zeroed<dq_dipx_rms> record = zeroed<dq_dipx_rms>();
  tests::Zeroed<dq_dipx_struct> dipx = zeroed<dq_dipx_struct>();
};

// --- the segmentation and its repair ---------------------------------------------------------------------------------

TEST_F(ShortWindow, UsesTheRecordsFallAndRecoveryIfSegmentationIsMissing) {
  set_rms(100, 180);
  EXPECT_EQ(run(), std::string("S=100000.000\r\n") + check_line);
  EXPECT_EQ(segmentation(), (Boundaries{96, 104, 176, 184}));
  EXPECT_EQ(boundaries(), (Boundaries{96, 104, 176, 184}));
  EXPECT_EQ(dipx->T0[0], 0) << "no crossing";
}

TEST_F(ShortWindow, UsesThemOnlyForDipsLongerThanAQuarterCycle) {
  set_rms(100, 108);
  EXPECT_EQ(run(), std::string("S=100000.000\r\n") + check_line + "seg check err1\r\n");
  EXPECT_EQ(dipx->seg_num, 0);
  set_rms(100, 109);
  run();
  EXPECT_EQ(boundaries(), (Boundaries{96, 104, 105, 113}));
}

TEST_F(ShortWindow, RejectsAFallBeforeTheWindow) {
  set_rms(3, 180);
  EXPECT_EQ(run(), std::string("S=100000.000\r\n") + check_line + "seg check err2\r\n");
  EXPECT_EQ(dipx->seg_num, 4);
  EXPECT_EQ(dipx->T_num, 0);
  set_rms(4, 180);
  run();
  EXPECT_EQ(boundaries(), (Boundaries{0, 8, 176, 184}));
}

TEST_F(ShortWindow, WrapsPositionsThatAreTooLarge) {
  struct Case {
    int T0, T1;  // first fall and recovery of the record
    const char* rule;
    Boundaries segmentation;
  };
  constexpr int least = std::numeric_limits<int>::min();
  constexpr int most = std::numeric_limits<int>::max();
  for (const auto& [T0, T1, rule, segmentation_] :
       {Case{132, least + 20, "", {96, 104, most - 15, most - 7}},
        {132, least + 30, "seg check err2\r\n", {96, 104, most - 5, least + 2}},
        {least, most, "seg check err1\r\n", {}},
        {least + 32, 32, "seg check err1\r\n", {}},
        {least + 40, least + 60, "seg check err2\r\n", {least + 4, least + 12, least + 24, least + 32}}}) {
    record->T[0] = T0;
    record->T[1] = T1;
    EXPECT_EQ(run(), std::string("S=100000.000\r\n") + check_line + rule) << T0 << " " << T1;
    EXPECT_EQ(segmentation(), segmentation_) << T0 << " " << T1;
  }
}

TEST_F(ShortWindow, LeavesAllFeaturesOfARejectedSegmentation) {
  load(SineRecord(smp, 256, 100));
  dipx->T_num = dipx->u_min_num = dipx->evt_num = dipx->dipx_cata_num = 77;
  dipx->POW_a = dipx->Voltagechange_Va = dipx->ua_min[0] = dipx->angle_diff_ap[0] = 78;
  dipx->dipx_type[0] = dipx->dipx_cata_seg[0] = dipx->dipx_cata[100] = 79;
  data->angle_a[256] = 50;
  run();
  EXPECT_EQ(dipx->T_num, 77);
  EXPECT_EQ(dipx->u_min_num, 77);
  EXPECT_EQ(dipx->evt_num, 77);
  EXPECT_EQ(dipx->dipx_cata_num, 77);
  EXPECT_EQ(dipx->POW_a, 78.0F);
  EXPECT_EQ(dipx->Voltagechange_Va, 78.0F);
  EXPECT_EQ(dipx->ua_min[0], 78.0F);
  EXPECT_EQ(dipx->angle_diff_ap[0], 78.0F);
  EXPECT_EQ(dipx->dipx_type[0], 79);
  EXPECT_EQ(dipx->dipx_cata_seg[0], 79);
  EXPECT_EQ(dipx->dipx_cata[100], 79);
  EXPECT_EQ(data->angle_a[256], 50.0F) << "the angle is not relative to the start";
}

/// A window with a dip that the segmentation finds; it lasts from cycle 6 to cycle 12 of 18.
class SegmentedWindow : public ShortWindow {
 protected:
  SegmentedWindow() { load_steps({0.4}); }

  /// Holds the voltage at these levels for six cycles each, with six cycles of full voltage before and after.
  void load_steps(const std::vector<double>& levels) {
    const int stretch = 6 * smp;
    const auto steps = static_cast<int>(levels.size());
    SineRecord wave(smp, (steps + 2) * stretch, 100);
    for (int i = 0; i < steps; i++) {
      const double level = levels[static_cast<std::size_t>(i)];
      wave.set((i + 1) * stretch, (i + 2) * stretch, tests::scaled(level, level, level));
    }
    load(wave);
    dipx->ud = 60;
  }
  /// Returns the boundaries that the segmentation finds when nothing is repaired.
  Boundaries found() {
    set_rms(0, 0);
    run();
    return segmentation();
  }
};

TEST_F(SegmentedWindow, KeepsTheBoundariesOfTheSegmentation) {
  const auto own = found();
  ASSERT_EQ(own.size(), 4U);
  EXPECT_EQ(boundaries(), own);
  EXPECT_EQ((Boundaries{dipx->T0, dipx->T0 + 4}), own);
  EXPECT_NEAR(own[0], 6 * smp, smp / 2);
  EXPECT_NEAR(own[1], 6 * smp, smp);
  EXPECT_LT(own[0], own[1]);
  EXPECT_NEAR(own[2], 12 * smp, smp / 2);
  EXPECT_NEAR(own[3], 12 * smp, smp);
  EXPECT_LT(own[2], own[3]);
}

TEST_F(SegmentedWindow, IsMovedToTheRecordsPositionsWhenItStartsMoreThanACycleLate) {
  const auto own = found();
  set_rms(own[0] - smp, 500);
  run();
  EXPECT_EQ(boundaries(), own) << "the segmentation starts one cycle late";
  set_rms(own[0] - smp - 1, 500);
  run();
  const int fall = own[0] - smp - 1;
  EXPECT_EQ(boundaries(), (Boundaries{fall - 4, fall + 4, 496, 504}));
  EXPECT_EQ((Boundaries{dipx->T0, dipx->T0 + 4}), own) << "crossings stay";
}

TEST_F(SegmentedWindow, IsMovedOnlyForDipsLongerThanAQuarterCycle) {
  const auto own = found();
  set_rms(50, 58);
  run();
  EXPECT_EQ(boundaries(), own);
  set_rms(50, 59);
  run();
  EXPECT_EQ(boundaries(), (Boundaries{46, 54, 55, 63}));
}

TEST_F(SegmentedWindow, OfThreeBoundariesIsMovedToThree) {
  // The record has a sharp fall, and a recovery with so small a change per sample that it does not count as a run.
  SineRecord wave(smp, 40 * smp, 100);
  for (int i = 6 * smp; i < 40 * smp; i++) {
    const double level = std::min(1.0, 0.4 + 0.6 * (i - 6 * smp) / (30.0 * smp));
    wave.set(i, i + 1, tests::scaled(level, level, level));
  }
  load(wave);
  ASSERT_EQ(found().size(), 3U);
  EXPECT_EQ(dipx->u_min_num, 1);
  set_rms(50, 600);
  run();
  EXPECT_EQ(boundaries(), (Boundaries{46, 54, 600}));
}

TEST_F(SegmentedWindow, OfSixBoundariesIsMovedToFour) {
  load_steps({0.4, 0.7});
  const auto own = found();
  ASSERT_EQ(own.size(), 6U);
  EXPECT_EQ(boundaries(), own);
  dipx->seg_idx[31] = 77;
  set_rms(50, 600);
  run();
  EXPECT_EQ(boundaries(), (Boundaries{46, 54, 596, 604}));
  EXPECT_EQ(std::count(dipx->seg_idx + 4, dipx->seg_idx + 32, 0), 28);
}

TEST_F(SegmentedWindow, OfSixBoundariesHasTwoSegments) {
  load_steps({0.4, 0.7});
  found();
  EXPECT_EQ(dipx->T_num, 6);
  EXPECT_EQ(dipx->u_min_num, 2);
  EXPECT_EQ(dipx->evt_num, 2);
  EXPECT_EQ(dipx->dipx_cata_num, 2);
  EXPECT_NEAR(dipx->u3_min[0], 40, 1);
  EXPECT_NEAR(dipx->u3_min[1], 70, 1);
  EXPECT_EQ(dipx->dipx_cata_seg[0], 9);
  EXPECT_EQ(dipx->dipx_cata_seg[1], 9);
  EXPECT_EQ(dipx->ua_min[2], 0.0F) << "entries after the segments must not change";
}

TEST_F(SegmentedWindow, OfMoreThanSixBoundariesIsThrownAway) {
  load_steps({0.7, 0.4, 0.7});
  set_rms(0, 0);
  EXPECT_TRUE(run().ends_with(std::string(check_line) + "seg check err1\r\n"));
  EXPECT_GT(dipx->seg_tmp[7], dipx->seg_tmp[6]) << "eight boundaries were found";
  EXPECT_EQ(dipx->seg_num, 0);
  EXPECT_EQ(std::count(dipx->seg_idx, dipx->seg_idx + 32, 0), 32);
  EXPECT_EQ(dipx->T_num, 0);
}

TEST_F(SegmentedWindow, OfMoreThanSixBoundariesIsSavedByALateStart) {
  load_steps({0.7, 0.4, 0.7});
  set_rms(50, 600);
  run();
  EXPECT_EQ(boundaries(), (Boundaries{46, 54, 596, 604}));
}

// --- ends and angles -------------------------------------------------------------------------------------------------

TEST_F(ShortWindow, ReplacesTheEndsByTheValuesAQuarterCycleInside) {
  SineRecord wave(smp, 256, 100);
  wave.set(0, 7, tests::scaled(3, 2, 4)).set(250, 256, tests::scaled(3, 2, 4));
  for (int i = 0; i < 256; i++) {
    wave.set(i, i + 1, tests::scaled(1 + 0.001 * i, 1 + 0.002 * i, 1 + 0.003 * i));
  }
  load(wave);
  set_rms(100, 180);
  run();
  const float* const magnitudes[] = {data->ua0, data->ub0, data->uc0};
  const float* const angles[] = {data->angle_a, data->angle_b, data->angle_c};
  for (const auto& arrays : {magnitudes, angles}) {
    for (int x = 0; x < 3; x++) {
      for (int i = 0; i < quarter; i++) EXPECT_EQ(arrays[x][i], arrays[x][quarter]) << x << ' ' << i;
      for (int i = 256 - quarter - 1; i < 256; i++) EXPECT_EQ(arrays[x][i], arrays[x][i - quarter]) << x << ' ' << i;
    }
  }
  EXPECT_NE(magnitudes[0][256 - quarter - 2], magnitudes[0][256 - 2 * quarter - 2]);
  EXPECT_NE(std::hypot(data->vec_ua[255].r, data->vec_ua[255].x),
            std::hypot(data->vec_ua[255 - quarter].r, data->vec_ua[255 - quarter].x))
      << "phasors must not change";
}

TEST_F(ShortWindow, RefersAnglesToHalfACycleIntoTheWindow) {
  load(SineRecord(smp, 256, 100, 37));
  set_rms(100, 180);
  data->angle_a[256] = 10;
  data->angle_a[257] = 10;
  run();
  EXPECT_EQ(data->angle_a[smp / 2], 0.0F);
  EXPECT_EQ(data->angle_b[smp / 2], 0.0F);
  EXPECT_EQ(data->angle_c[smp / 2], 0.0F);
  EXPECT_NEAR(data->angle_b[100], 0, 0.05);
  EXPECT_NEAR(data->angle_a[256], 10 - (37 - 90), 0.05) << "the entry after the window is converted too";
  EXPECT_EQ(data->angle_a[257], 10.0F);
}

TEST_F(ShortWindow, ReadsThePointOnWaveBeforeAnglesAreReferred) {
  load(SineRecord(smp, 256, 100, 37));  // there is no fall, so entry 256 decides
  set_rms(100, 180);
  data->t[256] = 0.0025F;
  data->angle_a[256] = 10;
  data->angle_b[256] = 20;
  data->angle_c[256] = 30;
  run();
  EXPECT_FLOAT_EQ(dipx->POW_a, 145);
  EXPECT_FLOAT_EQ(dipx->POW_b, 155);
  EXPECT_FLOAT_EQ(dipx->POW_c, 165);
}

TEST_F(ShortWindow, MeasuresTheRateOfChangeOverTheFirstTransition) {
  set_rms(100, 180);
  for (float* rms : {data->rms_ua, data->rms_ub, data->rms_uc}) std::fill_n(rms, 256, 100.0F);
  std::fill_n(data->rms_ua + 98, 200, 99.0F);   // a difference between the second and the third sample counts
  std::fill_n(data->rms_ub + 97, 200, 98.0F);   // the first difference does not count
  std::fill_n(data->rms_uc + 103, 200, 97.0F);  // the last difference does not count
  std::fill_n(data->rms_ub + 104, 200, 0.0F);   // differences after the transition do not count
  run();
  EXPECT_FLOAT_EQ(dipx->Voltagechange_Va, 1600);
  EXPECT_FLOAT_EQ(dipx->Voltagechange_Vb, 0);
  EXPECT_FLOAT_EQ(dipx->Voltagechange_Vc, 4800);
}

// --- features of a segment -------------------------------------------------------------------------------------------

/// A silent window with a segment after it, from sample 1000 to sample 1010, where magnitudes and phasors are read
/// unchanged. All phases are at 100 V there. The positive sequence at the window's start is 0.
class SegmentBehind : public ShortWindow {
 protected:
  static constexpr int first = 1000;
  static constexpr int last = 1010;

  SegmentBehind() {
    set_rms(first - 4, last + 4);
    for (float* magnitude : {data->ua, data->ub, data->uc}) std::fill(magnitude + 900, magnitude + 1100, 100.0F);
  }

  /// Sets the phasors of phases A, B and C from sample `from` up to and including `to`.
  void set_phasors(int from, int to, vec_struct a, vec_struct b, vec_struct c) {
    for (int j = from; j <= to; j++) {
      data->vec_ua[j] = a;
      data->vec_ub[j] = b;
      data->vec_uc[j] = c;
    }
  }
  void set_magnitudes(int from, int to, float a, float b, float c) {
    for (int j = from; j <= to; j++) {
      data->ua[j] = a;
      data->ub[j] = b;
      data->uc[j] = c;
    }
  }
  /// Sets phasors without positive or negative sequence.
  void set_zero_sequence(int from, int to, float volts) { set_phasors(from, to, {volts, 0}, {volts, 0}, {volts, 0}); }

  /// Returns the category of a segment with these phasors throughout.
  int category(vec_struct a, vec_struct b, vec_struct c) {
    set_phasors(first, last, a, b, c);
    run();
    return dipx->dipx_cata_seg[0];
  }
  /// Returns the category of a segment with these magnitudes and only zero sequence.
  int category_of_magnitudes(float a, float b, float c, float zero_sequence = 0) {
    set_magnitudes(first, last, a, b, c);
    set_zero_sequence(first, last, zero_sequence);
    run();
    return dipx->dipx_cata_seg[0];
  }
};

TEST_F(SegmentBehind, IsTheStretchBetweenTheInnerOfFourBoundaries) {
  run();
  EXPECT_EQ(boundaries(), (Boundaries{992, first, last, 1018}));
  EXPECT_EQ(dipx->u_min_num, 1);
  EXPECT_EQ(dipx->evt_num, 1);
  EXPECT_EQ(dipx->dipx_cata_num, 1);
}

TEST_F(SegmentBehind, HasTheLowestMagnitudeOfEachPhaseAtItsFirstPosition) {
  data->ua[1003] = data->ua[1005] = 50;
  data->ub[1006] = 40;
  data->uc[1002] = 60;
  run();
  EXPECT_EQ(dipx->ua_min[0], 50.0F);
  EXPECT_EQ(dipx->pos_ua_min[0], 1003);
  EXPECT_EQ(dipx->ub_min[0], 40.0F);
  EXPECT_EQ(dipx->pos_ub_min[0], 1006);
  EXPECT_EQ(dipx->uc_min[0], 60.0F);
  EXPECT_EQ(dipx->pos_uc_min[0], 1002);
  EXPECT_EQ(dipx->u3_min[0], 40.0F);
  EXPECT_EQ(dipx->pos_u3_min[0], 1006);
}

TEST_F(SegmentBehind, CountsItsFirstAndItsLastSampleForItsMinima) {
  data->ua[first - 1] = data->ub[last + 1] = 10;
  data->ua[first] = 50;
  data->ub[last] = 60;
  run();
  EXPECT_EQ(dipx->ua_min[0], 50.0F);
  EXPECT_EQ(dipx->pos_ua_min[0], first);
  EXPECT_EQ(dipx->ub_min[0], 60.0F);
  EXPECT_EQ(dipx->pos_ub_min[0], last);
}

TEST_F(SegmentBehind, WithoutAMagnitudeHasAMinimumOfAMillion) {
  set_magnitudes(first, last, std::numeric_limits<float>::quiet_NaN(), 2e6F, 1e6F);
  dipx->pos_ua_min[0] = 77;
  run();
  EXPECT_EQ(dipx->ua_min[0], 1000000.0F);
  EXPECT_EQ(dipx->ub_min[0], 1000000.0F);
  EXPECT_EQ(dipx->uc_min[0], 1000000.0F);
  EXPECT_EQ(dipx->u3_min[0], 1000000.0F);
  EXPECT_EQ(dipx->pos_ua_min[0], 77);
}

TEST_F(SegmentBehind, HasTheTypeAndPhasesOfItsMinima) {
  data->ua[1001] = 89;
  data->uc[1009] = 50;
  run();
  EXPECT_EQ(dipx->dipx_type[0], 2);
  EXPECT_EQ(dipx->dipx_phase[0], 5);
}

TEST_F(SegmentBehind, AtOrAboveTheThresholdHasNeitherTypeNorPhases) {
  set_magnitudes(first, last, 90, 90, 90);
  dipx->dipx_type[0] = dipx->dipx_phase[0] = 77;
  run();
  EXPECT_EQ(dipx->dipx_type[0], 0);
  EXPECT_EQ(dipx->dipx_phase[0], 0);
}

TEST_F(SegmentBehind, StrictlyBelowTheThresholdIsLow) {
  const float below = std::nextafter(90.0F, 0.0F);
  set_magnitudes(first, last, 90, below, below);
  run();
  EXPECT_EQ(dipx->dipx_type[0], 2);
  EXPECT_EQ(dipx->dipx_phase[0], 6);
}

TEST_F(SegmentBehind, HasTheLargestRatioOfNegativeToPositiveSequenceAsUnbalance) {
  set_phasors(first, last, {12, 0}, {0, 0}, {0, 0});  // both sequences are 4 V
  run();
  EXPECT_EQ(dipx->bph_max_value[0], 100.0F);
  set_phasors(1004, 1004, {100, 0}, {0, 100}, {0, -100});  // the ratio is (100 + 173.2) / (173.2 - 100)
  run();
  EXPECT_NEAR(dipx->bph_max_value[0], 373.224, 1e-3);
}

TEST_F(SegmentBehind, HasNoUnbalanceFromAPositiveSequenceOfOneVoltOrLess) {
  set_phasors(first, last, {3, 0}, {0, 0}, {0, 0});
  dipx->bph_max_value[0] = 77;
  run();
  EXPECT_EQ(dipx->bph_max_value[0], 0.0F);
  set_phasors(first, last, {3.001F, 0}, {0, 0}, {0, 0});
  run();
  EXPECT_EQ(dipx->bph_max_value[0], 100.0F);
}

TEST_F(SegmentBehind, ReadsNoUnbalanceFromItsLastSample) {
  set_phasors(last, last, {12, 0}, {0, 0}, {0, 0});
  run();
  EXPECT_EQ(dipx->bph_max_value[0], 0.0F);
  set_phasors(last - 1, last - 1, {12, 0}, {0, 0}, {0, 0});
  run();
  EXPECT_EQ(dipx->bph_max_value[0], 100.0F);
}

TEST_F(SegmentBehind, ReadsItsPhaseJumpsAfterTheLastMinimum) {
  dipx->pos_ua_min[1] = 2000;
  dipx->pos_ub_min[1] = 2001;
  dipx->pos_uc_min[1] = 2002;
  data->angle_a[2000] = 12;
  data->angle_b[2001] = -13;
  data->angle_c[2002] = 0;
  for (float* jump : {dipx->angle_diff_ap, dipx->angle_diff_bp, dipx->angle_diff_cp, dipx->angle_diff_an,
                      dipx->angle_diff_bn, dipx->angle_diff_cn}) {
    jump[0] = 77;
  }
  run();
  EXPECT_EQ(dipx->angle_diff_ap[0], 12.0F);
  EXPECT_EQ(dipx->angle_diff_an[0], 0.0F);
  EXPECT_EQ(dipx->angle_diff_bp[0], 0.0F);
  EXPECT_EQ(dipx->angle_diff_bn[0], -13.0F);
  EXPECT_EQ(dipx->angle_diff_cp[0], 0.0F);
  EXPECT_EQ(dipx->angle_diff_cn[0], 0.0F);
}

TEST_F(SegmentBehind, ReadsItsPhaseJumpsAtTheFirstSampleWhereAPositionLiesOutside) {
  dipx->pos_ua_min[1] = -1;
  dipx->pos_ub_min[1] = DQ_WINDOW_CAPACITY;
  dipx->pos_uc_min[1] = std::numeric_limits<int>::max();
  data->angle_a[DQ_WINDOW_CAPACITY - 1] = 50;
  run();
  EXPECT_EQ(dipx->angle_diff_ap[0], 0.0F);
  EXPECT_EQ(dipx->angle_diff_bp[0], 0.0F);
  EXPECT_EQ(dipx->angle_diff_cp[0], 0.0F);
  EXPECT_EQ(dipx->angle_diff_an[0], 0.0F);
}

TEST_F(SegmentBehind, OfABalancedSampleIsClassifiedByItsLowPhases) {
  EXPECT_EQ(category_of_magnitudes(100, 100, 100), 10);
  EXPECT_EQ(category_of_magnitudes(80, 100, 100), 3);
  EXPECT_EQ(category_of_magnitudes(100, 80, 100), 5);
  EXPECT_EQ(category_of_magnitudes(100, 100, 80), 1);
  EXPECT_EQ(category_of_magnitudes(80, 80, 100), 4);
  EXPECT_EQ(category_of_magnitudes(100, 80, 80), 0);
  EXPECT_EQ(category_of_magnitudes(80, 100, 80), 2);
  EXPECT_EQ(category_of_magnitudes(80, 80, 80), 9);
}

TEST_F(SegmentBehind, OfASampleAtTheThresholdIsNotLow) {
  EXPECT_EQ(category_of_magnitudes(90, 90, 90), 10);
  EXPECT_EQ(category_of_magnitudes(90, 89, 90), 5);
}

TEST_F(SegmentBehind, OfTwoLowPhasesIsRaisedByAZeroSequenceAboveThreePerCent) {
  EXPECT_EQ(category_of_magnitudes(100, 80, 80, 3), 0);
  EXPECT_EQ(category_of_magnitudes(100, 80, 80, 3.01F), 6);
  EXPECT_EQ(category_of_magnitudes(80, 100, 80, 3.01F), 7);
  EXPECT_EQ(category_of_magnitudes(80, 80, 100, 3.01F), 8);
  EXPECT_EQ(category_of_magnitudes(80, 80, 80, 50), 9);
  EXPECT_EQ(category_of_magnitudes(80, 100, 100, 50), 3);
}

TEST_F(SegmentBehind, IsClassifiedByAngleFromANegativeSequenceOfFourPerCentOn) {
  // Positive and negative sequence are both a third of phase A. The positive one rose from 0, so the drop is in the
  // opposite direction.
  EXPECT_EQ(category({12, 0}, {0, 0}, {0, 0}), 3);
  EXPECT_EQ(category({11.99F, 0}, {0, 0}, {0, 0}), 10) << "decided by the phases, of which none is low";
}

TEST_F(SegmentBehind, IsClassifiedByTheAngleAgainstTheDrop) {
  // The negative sequence and the drop are both 57.7 V and in phase; an additional phase A adds zero sequence.
  EXPECT_EQ(category({0, 0}, {0, 100}, {0, -100}), 0);
  EXPECT_EQ(category({9, 0}, {0, 100}, {0, -100}), 0) << "3 V of zero sequence are not above the limit";
  EXPECT_EQ(category({9.1F, 0}, {0, 100}, {0, -100}), 6);
}

TEST_F(SegmentBehind, OfThreeLowPhasesIsThreePhaseWhateverItsAngle) {
  set_magnitudes(first, last, 80, 80, 80);
  EXPECT_EQ(category({0, 0}, {0, 100}, {0, -100}), 9);
  EXPECT_EQ(category({50, 0}, {0, 100}, {0, -100}), 9) << "not raised";
}

TEST_F(SegmentBehind, WithAnUnchangedPositiveSequenceIsNotClassified) {
  // 0.866 x 2 x 1000 = 1732, so no positive sequence is left, as at the window's start.
  const vec_struct a = {1732, 0};
  EXPECT_EQ(category(a, {0, 1000}, {0, -1000}), 10);
  set_magnitudes(first, last, 80, 80, 80);
  EXPECT_EQ(category(a, {0, 1000}, {0, -1000}), 10) << "three low phases do not change this";
  EXPECT_EQ(category({1733, 0}, {0, 1000}, {0, -1000}), 9);
}

TEST_F(SegmentBehind, WithoutAnAngleIsNotClassifiedUnlessAllPhasesAreLow) {
  const float infinite = std::numeric_limits<float>::infinity();
  EXPECT_EQ(category({infinite, 0}, {0, 0}, {0, 0}), 10);
  set_magnitudes(first, last, 80, 80, 80);
  EXPECT_EQ(category({infinite, 0}, {0, 0}, {0, 0}), 9);
}

TEST_F(SegmentBehind, GetsTheCategoryOfMostSamplesIncludingTheLastOne) {
  set_magnitudes(1000, 1004, 100, 100, 80);
  set_magnitudes(1005, 1010, 80, 80, 80);
  run();
  EXPECT_EQ(dipx->dipx_cata_seg[0], 9) << "6 of 11 votes; without the last one it would be a tie";
  set_magnitudes(1000, 1005, 100, 100, 80);
  run();
  EXPECT_EQ(dipx->dipx_cata_seg[0], 1);
}

TEST_F(SegmentBehind, GetsTheLowerOfTwoCategoriesWithEqualVotes) {
  set_magnitudes(1000, 1004, 80, 80, 80);
  set_magnitudes(1006, 1010, 100, 80, 100);
  run();
  EXPECT_EQ(dipx->dipx_cata_seg[0], 5) << "5 votes each, and one sample without a vote";
}

TEST_F(SegmentBehind, WritesCategoriesOfItsOwnSamplesOnly) {
  std::fill_n(dipx->dipx_cata + 900, 200, 77);
  set_magnitudes(1000, 1004, 80, 80, 80);
  run();
  EXPECT_EQ(dipx->dipx_cata[999], 77);
  EXPECT_EQ(std::count(dipx->dipx_cata + 1000, dipx->dipx_cata + 1005, 9), 5);
  EXPECT_EQ(std::count(dipx->dipx_cata + 1005, dipx->dipx_cata + 1011, 10), 6);
  EXPECT_EQ(dipx->dipx_cata[1011], 77);
  EXPECT_EQ(dipx->dipx_cata[0], 0) << "nowhere else";
}

TEST_F(SegmentBehind, IsCutWhereTheArraysEnd) {
  set_rms(DQ_WINDOW_CAPACITY - 6, DQ_WINDOW_CAPACITY + 100);
  for (float* magnitude : {data->ua, data->ub, data->uc}) {
    std::fill(magnitude + DQ_WINDOW_CAPACITY - 2, magnitude + DQ_WINDOW_CAPACITY, 80.0F);
  }
  run();
  EXPECT_EQ(dipx->T[1], DQ_WINDOW_CAPACITY - 2);
  EXPECT_EQ(dipx->ua_min[0], 80.0F);
  EXPECT_EQ(dipx->pos_uc_min[0], DQ_WINDOW_CAPACITY - 2);
  EXPECT_EQ(dipx->dipx_cata[DQ_WINDOW_CAPACITY - 1], 9);
  EXPECT_EQ(dipx->dipx_cata_seg[0], 9);
}

TEST_F(SegmentBehind, BeyondAllArraysHasNoFeatures) {
  for (const int fall : {+DQ_WINDOW_CAPACITY, DQ_RECORD_CAPACITY - 2, DQ_RECORD_CAPACITY + 1000, 2000000000}) {
    set_rms(fall, fall + 1000);
    run();
    EXPECT_EQ(dipx->T[0], fall - 4);
    EXPECT_EQ(dipx->ua_min[0], 1000000.0F);
    EXPECT_EQ(dipx->dipx_type[0], 0);
    EXPECT_EQ(dipx->bph_max_value[0], 0.0F);
    EXPECT_EQ(dipx->dipx_cata_seg[0], 10);
    EXPECT_EQ(dipx->Voltagechange_Va, 0.0F);
  }
}

// --- bounds ----------------------------------------------------------------------------------------------------------

TEST_F(ShortWindow, WithoutItsRecordsDoesNothing) {
  set_rms(100, 180);
  const auto printed = tests::printed_by([&] {
    dq_segment_feature_multiclass(nullptr, dipx.get());
    dq_segment_feature_multiclass(data.get(), nullptr);
    dq_rms_buf = nullptr;
    dq_segment_feature_multiclass(data.get(), dipx.get());
    dq_rms_buf = record.get();
    dq_data_buf = nullptr;
    dq_segment_feature_multiclass(data.get(), dipx.get());
  });
  EXPECT_EQ(printed.out, "");
  EXPECT_EQ(dipx->T_num, 0);
}

TEST_F(ShortWindow, BeyondItsArraysIsNotAnalysed) {
  set_rms(100, 180);
  for (const unsigned samples : {DQ_WINDOW_CAPACITY + 1U, std::numeric_limits<unsigned>::max()}) {
    data->num = samples;
    EXPECT_EQ(run(), "") << samples;
  }
  data->num = 256;
  data->smp = std::numeric_limits<unsigned>::max();
  EXPECT_EQ(run(), "");
}

TEST_F(ShortWindow, OfTheFullLengthRefersAnglesUpToItsEnd) {
  set_rms(100, 180);
  set_samples(DQ_WINDOW_CAPACITY);
  for (int i = 0; i < DQ_WINDOW_CAPACITY; i++) data->Va[i] = static_cast<float>(100 * std::sin(i * 0.19634954));
  run();
  EXPECT_EQ(boundaries(), (Boundaries{96, 104, 176, 184}));
  EXPECT_NEAR(data->angle_a[DQ_WINDOW_CAPACITY - 1], 0, 0.1);
  EXPECT_EQ(data->angle_b[0], 0.0F) << "angle of the silent phase B, which follows the angles of phase A in memory";
}

TEST_F(ShortWindow, OfHardlyAnySampleEnds) {
  set_rms(100, 180);
  for (const unsigned samples : {0U, 1U, 5U, 9U, 10U, 19U, 20U}) {
    data->num = samples;
    EXPECT_TRUE(run().ends_with(check_line)) << samples;
  }
}

// --- whole runs ------------------------------------------------------------------------------------------------------

/// Records of 220 V at 64 samples per cycle with a dip from cycle 5 to cycle 12, analysed through the host's interface.
class AnalysedDip : public testing::Test {
 protected:
  static constexpr int smp = 64;
  static constexpr int fall = 5 * smp;
  static constexpr int recovery = 12 * smp;

  void TearDown() override {
    tests::printed_by([] { sagx_free_all(); });
  }

  void analyse(const tests::Phasors& during, double degrees = 0) {
    analyse(SineRecord(smp, 20 * smp, 220, degrees).set(fall, recovery, during));
  }
  void analyse(const SineRecord& wave) {
    std::copy(wave.phases[0].begin(), wave.phases[0].end(), host->smp_va);
    std::copy(wave.phases[1].begin(), wave.phases[1].end(), host->smp_vb);
    std::copy(wave.phases[2].begin(), wave.phases[2].end(), host->smp_vc);
    host->smp_rate = wave.smp;
    host->smp_len = wave.samples();
    printed = tests::printed_by([&] { dipx_fun(host.get()); });
    ASSERT_EQ(sagx::last_outcome.dips[0].outcome, sagx::DipOutcome::analysed);
    ASSERT_EQ(host->evt_num, 1);
  }
  [[nodiscard]] const dipx_event_record& event() const { return host->evt_buf[0]; }
  static const dq_dipx_struct& result() { return new_dipx_buf[0]; }

  /// Expects one segment with the given category, number and mask of low phases, and lowest voltage.
  void expect_segment(int category, int type, int mask, double lowest) {
    EXPECT_EQ(event().u_min_num, 1);
    EXPECT_EQ(event().dipx_cata_type[0], category);
    EXPECT_EQ(event().dipx_phasetype[0], type);
    EXPECT_EQ(result().dipx_phase[0], mask);
    EXPECT_NEAR(event().u3_min[0], lowest, 0.02 * 220);
  }
  /// Returns the angle between two angles in degrees, at most half a turn.
  static double apart(double a, double b) { return std::fabs(std::remainder(a - b, 360.0)); }

  tests::WorkingFolder folder;
  tests::Zeroed<dipx_data_struct> host = zeroed<dipx_data_struct>();
  tests::Printed printed;
};

TEST_F(AnalysedDip, OfPhaseA) {
  analyse(tests::scaled(0.5, 1, 1));
  expect_segment(3, 1, 1, 110);
}

TEST_F(AnalysedDip, OfPhaseB) {
  analyse(tests::scaled(1, 0.5, 1));
  expect_segment(5, 1, 2, 110);
}

TEST_F(AnalysedDip, OfPhaseC) {
  analyse(tests::scaled(1, 1, 0.5));
  expect_segment(1, 1, 4, 110);
}

TEST_F(AnalysedDip, OfPhasesAAndBToEarth) {
  analyse(tests::scaled(0.5, 0.5, 1));
  expect_segment(8, 2, 3, 110);
}

TEST_F(AnalysedDip, OfPhasesBAndCToEarth) {
  analyse(tests::scaled(1, 0.5, 0.5));
  expect_segment(6, 2, 6, 110);
}

TEST_F(AnalysedDip, OfPhasesCAndAToEarth) {
  analyse(tests::scaled(0.5, 1, 0.5));
  expect_segment(7, 2, 5, 110);
}

// When two phases move towards each other to half their distance, each keeps sqrt(0.25 + 0.75 / 4) = 0.661 of its
// voltage.
TEST_F(AnalysedDip, BetweenPhasesBAndC) {
  analyse(tests::fault_between_others(0, 0.5));
  expect_segment(0, 2, 6, 145.5);
}

TEST_F(AnalysedDip, BetweenPhasesCAndA) {
  analyse(tests::fault_between_others(1, 0.5));
  expect_segment(2, 2, 5, 145.5);
}

TEST_F(AnalysedDip, BetweenPhasesAAndB) {
  analyse(tests::fault_between_others(2, 0.5));
  expect_segment(4, 2, 3, 145.5);
}

TEST_F(AnalysedDip, OfAllPhases) {
  analyse(tests::scaled(0.3, 0.3, 0.3));
  expect_segment(9, 3, 7, 66);
}

TEST_F(AnalysedDip, HasTheResidualVoltageOfEachPhase) {
  analyse(tests::scaled(0.3, 0.5, 0.7));
  EXPECT_NEAR(event().ua_min[0], 66, 2);
  EXPECT_NEAR(event().ub_min[0], 110, 2);
  EXPECT_NEAR(event().uc_min[0], 154, 2);
  EXPECT_EQ(event().u3_min[0], event().ua_min[0]);
  EXPECT_NEAR(result().ud, 0.7 * 220, 0.1);
  EXPECT_EQ(event().dipx_phasetype[0], 3);
  EXPECT_EQ(event().dipx_cata_type[0], 9) << "three low phases, whether balanced or not";
}

TEST_F(AnalysedDip, HasItsPositionsInTheRecord) {
  analyse(tests::scaled(0.5, 1, 1));
  ASSERT_EQ(event().SEG_T_num, 4);
  const int* T = event().SEG_T_idx;
  EXPECT_NEAR(T[0], fall, smp / 2);
  EXPECT_NEAR(T[1], fall, smp);
  EXPECT_NEAR(T[2], recovery, smp / 2);
  EXPECT_NEAR(T[3], recovery, smp);
  const int start = dq_rms_buf->T[0] - 4 * smp;
  for (int i = 0; i < 4; i++) {
    EXPECT_EQ(T[i], result().seg_idx[i] + start);
    EXPECT_EQ(event().SEG_T0_idx[i], result().seg_tmp[i]) << "crossings are window positions";
  }
  EXPECT_EQ(event().order_min_idx[0], result().pos_ua_min[0] + start);
  EXPECT_GE(event().order_min_idx[0], T[1]);
  EXPECT_LE(event().order_min_idx[0], T[2]);
}

TEST_F(AnalysedDip, LastsFromItsFallToItsRecovery) {
  analyse(tests::scaled(0.5, 1, 1));
  const int start = dq_rms_buf->T[0] - 4 * smp;
  EXPECT_NEAR(result().D[0] + start, fall, smp / 4);
  EXPECT_NEAR(result().D[1] + start, recovery, smp / 4);
  EXPECT_EQ(event().hold_time_dq, static_cast<float>((result().D[1] - result().D[0]) * (0.02 / smp)));
  EXPECT_NEAR(event().hold_time_dq, 0.14, 0.005);
}

TEST_F(AnalysedDip, HasThePointOnWaveAtWhichItBegins) {
  for (const double degrees : {0.0, 60.0, 90.0, 200.0}) {
    analyse(tests::scaled(0.3, 0.3, 0.3), degrees);
    const double sample_before = degrees - 360.0 / smp;
    EXPECT_LT(apart(event().POW_a, sample_before), 0.5) << degrees;
    EXPECT_LT(apart(event().POW_a - event().POW_b, 120), 1);
    EXPECT_LT(apart(event().POW_a - event().POW_c, 240), 1);
    EXPECT_GE(event().POW_a, 0);
    EXPECT_LT(event().POW_a, 360);
  }
}

TEST_F(AnalysedDip, HasAlmostNoPhaseJumpBecauseItIsReadAtTheWindowsStart) {
  analyse(tests::fault_between_others(0, 0.5));  // the actual turn of phases B and C is 19.1 degrees
  for (const float* jump : {event().angle_diff_ap, event().angle_diff_bp, event().angle_diff_cp, event().angle_diff_an,
                            event().angle_diff_bn, event().angle_diff_cn}) {
    EXPECT_NEAR(jump[0], 0, 0.1);
  }
}

TEST_F(AnalysedDip, HasTheUnbalanceOfItsSequences) {
  analyse(tests::scaled(0.5, 1, 1));
  // The ratio is (1 - 0.5) / 3 of negative to (2 + 0.5) / 3 of positive sequence, and more in the transitions at the
  // segment's ends.
  EXPECT_GT(event().bph_max_value[0], 19);
  EXPECT_LT(event().bph_max_value[0], 30);
}

TEST_F(AnalysedDip, ChangesAtTheRateOfItsRms) {
  analyse(tests::scaled(0.5, 1, 1));
  EXPECT_GT(event().Voltagechange_Va, 1000);
  EXPECT_LT(event().Voltagechange_Vb, 1);
  EXPECT_LT(event().Voltagechange_Vc, 1);
}

TEST_F(AnalysedDip, LeavesTheHostsCausesAndShowsNoRmsBoundaries) {
  std::fill_n(host->evt_buf[0].dipx_cata_cause, DIPX_SEGMENT_CAPACITY, 77);
  host->evt_buf[0].SEG_RMS_T_num = 77;
  host->evt_buf[0].dipx_cata_type[1] = 78;
  analyse(tests::scaled(0.5, 1, 1));
  EXPECT_EQ(std::count(event().dipx_cata_cause, event().dipx_cata_cause + DIPX_SEGMENT_CAPACITY, 77),
            +DIPX_SEGMENT_CAPACITY);
  EXPECT_EQ(event().SEG_RMS_T_num, 0);
  EXPECT_EQ(event().hold_time_rms, 0.0F);
  EXPECT_EQ(event().dipx_cata_type[1], 78) << "entries after the segments must not change";
}

TEST_F(AnalysedDip, PrintsThresholdAndCheckOnceEach) {
  analyse(tests::scaled(0.5, 1, 1));
  const auto threshold = printed.out.find("S=");
  ASSERT_NE(threshold, std::string::npos);
  const auto line_end = printed.out.find("\r\n", threshold) + 2;
  EXPECT_EQ(printed.out.substr(line_end, std::strlen(check_line)), check_line);
  EXPECT_EQ(printed.out.find(check_line, line_end + 1), std::string::npos);
  EXPECT_EQ(printed.out.find("seg check err"), std::string::npos);
}

}  // namespace
