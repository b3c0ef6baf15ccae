// Dips whose windows are longer than 500 cycles, analysed through the host's interface. The records are of 220 V, all
// but one at 32 samples per cycle, and their voltage steps sharply or changes too slowly for the segmentation to
// detect. These slow changes are of 0.02 V per sample, because the segmentation's lowest threshold is 0.295 V over 16
// samples.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "sagx/dipx_outcome.h"
#include "sagx/dq_dipx.h"
#include "tests/core/dip_waveforms.h"
#include "tests/core/printed_lines.h"
#include "tests/core/working_folder.h"

namespace {

using tests::SineRecord;

// the bytes are GBK
constexpr const char* check_line = "\xD3\xD0\xD0\xA7\xD6\xB5\xB7\xD6\xB6\xCE\xD0\xA3\xD1\xE9!!!\r\n";

/// Returns three phases with the same fraction of their voltage.
tests::Phasors even(double level) {
  return tests::scaled(level, level, level);
}

class LongDip : public testing::Test {
 protected:
  static constexpr int smp = 32;
  static constexpr int fall = 10 * smp;
  static constexpr int recovery = 520 * smp;
  static constexpr int samples = 540 * smp;
  static constexpr double slow = 0.02 / 220;  // per sample

  ~LongDip() override {
    tests::printed_by([] { sagx_free_all(); });
  }

  void run(const SineRecord& wave) {
    std::copy(wave.phases[0].begin(), wave.phases[0].end(), host->smp_va);
    std::copy(wave.phases[1].begin(), wave.phases[1].end(), host->smp_vb);
    std::copy(wave.phases[2].begin(), wave.phases[2].end(), host->smp_vc);
    host->smp_rate = wave.smp;
    host->smp_len = wave.samples();
    printed = tests::printed_by([&] { dipx_fun(host.get()); });
  }
  /// Does the same for a record with one long dip.
  void analyse(const SineRecord& wave) {
    run(wave);
    ASSERT_EQ(host->evt_num, 1);
    ASSERT_TRUE(sagx::last_outcome.dips[0].long_window);
  }
  static SineRecord one_level(const tests::Phasors& during, double degrees = 0) {
    return SineRecord(smp, samples, 220, degrees).set(fall, recovery, during);
  }

  /// Sets consecutive equal levels of all phases from sample 0 on.
  class Course {
   public:
    /// Steps to `level` and stays there up to sample `to`.
    Course& until(int to, double level) {
      wave_.set(at_, to, even(level));
      at_ = to;
      level_ = level;
      return *this;
    }
    /// Steps to `level` and stays there for the given number of samples.
    Course& hold(int length, double level) { return until(at_ + length, level); }
    /// Moves slowly to `level`.
    Course& go(double level) {
      const double step = level > level_ ? slow : -slow;
      while ((level - level_) * step > 0) hold(1, level_ + step);
      return *this;
    }
    /// Stays at the level up to the end of the record.
    const SineRecord& end() {
      until(wave_.samples(), level_);
      return wave_;
    }
    [[nodiscard]] int at() const { return at_; }

   private:
    SineRecord wave_{smp, 640 * smp, 220};
    int at_ = 0;
    double level_ = 1;
  };

  static int window_start() { return dq_rms_buf->T[0] - 4 * dq_rms_buf->smprate; }
  static int window_end() { return dq_rms_buf->T[1] + 4 * dq_rms_buf->smprate; }

  [[nodiscard]] const dipx_event_record& event() const { return host->evt_buf[0]; }
  static const dq_dipx_struct& result() { return new_dipx_buf[0]; }
  static std::vector<int> rms_boundaries() { return {result().Trms, result().Trms + result().Trms_num}; }

