#include "sagx/Vrms.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>

#include "tests/core/printed_lines.h"
#include "tests/core/waveforms.h"

namespace {

using tests::LevelRecord;
using tests::printed_by;

constexpr int smp = 64;

std::unique_ptr<dq_dipx_rms> load(const LevelRecord& wave, float threshold) {
  auto record = std::make_unique<dq_dipx_rms>();
  std::copy(wave.phases[0].begin(), wave.phases[0].end(), record->va);
  std::copy(wave.phases[1].begin(), wave.phases[1].end(), record->vb);
  std::copy(wave.phases[2].begin(), wave.phases[2].end(), record->vc);
  record->smp_num = wave.samples();
  record->smprate = wave.smp;
  record->ut = threshold;
  return record;
}

std::unique_ptr<dq_dipx_rms> search(const LevelRecord& wave, float threshold = 198) {
  auto record = load(wave, threshold);
  printed_by([&] { rms_seg_pro(record.get()); });
  return record;
}

std::vector<int> boundaries(const dq_dipx_rms& record) {
  return {record.T, record.T + record.evt_num};
}

/// Returns the sample from which the RMS is below 198 V for a step at `at` from 220 V to 100 V; `rise` returns the
/// sample from which it has recovered after the opposite step.
int fall(int at) {
  return at + tests::samples_until_below(smp, 220, 100, 198);
}
int rise(int at) {
  return at + tests::samples_until_back(smp, 100, 220, 198);
}

TEST(SlidingRms, CoversTheCycleThatEndsAtEachSample) {
  std::vector<float> wave(8, 3.0F);
  std::fill(wave.begin() + 4, wave.end(), 5.0F);
  std::vector<float> rms(8);
  Vrms_cal(rms.data(), wave.data(), 4, 8);
  EXPECT_EQ(rms[3], 3.0F);
  EXPECT_EQ(rms[4], std::sqrt((25.0F + 27.0F) / 4.0F));
  EXPECT_EQ(rms[5], std::sqrt((50.0F + 18.0F) / 4.0F));
  EXPECT_EQ(rms[7], 5.0F);
}

TEST(SlidingRms, FillsTheFirstIncompleteCycleWithItsFirstCompleteValue) {
  const auto wave = tests::sine(230, 32, 96);
  std::vector<float> rms(96, -1.0F);
  Vrms_cal(rms.data(), const_cast<float*>(wave.data()), 32, 96);
  for (int i = 0; i < 31; i++) EXPECT_EQ(rms[static_cast<std::size_t>(i)], rms[31]) << i;
  EXPECT_NEAR(rms[31], 230, 1e-3);
}

TEST(SlidingRms, SumsFromTheNewestSampleBackInFloat) {
  // 2^24 + 1 is not a float. Added from the newest sample on, the ones are lost one by one; from the oldest on they
  // would have been added up first.
  std::vector<float> wave = {1, 1, 1, 4096};
  std::vector<float> rms(4);
  Vrms_cal(rms.data(), wave.data(), 4, 4);
  EXPECT_EQ(rms[3], std::sqrt(16777216.0F / 4.0F));
  wave = {4096, 1, 1, 1};
  Vrms_cal(rms.data(), wave.data(), 4, 4);
  EXPECT_EQ(rms[3], std::sqrt(16777220.0F / 4.0F));
}

TEST(SlidingRms, DividesInFloat) {
  std::vector<float> wave(33, 1.0F);
  std::vector<float> rms(33);
  int apart = 0;
  for (int i = 0; i < 100; i++) {
    wave[0] = 1.0F + 0.37F * static_cast<float>(i);
    Vrms_cal(rms.data(), wave.data(), 33, 33);
    const float sum = 32.0F + wave[0] * wave[0];
    const float in_float = std::sqrt(sum / 33.0F);
    ASSERT_EQ(rms[32], in_float) << i;
    apart += in_float != static_cast<float>(std::sqrt(sum / 33.0));
  }
  EXPECT_GT(apart, 0);
}

TEST(SlidingRms, OfLessThanACycleRepeatsTheValueAtTheCyclesEnd) {
  std::vector<float> wave(8, 7.0F);
  std::vector<float> rms(8, 42.0F);
  rms[0] = 1;
  for (const int samples : {7, 0, -1, std::numeric_limits<int>::min()}) {
    Vrms_cal(rms.data(), wave.data(), 8, samples);
    EXPECT_EQ(rms, std::vector<float>(8, 42.0F)) << samples;
    rms[0] = 1;
  }
}

TEST(SlidingRms, WithoutARateOrAnArrayDoesNothing) {
  std::vector<float> wave(8, 7.0F);
  std::vector<float> rms(8, 42.0F);
  Vrms_cal(rms.data(), wave.data(), 0, 8);
  Vrms_cal(rms.data(), wave.data(), -4, 8);
  Vrms_cal(rms.data(), nullptr, 4, 8);
  Vrms_cal(nullptr, wave.data(), 4, 8);
  EXPECT_EQ(rms, std::vector<float>(8, 42.0F));
}

TEST(SlidingRms, OfNotANumberIsNotANumberForExactlyOneCycle) {
  std::vector<float> wave(32, 3.0F);
  wave[10] = std::numeric_limits<float>::quiet_NaN();
  std::vector<float> rms(32);
  Vrms_cal(rms.data(), wave.data(), 8, 32);
  for (int i = 0; i < 32; i++) EXPECT_EQ(std::isnan(rms[static_cast<std::size_t>(i)]), i >= 10 && i <= 17) << i;
}

TEST(BoundarySearch, PrintsRateAndLength) {
  auto record = load(LevelRecord(smp, 640, 220), 198);
  const auto printed = printed_by([&] { rms_seg_pro(record.get()); });
  EXPECT_EQ(printed.out, "smprate = 64 smp_num = 640\r\n");
  EXPECT_EQ(printed.err, "");
}

TEST(BoundarySearch, FindsNothingInASteadyRecord) {
  EXPECT_EQ(search(LevelRecord(smp, 10 * smp, 220))->evt_num, 0);
}

TEST(BoundarySearch, StoresFirstSampleBelowAndFirstSampleBackAtTheThreshold) {
  const auto record = search(LevelRecord(smp, 20 * smp, 220).set(1, 8 * smp, 11 * smp, 100));
  EXPECT_EQ(boundaries(*record), (std::vector<int>{fall(8 * smp), rise(11 * smp)}));
  EXPECT_LT(record->rmsb[record->T[0]], 198.0F);
  EXPECT_GE(record->rmsb[record->T[0] - 1], 198.0F);
  EXPECT_GE(record->rmsb[record->T[1]], 198.0F);
  EXPECT_LT(record->rmsb[record->T[1] - 1], 198.0F);
}

TEST(BoundarySearch, CountsAVoltageAtTheThresholdAsRecovered) {
  // The voltage rises to exactly 198 V and then falls again from exactly 198 V.
  const auto record =
      search(LevelRecord(smp, 60 * smp, 198).set(0, 8 * smp, 11 * smp, 100).set(0, 40 * smp, 60 * smp, 100));
  EXPECT_EQ(boundaries(*record), (std::vector<int>{8 * smp, 12 * smp - 1, 40 * smp}));
  EXPECT_EQ(record->rmsa[12 * smp - 1], 198.0F);
  EXPECT_EQ(search(LevelRecord(smp, 20 * smp, 220).set(0, 8 * smp, 11 * smp, 198))->evt_num, 0);
}

TEST(BoundarySearch, FindsACrossingAtTheLastSample) {
  const int at = 8 * smp;
  EXPECT_EQ(boundaries(*search(LevelRecord(smp, fall(at) + 1, 220).set(0, at, fall(at) + 1, 100))),
            std::vector<int>{fall(at)});
  EXPECT_EQ(search(LevelRecord(smp, fall(at), 220).set(0, at, fall(at), 100))->evt_num, 0);
}

TEST(BoundarySearch, JoinsADipToOneThatNeverRecovers) {
  // Of the three crossings the recovery and the second fall are removed, and the first fall remains.
  const auto record =
      search(LevelRecord(smp, 30 * smp, 220).set(0, 8 * smp, 11 * smp, 100).set(0, 15 * smp, 30 * smp, 100));
  EXPECT_EQ(boundaries(*record), std::vector<int>{fall(8 * smp)});
}

TEST(BoundarySearch, SeesNoCrossingWhereTheCurveIsNotANumber) {
  // NaN is neither below nor at the threshold, whichever of two neighbouring samples it is, so a fall that begins after
  // it is missed.
  LevelRecord wave(smp, 30 * smp, 220);
  const float nan = std::numeric_limits<float>::quiet_NaN();
  wave.set(0, 8 * smp, 12 * smp, 100).set(0, 8 * smp, 8 * smp + 1, nan);
  const auto record = search(wave);
  EXPECT_EQ(boundaries(*record), std::vector<int>{rise(12 * smp)});
  EXPECT_EQ(record->ua_max, 220.0F) << "NaN is never the maximum";
  wave.set(0, 0, 1, nan);
  EXPECT_EQ(search(wave)->ua_max, 220.0F);
}

TEST(BoundarySearch, FollowsTheLowestPhase) {
  // Phase A falls first and phase C recovers last, so there is one dip from the fall of A to the recovery of C.
  const auto record =
      search(LevelRecord(smp, 30 * smp, 220).set(0, 8 * smp, 11 * smp, 100).set(2, 10 * smp, 14 * smp, 100));
  EXPECT_EQ(boundaries(*record), (std::vector<int>{fall(8 * smp), rise(14 * smp)}));
}

TEST(BoundarySearch, JoinsTwoDipsFiveCyclesApart) {
  const auto record =
      search(LevelRecord(smp, 40 * smp, 220).set(0, 8 * smp, 11 * smp, 100).set(0, 16 * smp, 19 * smp, 100));
  EXPECT_EQ(boundaries(*record), (std::vector<int>{fall(8 * smp), rise(19 * smp)}));
  EXPECT_EQ(record->T0[1], 0);
  EXPECT_EQ(record->T0[2], 0);
}

TEST(BoundarySearch, KeepsDipsApartWhoseGapIsExactlyTenCycles) {
  const int shift = rise(11 * smp) - 11 * smp;
  const int delay = fall(0);
  const int second = 11 * smp + shift + 10 * smp - delay;  // falls below the threshold ten cycles after the recovery
  const auto apart =
      search(LevelRecord(smp, 40 * smp, 220).set(0, 8 * smp, 11 * smp, 100).set(0, second, second + 3 * smp, 100));
  EXPECT_EQ(boundaries(*apart),
            (std::vector<int>{fall(8 * smp), rise(11 * smp), rise(11 * smp) + 10 * smp, rise(second + 3 * smp)}));
  const auto joined =
      search(LevelRecord(smp, 40 * smp, 220).set(0, 8 * smp, 11 * smp, 100).set(0, second - 1, second + 3 * smp, 100));
  EXPECT_EQ(joined->evt_num, 2);
}

TEST(BoundarySearch, JoinsAChainOfShortGapsIntoOneDip) {
  LevelRecord wave(smp, 60 * smp, 220);
  for (int start = 8; start < 40; start += 8) wave.set(0, start * smp, (start + 3) * smp, 100);
  EXPECT_EQ(boundaries(*search(wave)), (std::vector<int>{fall(8 * smp), rise(35 * smp)}));
}

TEST(BoundarySearch, MergesNothingWhenThereAreOnlyTwoCrossings) {
  // The record starts low, so the two crossings are a rise and, three cycles later, a fall.
  const auto record = search(LevelRecord(smp, 40 * smp, 100)
                                 .set(0, 8 * smp, 11 * smp, 220)
                                 .set(1, 8 * smp, 11 * smp, 220)
                                 .set(2, 8 * smp, 11 * smp, 220));
  EXPECT_EQ(boundaries(*record), (std::vector<int>{rise(8 * smp), fall(11 * smp)}));
}

TEST(BoundarySearch, RecordsNoRecoveryForADipThatContinuesPastTheEnd) {
  const auto record = search(LevelRecord(smp, 20 * smp, 220).set(0, 8 * smp, 20 * smp, 100));
  EXPECT_EQ(boundaries(*record), std::vector<int>{fall(8 * smp)});
}

TEST(BoundarySearch, StopsAtTheThirtiethCrossing) {
  LevelRecord wave(smp, 20 * 15 * smp, 220);
  for (int dip = 0; dip < 20; dip++) wave.set(0, (15 * dip + 4) * smp, (15 * dip + 6) * smp, 100);
  const auto record = search(wave);
  EXPECT_EQ(record->evt_num, 30);
  EXPECT_EQ(record->T[29], rise((15 * 14 + 6) * smp));
}

TEST(BoundarySearch, RecordsTheLargestRmsOfEachPhase) {
  const auto record = search(LevelRecord(smp, 20 * smp, 220).set(1, 8 * smp, 11 * smp, 260).set(2, 0, 20 * smp, 210));
  EXPECT_EQ(record->ua_max, 220.0F);
  EXPECT_EQ(record->ub_max, 260.0F);
  EXPECT_EQ(record->uc_max, 210.0F);
}

TEST(BoundarySearch, StaysInsideTheRecordForAnyCounts) {
  const auto record = std::make_unique<dq_dipx_rms>();
  record->ut = 1;
  for (const auto& [rate, samples] : std::vector<std::pair<int, int>>{{32, DQ_RECORD_CAPACITY + 1000},
                                                                      {DQ_RECORD_CAPACITY + 1, 100},
                                                                      {std::numeric_limits<int>::max(), 100},
                                                                      {0, 100},
                                                                      {-1, 100},
                                                                      {32, 0},
                                                                      {32, -1}}) {
    record->smprate = rate;
    record->smp_num = samples;
    printed_by([&] { rms_seg_pro(record.get()); });
    EXPECT_EQ(record->evt_num, 0) << rate << " " << samples;
  }
  EXPECT_EQ(printed_by([] { rms_seg_pro(nullptr); }).out, "");
}

}  // namespace
