#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <set>
#include <tuple>

#include "sagx/dipx_lib.h"
#include "sagx/dipx_outcome.h"
#include "sagx/dq_dipx.h"
#include "sagx/signal_acquisition.h"
#include "tests/core/faults.h"
#include "tests/core/printed_lines.h"
#include "tests/core/waveforms.h"

namespace {

using sagx::DipOutcome;
using sagx::last_outcome;
using sagx::RunOutcome;
using tests::LevelRecord;
using tests::Printed;
using tests::printed_by;
using tests::text_of;

constexpr int smp = 64;

/// Returns whether a dip passed every check. The features of constant voltages do not matter here.
bool reached_features(DipOutcome outcome) {
  return outcome == DipOutcome::analysed || outcome == DipOutcome::not_segmented;
}

/// Returns the driver's own lines without those of the feature stages.
std::string own_lines(const std::string& out) {
  std::string own;
  for (std::size_t begin = 0; begin < out.size();) {
    const auto end = std::min(out.find('\n', begin), out.size() - 1) + 1;
    const std::string line = out.substr(begin, end - begin);
    const bool stage =
        line.starts_with("S=") || line.starts_with("逐点dq分段校验!!!") || line.starts_with("seg check err");
    if (!stage) own += line;
    begin = end;
  }
  return own;
}

class Driver : public testing::Test {
 protected:
  void TearDown() override {
    printed_by([] { sagx_free_all(); });
  }

  Printed run(LevelRecord& wave) {
    psample_input_va = wave.phases[0].data();
    psample_input_vb = wave.phases[1].data();
    psample_input_vc = wave.phases[2].data();
    return run(wave.smp, wave.samples());
  }

  Printed run(int rate, int samples) {
    sample_input_smprate = rate;
    sample_input_number = samples;
    return printed_by([] { dq_dipx_new(nullptr); });
  }

  /// Returns the trace of a run up to and including the boundary search, for records that exist and samples that begin
  /// at `volts`.
  static std::string trace(int rate, int samples, const char* volts, const char* how = "reused") {
    return fmt::format(
        "[ALLOC] sizeof(dq_data)=60580460 bytes, sizeof(dq_dipx_rms)=10752276 bytes\r\n"
        "[ALLOC] dq_data_buf {0}: {1}\r\n"
        "[ALLOC] dq_rms_buf {0}: {2}\r\n"
        "[GUARD] smp={3}, n={4}, need(n>=2*smp)={5}\n"
        "[GUARD] rms_buf={2} ua={6} ub={7} uc={8}\n"
        "[DBG] ua[0]={9} ua[{10}]={9} | ub[0]={9} | uc[0]={9}\n"
        "[dipx_cal_un] ua0={9} ub0={9} uc0={9} | ua[{10}]={9}\n"
        "smprate = {3} smp_num = {4}\r\n",
        how, text_of(dq_data_buf), text_of(dq_rms_buf), rate, samples, 2 * rate, text_of(dq_rms_buf->va),
        text_of(dq_rms_buf->vb), text_of(dq_rms_buf->vc), volts, rate - 1);
  }

  /// Returns the lines of an allocation that finds both records already allocated.
  static std::string reused() {
    return "[ALLOC] sizeof(dq_data)=60580460 bytes, sizeof(dq_dipx_rms)=10752276 bytes\r\n"
           "[ALLOC] dq_data_buf reused: " +
           text_of(dq_data_buf) +
           "\r\n"
           "[ALLOC] dq_rms_buf reused: " +
           text_of(dq_rms_buf) + "\r\n";
  }

