// Tests the checks of boundaries that test harnesses call. At 32 samples per cycle the margins of a window are 128
// samples wide, and the log shifts a dip's start to the point half-way to sample 160.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "sagx/dipx_lib.h"
#include "tests/core/dip_waveforms.h"
#include "tests/core/kernel_inputs.h"
#include "tests/core/printed_lines.h"
#include "tests/core/working_folder.h"

namespace {

using Boundaries = std::vector<int>;

constexpr int highest = std::numeric_limits<int>::max();
constexpr int lowest = std::numeric_limits<int>::min();

// --- lists -----------------------------------------------------------------------------------------------------------

TEST(BoundaryCopy, CopiesTheGivenNumberOfBoundaries) {
  Boundaries from = {3, -1, highest, 4};
  Boundaries to = {70, 71, 72, 73};
  EXPECT_EQ(seg_reinit(from.data(), to.data(), 3), 0);
  EXPECT_EQ(to, (Boundaries{3, -1, highest, 73}));
  EXPECT_EQ(from, (Boundaries{3, -1, highest, 4}));
}

TEST(BoundaryCopy, OfNothingCopiesNothing) {
  Boundaries from = {1, 2};
  Boundaries to = {70, 71};
  for (const int count : {0, -1, lowest}) EXPECT_EQ(seg_reinit(from.data(), to.data(), count), 0) << count;
  EXPECT_EQ(seg_reinit(nullptr, to.data(), 2), 0);
  EXPECT_EQ(seg_reinit(from.data(), nullptr, 2), 0);
  EXPECT_EQ(to, (Boundaries{70, 71}));
}

Boundaries nominal(int smp, int datalen) {
  Boundaries T = {70, 71, 72, 73, 74};
  EXPECT_EQ(seg_reinit90(T.data(), smp, datalen), 0);
  EXPECT_EQ(T[4], 74);
  T.pop_back();
  return T;
}

TEST(NominalBoundaries, LieAQuarterCycleRoundTheMargins) {
  EXPECT_EQ(nominal(64, 1000), (Boundaries{240, 256, 744, 760}));
}

TEST(NominalBoundaries, CutAQuarterCycleTowardZero) {
  EXPECT_EQ(nominal(50, 1000), (Boundaries{188, 200, 800, 812}));
  EXPECT_EQ(nominal(-50, 1000), (Boundaries{-188, -200, 1200, 1188}));
}

TEST(NominalBoundaries, CrossInAWindowShorterThanItsMargins) {
  EXPECT_EQ(nominal(64, 100), (Boundaries{240, 256, -156, -140}));
}

TEST(NominalBoundaries, WithoutAListAreNotWritten) {
  EXPECT_EQ(seg_reinit90(nullptr, 64, 1000), 0);
}

// --- comparison with the nominal boundaries --------------------------------------------------------------------------

/// Returns whether the boundaries match a window of 1000 samples at 64 per cycle, whose nominal boundaries are 256 and
/// 744; one cycle later these are 320 and 808.
int fit(Boundaries T, int num) {
  return seg_check_dgz(T.data(), num, 64, 1000);
}

int fit(const Boundaries& T) {
  return fit(T, static_cast<int>(T.size()));
}

TEST(NominalCheck, AcceptsTheNominalBoundariesACycleLate) {
  for (const int smp : {1, 3, 32, 50, 64, 128}) {
    for (const int middle : {0, 1, 99, 100, 100000}) {
      auto T = nominal(smp, 8 * smp + middle);
      for (int& boundary : T) boundary += smp;
      EXPECT_EQ(seg_check_dgz(T.data(), 4, smp, 8 * smp + middle), 0) << smp << " " << middle;
    }
  }
}

TEST(NominalCheck, RejectsTheNominalBoundariesThemselves) {
  EXPECT_EQ(fit({240, 256, 744, 760}), 1);
}

TEST(NominalCheck, RejectsFewerThanThreeBoundaries) {
  const Boundaries good = {304, 320, 808, 824};
  for (const int count : {2, 1, 0, -1, lowest}) EXPECT_EQ(fit(good, count), 1) << count;
  EXPECT_EQ(fit(good, 3), 0);
  EXPECT_EQ(seg_check_dgz(nullptr, 4, 64, 1000), 1);
}

struct NominalCase {
  const char* what;
  Boundaries good;
  Boundaries bad;
};

class NominalLimit : public testing::TestWithParam<NominalCase> {};

TEST_P(NominalLimit, LiesBetween) {
  EXPECT_EQ(fit(GetParam().good), 0);
  EXPECT_EQ(fit(GetParam().bad), 1);
}

INSTANTIATE_TEST_SUITE_P(OfA, NominalLimit,
                         testing::Values(NominalCase{"FirstBoundary", {320, 320, 808, 824}, {321, 320, 808, 824}},
                                         NominalCase{"SecondBoundary", {304, 320, 808, 824}, {304, 319, 807, 824}},
                                         NominalCase{"ThirdBoundary", {304, 321, 808, 824}, {304, 321, 809, 824}},
                                         NominalCase{"FourthBoundary", {304, 320, 808, 808}, {304, 320, 808, 807}},
                                         NominalCase{"ShortMiddlePart", {304, 420, 664, 824}, {304, 420, 663, 824}},
                                         NominalCase{"LongMiddlePart", {304, 320, 808}, {304, 320, 809}},
                                         NominalCase{"BackwardMiddlePart", {304, 400, 644, 824}, {304, 400, 399, 824}}),
                         [](const auto& test) { return std::string(test.param.what); });

TEST(NominalCheck, OfThreeBoundariesLooksAtNoEnd) {
  EXPECT_EQ(fit({304, 500, 900}), 0);
  EXPECT_EQ(fit({304, 500, 900, 950}), 1);
  EXPECT_EQ(fit({304, 500, 900, 0}, 3), 0);
}

TEST(NominalCheck, ReadsNoBoundaryPastTheFourth) {
  EXPECT_EQ(fit({304, 320, 808, 824, -1, 0}), 0);
}

TEST(NominalCheck, HalvesTheNominalMiddlePartTowardZero) {
  const auto fits = [](int middle, int nominal_middle) {
    Boundaries T = {320, 320, 320 + middle};
    return seg_check_dgz(T.data(), 3, 64, 512 + nominal_middle);
  };
  EXPECT_EQ(fits(2, 5), 0);
  EXPECT_EQ(fits(1, 5), 1);
  EXPECT_EQ(fits(0, 1), 0);
  EXPECT_EQ(fits(0, -1), 1) << "the middle part is longer than the nominal one";
}

TEST(NominalCheck, RejectsPositionsAtTheEndsOfTheNumbers) {
  EXPECT_EQ(fit({lowest, highest, lowest, highest}), 1);
  EXPECT_EQ(fit({highest, lowest, highest, lowest}), 1);
  Boundaries T = {0, 0, 0, 0};
  EXPECT_EQ(seg_check_dgz(T.data(), 4, highest, lowest), 1);
}

// --- comparison with the whole record --------------------------------------------------------------------------------

/// A record of 600 samples with a dip in phase A at 160 .. 399, and four boundaries that match it.
class RecordCheck : public testing::Test {
 protected:
  RecordCheck() {
    level(600, 100);
    record->ut = 90;
    set(record->rmsa, 160, 400, 50);
    dipx->smprate = 32;
    boundaries({160, 170, 390, 400});
  }

