#include "sagx/dipx_lib.h"

#include <gtest/gtest.h>

#include <ctime>
#include <limits>
#include <memory>

#include "tests/core/printed_lines.h"
#include "tests/core/waveforms.h"

namespace {

using tests::Printed;
using tests::printed_by;

struct Estimate {
  int status;
  float un;
  Printed printed;
};

Estimate estimate(const std::vector<float>& a, const std::vector<float>& b, const std::vector<float>& c, int smp,
                  int n) {
  Estimate result{1, -7, {}};
  result.printed = printed_by([&] { result.status = dipx_cal_un(a.data(), b.data(), c.data(), smp, n, &result.un); });
  return result;
}

TEST(NominalVoltage, OfASineOf311VoltPeakIs220) {
  const auto wave = tests::sine(311.127 / std::numbers::sqrt2, 128, 256);
  const auto result = estimate(wave, wave, wave, 128, 256);
  EXPECT_EQ(result.status, 0);
  EXPECT_NEAR(result.un, 220.0, 1e-3);
}

TEST(NominalVoltage, IsThatOfTheLowestPhase) {
  const std::vector<float> a(128, 230);
  const std::vector<float> b(128, 228);
  const std::vector<float> c(128, 229);
  EXPECT_EQ(estimate(a, b, c, 64, 128).un, 228.0F);
  EXPECT_EQ(estimate(b, c, a, 64, 128).un, 228.0F);
  EXPECT_EQ(estimate(c, a, b, 64, 128).un, 228.0F);
}

TEST(NominalVoltage, IsTheMeanOfTheFirstTwoCyclesAndOfNoMore) {
  std::vector<float> wave(192, 500.0F);
  std::fill_n(wave.begin(), 64, 200.0F);
  std::fill_n(wave.begin() + 64, 64, 210.0F);
  EXPECT_EQ(estimate(wave, wave, wave, 64, 192).un, 205.0F);
}

TEST(NominalVoltage, StoresTheSumAsFloatAfterEachRoot) {
  // The RMS of the first cycle is 3 and that of the second 2^24. Their sum in float is 2^24 + 4, half of which is
  // stored. Square roots in float or a sum in double would give 2^23 + 1.5.
  std::vector<float> wave(4, 3.0F);
  wave[2] = wave[3] = 16777216.0F;
  EXPECT_EQ(estimate(wave, wave, wave, 2, 4).un, 8388610.0F);
}

TEST(NominalVoltage, SumsSquaresInFloat) {
  // 4096^2 is 2^24, so the three ones added after it are lost one by one.
  const std::vector<float> wave = {4096, 1, 1, 1, 4096, 1, 1, 1};
  EXPECT_EQ(estimate(wave, wave, wave, 4, 8).un, 2048.0F);
}

TEST(NominalVoltage, NeedsExactlyTwoCycles) {
  const std::vector<float> wave(128, 230);
  EXPECT_EQ(estimate(wave, wave, wave, 64, 128).status, 0);
  const auto refused = estimate(wave, wave, wave, 64, 127);
  EXPECT_EQ(refused.status, -1);
  EXPECT_EQ(refused.un, -7.0F) << "untouched";
  EXPECT_EQ(refused.printed.err, "[dipx_cal_un][FATAL] bad sizes smp=64 n=127 (need n>=2*smp)\n");
  EXPECT_EQ(refused.printed.out, "");
}

TEST(NominalVoltage, RefusesARateBelowOneAndOneThatOverflowsTwice) {
  const std::vector<float> wave(4, 230);
  EXPECT_EQ(estimate(wave, wave, wave, 0, 4).printed.err, "[dipx_cal_un][FATAL] bad sizes smp=0 n=4 (need n>=2*smp)\n");
  EXPECT_EQ(estimate(wave, wave, wave, std::numeric_limits<int>::max(), 4).status, -1);
}

TEST(NominalVoltage, RefusesNullPointersAndNamesThem) {
  const std::vector<float> wave(128, 230);
  float un = -7;
  int status = 0;
  const auto printed = printed_by([&] { status = dipx_cal_un(wave.data(), nullptr, wave.data(), 64, 128, &un); });
  EXPECT_EQ(status, -1);
  EXPECT_EQ(un, -7.0F);
  const std::string wave_text = tests::text_of(wave.data());
  const std::string line = "[dipx_cal_un][FATAL] null ptr ua=" + wave_text + " ub=(nil) uc=" + wave_text +
                           " un=" + tests::text_of(&un) + "\n";
  EXPECT_EQ(printed.err, line);
  printed_by([&] { status = dipx_cal_un(wave.data(), wave.data(), wave.data(), 64, 128, nullptr); });
  EXPECT_EQ(status, -1);
}

TEST(NominalVoltage, TracesTheFirstSamplesAndTheCyclesLast) {
  std::vector<float> a(64, 1.5F);
  a[31] = -2.25F;
  const std::vector<float> b(64, 3.0F);
  const std::vector<float> c(64, -4.0F);
  const auto result = estimate(a, b, c, 32, 64);
  EXPECT_EQ(result.printed.out, "[dipx_cal_un] ua0=1.500000 ub0=3.000000 uc0=-4.000000 | ua[31]=-2.250000\n");
  EXPECT_EQ(result.printed.err, "");
}

TEST(NominalVoltage, OfZeroSamplesIsZero) {
  const std::vector<float> wave(128, 0);
  EXPECT_EQ(estimate(wave, wave, wave, 64, 128).un, 0.0F);
}

class Stability : public testing::Test {
 protected:
  void flat(int smp, int samples) {
    record->smprate = smp;
    record->smp_num = samples;
    for (float* rms : {record->rmsa, record->rmsb, record->rmsc}) std::fill_n(rms, samples, 220.0F);
  }
  /// Lets every half-cycle alternate by `swing` around its mean, so that its deviation is `swing`.
  void ripple(float* rms, float swing, int from, int to) {
    for (int i = from; i < to; i++) rms[i] = 220.0F + (i % 2 == 0 ? swing : -swing);
  }
  std::unique_ptr<dq_dipx_rms> record = std::make_unique<dq_dipx_rms>();
};

TEST_F(Stability, OfFlatCurvesIsZero) {
  flat(128, 1280);
  EXPECT_EQ(rms_bzc(record.get()), 0.0F);
}

TEST_F(Stability, IsHardlyTouchedByOneStep) {
  flat(64, 6400);
  for (int i = 3200; i < 6400; i++) record->rmsa[i] = std::max(100.0F, 220.0F - static_cast<float>(i - 3200) * 2.0F);
  // There are 199 blocks of 32; the ramp of 60 samples affects two of them.
  EXPECT_EQ(rms_bzc(record.get()), 2.0F / 199.0F);
}

TEST_F(Stability, OfARippleInOnePhaseIsOne) {
  flat(64, 640);
  ripple(record->rmsb, 0.6F, 0, 640);
  EXPECT_EQ(rms_bzc(record.get()), 1.0F);
}

TEST_F(Stability, CountsADeviationOfExactlyHalfAVoltAsSteady) {
  flat(64, 640);
  ripple(record->rmsa, 0.5F, 0, 640);
  EXPECT_EQ(rms_bzc(record.get()), 0.0F);
}

TEST_F(Stability, SumsTheMeanInFloat) {
  // The flat curve is so high that the float sum of sixteen entries is rounded. Its mean is then 1 V off, which counts
  // as a deviation.
  flat(32, 320);
  std::fill_n(record->rmsb, 320, 16777202.0F);
  EXPECT_EQ(rms_bzc(record.get()), 1.0F);
}

TEST_F(Stability, IsThatOfTheMostRestlessPhase) {
  flat(64, 640);  // 19 blocks of 32 samples
  ripple(record->rmsa, 1, 0, 3 * 32);
  ripple(record->rmsb, 1, 0, 5 * 32);
  ripple(record->rmsc, 1, 0, 4 * 32);
  EXPECT_EQ(rms_bzc(record.get()), 5.0F / 19.0F);
}

TEST_F(Stability, LeavesOutTheLastHalfCycleAndAPartialOne) {
  flat(64, 640 + 31);
  ripple(record->rmsa, 1, 19 * 32, 640 + 31);
  EXPECT_EQ(rms_bzc(record.get()), 0.0F);
  ripple(record->rmsa, 1, 18 * 32, 19 * 32);
  EXPECT_EQ(rms_bzc(record.get()), 1.0F / 19.0F);
}

TEST_F(Stability, HasNearlySixThousandBlocksAt32SamplesAnd3000Cycles) {
  flat(32, 96000);
  ripple(record->rmsc, 1, 0, 16);
  EXPECT_EQ(rms_bzc(record.get()), 1.0F / 5999.0F);
}

TEST_F(Stability, CopesWithMoreBlocksThanTwoPerCycleAtAnOddRate) {
  flat(33, 99000);  // half-cycles of 16 samples, which give 6186 blocks
  ripple(record->rmsa, 1, 16 * 6185, 16 * 6186);
  EXPECT_EQ(rms_bzc(record.get()), 1.0F / 6186.0F);
}

TEST_F(Stability, IsZeroWithoutAHalfCycleAndNotANumberWithoutABlock) {
  flat(64, 640);
  record->smprate = 1;
  EXPECT_EQ(rms_bzc(record.get()), 0.0F);
  record->smprate = 0;
  EXPECT_EQ(rms_bzc(record.get()), 0.0F);
  record->smprate = 64;
  record->smp_num = 63;  // one half-cycle and a remainder
  EXPECT_TRUE(std::isnan(rms_bzc(record.get())));
  EXPECT_EQ(rms_bzc(nullptr), 0.0F);
}

TEST_F(Stability, StaysInsideTheRecordForAnyCount) {
  flat(64, 640);
  record->smp_num = DQ_RECORD_CAPACITY + 64000;
  std::fill_n(record->rmsc, +DQ_RECORD_CAPACITY, 220.0F);
  // Blocks after the 20 flat ones hold zeros in A and B, so they are flat as well.
  EXPECT_EQ(rms_bzc(record.get()), 0.0F);
  for (const int rate : {2, 3, 64}) {
    for (const int samples : {std::numeric_limits<int>::min(), -1, 0}) {
      record->smprate = rate;
      record->smp_num = samples;
      EXPECT_EQ(rms_bzc(record.get()), 0.0F) << rate << " " << samples;
    }
  }
}

TEST_F(Stability, OfHalfCyclesLongerThanTheRecordIsKnownAtOnce) {
  flat(64, 640);
  record->smprate = std::numeric_limits<int>::max();
  const std::clock_t begin = std::clock();
  EXPECT_EQ(rms_bzc(record.get()), 0.0F);
  EXPECT_LT(std::clock() - begin, CLOCKS_PER_SEC / 10);
}

}  // namespace