  static LevelRecord steady() { return {smp, 40 * smp, 220}; }
  /// Builds a dip of phase A to `volts` that lasts for the given number of cycles and starts 20 cycles into a record of
  /// 60.
  static LevelRecord dip(int cycles, float volts) {
    return LevelRecord(smp, 60 * smp, 220).set(0, 20 * smp, (20 + cycles) * smp, volts);
  }
  static std::string dip_lines(int i = 0) {
    const auto& record = *dq_rms_buf;
    return fmt::format("pos = {} data_len = {}\r\n", record.T[2 * i] - 4 * smp,
                       record.T[2 * i + 1] - record.T[2 * i] + 8 * smp);
  }
};

TEST_F(Driver, PrintsItsWholeTraceOnTheFirstRunAndOnTheNext) {
  auto wave = steady();
  const auto first = run(wave);
  EXPECT_EQ(first.out, trace(smp, 40 * smp, "220.000000", "ok") + "evt_num=0\r\n");
  EXPECT_EQ(first.err, "");
  EXPECT_EQ(last_outcome.run, RunOutcome::analysed);
  EXPECT_EQ(run(wave).out, trace(smp, 40 * smp, "220.000000") + "evt_num=0\r\n");
}

TEST_F(Driver, AcceptsRatesFrom32To128Only) {
  for (const int rate : {32, 128}) {
    LevelRecord wave(rate, 4 * rate, 220);
    EXPECT_EQ(run(wave).out.substr(0, 20), "[ALLOC] sizeof(dq_da");
    EXPECT_EQ(last_outcome.run, RunOutcome::analysed) << rate;
  }
  for (const int rate : {31, 129, 0, -1}) {
    LevelRecord wave(std::max(rate, 1), 400, 220);
    wave.smp = rate;
    const auto printed = run(wave);
    EXPECT_EQ(printed.out, reused() + "采样率越限\r\n") << rate;
    EXPECT_EQ(printed.err, "");
    EXPECT_EQ(last_outcome.run, RunOutcome::rate_out_of_range);
  }
}

TEST_F(Driver, AcceptsThreeThousandCyclesAndNotOneSampleMore) {
  LevelRecord longest(32, 96000, 220);
  run(longest);
  EXPECT_EQ(last_outcome.run, RunOutcome::analysed);
  LevelRecord longer(32, 96001, 220);
  EXPECT_EQ(run(longer).out, reused() + "sample_input_number2数据个数越限\r\n");
  EXPECT_EQ(last_outcome.run, RunOutcome::too_many_cycles);
}

TEST_F(Driver, RefusesMoreSamplesThanItHolds) {
  LevelRecord longest(128, 384000, 220);
  run(longest);
  EXPECT_EQ(last_outcome.run, RunOutcome::analysed);
  LevelRecord longer(128, 384001, 220);  // 3000 cycles and one sample, so the first limit applies
  EXPECT_EQ(run(longer).out, reused() + "sample_input_number1数据个数越限\r\n");
  EXPECT_EQ(last_outcome.run, RunOutcome::too_many_samples);
}

TEST_F(Driver, NeedsTwoCycles) {
  LevelRecord two(smp, 2 * smp, 220);
  run(two);
  EXPECT_EQ(last_outcome.run, RunOutcome::analysed);
  LevelRecord less(smp, 2 * smp - 1, 230);
  const auto printed = run(less);
  EXPECT_EQ(printed.err, "[GUARD][FATAL] bad params: smp=64 n=127 (need n>=2*smp)\n");
  EXPECT_TRUE(printed.out.ends_with(" uc=" + text_of(dq_rms_buf->vc) + "\n")) << printed.out;
  EXPECT_EQ(last_outcome.run, RunOutcome::too_few_samples);
  EXPECT_EQ(dq_rms_buf->va[126], 230.0F) << "samples are copied before it is found that there are too few";
}

TEST_F(Driver, TreatsANegativeLengthAsTooFewSamples) {
  EXPECT_EQ(run(smp, -5).err, "[GUARD][FATAL] bad params: smp=64 n=-5 (need n>=2*smp)\n");
  EXPECT_EQ(last_outcome.run, RunOutcome::too_few_samples);
}

TEST_F(Driver, EndsQuietlyWhenASampleArrayIsMissing) {
  auto wave = steady();
  run(wave);
  psample_input_vb = nullptr;
  const auto printed = run(smp, 40 * smp);
  EXPECT_EQ(printed.out, reused());
  EXPECT_EQ(printed.err, "");
  EXPECT_EQ(last_outcome.run, RunOutcome::no_samples);
}

TEST_F(Driver, SaysWhenTheWindowRecordCannotBeAllocated) {
  auto wave = steady();
  const tests::FailingAllocation failure(1);
  const auto printed = run(wave);
  EXPECT_EQ(printed.out, "[ALLOC] sizeof(dq_data)=60580460 bytes, sizeof(dq_dipx_rms)=10752276 bytes\r\n");
  EXPECT_EQ(printed.err, "[ALLOC][FATAL] dq_data_buf calloc(60580460) failed: errno=12, Cannot allocate memory\r\n");
  EXPECT_EQ(dq_data_buf, nullptr);
  EXPECT_EQ(dq_rms_buf, nullptr);
  EXPECT_EQ(last_outcome.run, RunOutcome::no_memory);
}

TEST_F(Driver, ReleasesTheWindowRecordWhenTheWholeRecordCannotBeAllocated) {
  auto wave = steady();
  {
    const tests::FailingAllocation failure(2);
    const auto printed = run(wave);
    EXPECT_EQ(printed.err, "[ALLOC][FATAL] dq_rms_buf calloc(10752276) failed: errno=12, Cannot allocate memory\r\n");
    EXPECT_EQ(printed.out.find("[ALLOC] dq_data_buf ok: 0x"), printed.out.find("\r\n") + 2);
    EXPECT_EQ(dq_data_buf, nullptr);
  }
  run(wave);
  // The reused window record is released too.
  std::free(dq_rms_buf);
  dq_rms_buf = nullptr;
  const tests::FailingAllocation failure(1);
  EXPECT_NE(run(wave).out.find("[ALLOC] dq_data_buf reused: "), std::string::npos);
  EXPECT_EQ(dq_data_buf, nullptr);
  EXPECT_EQ(last_outcome.run, RunOutcome::no_memory);
}

TEST_F(Driver, ZeroesAllResultsEvenWhenItRefusesTheInput) {
  auto wave = dip(6, 100);
  run(wave);
  ASSERT_EQ(new_dipx_buf[0].un, 220.0F);
  std::memset(new_dipx_buf, 0x55, sizeof new_dipx_buf);
  run(31, 400);
  const std::vector<char> zeros(sizeof new_dipx_buf);
  EXPECT_EQ(std::memcmp(new_dipx_buf, zeros.data(), zeros.size()), 0);
}

TEST_F(Driver, ZeroesAllResultsInMemoryThatTheHostHasLockedToo) {
  std::memset(new_dipx_buf, 0x55, sizeof new_dipx_buf);
  const tests::LockedMemory locked;
  run(31, 400);
  const std::vector<char> zeros(sizeof new_dipx_buf);
  EXPECT_EQ(std::memcmp(new_dipx_buf, zeros.data(), zeros.size()), 0);
}

TEST_F(Driver, KeepsTheBoundaryCountOfTheLastAcceptedRun) {
  auto wave = dip(6, 100);
  run(wave);
  EXPECT_EQ(dq_rms_buf->evt_num, 2);
  run(31, 400);
  EXPECT_EQ(dq_rms_buf->evt_num, 2);
  LevelRecord less(smp, 2 * smp - 1, 230);
  run(less);
  EXPECT_EQ(dq_rms_buf->evt_num, 2);
}

TEST_F(Driver, CopiesSamplesAndFillsTheWholeRecord) {
  auto wave = dip(6, 100);
  wave.phases[1][7] = 1.25F;
  wave.phases[2][9] = 2.5F;
  run(wave);
  const auto& record = *dq_rms_buf;
  EXPECT_EQ(record.smp_num, 60 * smp);
  EXPECT_EQ(record.smprate, smp);
  EXPECT_EQ(record.f, 50.0F);
  EXPECT_EQ(record.ut, static_cast<float>(0.9 * record.un));
  EXPECT_TRUE(std::equal(wave.phases[0].begin(), wave.phases[0].end(), record.va));
  EXPECT_TRUE(std::equal(wave.phases[1].begin(), wave.phases[1].end(), record.vb));
  EXPECT_TRUE(std::equal(wave.phases[2].begin(), wave.phases[2].end(), record.vc));
  EXPECT_EQ(record.t[1], static_cast<float>(0.02 / 64));
  EXPECT_EQ(record.t[3839], static_cast<float>(3839 * (0.02 / 64)));
}

TEST_F(Driver, ReplacesImplausibleNominalVoltages) {
  const auto nominal = [&](float volts) {
    LevelRecord wave(smp, 4 * smp, volts);
    run(wave);
    return dq_rms_buf->un;
  };
  EXPECT_EQ(nominal(45), 57.74F);
  EXPECT_EQ(nominal(0), 57.74F);
  EXPECT_EQ(nominal(49.999F), 57.74F);
  EXPECT_EQ(nominal(50), 50.0F);
  EXPECT_EQ(nominal(400), 400.0F);
  EXPECT_EQ(nominal(401), 220.0F);
}

TEST_F(Driver, AnalysesNothingInARecordThatDoesNotBeginSteady) {
  auto wave = dip(6, 100).set(1, 0, smp, 100);
  const auto printed = run(wave);
  EXPECT_TRUE(printed.out.ends_with("\r\nevt_num=0\r\n")) << printed.out;
  EXPECT_EQ(dq_rms_buf->evt_num, 0);
  EXPECT_EQ(last_outcome.run, RunOutcome::disturbed_start);
}

/// The number of samples of the first two cycles outside 0.9 to 1.1 un, and the direction of the deviation.
struct Disturbance {
  int low = 0;
  int high = 0;
};

Disturbance disturbance() {
  Disturbance result;
  const auto& record = *dq_rms_buf;
  for (int i = 0; i < 2 * record.smprate; i++) {
    const auto [lowest, highest] = std::minmax({record.rmsa[i], record.rmsb[i], record.rmsc[i]});
    result.low += static_cast<double>(lowest) < 0.9 * static_cast<double>(record.un);
    result.high += static_cast<double>(highest) > 1.1 * static_cast<double>(record.un);
  }
  return result;
}

/// The parameters are the rate and the disturbed phase.
class DisturbedStart : public Driver, public testing::WithParamInterface<std::tuple<int, int>> {};

TEST_P(DisturbedStart, IsAQuarterCycleOfHighVoltageInAnyPhase) {
  // The phase rises near the end of the second cycle, one sample later each time.
  const auto [rate, phase] = GetParam();
  std::set<int> tried;
  for (int step = rate; step < 2 * rate; step++) {
    LevelRecord wave(rate, 4 * rate, 220);
    wave.set(phase, step, 4 * rate, 260);
    run(wave);
    const auto off = disturbance();
    ASSERT_EQ(off.low, 0);
    EXPECT_EQ(last_outcome.run, off.high >= rate / 4 ? RunOutcome::disturbed_start : RunOutcome::analysed) << off.high;
    tried.insert(off.high);
  }
  EXPECT_TRUE(tried.contains(rate / 4) && tried.contains(rate / 4 - 1)) << "both sides of the limit must be tried";
}

TEST_P(DisturbedStart, IsAQuarterCycleOfLowVoltageInAnyPhase) {
  // The phase is low around the end of the first cycle, so neither of the first two cycles has an RMS (and hence un) as
  // low as the cycle that spans both. The other phases are near un.
  const auto [rate, phase] = GetParam();
  std::set<int> tried;
  for (const int length : {rate - rate / 4 + 1, rate - rate / 4 + 2}) {
    for (int quarter_volts = 4 * 140; quarter_volts < 4 * 190; quarter_volts++) {
      LevelRecord wave(rate, 4 * rate, 198);
      wave.set(phase, 0, 4 * rate, 220);
      wave.set(phase, rate - length / 2, rate - length / 2 + length, 0.25F * static_cast<float>(quarter_volts));
      run(wave);
      const auto off = disturbance();
      if (off.high > 0) continue;
      EXPECT_EQ(last_outcome.run, off.low >= rate / 4 ? RunOutcome::disturbed_start : RunOutcome::analysed) << off.low;
      tried.insert(off.low);
    }
  }
  EXPECT_TRUE(tried.contains(rate / 4) && tried.contains(rate / 4 - 1)) << testing::PrintToString(tried);
}

INSTANTIATE_TEST_SUITE_P(RatesAndPhases, DisturbedStart,
                         testing::Combine(testing::Values(64, 50, 33), testing::Values(0, 1, 2)));

TEST_F(Driver, CutsAWindowOfFourCyclesRoundTheDip) {
  auto wave = dip(6, 100);
  const auto printed = run(wave);
  EXPECT_EQ(own_lines(printed.out), trace(smp, 60 * smp, "220.000000", "ok") + "evt_num=1\r\n" + dip_lines());
  const auto& record = *dq_rms_buf;
  const auto& data = *dq_data_buf;
  const int start = record.T[0] - 4 * smp;
  const auto length = static_cast<unsigned>(record.T[1] + 4 * smp - start);
  EXPECT_EQ(data.num, length);
  EXPECT_EQ(data.smp, static_cast<unsigned>(smp));
  EXPECT_EQ(std::memcmp(data.Va, record.va + start, length * 4), 0);
  EXPECT_EQ(std::memcmp(data.Vb, record.vb + start, length * 4), 0);
  EXPECT_EQ(std::memcmp(data.Vc, record.vc + start, length * 4), 0);
  EXPECT_EQ(std::memcmp(data.rms_ua, record.rmsa + start, length * 4), 0);
  EXPECT_EQ(std::memcmp(data.rms_ub, record.rmsb + start, length * 4), 0);
  EXPECT_EQ(std::memcmp(data.rms_uc, record.rmsc + start, length * 4), 0);
  const auto step = static_cast<float>(0.02 / 64);
  EXPECT_EQ(data.t[0], 0.0F);
  EXPECT_EQ(data.t[777], 777.0F * step);
  EXPECT_TRUE(reached_features(last_outcome.dips[0].outcome));
}

TEST_F(Driver, GivesEachDipTheRecordsVoltagesAndItsDepth) {
  auto wave = dip(6, 100);
  run(wave);
  const auto& result = new_dipx_buf[0];
  EXPECT_EQ(result.smprate, smp);
  EXPECT_EQ(result.un, 220.0F);
  EXPECT_EQ(result.ut, 198.0F);
  EXPECT_EQ(result.f, 50.0F);
  EXPECT_EQ(result.ud, 120.0F);
  EXPECT_EQ(result.T_rms_num, 0);
  EXPECT_EQ(result.hold_time_rms, 0.0F);
}

TEST_F(Driver, MeasuresDepthInTheLowestPhase) {
  auto wave = dip(6, 100).set(2, 21 * smp, 24 * smp, 40);
  run(wave);
  EXPECT_EQ(new_dipx_buf[0].ud, 180.0F);
}

TEST_F(Driver, SkipsADipCloserThanFourCyclesToTheStart) {
  const int delay = tests::samples_until_below(smp, 220, 100, 198);
  const auto fall_at = [&](int position) {
    return LevelRecord(smp, 60 * smp, 220).set(0, position - delay, position - delay + 6 * smp, 100);
  };
  auto near = fall_at(4 * smp - 1);
  const auto printed = run(near);
  ASSERT_EQ(dq_rms_buf->T[0], 4 * smp - 1);
  EXPECT_EQ(printed.out, trace(smp, 60 * smp, "220.000000", "ok") + "evt_num=1\r\nwin err!!!");
  EXPECT_EQ(last_outcome.dips[0].outcome, DipOutcome::window_at_edge);
  EXPECT_EQ(new_dipx_buf[0].un, 220.0F);
  EXPECT_EQ(new_dipx_buf[0].ud, 0.0F);

  auto clear = fall_at(4 * smp);
  run(clear);
  ASSERT_EQ(dq_rms_buf->T[0], 4 * smp);
  EXPECT_TRUE(reached_features(last_outcome.dips[0].outcome));
}

TEST_F(Driver, SkipsADipCloserThanFourCyclesToTheEnd) {
  auto wave = dip(6, 100);
  run(wave);
  const int needed = dq_rms_buf->T[1] + 4 * smp;
  for (auto& phase : wave.phases) phase.resize(static_cast<std::size_t>(needed));
  run(wave);
  EXPECT_TRUE(reached_features(last_outcome.dips[0].outcome));
  for (auto& phase : wave.phases) phase.pop_back();
  EXPECT_TRUE(run(wave).out.ends_with("evt_num=1\r\nwin err!!!"));
  EXPECT_EQ(last_outcome.dips[0].outcome, DipOutcome::window_at_edge);
}

TEST_F(Driver, SkipsADipWhoseWindowIsLongerThanItsRecord) {
  LevelRecord wave(128, 384000, 220);
  wave.set(0, 128 * 3, 384000 - 128, 100);
  const auto printed = run(wave);
  EXPECT_TRUE(printed.out.ends_with("evt_num=1\r\ndata_len err!!!"));
  EXPECT_EQ(last_outcome.dips[0].outcome, DipOutcome::window_too_long);
}

TEST_F(Driver, AnalysesADipWhoseWindowIsTheWholeRecord) {
  const int late = tests::samples_until_below(128, 220, 100, 198);
  const int back = tests::samples_until_back(128, 100, 220, 198);
  LevelRecord wave(128, 384000, 220);
  wave.set(0, 512 - late, 384000 - 512 - back, 100);
  const auto printed = run(wave);
  ASSERT_EQ(dq_rms_buf->T[0], 512);
  ASSERT_EQ(dq_rms_buf->T[1], 384000 - 512);
  EXPECT_NE(printed.out.find("pos = 0 data_len = 384000\r\n"), std::string::npos);
  EXPECT_TRUE(reached_features(last_outcome.dips[0].outcome));
}

TEST_F(Driver, SkipsAShallowDipUnlessItLastsFiveCycles) {
  // A voltage of 194 V is 12 % deep. The time of the recovery sets the dip's length from crossing to crossing exactly.
  const auto shallow = [&](int samples) {
    auto wave = LevelRecord(smp, 60 * smp, 220);
    const int fall = tests::samples_until_below(smp, 220, 194, 198);
    const int back = tests::samples_until_back(smp, 194, 220, 198);
    return wave.set(0, 20 * smp, 20 * smp + samples + fall - back, 194);
  };
  auto four = shallow(5 * smp - 1);
  const auto printed = run(four);
  ASSERT_EQ(dq_rms_buf->T[1] - dq_rms_buf->T[0], 5 * smp - 1);
  EXPECT_EQ(printed.out,
            trace(smp, 60 * smp, "220.000000", "ok") + "evt_num=1\r\n" + dip_lines() + "暂降深度不足14%\r\n");
  EXPECT_EQ(last_outcome.dips[0].outcome, DipOutcome::too_shallow);
  EXPECT_EQ(new_dipx_buf[0].ud, 26.0F) << "the depth is kept";

  auto five = shallow(5 * smp);
  run(five);
  ASSERT_EQ(dq_rms_buf->T[1] - dq_rms_buf->T[0], 5 * smp);
  EXPECT_TRUE(reached_features(last_outcome.dips[0].outcome));
}

TEST_F(Driver, TreatsADepthOfExactlyFourteenPercentAsShallow) {
  const auto outcome = [&](float volts) {
    LevelRecord wave(smp, 60 * smp, 250);
    wave.set(0, 20 * smp, 23 * smp, volts);
    run(wave);
    return last_outcome.dips[0].outcome;
  };
  ASSERT_EQ(0.14 * 250, 35.0);
  EXPECT_EQ(outcome(215), DipOutcome::too_shallow);
  EXPECT_TRUE(reached_features(outcome(214)));
}

TEST_F(Driver, ToleratesHalfOfTheHalfCyclesBeingRestless) {
  // There are 121 half-cycles, of which the last does not count. More and more of the other 120 are disturbed.
  std::set<float> tried;
  for (int last = 30; last < 58; last++) {
    LevelRecord wave(smp, 121 * smp / 2, 220);
    for (int cycle = 26; cycle < last; cycle++) {
      wave.set(1, cycle * smp, (cycle + 1) * smp, cycle % 2 == 0 ? 205.0F : 235.0F);
    }
    wave.set(0, 10 * smp, 20 * smp, 100);
    run(wave);
    const float share = rms_bzc(dq_rms_buf);
    EXPECT_EQ(last_outcome.dips[0].outcome == DipOutcome::unstable, share > 0.5F) << share;
    tried.insert(share);
  }
  EXPECT_TRUE(tried.contains(0.5F)) << testing::PrintToString(tried);
  EXPECT_GT(*tried.rbegin(), 0.5F);
}

TEST_F(Driver, FormsTimesAndThresholdInTheirOwnPrecisions) {
  // At 99 samples per cycle and 202 V, products in float and in double differ.
  LevelRecord wave(99, 60 * 99, 202);
  wave.set(0, 20 * 99, 26 * 99, 100);
  run(wave);
  ASSERT_TRUE(reached_features(last_outcome.dips[0].outcome));
  EXPECT_EQ(dq_rms_buf->ut, static_cast<float>(0.9 * 202));
  ASSERT_NE(static_cast<float>(0.9 * 202), 0.9F * 202.0F);
  const auto step = static_cast<float>(0.02 / 99);
  int apart = 0;
  for (int i = 0; i < 60 * 99; i++) {
    ASSERT_EQ(dq_rms_buf->t[i], static_cast<float>(i * (0.02 / 99))) << i;
    apart += dq_rms_buf->t[i] != static_cast<float>(i) * step;
  }
  EXPECT_GT(apart, 0);
  for (unsigned j = 0; j < dq_data_buf->num; j++) {
    ASSERT_EQ(dq_data_buf->t[j], static_cast<float>(j) * step) << j;
  }
}

TEST_F(Driver, SkipsDipsOfARestlessRecord) {
  // After its steady start, phase B alternates from cycle to cycle between 205 V and 235 V.
  LevelRecord wave(smp, 60 * smp, 220);
  for (int at = 3 * smp; at < 60 * smp; at += smp) wave.set(1, at, at + smp, (at / smp) % 2 == 0 ? 205.0F : 235.0F);
  wave.set(0, 20 * smp, 26 * smp, 100);
  const auto printed = run(wave);
  EXPECT_EQ(printed.out,
            trace(smp, 60 * smp, "220.000000", "ok") + "evt_num=1\r\n" + dip_lines() + "有效值标准差越限\r\n");
  EXPECT_EQ(last_outcome.dips[0].outcome, DipOutcome::unstable);
}

TEST_F(Driver, AnalysesEachDipOfARecord) {
  auto wave = LevelRecord(smp, 120 * smp, 220);
  wave.set(0, 10 * smp, 13 * smp, 100).set(1, 40 * smp, 42 * smp, 190).set(2, 80 * smp, 90 * smp, 50);
  const auto printed = run(wave);
  EXPECT_EQ(own_lines(printed.out), trace(smp, 120 * smp, "220.000000", "ok") + "evt_num=3\r\n" + dip_lines(0) +
                                        dip_lines(1) + "暂降深度不足14%\r\n" + dip_lines(2));
  EXPECT_TRUE(reached_features(last_outcome.dips[0].outcome));
  EXPECT_EQ(last_outcome.dips[1].outcome, DipOutcome::too_shallow);
  EXPECT_TRUE(reached_features(last_outcome.dips[2].outcome));
  EXPECT_EQ(last_outcome.dips[3].outcome, DipOutcome::not_reached);
  EXPECT_EQ(new_dipx_buf[2].ud, 170.0F);
}

TEST_F(Driver, UsesTheLongWayBeyondAWindowOf500Cycles) {
  const int around = tests::samples_until_back(smp, 100, 220, 198) - tests::samples_until_below(smp, 220, 100, 198);
  const auto window = [&](int samples) {
    LevelRecord wave(smp, 520 * smp, 220);
    wave.set(0, 10 * smp, 10 * smp + samples - 8 * smp - around, 100);
    const auto printed = run(wave);
    EXPECT_NE(printed.out.find(fmt::format(" data_len = {}\r\n", samples)), std::string::npos);
    EXPECT_TRUE(reached_features(last_outcome.dips[0].outcome));
    return last_outcome.dips[0].long_window;
  };
  EXPECT_FALSE(window(500 * smp));
  EXPECT_TRUE(window(500 * smp + 1));
}

TEST_F(Driver, DropsADipThatNeverRecovers) {
  auto wave = dip(6, 100).set(1, 50 * smp, 60 * smp, 100);
  const auto printed = run(wave);
  EXPECT_EQ(dq_rms_buf->evt_num, 3);
  EXPECT_NE(printed.out.find("evt_num=1\r\n"), std::string::npos);
}

TEST_F(Driver, SearchesWithoutAnalysing) {
  auto wave = dip(6, 100);
  run(wave);
  std::string lines;
  bool found = false;
  lines = printed_by([&] { found = sagx::search_dips(); }).out;
  EXPECT_TRUE(found);
  EXPECT_EQ(lines, trace(smp, 60 * smp, "220.000000"));
  EXPECT_EQ(last_outcome.run, RunOutcome::searched);
  EXPECT_EQ(new_dipx_buf[0].un, 0.0F) << "no dip was examined";
  EXPECT_EQ(dq_rms_buf->evt_num, 2);
}

TEST_F(Driver, AcceptsSamplesThatAreNotNumbers) {
  for (const float odd : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(), std::numeric_limits<float>::max(),
                          std::numeric_limits<float>::denorm_min(), 0.0F}) {
    auto everywhere = LevelRecord(smp, 20 * smp, odd);
    run(everywhere);
    EXPECT_EQ(dq_rms_buf->evt_num, 0) << odd;
    auto inside = dip(6, 100).set(1, 23 * smp, 23 * smp + 3, odd);
    run(inside);
    EXPECT_LE(dq_rms_buf->evt_num, 4) << odd;
    EXPECT_NE(last_outcome.dips[0].outcome, DipOutcome::not_reached) << odd;
  }
}