  void level(int samples, float volts) {
    record->smp_num = samples;
    for (float* rms : {record->rmsa, record->rmsb, record->rmsc}) set(rms, 0, samples, volts);
  }
  static void set(float* rms, int from, int to, float volts) { std::fill(rms + from, rms + to, volts); }
  void boundaries(const Boundaries& list) {
    std::copy(list.begin(), list.end(), dipx->T);
    dipx->T_num = static_cast<int>(list.size());
  }

  /// Returns the line that a check appends to the log.
  std::string logged(int evt_num = 1) {
    status = -7;
    std::filesystem::remove("result.txt");
    const auto printed =
        tests::printed_by([&] { status = seg_check_hh(record.get(), nullptr, dipx.get(), evt_num, 1); });
    EXPECT_EQ(printed.out + printed.err, "");
    return tests::bytes_of("result.txt");
  }
  std::string type(int evt_num = 1) {
    const auto line = logged(evt_num);
    EXPECT_EQ(status, line.starts_with("type00") ? 0 : 1) << line;
    EXPECT_TRUE(line.starts_with("type0")) << line;
    return line.substr(4, 2);
  }
  std::string type_of(const Boundaries& list) {
    boundaries(list);
    return type();
  }

  tests::WorkingFolder folder;
  tests::Zeroed<dq_dipx_rms> record = tests::zeroed<dq_dipx_rms>();
  tests::Zeroed<dq_dipx_struct> dipx = tests::zeroed<dq_dipx_struct>();
  int status = 0;
};

TEST_F(RecordCheck, FindsNothingWrongWithBoundariesThatFit) {
  EXPECT_EQ(logged(), "type00 T90:00160-00399 T_num=004 T[0]=00160 T[1]=00170 T[2]=00390 T[3]=00400\r\n");
  EXPECT_EQ(status, 0);
}

// The log

TEST_F(RecordCheck, LogsFourBoundariesForAnyNumber) {
  boundaries({160, 170, 390, 395, 396, 400});
  EXPECT_EQ(logged(), "type06 T90:00160-00399 T_num=006 T[0]=00160 T[1]=00170 T[2]=00390 T[3]=00395\r\n");
  boundaries({160, 170, 390});
  EXPECT_EQ(logged(), "type00 T90:00160-00399 T_num=003 T[0]=00160 T[1]=00170 T[2]=00390 T[3]=00395\r\n");
}

TEST_F(RecordCheck, LogsLongAndNegativeNumbersInFull) {
  boundaries({-160, 1234567, lowest, highest});
  EXPECT_EQ(logged(2), "type01 T90:00160-00399 T_num=004 T[0]=-0160 T[1]=1234567 T[2]=-2147483648 T[3]=2147483647\r\n");
  EXPECT_EQ(status, 1);
}

TEST_F(RecordCheck, AppendsToTheLog) {
  std::ofstream("result.txt") << "before";
  EXPECT_EQ(seg_check_hh(record.get(), nullptr, dipx.get(), 1, 1), 0);
  dipx->T_num = 2;
  EXPECT_EQ(seg_check_hh(record.get(), nullptr, dipx.get(), 1, 1), 1);
  EXPECT_EQ(tests::bytes_of("result.txt"),
            "beforetype00 T90:00160-00399 T_num=004 T[0]=00160 T[1]=00170 T[2]=00390 T[3]=00400\r\n"
            "type02 T90:00160-00399 T_num=002 T[0]=00160 T[1]=00170 T[2]=00390 T[3]=00400\r\n");
}

TEST_F(RecordCheck, OnlyChecksUnlessWritingIsRequested) {
  for (const int told : {0, 2, -1, highest}) {
    EXPECT_EQ(seg_check_hh(record.get(), nullptr, dipx.get(), 1, told), 0) << told;
    EXPECT_EQ(seg_check_hh(record.get(), nullptr, dipx.get(), 2, told), 1) << told;
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

TEST_F(RecordCheck, GivesEachOfItsVerdictsWithoutALogLine) {
  struct Verdict {
    int type;
    int evt_num;
    Boundaries list;
  };
  for (const Verdict& verdict : {Verdict{0, 1, {160, 170, 390, 400}},
                                 {1, 2, {160, 170, 390, 400}},
                                 {2, 1, {160, 400}},
                                 {3, 1, {160, 170, 390, 390}},
                                 {4, 1, {160 - 65, 170, 390, 400}},
                                 {5, 1, {160, 170, 390, 399 + 161}},
                                 {6, 1, {160, 387, 390, 400}}}) {
    boundaries(verdict.list);
    EXPECT_EQ(seg_check_hh(record.get(), nullptr, dipx.get(), verdict.evt_num, 0), verdict.type == 0 ? 0 : 1)
        << verdict.type;
    EXPECT_TRUE(std::filesystem::is_empty(folder.path())) << verdict.type;
    // Only the printed line shows which verdict it is.
    EXPECT_EQ(std::stoi(type(verdict.evt_num)), verdict.type);
    std::filesystem::remove("result.txt");
  }
}

TEST_F(RecordCheck, ChecksThoughTheLogCannotBeOpened) {
  std::filesystem::create_directory("result.txt");
  const auto printed = tests::printed_by([&] {
    EXPECT_EQ(seg_check_hh(record.get(), nullptr, dipx.get(), 1, 1), 0);
    EXPECT_EQ(seg_check_hh(record.get(), nullptr, dipx.get(), 0, 1), 1);
  });
  EXPECT_EQ(printed.out + printed.err, "");
}

TEST_F(RecordCheck, DoesNotLookAtTheHostsRecord) {
  auto host = tests::zeroed<dipx_data_struct>();
  host->evt_num = 7;
  EXPECT_EQ(seg_check_hh(record.get(), host.get(), dipx.get(), 1, 0), 0);
  EXPECT_EQ(host->evt_num, 7);
}

TEST_F(RecordCheck, LeavesRecordAndBoundariesAsTheyWere) {
  logged();
  EXPECT_EQ((Boundaries{dipx->T, dipx->T + 4}), (Boundaries{160, 170, 390, 400}));
  EXPECT_EQ(dipx->T_num, 4);
  EXPECT_EQ(record->evt_num, 0);
}

TEST_F(RecordCheck, WithoutARecordFindsNothingAndLogsNothing) {
  EXPECT_EQ(seg_check_hh(nullptr, nullptr, dipx.get(), 0, 1), 0);
  EXPECT_EQ(seg_check_hh(record.get(), nullptr, nullptr, 0, 1), 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

// Where the record's dip lies

/// Returns "start-end" as logged.
std::string dip_in(const std::string& line) {
  return line.substr(11, 11);
}

TEST_F(RecordCheck, MovesTheDipsStartHalfWayToFiveCyclesDownward) {
  level(600, 100);
  set(record->rmsa, 201, 400, 50);
  EXPECT_EQ(dip_in(logged()), "00180-00399");  // (160 + 201) / 2
  dipx->smprate = 33;
  EXPECT_EQ(dip_in(logged()), "00183-00399");  // (165 + 201) / 2
  dipx->smprate = -82;
  EXPECT_EQ(dip_in(logged()), "-0104-00399") << "-104.5 is rounded towards zero";
}

TEST_F(RecordCheck, UsesTheLowestPhaseOfEachSample) {
  level(600, 100);
  set(record->rmsa, 200, 210, 50);
  set(record->rmsb, 210, 300, 50);
  set(record->rmsc, 300, 311, 50);
  EXPECT_EQ(dip_in(logged()), "00180-00310");
}

TEST_F(RecordCheck, UsesTheFirstFallAndTheLastSampleBeforeTheLastRecovery) {
  set(record->rmsa, 240, 300, 100);
  set(record->rmsa, 450, 460, 50);
  EXPECT_EQ(dip_in(logged()), "00160-00459");
}

TEST_F(RecordCheck, TreatsTheThresholdItselfAsUndisturbed) {
  set(record->rmsa, 0, 600, 90);
  set(record->rmsa, 180, 200, 89.5F);
  EXPECT_EQ(dip_in(logged()), "00170-00199");
}

TEST_F(RecordCheck, OfARecordThatNeverDipsHasOnlyTheFiveCycles) {
  level(600, 100);
  EXPECT_EQ(logged(), "type04 T90:00080-00000 T_num=004 T[0]=00160 T[1]=00170 T[2]=00390 T[3]=00400\r\n");
}

TEST_F(RecordCheck, FindsNoStartInARecordThatBeginsDipped) {
  set(record->rmsa, 0, 160, 50);
  EXPECT_EQ(dip_in(logged()), "00080-00399");
}

TEST_F(RecordCheck, FindsNoEndInARecordThatEndsDipped) {
  set(record->rmsa, 400, 600, 50);
  EXPECT_EQ(dip_in(logged()), "00160-00000");
}

TEST_F(RecordCheck, FindsADipAtTheRecordsEdges) {
  level(600, 100);
  set(record->rmsb, 1, 599, 50);
  EXPECT_EQ(dip_in(logged()), "00080-00598");
  level(600, 100);
  set(record->rmsb, 0, 1, 50);
  EXPECT_EQ(dip_in(logged()), "00080-00000") << "the first sample is never the last of a dip";
  level(600, 100);
  set(record->rmsb, 1, 2, 50);
  EXPECT_EQ(dip_in(logged()), "00080-00001");
}

TEST_F(RecordCheck, ReadsNothingPastTheRecordsSamples) {
  record->smp_num = 300;
  EXPECT_EQ(dip_in(logged()), "00160-00000");
  record->smp_num = 0;
  EXPECT_EQ(dip_in(logged()), "00080-00000");
  record->smp_num = 1;
  EXPECT_EQ(dip_in(logged()), "00080-00000");
}

TEST_F(RecordCheck, StaysInsideTheRecordForAnyCount) {
  level(DQ_RECORD_CAPACITY, 100);
  // The data after the curves look like a dip.
  record->rmsb[0] = record->rmsc[0] = record->ua_max = 50;
  record->ub_max = 100;
  record->rmsc[DQ_RECORD_CAPACITY - 2] = 50;
  for (const int count : {+DQ_RECORD_CAPACITY, DQ_RECORD_CAPACITY + 1, highest, -1, lowest}) {
    record->smp_num = count;
    EXPECT_EQ(logged(), "type04 T90:192079-383998 T_num=004 T[0]=00160 T[1]=00170 T[2]=00390 T[3]=00400\r\n") << count;
  }
}

TEST_F(RecordCheck, FindsNoDipInVoltagesThatAreNotNumbers) {
  set(record->rmsa, 0, 600, tests::nan);
  EXPECT_EQ(dip_in(logged()), "00080-00000");
}

// The verdicts

TEST_F(RecordCheck, JudgesOnlyARecordWithOneDip) {
  EXPECT_EQ(type(0), "01");
  EXPECT_EQ(type(1), "00");
  EXPECT_EQ(type(2), "01");
  EXPECT_EQ(type(highest), "01");
  EXPECT_EQ(type(-1), "00") << "a negative number counts as one dip";
}

TEST_F(RecordCheck, WantsThreeToNineteenBoundaries) {
  Boundaries list;
  for (int i = 0; i < 20; i++) list.push_back(160 + 12 * i);
  const auto first = [&](int count) { return Boundaries(list.begin(), list.begin() + count); };
  EXPECT_EQ(type_of(first(2)), "02");
  set(record->rmsa, 160, 400, 100);
  set(record->rmsa, 160, 185, 50);
  EXPECT_EQ(type_of(first(3)), "00");
  set(record->rmsa, 160, 400, 50);
  EXPECT_EQ(type_of(first(19)), "00");
  EXPECT_EQ(type_of(first(20)), "02");
}

TEST_F(RecordCheck, NeverFollowsACountBeyondTheList) {
  for (const int count : {33, 100000, highest, 0, -1, lowest}) {
    dipx->T_num = count;
    EXPECT_EQ(type(), "02") << count;
    EXPECT_EQ(type(2), "01") << count;
  }
  EXPECT_EQ(logged(), "type02 T90:00160-00399 T_num=-2147483648 T[0]=00160 T[1]=00170 T[2]=00390 T[3]=00400\r\n");
}

TEST_F(RecordCheck, WantsNoTwoNeighboursEqual) {
  EXPECT_EQ(type_of({100, 100, 300}), "03");
  EXPECT_EQ(type_of({160, 170, 390, 390}), "03") << "the last two are equal";
  EXPECT_EQ(type_of({160, 170, 160, 400}), "00") << "the equal entries are not neighbours";
}

TEST_F(RecordCheck, WantsTheFirstBoundaryWithinTwoCyclesOfTheStart) {
  EXPECT_EQ(type_of({160 - 64, 170, 390, 400}), "00");
  EXPECT_EQ(type_of({160 - 65, 170, 390, 400}), "04");
  EXPECT_EQ(type_of({160 + 64, 230, 390, 400}), "00");
  EXPECT_EQ(type_of({160 + 65, 230, 390, 400}), "04");
}

TEST_F(RecordCheck, WantsTheLastBoundaryWithinFiveCyclesOfTheEnd) {
  EXPECT_EQ(type_of({160, 170, 399 - 160}), "00");
  EXPECT_EQ(type_of({160, 170, 399 - 161}), "05");
  EXPECT_EQ(type_of({160, 170, 390, 399 + 160}), "00");
  EXPECT_EQ(type_of({160, 170, 390, 399 + 161}), "05");
}

TEST_F(RecordCheck, WantsSegmentsOfAnEighthOfACycle) {
  EXPECT_EQ(type_of({160, 386, 390, 400}), "00");
  EXPECT_EQ(type_of({160, 387, 390, 400}), "06");
  EXPECT_EQ(type_of({160, 170, 380, 390, 393}), "06") << "the last segment of an odd number of boundaries is short";
  EXPECT_EQ(type_of({160, 170, 173, 390, 399, 400}), "06") << "one of two segments is short";
  dipx->smprate = 39;  // truncated to 4
  EXPECT_EQ(type_of({160, 386, 390, 400}), "00");
  EXPECT_EQ(type_of({160, 387, 390, 400}), "06");
}

TEST_F(RecordCheck, LetsTransitionsBeShort) {
  EXPECT_EQ(type_of({160, 161, 398, 399}), "00");
  EXPECT_EQ(type_of({160, 161, 280, 281, 398, 399}), "00");
}

TEST_F(RecordCheck, ReadsNoSegmentAfterTheLastBoundary) {
  boundaries({160, 170, 390, 398, 399});
  dipx->T_num = 4;
  EXPECT_EQ(type(), "00");
}

TEST_F(RecordCheck, TreatsASegmentThatRunsBackwardAsLong) {
  EXPECT_EQ(type_of({160, 391, 390, 400}), "00");
}

TEST_F(RecordCheck, OfADipShorterThanAnEighthOfACycleWantsHalfTheDip) {
  dipx->smprate = 128;
  const auto with_dip_of = [&](int length, int segment) {
    level(2000, 100);
    set(record->rmsa, 640, 640 + length + 1, 50);
    return type_of({640, 650, 650 + segment, 700});
  };
  EXPECT_EQ(with_dip_of(16, 16), "00") << "an eighth";
  EXPECT_EQ(with_dip_of(16, 15), "06");
  EXPECT_EQ(with_dip_of(15, 7), "00");
  EXPECT_EQ(with_dip_of(15, 6), "06");
  EXPECT_EQ(with_dip_of(1, 1), "00") << "half of one is truncated to 0";
  EXPECT_EQ(with_dip_of(0, 16), "00") << "a dip of one sample has length 0, so an eighth of a cycle applies";
  EXPECT_EQ(with_dip_of(0, 15), "06");
}

TEST_F(RecordCheck, TreatsADipThatEndsBeforeItsMovedStartAsLong) {
  level(600, 100);
  set(record->rmsa, 100, 110, 50);  // the start is 130
  EXPECT_EQ(type_of({130, 140, 144, 150}), "00");
  EXPECT_EQ(type_of({130, 140, 143, 150}), "06");
}

TEST_F(RecordCheck, AtRatesBelowEightLetsSegmentsBeShort) {
  dipx->smprate = 7;
  set(record->rmsa, 0, 600, 100);
  set(record->rmsa, 35, 60, 50);
  EXPECT_EQ(type_of({35, 40, 41, 60}), "00");
}

TEST_F(RecordCheck, NamesTheFirstFaultOnly) {
  EXPECT_EQ(type_of({10, 10, 5000}), "03");
  EXPECT_EQ(type_of({10, 5000, 5001}), "04");
  EXPECT_EQ(type_of({160, 5000, 5001}), "05");
  dipx->T_num = 20;
  EXPECT_EQ(type(), "02");
  EXPECT_EQ(type(2), "01");
}

TEST_F(RecordCheck, MeasuresDistancesAcrossAllNumbers) {
  EXPECT_EQ(type_of({lowest, 170, 390, 400}), "04");
  EXPECT_EQ(type_of({highest, 170, 390, 400}), "04");
  EXPECT_EQ(type_of({160, 170, 390, lowest}), "05");
  EXPECT_EQ(type_of({160, highest, lowest, 400}), "06") << "in 32 bits this is one sample later";
}

// --- file with a single number ---------------------------------------------------------------------------------------

std::string number_file(int x) {
  std::string name = "number.txt";
  const auto printed = tests::printed_by([&] { print_to_test(name.data(), x); });
  EXPECT_EQ(printed.out + printed.err, "");
  return tests::bytes_of(name);
}

TEST(NumberFile, HoldsTheNumberAlone) {
  const tests::WorkingFolder folder;
  EXPECT_EQ(number_file(42), "42");
  EXPECT_EQ(number_file(0), "0");
  EXPECT_EQ(number_file(-7), "-7");
  EXPECT_EQ(number_file(lowest), "-2147483648");
}

TEST(NumberFile, ReplacesWhatWasThere) {
  const tests::WorkingFolder folder;
  std::ofstream("number.txt") << "a longer text\r\n";
  EXPECT_EQ(number_file(5), "5");
}

TEST(NumberFile, ThatCannotBeOpenedIsPassedOver) {
  const tests::WorkingFolder folder;
  std::string name = "missing/number.txt";
  const auto printed = tests::printed_by([&] {
    print_to_test(name.data(), 5);
    print_to_test(nullptr, 5);
  });
  EXPECT_EQ(printed.out + printed.err, "");
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
}

}  // namespace
