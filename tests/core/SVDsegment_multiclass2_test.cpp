// At one sample per cycle the order is 1 and nothing is smoothed, so the feature is the difference between neighbouring
// samples, and a change over the samples b to b + L has the crossings b and b + L + 1. At 32 samples per cycle the
// order is 4 (16 differences), and the median of 17 does not alter a curve that only falls, so the crossings are b and
// b + L + 16.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

#include "sagx/dq_segment_feature.h"
#include "tests/core/dip_waveforms.h"
#include "tests/core/kernel_inputs.h"
#include "tests/core/printed_lines.h"
#include "tests/plain/dq_segment_feature.h"

namespace {

using tests::zeroed;
using Crossings = std::vector<int>;

constexpr int untouched = -7;

class LongSegmentation : public testing::Test {
 protected:
  LongSegmentation() {
    buf->smp = 1;
    dipx->un = 100;  // changes count from a feature of 1 on
  }

  void window(int samples, float level = 100) {
    buf->num = static_cast<unsigned>(samples);
    for (float* phase : {buf->ua, buf->ub, buf->uc}) std::fill_n(phase, samples, level);
  }
  /// Changes the phase by `slope` per sample from sample `begin` on for `length` samples; after that the phase is
  /// constant.
  static void ramp(float* phase, int samples, int begin, int length, float slope) {
    for (int i = begin + 1; i < samples; i++) phase[i] = phase[i - 1] + (i <= begin + length ? slope : 0.0F);
  }
  void ramp(int begin, int length, float slope) {
    for (float* phase : {buf->ua, buf->ub, buf->uc}) ramp(phase, static_cast<int>(buf->num), begin, length, slope);
  }
  /// Adds falls and rises in turn by `height`, ten samples apart from sample 5 on; each has two crossings.
  void steps(int count, float height = 2) {
    window(10 * count + 10);
    for (int k = 0; k < count; k++) ramp(5 + 10 * k, 1, k % 2 == 0 ? -height : height);
  }
  static Crossings crossings_of_steps(int count) {
    Crossings result;
    for (int k = 0; k < count; k++) {
      result.push_back(5 + 10 * k);
      result.push_back(7 + 10 * k);
    }
    return result;
  }

  Crossings segmented() {
    list.fill(untouched);
    number = untouched;
    const auto printed =
        tests::printed_by([&] { SVDsegment_multiclass2(buf.get(), dipx.get(), list.data(), &number); });
    EXPECT_EQ(printed.out, "");
    EXPECT_EQ(printed.err, "");
    if (number < 0 || number > 32) return {untouched};
    return {list.begin(), list.begin() + number};
  }