TEST_F(Driver, LetsNotANumberReplaceAPhaseAndBeReplacedInTurn) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  // Where phase B is NaN it replaces A, although A is low, and C then replaces it.
  auto in_b = dip(6, 100).set(1, 20 * smp, 26 * smp, nan).set(2, 21 * smp, 25 * smp, 150);
  run(in_b);
  ASSERT_EQ(dq_rms_buf->evt_num, 2);
  EXPECT_EQ(new_dipx_buf[0].ud, 70.0F);
  // Where phase C is NaN nothing replaces it, and NaN is never the deepest value.
  auto in_c = dip(6, 100).set(2, 21 * smp, 22 * smp, nan);
  run(in_c);
  EXPECT_EQ(new_dipx_buf[0].ud, 120.0F);
  auto in_c_throughout = dip(6, 100).set(2, 20 * smp, 26 * smp, nan);
  run(in_c_throughout);
  EXPECT_EQ(new_dipx_buf[0].ud, 0.0F);
}

/// Returns how many of `size` bytes from `begin` on are resident in memory.
std::size_t resident(const void* begin, std::size_t size) {
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto from = reinterpret_cast<std::uintptr_t>(begin) / page * page;
  const auto to = reinterpret_cast<std::uintptr_t>(begin) + size;
  std::vector<unsigned char> pages((to - from + page - 1) / page);
  if (mincore(reinterpret_cast<void*>(from), to - from, pages.data()) != 0) return size;
  std::size_t count = 0;
  for (const unsigned char state : pages) count += state & 1U;
  return count * page;
}

