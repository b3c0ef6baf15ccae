#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <memory>

#include "dipx_dll.h"
#include "sagx/dipx_outcome.h"
#include "sagx/dq_dipx.h"
#include "sagx/mms_time.h"
#include "sagx/signal_acquisition.h"
#include "tests/core/faults.h"
#include "tests/core/printed_lines.h"
#include "tests/core/waveforms.h"
#include "tests/core/working_folder.h"

namespace {

using tests::LevelRecord;
using tests::printed_by;
using tests::text_of;

constexpr int smp = 64;

class Host : public testing::Test {
 protected:
  void TearDown() override {
    printed_by([] { sagx_free_all(); });
  }

  void load(const LevelRecord& wave) {
    std::copy(wave.phases[0].begin(), wave.phases[0].end(), record->smp_va);
    std::copy(wave.phases[1].begin(), wave.phases[1].end(), record->smp_vb);
    std::copy(wave.phases[2].begin(), wave.phases[2].end(), record->smp_vc);
    record->smp_rate = wave.smp;
    record->smp_len = wave.samples();
  }
  tests::Printed run() {
    return printed_by([&] { dipx_fun(record.get()); });
  }

  static LevelRecord one_dip() { return LevelRecord(smp, 60 * smp, 220).set(0, 20 * smp, 26 * smp, 100); }