  tests::Zeroed<dq_data> buf = zeroed<dq_data>();
  tests::Zeroed<dq_dipx_struct> dipx = zeroed<dq_dipx_struct>();
  std::array<int, 40> list{};
  int number = untouched;
};

// --- smoothing of long cycles ----------------------------------------------------------------------------------------

TEST_F(LongSegmentation, SmoothsToZeroIfHalfACycleIsTooLongForAMedian) {
  for (const unsigned cycle : {2046U, 2048U}) {  // half a cycle then needs medians of 1024 and 1025 samples
    window(3000);
    buf->smp = cycle;
    segmented();
    const unsigned quarter = cycle / 4;
    const float inside = cycle == 2046 ? 100.0F : 0.0F;
    EXPECT_EQ(buf->ua[quarter - 1], 100.0F);
    EXPECT_EQ(buf->ua[quarter], inside) << cycle;
    EXPECT_EQ(buf->uc[3000 - quarter - 1], inside) << cycle;
    EXPECT_EQ(buf->uc[3000 - quarter], 100.0F);
  }
}

// --- crossings -------------------------------------------------------------------------------------------------------

TEST_F(LongSegmentation, OfAConstantVoltageFindsNothing) {
  window(200);
  EXPECT_EQ(segmented(), Crossings{});
  EXPECT_EQ(number, 0);
  EXPECT_EQ(list[0], untouched);
}

TEST_F(LongSegmentation, FindsTheLastSampleBeforeAChangeAndTheFirstAfterIt) {
  window(200);
  ramp(40, 7, -2);
  EXPECT_EQ(segmented(), (Crossings{40, 48}));
  window(200);
  ramp(40, 1, -2);
  EXPECT_EQ(segmented(), (Crossings{40, 42}));
}

TEST_F(LongSegmentation, AtTheLowestRateOfARecordSeesAChangeForSixteenSamples) {
  buf->smp = 32;
  window(200);
  ramp(80, 10, -2);
  EXPECT_EQ(segmented(), (Crossings{80, 106}));
}

TEST_F(LongSegmentation, LeavesEntriesPastTheCountUntouched) {
  window(200);
  ramp(40, 7, -2);
  ramp(100, 7, 2);
  EXPECT_EQ(segmented(), (Crossings{40, 48, 100, 108}));
  EXPECT_EQ(std::count(list.begin() + 4, list.end(), untouched), 36);
}

TEST_F(LongSegmentation, SeesAChangeOfAnyPhase) {
  window(200);
  ramp(buf->ua, 200, 40, 1, -2);
  ramp(buf->ub, 200, 80, 1, -2);
  ramp(buf->uc, 200, 120, 1, -2);
  EXPECT_EQ(segmented(), (Crossings{40, 42, 80, 82, 120, 122}));
}

TEST_F(LongSegmentation, CountsAFeatureEqualToTheThresholdAsAbove) {
  window(200);
  ramp(40, 1, -1);
  EXPECT_EQ(segmented(), (Crossings{40, 42}));
}

TEST_F(LongSegmentation, EndsAChangeOnlyBelowTheThreshold) {
  window(200);
  ramp(40, 1, -2);
  ramp(41, 5, -1);
  EXPECT_EQ(segmented(), (Crossings{40, 47}));
  window(200);
  ramp(40, 1, -2);
  ramp(41, 5, -0.9375F);
  EXPECT_EQ(segmented(), (Crossings{40, 42}));
}

TEST_F(LongSegmentation, NeverLowersItsThreshold) {
  window(200);
  ramp(40, 20, -0.9921875F);
  EXPECT_EQ(segmented(), Crossings{});
}

TEST_F(LongSegmentation, StoresTheThresholdAsFloat) {
  // One hundredth of 230 V is above the float nearest to 2.3.
  ASSERT_LT(static_cast<double>(2.3F), 0.01 * 230);
  dipx->un = 230;
  window(200, 0);
  ramp(40, 1, 2.3F);
  EXPECT_EQ(segmented(), (Crossings{40, 42}));
}

TEST_F(LongSegmentation, OfAChangeAtTheWindowsBeginFindsOnlyTheEnd) {
  window(200);
  ramp(0, 10, -2);
  ramp(100, 7, 2);
  EXPECT_EQ(segmented(), (Crossings{11, 100, 108}));
}

TEST_F(LongSegmentation, OfAChangeAtTheWindowsEndFindsOnlyTheBegin) {
  window(200);
  ramp(100, 7, 2);
  ramp(190, 20, 2);
  EXPECT_EQ(segmented(), (Crossings{100, 108, 190}));
}

TEST_F(LongSegmentation, LooksAtTheLastSample) {
  window(200);
  ramp(198, 1, 2);
  EXPECT_EQ(segmented(), Crossings{198});
  window(200);
  ramp(197, 1, 2);
  EXPECT_EQ(segmented(), (Crossings{197, 199}));
}

TEST_F(LongSegmentation, ReportsThirtyTwoCrossings) {
  steps(16);
  EXPECT_EQ(segmented(), crossings_of_steps(16));
  EXPECT_EQ(list[32], untouched);
}

TEST_F(LongSegmentation, NeverReportsAThirtyThirdCrossing) {
  steps(17);
  EXPECT_EQ(segmented(), crossings_of_steps(16));
  EXPECT_EQ(list[32], untouched);
}

TEST_F(LongSegmentation, StopsAtTheThirtySecondCrossingAlsoWhereThatIsARise) {
  // The window begins within a change.
  window(180);
  ramp(0, 3, -2);
  for (int k = 0; k < 17; k++) ramp(5 + 10 * k, 1, k % 2 == 0 ? -2.0F : 2.0F);
  const auto found = segmented();
  ASSERT_EQ(found.size(), 32U);
  EXPECT_EQ(found[0], 4);
  EXPECT_EQ(found[31], 155);
  EXPECT_EQ(list[32], untouched);
}

// --- magnitudes ------------------------------------------------------------------------------------------------------

TEST_F(LongSegmentation, KeepsTheMagnitudesBeforeItSmoothsThem) {
  buf->smp = 8;  // a median of 5
  window(40);
  std::fill_n(buf->ua, 40, 101.0F);
  std::fill_n(buf->uc, 40, 102.0F);
  for (const int spike : {1, 20, 38}) buf->ub[spike] = 50;
  segmented();
  EXPECT_EQ(buf->ua0[20], 101.0F);
  EXPECT_EQ(buf->ub0[19], 100.0F);
  EXPECT_EQ(buf->ub0[20], 50.0F);
  EXPECT_EQ(buf->uc0[20], 102.0F);
  EXPECT_EQ(buf->ub[20], 100.0F);
  EXPECT_EQ(buf->ua0[40], 0.0F) << "entries after the window must not change";
}

TEST_F(LongSegmentation, KeepsTheLowestPhaseOfEachSampleUnsmoothed) {
  buf->smp = 8;
  window(40);
  buf->ua[10] = 90;
  buf->ub[20] = 80;
  buf->uc[39] = 70;
  segmented();
  EXPECT_EQ(buf->u[9], 100.0F);
  EXPECT_EQ(buf->u[10], 90.0F);
  EXPECT_EQ(buf->u[20], 80.0F);
  EXPECT_EQ(buf->u[39], 70.0F);
  EXPECT_EQ(buf->u[40], 0.0F) << "entries after the window must not change";
}

TEST_F(LongSegmentation, SmoothsByHalfACycleAndASample) {
  buf->smp = 32;  // a median of 17
  window(100);
  std::fill_n(buf->ua + 30, 8, 50.0F);
  std::fill_n(buf->ub + 30, 9, 50.0F);
  segmented();
  EXPECT_EQ(std::count(buf->ua, buf->ua + 100, 50.0F), 0);
  EXPECT_EQ(std::count(buf->ub + 30, buf->ub + 39, 50.0F), 9) << "a step keeps its position";
  EXPECT_EQ(std::count(buf->ub, buf->ub + 100, 50.0F), 9);
}

TEST_F(LongSegmentation, MeasuresSmoothedMagnitudes) {
  buf->smp = 32;
  window(200);
  buf->ub[100] = 10;
  EXPECT_EQ(segmented(), Crossings{});
}

TEST_F(LongSegmentation, SeesTheFirstQuarterCycleUnsmoothed) {
  // A spike of one sample affects the feature from the first complete feature on until 16 samples after it.
  buf->smp = 32;
  window(200);
  buf->ub[7] = 10;
  EXPECT_EQ(segmented(), Crossings{24});
  window(200);
  buf->ub[8] = 10;
  EXPECT_EQ(segmented(), Crossings{});
}

TEST_F(LongSegmentation, SeesTheLastQuarterCycleUnsmoothed) {
  buf->smp = 32;
  window(200);
  buf->ub[192] = 10;
  EXPECT_EQ(segmented(), Crossings{191});
  window(200);
  buf->ub[191] = 10;
  EXPECT_EQ(segmented(), Crossings{});
}

TEST_F(LongSegmentation, AtOddQuartersReadsOneEntryPastTheWindow) {
  // At 34 samples per cycle the median takes 18 values, from 8 before to 9 after a sample. In the last window 9 of
  // these are 0 and 8 are 10.
  buf->smp = 34;
  const auto last_with = [&](float behind) {
    window(20, 0);
    std::fill(buf->ua + 12, buf->ua + 20, 10.0F);
    buf->ua0[20] = behind;
    segmented();
    return buf->ua[11];
  };
  EXPECT_EQ(last_with(0), 0.0F);
  EXPECT_EQ(last_with(50), 5.0F) << "the mean of the two middle values";
}

// --- the feature -----------------------------------------------------------------------------------------------------

TEST_F(LongSegmentation, DerivesTheOrderFromTheRate) {
  // The order is the square root of half a cycle, rounded half up; the feature of a constant slope is the order times
  // the slope.
  const std::pair<unsigned, int> orders[] = {{1, 1},  {32, 4}, {40, 4},  {41, 5},  {60, 5},  {61, 6}, {64, 6},
                                             {84, 6}, {85, 7}, {100, 7}, {112, 7}, {113, 8}, {128, 8}};
  for (const auto& [rate, order] : orders) {
    buf->smp = rate;
    window(300);
    ramp(0, 300, -0.0625F);
    segmented();
    EXPECT_NEAR(buf->feasvd_a[150], 0.0625 * order, 1e-4) << rate;
    EXPECT_NEAR(buf->feasvd_b[150], 0.0625 * order, 1e-4) << rate;
    EXPECT_NEAR(buf->feasvd_c[150], 0.0625 * order, 1e-4) << rate;
  }
}

TEST_F(LongSegmentation, SeesAStepForAMatrixOfDifferences) {
  const std::pair<unsigned, int> differences[] = {{32, 16}, {64, 36}, {100, 49}, {128, 64}};
  for (const auto& [rate, count_of_matrix] : differences) {
    buf->smp = rate;
    window(400);
    ramp(150, 1, -2);
    EXPECT_EQ(segmented(), (Crossings{150, 150 + count_of_matrix + 1})) << rate;
  }
}

TEST_F(LongSegmentation, EndsAFeatureAtItsSample) {
  window(60);
  ramp(20, 1, 3);
  segmented();
  EXPECT_EQ(buf->feasvd_b[20], 0.0F);
  EXPECT_EQ(buf->feasvd_b[21], 3.0F);
  EXPECT_EQ(buf->feasvd_b[22], 0.0F);
}

TEST_F(LongSegmentation, RepeatsTheFirstCompleteFeatureBackwards) {
  buf->smp = 32;
  window(60);
  ramp(0, 16, -1);
  segmented();
  EXPECT_NEAR(buf->feasvd_c[16], 4, 1e-4);
  EXPECT_LT(buf->feasvd_c[17], 4 - 1e-2);
  for (int i = 0; i < 16; i++) {
    EXPECT_EQ(buf->feasvd_a[i], buf->feasvd_a[16]) << i;
    EXPECT_EQ(buf->feasvd_b[i], buf->feasvd_b[16]) << i;
    EXPECT_EQ(buf->feasvd_c[i], buf->feasvd_c[16]) << i;
  }
}

TEST_F(LongSegmentation, OfAWindowNoLongerThanItsMatrixRepeatsTheEntryPastIt) {
  buf->smp = 32;
  for (const int samples : {0, 1, 15, 16}) {
    window(samples);
    ramp(2, 5, -10);
    buf->feasvd_a[16] = 5;
    buf->feasvd_b[16] = 6;
    buf->feasvd_c[16] = 7;
    EXPECT_EQ(segmented(), Crossings{}) << samples;
    EXPECT_EQ(number, 0);
    EXPECT_EQ(std::count(buf->feasvd_a, buf->feasvd_a + 17, 5.0F), 17) << samples;
    EXPECT_EQ(std::count(buf->feasvd_b, buf->feasvd_b + 17, 6.0F), 17) << samples;
    EXPECT_EQ(std::count(buf->feasvd_c, buf->feasvd_c + 17, 7.0F), 17) << samples;
  }
  window(17);
  segmented();
  EXPECT_EQ(std::count(buf->feasvd_a, buf->feasvd_a + 17, 0.0F), 17) << "only one feature is complete";
}

TEST_F(LongSegmentation, AtARateWithoutAnOrderHasNoFeatures) {
  for (const unsigned rate : {0U, 181U, 1000U, 0x80000000U, 0xFFFFFFFFU}) {
    buf->smp = rate;
    window(150);
    ramp(40, 20, -2);
    buf->feasvd_a[70] = 0.5F;
    EXPECT_EQ(segmented(), Crossings{}) << rate;
    EXPECT_EQ(buf->feasvd_a[70], 0.5F) << rate;
    EXPECT_EQ(buf->u[70], 60.0F) << rate;
  }
  buf->smp = 180;
  window(200);
  ramp(90, 20, -2);
  EXPECT_NE(segmented(), Crossings{});
}

// --- the plain form --------------------------------------------------------------------------------------------------

struct PlainCase {
  unsigned rate;
  int samples;
};

class LongSegmentationOfAnything : public LongSegmentation, public testing::WithParamInterface<PlainCase> {};

TEST_P(LongSegmentationOfAnything, EqualsThePlainFormToTheLastBit) {
  const auto [rate, samples] = GetParam();
  const auto other = zeroed<dq_data>();
  for (const auto& kind : tests::kinds()) {
    for (dq_data* each : {buf.get(), other.get()}) {
      clear_segdid_buf(each);
      each->smp = rate;
      each->num = static_cast<unsigned>(samples);
      std::uint32_t seed = 1;
      for (float* phase : {each->ua, each->ub, each->uc}) {
        const auto magnitudes = tests::series(kind, samples, seed++);
        std::copy(magnitudes.begin(), magnitudes.end(), phase);
      }
    }
    const auto found = segmented();
    std::array<int, 32> plain_list{};
    int plain_count = 0;
    plain::SVDsegment_multiclass2(other.get(), dipx.get(), plain_list.data(), &plain_count);
    EXPECT_EQ(found, Crossings(plain_list.begin(), plain_list.begin() + plain_count)) << kind.name;
    const auto same = [&](const auto& own, const auto& others) {
      return tests::same_bits(std::vector<float>(own, own + samples), std::vector<float>(others, others + samples));
    };
    EXPECT_TRUE(same(buf->ua, other->ua)) << kind.name;
    EXPECT_TRUE(same(buf->ub, other->ub)) << kind.name;
    EXPECT_TRUE(same(buf->uc, other->uc)) << kind.name;
    EXPECT_TRUE(same(buf->ua0, other->ua0)) << kind.name;
    EXPECT_TRUE(same(buf->ub0, other->ub0)) << kind.name;
    EXPECT_TRUE(same(buf->uc0, other->uc0)) << kind.name;
    EXPECT_TRUE(same(buf->u, other->u)) << kind.name;
    EXPECT_TRUE(same(buf->feasvd_a, other->feasvd_a)) << kind.name;
    EXPECT_TRUE(same(buf->feasvd_b, other->feasvd_b)) << kind.name;
    EXPECT_TRUE(same(buf->feasvd_c, other->feasvd_c)) << kind.name;
  }
}

INSTANTIATE_TEST_SUITE_P(RatesAndLengths, LongSegmentationOfAnything,
                         testing::Values(PlainCase{1, 100}, PlainCase{2, 100}, PlainCase{32, 16}, PlainCase{32, 17},
                                         PlainCase{32, 150}, PlainCase{33, 151}, PlainCase{34, 152}, PlainCase{35, 153},
                                         PlainCase{64, 150}, PlainCase{127, 160}, PlainCase{128, 160}),
                         [](const auto& test) { return fmt::format("{}And{}", test.param.rate, test.param.samples); });

// --- bounds ----------------------------------------------------------------------------------------------------------

TEST_F(LongSegmentation, StaysInsideTheArraysForAnyCount) {
  window(DQ_WINDOW_CAPACITY);
  ramp(40, 7, -2);
  ramp(DQ_WINDOW_CAPACITY - 3, 2, 2);
  buf->angle_a[0] = 77;
  buf->u[DQ_WINDOW_CAPACITY] = 77;
  buf->feasvd_a[DQ_WINDOW_CAPACITY] = 77;
  buf->num = std::numeric_limits<unsigned>::max();
  EXPECT_EQ(segmented(), (Crossings{40, 48, DQ_WINDOW_CAPACITY - 3}));
  EXPECT_EQ(buf->angle_a[0], 77.0F) << "the array after the magnitudes must not change";
  EXPECT_EQ(buf->u[DQ_WINDOW_CAPACITY], 77.0F);
  EXPECT_EQ(buf->feasvd_a[DQ_WINDOW_CAPACITY], 77.0F);
}

TEST_F(LongSegmentation, FindsNoCrossingOfAThresholdThatIsNotANumber) {
  window(200);
  ramp(40, 7, -2);
  dipx->un = tests::nan;
  EXPECT_EQ(segmented(), Crossings{});
  dipx->un = 0;
  EXPECT_EQ(segmented(), Crossings{}) << "every feature counts as above the threshold";
}

TEST_F(LongSegmentation, WithoutARecordOrAPlaceForItsResultDoesNothing) {
  window(200);
  ramp(40, 7, -2);
  list.fill(untouched);
  SVDsegment_multiclass2(nullptr, dipx.get(), list.data(), &number);
  SVDsegment_multiclass2(buf.get(), nullptr, list.data(), &number);
  SVDsegment_multiclass2(buf.get(), dipx.get(), nullptr, &number);
  SVDsegment_multiclass2(buf.get(), dipx.get(), list.data(), nullptr);
  EXPECT_EQ(number, untouched);
  EXPECT_EQ(list[0], untouched);
  EXPECT_EQ(buf->ua0[0], 0.0F);
}

}  // namespace