  /// Expects RMS boundaries 2k and 2k + 1 on either side of a step at this sample.
  static void expect_step(int k, int sample) {
    EXPECT_GE(result().Trms[2 * k], sample - 8) << k;
    EXPECT_LE(result().Trms[2 * k], sample + 8) << k;
    EXPECT_GE(result().Trms[2 * k + 1], sample + 16) << k;
    EXPECT_LE(result().Trms[2 * k + 1], sample + 48) << k;
  }
  void expect_duration_of(int from, int to) const {
    EXPECT_EQ(event().hold_time_dq, static_cast<float>((to - from) * (0.02 / smp)));
  }
  /// Expects that all features of a dip that was not segmented are 0.
  void expect_no_features() const {
    EXPECT_EQ(sagx::last_outcome.dips[0].outcome, sagx::DipOutcome::not_segmented);
    EXPECT_EQ(event().u_min_num, 0);
    EXPECT_EQ(event().SEG_T_num, 0);
    EXPECT_EQ(event().POW_a, 0.0F);
    EXPECT_EQ(event().Voltagechange_Va, 0.0F);
    EXPECT_EQ(event().hold_time_dq, 0.0F);
  }
  [[nodiscard]] bool prints(const std::string& lines) const { return printed.out.find(lines) != std::string::npos; }