  tests::WorkingFolder folder;
  std::unique_ptr<dipx_data_struct> record = std::make_unique<dipx_data_struct>();
};

TEST_F(Host, TracesTheBitPatternOfTheFirstSample) {
  load(LevelRecord(smp, 4 * smp, 1.0F));
  const auto printed = run();
  EXPECT_TRUE(printed.out.starts_with("dipx fun run(1065353216)...\r\nsample_input_smprate=64\r\n[ALLOC] sizeof("))
      << printed.out;
}

TEST_F(Host, PublishesItsArraysAsTheInput) {
  load(one_dip());
  run();
  EXPECT_EQ(sample_input_number, 60 * smp);
  EXPECT_EQ(sample_input_smprate, smp);
  EXPECT_EQ(psample_input_va, record->smp_va);
  EXPECT_EQ(psample_input_vb, record->smp_vb);
  EXPECT_EQ(psample_input_vc, record->smp_vc);
}

TEST_F(Host, GetsOneEventForThreeBoundaries) {
  load(one_dip().set(1, 50 * smp, 60 * smp, 100));
  run();
  EXPECT_EQ(dq_rms_buf->evt_num, 3);
  EXPECT_EQ(record->evt_num, 1);
}

TEST_F(Host, FindsASkippedDipInItsPlaceWithZeros) {
  load(LevelRecord(smp, 60 * smp, 220).set(0, 20 * smp, 23 * smp, 194));
  auto& event = record->evt_buf[0];
  event.u_min_num = event.SEG_T_num = event.SEG_RMS_T_num = 77;
  event.hold_time_dq = event.hold_time_rms = event.POW_a = event.POW_b = event.POW_c = 77;
  event.Voltagechange_Va = event.Voltagechange_Vb = event.Voltagechange_Vc = 77;
  run();
  ASSERT_EQ(sagx::last_outcome.dips[0].outcome, sagx::DipOutcome::too_shallow);
  EXPECT_EQ(record->evt_num, 1);
  for (const int count : {event.u_min_num, event.SEG_T_num, event.SEG_RMS_T_num}) EXPECT_EQ(count, 0);
  for (const float value : {event.hold_time_dq, event.hold_time_rms, event.POW_a, event.POW_b, event.POW_c,
                            event.Voltagechange_Va, event.Voltagechange_Vb, event.Voltagechange_Vc}) {
    EXPECT_EQ(value, 0.0F);
  }
}

TEST_F(Host, KeepsTheCausesThatItStored) {
  load(one_dip());
  for (auto& event : record->evt_buf) std::fill(std::begin(event.dipx_cata_cause), std::end(event.dipx_cata_cause), 99);
  run();
  for (const auto& event : record->evt_buf) {
    for (const int cause : event.dipx_cata_cause) ASSERT_EQ(cause, 99);
  }
}

TEST_F(Host, GetsTheEventCountOfTheLastAcceptedRunAfterARefusedOne) {
  load(one_dip());
  run();
  record->smp_rate = 31;
  EXPECT_TRUE(run().out.ends_with("采样率越限\r\n"));
  EXPECT_EQ(record->evt_num, 1);
  EXPECT_EQ(record->evt_buf[0].hold_time_dq, 0.0F);
}

TEST_F(Host, GetsNoEventsWhenTheFirstRecordIsRefused) {
  load(one_dip());
  record->smp_rate = 129;
  record->evt_num = 55;
  run();
  EXPECT_EQ(record->evt_num, 0);
}

TEST_F(Host, GetsNoEventsWhenTheRecordCannotBeAllocated) {
  load(one_dip());
  record->evt_num = 55;
  const tests::FailingAllocation failure(2);
  EXPECT_NE(run().err.find("[ALLOC][FATAL] dq_rms_buf calloc("), std::string::npos);
  EXPECT_EQ(dq_rms_buf, nullptr);
  EXPECT_EQ(record->evt_num, 0);
  EXPECT_NE(tests::bytes_of("dipx_result.txt"), "") << "the report is written nevertheless";
}

TEST_F(Host, IsNotDisturbedByANullPointer) {
  dipx_fun_use_time = 1234;
  const auto printed = printed_by([] {
    dipx_fun(nullptr);
    print_to_txt(nullptr);
  });
  EXPECT_EQ(printed.out, "");
  EXPECT_EQ(dipx_fun_use_time, 1234);
  EXPECT_FALSE(std::filesystem::exists("dipx_result.txt"));
}

/// Fills a dip's lists so that each entry identifies its field and index.
void mark(dq_dipx_struct& dip) {
  for (int j = 0; j < DQ_LIST_CAPACITY; j++) {
    const auto entry = static_cast<float>(j);
    dip.ua_min[j] = 100 + entry;
    dip.ub_min[j] = 200 + entry;
    dip.uc_min[j] = 300 + entry;
    dip.u3_min[j] = 400 + entry;
    dip.order_min[j] = 500 + j;
    dip.dipx_type[j] = 600 + j;
    dip.dipx_cata_seg[j] = 700 + j;
    dip.bph_max_value[j] = 800 + entry;
    dip.angle_diff_ap[j] = 900 + entry;
    dip.angle_diff_bp[j] = 1000 + entry;
    dip.angle_diff_cp[j] = 1100 + entry;
    dip.angle_diff_an[j] = 1200 + entry;
    dip.angle_diff_bn[j] = 1300 + entry;
    dip.angle_diff_cn[j] = 1400 + entry;
    dip.T[j] = 1500 + j;
    dip.T0[j] = 1600 + j;
    dip.T_rms[j] = 1700 + j;
    dip.dipx_phase[j] = 1800 + j;
  }
  dip.hold_time_rms = 1;
  dip.hold_time_dq = 2;
  dip.POW_a = 3;
  dip.POW_b = 4;
  dip.POW_c = 5;
  dip.Voltagechange_Va = 6;
  dip.Voltagechange_Vb = 7;
  dip.Voltagechange_Vc = 8;
}

/// Tests the copying alone. Any run that reaches the analysis clears the results first; a run that ends earlier,
/// because memory for the window record cannot be allocated, keeps what the test has put into the results and into the
/// whole record.
class CopiedResults : public Host {
 protected:
  /// Copies new_dipx_buf with its current content, for `boundaries` boundaries.
  void copy(int boundaries) {
    for (auto& event : record->evt_buf) std::memset(&event, 0x7B, sizeof event);
    dq_rms_buf = static_cast<dq_dipx_rms*>(std::calloc(1, sizeof(dq_dipx_rms)));
    dq_rms_buf->evt_num = boundaries;
    const tests::FailingAllocation failure(1);
    run();
  }
  ~CopiedResults() override { std::memset(new_dipx_buf, 0, sizeof new_dipx_buf); }
  static constexpr int untouched = 0x7B7B7B7B;
};

TEST_F(CopiedResults, AppearUnderTheirHostNamesUpToTheirCounts) {
  mark(new_dipx_buf[1]);
  new_dipx_buf[1].u_min_num = 2;
  new_dipx_buf[1].T_num = 4;
  new_dipx_buf[1].T_rms_num = 3;
  copy(4);
  EXPECT_EQ(record->evt_num, 2);
  const auto& event = record->evt_buf[1];
  EXPECT_EQ(event.u_min_num, 2);
  EXPECT_EQ(event.ua_min[1], 101.0F);
  EXPECT_EQ(event.ub_min[1], 201.0F);
  EXPECT_EQ(event.uc_min[1], 301.0F);
  EXPECT_EQ(event.u3_min[1], 401.0F);
  EXPECT_EQ(event.order_min_idx[1], 501);
  EXPECT_EQ(event.dipx_phasetype[1], 601) << "this field is the number of phases";
  EXPECT_EQ(event.dipx_cata_type[1], 701) << "category";
  EXPECT_EQ(event.bph_max_value[1], 801.0F);
  EXPECT_EQ(event.angle_diff_ap[1], 901.0F);
  EXPECT_EQ(event.angle_diff_bp[1], 1001.0F);
  EXPECT_EQ(event.angle_diff_cp[1], 1101.0F);
  EXPECT_EQ(event.angle_diff_an[1], 1201.0F);
  EXPECT_EQ(event.angle_diff_bn[1], 1301.0F);
  EXPECT_EQ(event.angle_diff_cn[1], 1401.0F);
  EXPECT_EQ(event.dipx_cata_cause[0], untouched);
  EXPECT_EQ(event.dipx_cata_cause[1], untouched);
  EXPECT_EQ(event.order_min_idx[2], untouched);
  EXPECT_EQ(event.dipx_phasetype[2], untouched);
  EXPECT_EQ(event.SEG_T_num, 4);
  EXPECT_EQ(event.SEG_T_idx[0], 1500);
  EXPECT_EQ(event.SEG_T_idx[3], 1503);
  EXPECT_EQ(event.SEG_T_idx[4], untouched);
  EXPECT_EQ(event.SEG_T0_idx[3], 1603);
  EXPECT_EQ(event.SEG_T0_idx[4], untouched);
  EXPECT_EQ(event.SEG_RMS_T_num, 3);
  EXPECT_EQ(event.SEG_RMS_T_idx[2], 1702);
  EXPECT_EQ(event.SEG_RMS_T_idx[3], untouched);
  EXPECT_EQ(event.hold_time_rms, 1.0F);
  EXPECT_EQ(event.hold_time_dq, 2.0F);
  EXPECT_EQ(event.POW_a, 3.0F);
  EXPECT_EQ(event.POW_b, 4.0F);
  EXPECT_EQ(event.POW_c, 5.0F);
  EXPECT_EQ(event.Voltagechange_Va, 6.0F);
  EXPECT_EQ(event.Voltagechange_Vb, 7.0F);
  EXPECT_EQ(event.Voltagechange_Vc, 8.0F);
  EXPECT_EQ(record->evt_buf[2].u_min_num, untouched) << "events beyond the count must not change";
}

TEST_F(CopiedResults, EndWithTheListsWhenACountPointsBeyond) {
  mark(new_dipx_buf[0]);
  new_dipx_buf[0].u_min_num = 1000;
  new_dipx_buf[0].T_num = -3;
  copy(2);
  const auto& event = record->evt_buf[0];
  EXPECT_EQ(event.u_min_num, 1000) << "counts are copied unchanged";
  EXPECT_EQ(event.order_min_idx[31], 531);
  EXPECT_EQ(event.order_min_idx[32], untouched);
  EXPECT_EQ(event.SEG_T_num, -3);
  EXPECT_EQ(event.SEG_T_idx[0], untouched);
}

TEST_F(CopiedResults, EndWithTheThirtySecondEvent) {
  copy(2000);
  EXPECT_EQ(record->evt_num, 1000);
  EXPECT_EQ(record->evt_buf[31].u_min_num, 0);
}

TEST_F(Host, MeasuresItsTimeAcrossAWrapOfTheClock) {
  load(one_dip());
  // 2^32 ms are 4294967.296 s; the first reading is 100 ms before the wrap, and the second is 150 ms later.
  const tests::StandInClock clock(4294967, 196000000, 150);
  run();
  EXPECT_EQ(dipx_fun_use_time, 150);
}

TEST(MillisecondClock, CountsMillisecondsInThirtyTwoBits) {
  const auto at = [](std::time_t seconds, long nanoseconds) {
    const tests::StandInClock clock(seconds, nanoseconds);
    return mms_get_ms_time();
  };
  EXPECT_EQ(at(1, 999999), 1000);
  EXPECT_EQ(at(1, 1000000), 1001);
  EXPECT_EQ(at(12, 345999999), 12345);
  EXPECT_EQ(at(2147483, 647000000), std::numeric_limits<int>::max());
  EXPECT_EQ(at(2147483, 648000000), std::numeric_limits<int>::min());
  EXPECT_EQ(at(4294967, 295000000), -1);
  EXPECT_EQ(at(4294967, 296000000), 0);
}

TEST(MillisecondClock, RunsForward) {
  const int before = mms_get_ms_time();
  const timespec pause{0, 5000000};
  nanosleep(&pause, nullptr);
  EXPECT_GE(mms_get_ms_time() - before, 4);
}

class BufferStyle : public Host {
 protected:
  static tests::Printed init(const LevelRecord& wave) { return init(wave, wave.smp, wave.samples()); }
  static tests::Printed init(const LevelRecord& wave, int rate, int samples) {
    return printed_by([&] {
      sagx_init_from_samples(wave.phases[0].data(), wave.phases[1].data(), wave.phases[2].data(), rate, samples);
    });
  }
  static std::string init_line(int rate, int samples) {
    return fmt::format("[SAGX] init ok: rate={} len={} | dq_data_buf={} dq_rms_buf={} va={} vb={} vc={}\n", rate,
                       samples, text_of(dq_data_buf), text_of(dq_rms_buf), text_of(dq_rms_buf->va),
                       text_of(dq_rms_buf->vb), text_of(dq_rms_buf->vc));
  }
};

TEST_F(BufferStyle, CopiesTheSamplesAtOnce) {
  auto wave = one_dip();
  wave.phases[1][5] = 1.5F;
  wave.phases[2][6] = 2.5F;
  const auto printed = init(wave);
  EXPECT_EQ(printed.out, "");
  EXPECT_EQ(printed.err, init_line(smp, 60 * smp));
  EXPECT_EQ(sample_input_smprate, smp);
  EXPECT_EQ(sample_input_number, 60 * smp);
  EXPECT_EQ(psample_input_va, wave.phases[0].data());
  EXPECT_EQ(psample_input_vb, wave.phases[1].data());
  EXPECT_EQ(psample_input_vc, wave.phases[2].data());
  EXPECT_EQ(dq_rms_buf->smprate, smp);
  EXPECT_EQ(dq_rms_buf->smp_num, 60 * smp);
  EXPECT_EQ(dq_rms_buf->evt_num, 0);
  EXPECT_TRUE(std::equal(wave.phases[0].begin(), wave.phases[0].end(), dq_rms_buf->va));
  EXPECT_TRUE(std::equal(wave.phases[1].begin(), wave.phases[1].end(), dq_rms_buf->vb));
  EXPECT_TRUE(std::equal(wave.phases[2].begin(), wave.phases[2].end(), dq_rms_buf->vc));
}

TEST_F(BufferStyle, LeavesItsResultsInTheWorkingRecordsAndWritesNoReport) {
  const auto wave = one_dip();
  init(wave);
  printed_by([] { dipx_new_pro(nullptr); });
  EXPECT_EQ(dq_rms_buf->evt_num, 2);
  EXPECT_EQ(new_dipx_buf[0].ud, 120.0F);
  EXPECT_FALSE(std::filesystem::exists("dipx_result.txt"));
}

TEST_F(BufferStyle, ReplacesTheRecordsOfTheLastRun) {
  load(one_dip());
  run();
  EXPECT_EQ(dq_rms_buf->evt_num, 2);
  const LevelRecord wave(32, 640, 100);
  init(wave);
  EXPECT_EQ(dq_rms_buf->evt_num, 0);
  EXPECT_EQ(dq_rms_buf->va[640], 0.0F) << "nothing of the longer record remains";
}

TEST_F(BufferStyle, RefusesBadArgumentsAndChangesNothing) {
  const auto wave = one_dip();
  init(wave);
  auto* const data = dq_data_buf;
  auto* const rms = dq_rms_buf;
  const float* const a = wave.phases[0].data();
  struct Arguments {
    const float *va, *vb, *vc;
    int rate, samples;
  };
  for (const auto& bad : {Arguments{nullptr, a, a, 64, 640},
                          {a, nullptr, a, 64, 640},
                          {a, a, nullptr, 64, 640},
                          {a, a, a, 0, 640},
                          {a, a, a, -1, 640},
                          {a, a, a, 64, 0}}) {
    const auto printed = printed_by([&] { sagx_init_from_samples(bad.va, bad.vb, bad.vc, bad.rate, bad.samples); });
    EXPECT_EQ(printed.err, fmt::format("[FATAL] sagx_init_from_samples: bad args va={} vb={} vc={} rate={} len={}\n",
                                       text_of(bad.va), text_of(bad.vb), text_of(bad.vc), bad.rate, bad.samples));
    EXPECT_EQ(printed.out, "");
    EXPECT_EQ(dq_data_buf, data);
    EXPECT_EQ(dq_rms_buf, rms);
    EXPECT_EQ(sample_input_smprate, smp);
    EXPECT_EQ(sample_input_number, 60 * smp);
    EXPECT_EQ(psample_input_va, a);
  }
}

TEST_F(BufferStyle, HasNoRecordsWhenOneCannotBeAllocated) {
  const auto wave = one_dip();
  for (const int which : {1, 2}) {
    const tests::FailingAllocation failure(which);
    const auto printed = init(wave);
    const std::string start = "[FATAL] sagx_init_from_samples: alloc failed dq_data_buf=";
    if (which == 1) {
      EXPECT_TRUE(printed.err.starts_with(start + "(nil) dq_rms_buf=0x")) << printed.err;
    } else {
      EXPECT_TRUE(printed.err.starts_with(start + "0x") && printed.err.ends_with(" dq_rms_buf=(nil)\n")) << printed.err;
    }
    EXPECT_EQ(dq_data_buf, nullptr);
    EXPECT_EQ(dq_rms_buf, nullptr);
    EXPECT_EQ(sample_input_number, 60 * smp) << "the input must stay set";
  }
}

TEST_F(BufferStyle, CopiesNoMoreThanTheRecordHolds) {
  LevelRecord wave(128, 384001, 220);
  const auto printed = init(wave);
  EXPECT_EQ(printed.err, init_line(128, 384001));
  EXPECT_EQ(dq_rms_buf->smp_num, 384001);
  EXPECT_EQ(dq_rms_buf->va[383999], 220.0F);
  EXPECT_EQ(dq_rms_buf->vb[0], 220.0F);
  EXPECT_EQ(dq_rms_buf->t[0], 0.0F) << "the array after phase C must not change";
}

TEST_F(BufferStyle, FreesEverythingAndMayDoSoTwice) {
  init(one_dip());
  for (int time = 0; time < 2; time++) {
    const auto printed = printed_by([] { sagx_free_all(); });
    EXPECT_EQ(printed.err, "[SAGX] free all\n");
    EXPECT_EQ(printed.out, "");
    EXPECT_EQ(dq_data_buf, nullptr);
    EXPECT_EQ(dq_rms_buf, nullptr);
    EXPECT_EQ(sample_input_number, 0);
    EXPECT_EQ(sample_input_smprate, 0);
    EXPECT_EQ(psample_input_va, nullptr);
    EXPECT_EQ(psample_input_vb, nullptr);
    EXPECT_EQ(psample_input_vc, nullptr);
  }
}

TEST_F(BufferStyle, RefusesToAnalyseAfterEverythingIsFreed) {
  init(one_dip());
  printed_by([] { sagx_free_all(); });
  EXPECT_TRUE(printed_by([] { dipx_new_pro(nullptr); }).out.ends_with("采样率越限\r\n"));
}

TEST_F(BufferStyle, MixesWithTheRecordStyleInAnyOrder) {
  load(one_dip());
  const auto wave = LevelRecord(smp, 60 * smp, 220);
  for (int round = 0; round < 3; round++) {
    init(wave);
    printed_by([] { dipx_new_pro(nullptr); });
    EXPECT_EQ(dq_rms_buf->evt_num, 0);
    run();
    EXPECT_EQ(record->evt_num, 1);
    record->smp_len = 0;
    run();
    record->smp_len = 60 * smp;
    EXPECT_EQ(record->evt_num, 1);
    if (round == 1) printed_by([] { sagx_free_all(); });
  }
}

}  // namespace