TEST_F(Driver, LeavesTheResultsOfNoDipOutOfMemory) {
  const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
  const auto first_page = (reinterpret_cast<std::uintptr_t>(new_dipx_buf) + page - 1) / page * page;
  const auto end = reinterpret_cast<std::uintptr_t>(new_dipx_buf) + sizeof new_dipx_buf;
  std::memset(new_dipx_buf, 0, sizeof new_dipx_buf);
  ASSERT_EQ(madvise(reinterpret_cast<void*>(first_page), (end - first_page) / page * page, MADV_DONTNEED), 0);
  auto wave = dip(6, 100);
  run(wave);
  ASSERT_TRUE(reached_features(last_outcome.dips[0].outcome));
  // The written part of the one dip's result is resident, and the pages that also hold data next to the results.
  EXPECT_LE(resident(new_dipx_buf, sizeof new_dipx_buf), sizeof new_dipx_buf[0] + 2UL * 4096);
}

TEST_F(Driver, LeavesUnneededPartsOfTheWindowUntouched) {
  LevelRecord wave(128, 500 * 128, 220);  // ten seconds
  wave.set(0, 100 * 128, 115 * 128, 100);
  run(wave);
  ASSERT_TRUE(reached_features(last_outcome.dips[0].outcome));
  // Seven arrays are cleared over their whole capacity; the others are filled only for the window of 24 cycles.
  constexpr std::size_t cleared = sizeof(float) * (3 * DQ_WINDOW_CAPACITY + 4 * DQ_RECORD_CAPACITY);
  constexpr std::size_t filled = sizeof(float) * 32 * 128 * 24;
  constexpr std::size_t pages_at_array_ends = 40UL * 4096;
  EXPECT_LE(resident(dq_data_buf, sizeof *dq_data_buf), cleared + filled + pages_at_array_ends);
}

}  // namespace