  tests::WorkingFolder folder;
  tests::Zeroed<dipx_data_struct> host = tests::zeroed<dipx_data_struct>();
  tests::Printed printed;
};

// --- one level -------------------------------------------------------------------------------------------------------

TEST_F(LongDip, OfOneLevelHasFourBoundariesAndOneSegment) {
  analyse(one_level(tests::scaled(0.5, 1, 1)));
  ASSERT_EQ(sagx::last_outcome.dips[0].outcome, sagx::DipOutcome::analysed);
  ASSERT_EQ(result().Trms_num, 4);
  expect_step(0, fall);
  expect_step(1, recovery);
  expect_duration_of(result().Trms[0], result().Trms[3]);

  ASSERT_EQ(event().SEG_T_num, 4);
  const int* T = event().SEG_T_idx;
  EXPECT_EQ(T[0], result().Trms[0]) << "the start is that of the RMS segmentation";
  EXPECT_GT(T[1], fall);
  EXPECT_LT(T[1], fall + smp / 2);
  EXPECT_NEAR(T[2], recovery, smp / 4);
  EXPECT_GT(T[3], recovery);
  EXPECT_LE(T[3], recovery + smp);

  EXPECT_EQ(event().u_min_num, 1);
  EXPECT_NEAR(event().ua_min[0], 110, 0.5);
  EXPECT_NEAR(event().ub_min[0], 220, 0.5);
  EXPECT_NEAR(event().uc_min[0], 220, 0.5);
  EXPECT_EQ(event().u3_min[0], event().ua_min[0]);
  EXPECT_EQ(event().dipx_phasetype[0], 1);
  EXPECT_EQ(result().dipx_phase[0], 1);
  EXPECT_EQ(event().dipx_cata_type[0], 3);
  EXPECT_NEAR(event().bph_max_value[0], 20, 0.2) << "(0.5 / 3) over (2.5 / 3)";
  EXPECT_GE(event().order_min_idx[0], T[1]);
  EXPECT_LE(event().order_min_idx[0], T[2]);
  EXPECT_NEAR(result().ud, 110, 0.1);
  EXPECT_NEAR(result().ua_rms_min[0], 110, 0.1);
  EXPECT_EQ(result().dipx_rms_type[0], 1);
  EXPECT_GT(event().Voltagechange_Va, 1000);
  EXPECT_LT(event().Voltagechange_Vb, 1);
}

TEST_F(LongDip, HasNoResultsOfTheShortWay) {
  host->evt_buf[0].SEG_T0_idx[3] = 77;
  analyse(one_level(tests::scaled(0.5, 1, 1)));
  EXPECT_EQ(result().seg_num, 0);
  EXPECT_EQ(result().D[1], 0);
  EXPECT_EQ(result().pos_u3_min[0], 0);
  EXPECT_EQ(result().evt_num, 0);
  EXPECT_EQ(result().dipx_cata_num, 0);
  EXPECT_EQ(event().SEG_T0_idx[3], 0) << "the long-window stages write no crossings";
  EXPECT_EQ(event().SEG_RMS_T_num, 0);
  EXPECT_EQ(event().hold_time_rms, 0.0F);
}

TEST_F(LongDip, PrintsTheLinesOfItsSegmentation) {
  analyse(one_level(tests::scaled(0.5, 1, 1)));
  EXPECT_TRUE(prints(std::string("T_num = 4\r\n") + check_line));
  EXPECT_TRUE(printed.out.ends_with(check_line)) << "no line may follow this one";
}

TEST_F(LongDip, KeepsItsRmsCrossingsInTheWindow) {
  analyse(one_level(tests::scaled(0.5, 1, 1)));
  for (int i = 0; i < 4; i++) EXPECT_EQ(result().T0rms[i] + window_start(), result().Trms[i]);
}

struct FaultCase {
  const char* name;
  tests::Phasors phasors;
  int category;
  int type;
  int mask;
};

void PrintTo(const FaultCase& one, std::ostream* out) {
  *out << one.name;
}

class LongDipOfFault : public LongDip, public testing::WithParamInterface<FaultCase> {};

TEST_P(LongDipOfFault, HasItsCategory) {
  analyse(one_level(GetParam().phasors));
  EXPECT_EQ(event().u_min_num, 1);
  EXPECT_EQ(event().dipx_cata_type[0], GetParam().category);
  EXPECT_EQ(event().dipx_phasetype[0], GetParam().type);
  EXPECT_EQ(result().dipx_phase[0], GetParam().mask);
}

INSTANTIATE_TEST_SUITE_P(Faults, LongDipOfFault,
                         testing::Values(FaultCase{"PhaseB", tests::scaled(1, 0.5, 1), 5, 1, 2},
                                         FaultCase{"PhaseC", tests::scaled(1, 1, 0.5), 1, 1, 4},
                                         FaultCase{"AAndBToEarth", tests::scaled(0.5, 0.5, 1), 8, 2, 3},
                                         FaultCase{"BAndCToEarth", tests::scaled(1, 0.5, 0.5), 6, 2, 6},
                                         FaultCase{"CAndAToEarth", tests::scaled(0.5, 1, 0.5), 7, 2, 5},
                                         FaultCase{"BetweenBAndC", tests::fault_between_others(0, 0.5), 0, 2, 6},
                                         FaultCase{"BetweenCAndA", tests::fault_between_others(1, 0.5), 2, 2, 5},
                                         FaultCase{"BetweenAAndB", tests::fault_between_others(2, 0.5), 4, 2, 3},
                                         FaultCase{"AllPhases", even(0.3), 9, 3, 7}),
                         [](const auto& test) { return test.param.name; });

TEST_F(LongDip, HasItsPhaseJumps) {
  // Phases B and C move towards each other, from 60 degrees off their middle to atan(0.433 / 0.5) = 40.9 degrees.
  analyse(one_level(tests::fault_between_others(0, 0.5)));
  EXPECT_NEAR(event().angle_diff_ap[0] + event().angle_diff_an[0], 0, 0.3);
  EXPECT_NEAR(event().angle_diff_bn[0], -19.1, 0.3);
  EXPECT_EQ(event().angle_diff_bp[0], 0.0F);
  EXPECT_NEAR(event().angle_diff_cp[0], 19.1, 0.3);
  EXPECT_EQ(event().angle_diff_cn[0], 0.0F);
}

TEST_F(LongDip, HasAPointOnWaveThatLagsByTheWayToItsStartsStretch) {
  // The section begins half a cycle before the first RMS boundary, but its times begin with the window.
  for (const double degrees : {0.0, 90.0, 200.0}) {
    analyse(one_level(even(0.3), degrees));
    const double sample_before = degrees + 360.0 * (fall - 1) / smp;
    const double lag = 360.0 * (result().Trms[0] - smp / 2 - window_start()) / smp;
    EXPECT_LT(std::fabs(std::remainder(event().POW_a - (sample_before - lag), 360.0)), 0.5) << degrees;
  }
}

// --- several levels --------------------------------------------------------------------------------------------------

/// The parameter is the number of levels, 30 cycles each except the last. Even ones are at 30 %, odd ones at 60 %.
class LongDipOfLevels : public LongDip, public testing::WithParamInterface<int> {
 protected:
  static SineRecord levels(int count) {
    SineRecord wave(smp, samples, 220);
    for (int k = 0; k < count; k++) {
      wave.set(begin_of(k), k + 1 < count ? begin_of(k + 1) : recovery, even(level_of(k)));
    }
    return wave;
  }
  static int begin_of(int k) { return fall + 30 * smp * k; }
  static double level_of(int k) { return k % 2 == 0 ? 0.3 : 0.6; }
};

TEST_P(LongDipOfLevels, HasASegmentForEachAndTwoBoundariesForEachStep) {
  const int count = GetParam();
  analyse(levels(count));
  ASSERT_EQ(sagx::last_outcome.dips[0].outcome, sagx::DipOutcome::analysed);
  ASSERT_EQ(result().Trms_num, 2 * count + 2);
  ASSERT_EQ(event().SEG_T_num, 2 * count + 2);
  ASSERT_EQ(event().u_min_num, count);
  for (int k = 0; k < count; k++) {
    expect_step(k, begin_of(k));
    EXPECT_NEAR(event().SEG_T_idx[2 * k], begin_of(k), smp / 4) << k;
    EXPECT_GT(event().SEG_T_idx[2 * k + 1], begin_of(k)) << k;
    EXPECT_LE(event().SEG_T_idx[2 * k + 1], begin_of(k) + smp) << k;
    EXPECT_NEAR(event().ub_min[k], 220 * level_of(k), 0.5) << k;
    EXPECT_NEAR(event().u3_min[k], 220 * level_of(k), 0.5) << k;
    EXPECT_EQ(event().dipx_phasetype[k], 3) << k;
    EXPECT_EQ(event().dipx_cata_type[k], 9) << k;
    EXPECT_NEAR(event().bph_max_value[k], 0, 0.1) << k;
    EXPECT_GE(event().order_min_idx[k], event().SEG_T_idx[2 * k]) << k;
    EXPECT_LE(event().order_min_idx[k], event().SEG_T_idx[2 * k + 2]) << k;
  }
  expect_step(count, recovery);
  EXPECT_NEAR(event().SEG_T_idx[2 * count], recovery, smp / 4);
  expect_duration_of(result().Trms[0], result().Trms[2 * count + 1]);
  EXPECT_NEAR(event().hold_time_dq, 510 * 0.02, 0.04);
}

INSTANTIATE_TEST_SUITE_P(Levels, LongDipOfLevels, testing::Values(1, 2, 3, 4, 7, 15),
                         [](const auto& test) { return std::to_string(test.param); });

TEST_F(LongDipOfLevels, OfMoreLevelsThanItHoldsEndsWithTheSixteenthStep) {
  analyse(levels(16));
  EXPECT_TRUE(prints("T_num = 34\r\n"));
  EXPECT_EQ(result().Trms_num, 32);
  EXPECT_EQ(event().SEG_T_num, 32);
  EXPECT_EQ(event().u_min_num, 15);
  expect_step(15, begin_of(15));
  EXPECT_NEAR(event().hold_time_dq, 15 * 30 * 0.02, 0.04)
      << "the duration does not include the time up to the recovery";
}

TEST_F(LongDip, JoinsStepsThatLieLessThanACycleApartInItsRms) {
  // The level of 60 % lasts two cycles, of which the RMS transitions leave less than one.
  SineRecord wave = one_level(even(0.3));
  wave.set(fall, fall + 2 * smp, even(0.6)).set(8000, 10000, even(0.5));
  analyse(wave);
  EXPECT_TRUE(prints("T_num = 10\r\n"));
  ASSERT_EQ(result().Trms_num, 8);
  EXPECT_NEAR(result().Trms[0], fall, 8);
  EXPECT_NEAR(result().Trms[1], fall + 2 * smp + 32, 16);
  expect_step(1, 8000);
  ASSERT_EQ(event().u_min_num, 3);
  EXPECT_NEAR(event().u3_min[0], 66, 0.5);
  EXPECT_NEAR(event().u3_min[1], 110, 0.5);
  EXPECT_NEAR(event().u3_min[2], 66, 0.5);
}

// --- odd numbers of boundaries ---------------------------------------------------------------------------------------

TEST_F(LongDip, WithAnUnfinishedChangeAtItsEndHasFiveBoundaries) {
  // The voltage returns to 92 % and changes once more as the window ends, four cycles after the recovery.
  const int change = recovery + 134;
  SineRecord wave = one_level(even(0.4));
  wave.set(recovery, change, even(0.92));
  analyse(wave);
  ASSERT_GT(window_end(), change + 8);
  ASSERT_LT(window_end(), change + 44);
  ASSERT_EQ(result().Trms_num, 5);
  expect_step(0, fall);
  expect_step(1, recovery);
  EXPECT_NEAR(result().Trms[4], change, 8);
  expect_duration_of(result().Trms[0], result().Trms[4]);

  ASSERT_EQ(event().SEG_T_num, 6);
  const int* T = event().SEG_T_idx;
  EXPECT_NEAR(T[2], recovery, smp / 4) << "this is now a transition in the middle";
  // The end transition extends from the fourth boundary to the fifth. It is too short to show the change and is shifted
  // by the fifth boundary.
  EXPECT_EQ(T[4], result().Trms[4]);
  EXPECT_EQ(T[5], result().Trms[4] + (result().Trms[4] - result().Trms[3]));
  ASSERT_EQ(event().u_min_num, 2);
  EXPECT_NEAR(event().u3_min[0], 88, 0.5);
  EXPECT_EQ(event().dipx_cata_type[0], 9);
  EXPECT_NEAR(event().u3_min[1], 0.92 * 220, 0.5);
  EXPECT_EQ(event().dipx_phasetype[1], 0);
  EXPECT_EQ(event().dipx_cata_type[1], 10);
}

TEST_F(LongDip, ThatRecoversSlowlyWithAChangeAtItsEndHasThreeBoundaries) {
  Course course;
  course.until(fall, 1).until(12000, 0.4).go(0.9).hold(16 + 4 * smp - 25, 0.905);
  const int change = course.at();
  course.hold(100, 1.02);
  analyse(course.end());
  ASSERT_GT(window_end(), change + 8);
  ASSERT_LT(window_end(), change + 44);
  ASSERT_EQ(result().Trms_num, 3);
  const auto rms = rms_boundaries();
  expect_step(0, fall);
  EXPECT_NEAR(rms[2], change, 12);
  expect_duration_of(rms[0], rms[2]);

  ASSERT_EQ(event().SEG_T_num, 3);
  const int* T = event().SEG_T_idx;
  EXPECT_EQ(T[0], rms[0]);
  EXPECT_GT(T[1], fall + (rms[1] - rms[0])) << "the end is shifted by the second boundary";
  EXPECT_LT(T[1], fall + (rms[1] - rms[0]) + smp / 2);
  EXPECT_EQ(T[2], rms[2] - smp / 2) << "the voltage has recovered already";
  ASSERT_EQ(event().u_min_num, 1);
  EXPECT_NEAR(event().u3_min[0], 88, 0.5);
  EXPECT_EQ(event().dipx_cata_type[0], 9);
}

TEST_F(LongDip, OfASharpFallEndsWhereTheRmsIsFirstBackInTheWindowsFirstQuarter) {
  // A second dip less than ten cycles after the first is joined with it. All changes except the first fall are slow.
  Course course;
  course.until(fall, 1).hold(500, 0.8).go(0.905);
  const int first_back = course.at() - 55;  // 55 samples of 0.02 V above 90 %
  course.go(0.7).until(17000, 0.7).go(1);
  analyse(course.end());
  EXPECT_TRUE(prints("T_num = 2\r\n"));
  ASSERT_EQ(result().Trms_num, 3);
  const auto rms = rms_boundaries();
  expect_step(0, fall);
  EXPECT_NEAR(rms[2], first_back + smp / 2, 4) << "the boundary is late by half a cycle";
  expect_duration_of(rms[0], rms[2]);
  ASSERT_EQ(event().SEG_T_num, 3);
  EXPECT_GE(event().SEG_T_idx[2], rms[2] - smp / 2);
  EXPECT_LE(event().SEG_T_idx[2], rms[2]);
  EXPECT_EQ(event().u_min_num, 1);
  EXPECT_NEAR(event().u3_min[0], 176, 0.5) << "this is the voltage of the first dip";
}

// --- dips that cannot be segmented -----------------------------------------------------------------------------------

TEST_F(LongDip, WithASlowRecoveryHasNoSegments) {
  Course course;
  course.until(fall, 1).until(12000, 0.4).go(1);
  analyse(course.end());
  EXPECT_TRUE(prints(std::string("T_num = 2\r\n") + check_line + "seg check err3\r\nseg check err3\r\n"));
  ASSERT_EQ(result().Trms_num, 3);
  expect_step(0, fall);
  EXPECT_EQ(result().Trms[2], window_start()) << "this boundary is at the window's first sample";
  expect_no_features();
}

TEST_F(LongDip, WithOnlyAnUnfinishedChangeHasOneBoundary) {
  Course course;
  course.until(fall, 1).go(0.5).hold(8000, 0.5).go(0.9).hold(16 + 4 * smp - 25, 0.905);
  const int change = course.at();
  course.hold(100, 1.02);
  analyse(course.end());
  EXPECT_TRUE(prints(std::string("T_num = 1\r\n") + check_line + "seg check err1\r\nseg check err1\r\n"));
  ASSERT_EQ(result().Trms_num, 1);
  EXPECT_NEAR(result().Trms[0], change, 12);
  expect_no_features();
}

TEST_F(LongDip, OfOnlySlowChangesHasNoBoundaries) {
  Course course;
  course.until(fall, 1).go(0.5).hold(8000, 0.5).go(1);
  analyse(course.end());
  EXPECT_TRUE(prints(std::string("T_num = 0\r\n") + check_line + "seg check err1\r\nseg check err1\r\n"));
  EXPECT_EQ(result().Trms_num, 0);
  EXPECT_NEAR(result().ud, 110, 0.5);
  expect_no_features();
}

// --- several dips and runs -------------------------------------------------------------------------------------------

TEST_F(LongDip, GivesTheSameResultsInEveryRun) {
  SineRecord wave = one_level(tests::scaled(0.3, 0.5, 0.7));
  wave.set(8000, 9000, tests::scaled(0.6, 1, 0.6));
  analyse(wave);
  ASSERT_EQ(event().u_min_num, 3);
  std::vector<char> before(sizeof new_dipx_buf);
  std::memcpy(before.data(), new_dipx_buf, before.size());
  analyse(one_level(even(0.4), 123));
  analyse(wave);
  EXPECT_EQ(std::memcmp(before.data(), new_dipx_buf, before.size()), 0)
      << "results must not depend on earlier content of the working records";
}

TEST_F(LongDip, IsAnalysedTogetherWithShortOnes) {
  SineRecord wave(smp, samples + 100 * smp, 220);
  wave.set(20 * smp, 26 * smp, tests::scaled(0.5, 1, 1));
  wave.set(60 * smp, 600 * smp, tests::scaled(1, 0.6, 1));
  wave.set(620 * smp, 625 * smp, tests::scaled(1, 1, 0.7));
  run(wave);
  ASSERT_EQ(host->evt_num, 3);
  for (int i = 0; i < 3; i++) {
    EXPECT_EQ(sagx::last_outcome.dips[i].outcome, sagx::DipOutcome::analysed) << i;
    EXPECT_EQ(sagx::last_outcome.dips[i].long_window, i == 1) << i;
    EXPECT_EQ(host->evt_buf[i].u_min_num, 1) << i;
  }
  EXPECT_EQ(host->evt_buf[0].dipx_cata_type[0], 3);
  EXPECT_EQ(host->evt_buf[1].dipx_cata_type[0], 5);
  EXPECT_EQ(host->evt_buf[2].dipx_cata_type[0], 1);
  EXPECT_NEAR(host->evt_buf[0].u3_min[0], 110, 2);
  EXPECT_NEAR(host->evt_buf[1].u3_min[0], 132, 0.5);
  EXPECT_NEAR(host->evt_buf[2].u3_min[0], 154, 2);
  EXPECT_NEAR(host->evt_buf[1].hold_time_dq, 540 * 0.02, 0.04);
}

// --- the lengths of windows ------------------------------------------------------------------------------------------

TEST_F(LongDip, HasNearlyTheFeaturesOfAShortOneAtTheBorder) {
  // In this record the recovery comes one sample later each time, until the window has 500 cycles and then one more
  // sample.
  const auto with_window = [&](int length) {
    for (int end = 502 * smp - 20; end < 502 * smp; end++) {
      run(SineRecord(smp, samples, 220).set(fall, end, tests::scaled(1, 0.5, 1)));
      if (prints(fmt::format(" data_len = {}\r\n", length))) return true;
    }
    return false;
  };
  ASSERT_TRUE(with_window(500 * smp));
  ASSERT_FALSE(sagx::last_outcome.dips[0].long_window);
  const dipx_event_record short_way = event();
  EXPECT_EQ(result().Trms_num, 0);
  ASSERT_TRUE(with_window(500 * smp + 1));
  ASSERT_TRUE(sagx::last_outcome.dips[0].long_window);
  EXPECT_EQ(result().Trms_num, 4);
  ASSERT_EQ(short_way.u_min_num, 1);
  ASSERT_EQ(event().u_min_num, 1);
  EXPECT_EQ(event().dipx_cata_type[0], short_way.dipx_cata_type[0]);
  EXPECT_EQ(event().dipx_phasetype[0], short_way.dipx_phasetype[0]);
  EXPECT_NEAR(event().ub_min[0], short_way.ub_min[0], 1);
  EXPECT_NEAR(event().hold_time_dq, short_way.hold_time_dq, 0.04);
}

TEST_F(LongDip, OfTwoThousandNineHundredCyclesOfTheLongestRecordIsMeasured) {
  constexpr int rate = 128;
  SineRecord wave(rate, 3000 * rate, 220);
  wave.set(50 * rate, 2950 * rate, tests::scaled(0.5, 1, 1)).set(1000 * rate, 2000 * rate, tests::scaled(0.2, 1, 1));
  analyse(wave);
  ASSERT_EQ(sagx::last_outcome.dips[0].outcome, sagx::DipOutcome::analysed);
  ASSERT_EQ(result().Trms_num, 8);
  ASSERT_EQ(event().u_min_num, 3);
  EXPECT_NEAR(event().ua_min[0], 110, 0.5);
  EXPECT_NEAR(event().ua_min[1], 44, 0.5);
  EXPECT_NEAR(event().ua_min[2], 110, 0.5);
  const int steps[] = {50 * rate, 1000 * rate, 2000 * rate, 2950 * rate};
  for (int k = 0; k < 4; k++) {
    EXPECT_NEAR(event().SEG_T_idx[2 * k], steps[k], rate / 4) << k;
    EXPECT_GT(event().SEG_T_idx[2 * k + 1], steps[k]) << k;
    EXPECT_LE(event().SEG_T_idx[2 * k + 1], steps[k] + rate) << k;
  }
  EXPECT_EQ(event().dipx_cata_type[1], 3);
  EXPECT_NEAR(event().hold_time_dq, 58, 0.04);
}

}  // namespace
