#include "sagx/SVD_cal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

#include "tests/core/dip_waveforms.h"
#include "tests/core/faults.h"
#include "tests/core/kernel_inputs.h"
#include "tests/core/printed_lines.h"

namespace {

using tests::zeroed;

class FeatureReduction : public testing::Test {
 protected:
  /// Reduces a window whose phase A has the given features and whose other phases are 0.
  const feasvd_data& reduce(const std::vector<float>& features) {
    std::copy(features.begin(), features.end(), buf->feasvd_a);
    buf->num = static_cast<unsigned>(features.size());
    EXPECT_EQ(SVD_datapro(buf.get(), dipx.get()), 0);
    return feasvd_buf;
  }
  /// Returns the tenth in which a feature is counted if the largest feature is 1.
  int tenth_of(float feature) {
    const auto& reduced = reduce({feature, 1.0F});
    if (reduced.feasvd_ten_i[9] == 2) return 9;
    return static_cast<int>(std::find(reduced.feasvd_ten_i, reduced.feasvd_ten_i + 9, 1) - reduced.feasvd_ten_i);
  }

  tests::Zeroed<dq_data> buf = zeroed<dq_data>();
  tests::Zeroed<dq_dipx_struct> dipx = zeroed<dq_dipx_struct>();
};

TEST_F(FeatureReduction, KeepsTheLargestPhaseOfEachSample) {
  buf->feasvd_b[1] = 4;
  buf->feasvd_c[1] = 3;
  buf->feasvd_c[2] = 2;
  const auto& reduced = reduce({1, 2, 1});
  EXPECT_EQ(reduced.feasvd_redu[0], 0.25F);
  EXPECT_EQ(reduced.feasvd_redu[1], 1.0F);
  EXPECT_EQ(reduced.feasvd_redu[2], 0.5F);
  EXPECT_EQ(reduced.feasvd_max, 4.0F);
  EXPECT_EQ(reduced.feasvd_min, 1.0F);
}

TEST_F(FeatureReduction, KeepsCountAndRate) {
  buf->smp = 77;
  const auto& reduced = reduce({1, 2, 3});
  EXPECT_EQ(reduced.feasvd_num, 3U);
  EXPECT_EQ(reduced.feasvd_smp, 77);
}

TEST_F(FeatureReduction, CountsTheLargestItselfInTheTopTenth) {
  EXPECT_EQ(tenth_of(1.0F), 9);
}

TEST_F(FeatureReduction, CountsATenthFromItsLowerEdge) {
  EXPECT_EQ(tenth_of(0.0F), 0);
  EXPECT_EQ(tenth_of(0.5F), 5);
  EXPECT_EQ(tenth_of(std::nextafter(0.5F, 0.0F)), 4);
  EXPECT_EQ(tenth_of(0.1F), 1) << "this float is slightly above a tenth";
  EXPECT_EQ(tenth_of(std::nextafter(0.1F, 0.0F)), 0);
}

TEST_F(FeatureReduction, MultipliesByTenInDouble) {
  // The floats nearest to 0.7 and 0.9 are below these numbers; multiplied by ten in float they would give 7 and 9.
  EXPECT_EQ(tenth_of(0.7F), 6);
  EXPECT_EQ(tenth_of(std::nextafter(0.7F, 1.0F)), 7);
  EXPECT_EQ(tenth_of(0.9F), 8);
  EXPECT_EQ(tenth_of(std::nextafter(0.9F, 1.0F)), 9);
}

TEST_F(FeatureReduction, GivesEachTenthsShareInPerCent) {
  const auto& reduced = reduce({1, 1, 1, 2, 2, 3, 5, 10});
  const float shares[10] = {0, 37.5F, 25, 12.5F, 0, 12.5F, 0, 0, 0, 12.5F};
  const int counts[10] = {0, 3, 2, 1, 0, 1, 0, 0, 0, 1};
  for (int tenth = 0; tenth < 10; tenth++) {
    EXPECT_EQ(reduced.feasvd_ten_i[tenth], counts[tenth]) << tenth;
    EXPECT_EQ(reduced.feasvd_ten_f[tenth], shares[tenth]) << tenth;
  }
}

TEST_F(FeatureReduction, DividesBeforeItMultipliesByAHundred) {
  const auto& reduced = reduce({0, 0, 1});
  const float third = 1.0F / 3.0F;
  EXPECT_EQ(reduced.feasvd_ten_f[9], third * 100.0F);
  ASSERT_NE(third * 100.0F, 100.0F / 3.0F);
}

TEST_F(FeatureReduction, OfAFlatWindowCountsAllInTheTopTenth) {
  const auto& reduced = reduce({0, 0, 0, 0});
  EXPECT_EQ(reduced.feasvd_max, 0.0F);
  EXPECT_EQ(reduced.feasvd_min, 0.0F);
  EXPECT_TRUE(std::isnan(reduced.feasvd_redu[0]));
  EXPECT_EQ(reduced.feasvd_ten_i[9], 4);
  EXPECT_EQ(reduced.feasvd_ten_f[9], 100.0F);
}

TEST_F(FeatureReduction, StartsFromNoMaximumAndAHighMinimum) {
  EXPECT_EQ(reduce({100000.0F, 200000.0F}).feasvd_min, 99999.0F);
  for (float* features : {buf->feasvd_b, buf->feasvd_c}) std::fill_n(features, 2, -3.0F);
  EXPECT_EQ(reduce({-2.0F, -1.0F}).feasvd_max, 0.0F);
  EXPECT_EQ(feasvd_buf.feasvd_min, -2.0F);
}

TEST_F(FeatureReduction, PassesOverNotANumberInSearchOfTheExtremes) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const auto& reduced = reduce({nan, 4, 2});
  EXPECT_EQ(reduced.feasvd_max, 4.0F);
  EXPECT_EQ(reduced.feasvd_min, 2.0F);
  EXPECT_EQ(reduced.feasvd_ten_i[9], 2) << "the largest value and the NaN are both counted";
}

TEST_F(FeatureReduction, ForgetsTheWindowBefore) {
  reduce({5, 10, 10});
  const auto& reduced = reduce({1, 1});
  EXPECT_EQ(reduced.feasvd_max, 1.0F);
  EXPECT_EQ(reduced.feasvd_ten_i[5], 0);
  EXPECT_EQ(reduced.feasvd_ten_i[9], 2);
  EXPECT_EQ(reduced.feasvd_ten_f[5], 0.0F);
  EXPECT_EQ(reduced.feasvd_redu[2], 1.0F) << "entries beyond the count must not change";
}

TEST_F(FeatureReduction, OfAnEmptyWindowHasNoShares) {
  const auto& reduced = reduce({});
  EXPECT_EQ(reduced.feasvd_max, 0.0F);
  EXPECT_EQ(reduced.feasvd_min, 99999.0F);
  EXPECT_EQ(reduced.feasvd_ten_i[9], 0);
  EXPECT_TRUE(std::isnan(reduced.feasvd_ten_f[9]));
}

TEST_F(FeatureReduction, StaysInsideTheArraysForAnyCount) {
  buf->feasvd_a[DQ_RECORD_CAPACITY - 1] = 5;
  buf->num = std::numeric_limits<unsigned>::max();
  EXPECT_EQ(SVD_datapro(buf.get(), dipx.get()), 0);
  EXPECT_EQ(feasvd_buf.feasvd_redu[DQ_RECORD_CAPACITY - 1], 1.0F);
  EXPECT_EQ(feasvd_buf.feasvd_ten_i[9], 1);
  EXPECT_EQ(feasvd_buf.feasvd_ten_i[0], DQ_RECORD_CAPACITY - 1);
}

TEST_F(FeatureReduction, NeedsNoResultRecord) {
  buf->num = 1;
  buf->feasvd_a[0] = 3;
  EXPECT_EQ(SVD_datapro(buf.get(), nullptr), 0);
  EXPECT_EQ(feasvd_buf.feasvd_max, 3.0F);
}

TEST_F(FeatureReduction, WithoutAWindowChangesNothing) {
  reduce({3});
  EXPECT_EQ(SVD_datapro(nullptr, dipx.get()), 0);
  EXPECT_EQ(feasvd_buf.feasvd_max, 3.0F);
}

class FeatureSpread : public testing::Test {
 protected:
  /// Starts with a reduced feature of 0 everywhere.
  FeatureSpread() { std::fill(std::begin(feasvd_buf.feasvd_redu), std::end(feasvd_buf.feasvd_redu), 0.0F); }

  /// Lets entries `from` up to, but not including, `to` alternate by `swing` around 1, so that their deviation is
  /// `swing`.
  static void ripple(int from, int to, float swing) {
    for (int i = from; i < to; i++) feasvd_buf.feasvd_redu[i] = 1 + (i % 2 == 0 ? swing : -swing);
  }
  float spread(int smp, unsigned num) {
    feasvd_buf.feasvd_smp = smp;
    feasvd_buf.feasvd_num = num;
    float result = -7;
    printed = tests::printed_by([&] { result = SVD_bzc(); });
    EXPECT_EQ(printed.err, "");
    return result;
  }

  tests::Printed printed;
};

TEST_F(FeatureSpread, IsTheMeanOfTheHalfCyclesDeviations) {
  ripple(0, 32, 0.5F);
  ripple(32, 64, 0.25F);
  EXPECT_EQ(spread(64, 100), 0.375F);
  EXPECT_EQ(printed.out, "seg_num=2\r\n");
}

TEST_F(FeatureSpread, LeavesOutTheLastHalfCycleAndAPartialOne) {
  ripple(64, 128, 100);
  EXPECT_EQ(spread(64, 127), 0.0F) << "two of the three whole half-cycles are used";
  EXPECT_EQ(printed.out, "seg_num=2\r\n");
  EXPECT_EQ(spread(64, 128), 100.0F / 3.0F);
  EXPECT_EQ(printed.out, "seg_num=3\r\n");
}

TEST_F(FeatureSpread, HalvesAnOddRateDownward) {
  ripple(0, 16, 1);
  EXPECT_EQ(spread(33, 48), 0.5F);
  EXPECT_EQ(printed.out, "seg_num=2\r\n");
}

TEST_F(FeatureSpread, IsThatOfTheWholePopulation) {
  // The values 1 and 3 deviate by 1 from their mean; a divisor reduced by one would give the square root of 2.
  feasvd_buf.feasvd_redu[0] = 1;
  feasvd_buf.feasvd_redu[1] = 3;
  EXPECT_EQ(spread(4, 4), 1.0F);
}

TEST_F(FeatureSpread, IsMeasuredFromEachHalfCyclesOwnMean) {
  for (int i = 0; i < 96; i++) feasvd_buf.feasvd_redu[i] = static_cast<float>(i / 32);
  EXPECT_EQ(spread(64, 128), 0.0F);
}

TEST_F(FeatureSpread, SumsDeviationsInFloat) {
  // The sum starts with 2^24, so each of the three ones added after it is lost. In double the mean would be 2^22 +
  // 0.75.
  const float swings[4] = {16777216.0F, 1, 1, 1};
  for (int block = 0; block < 4; block++) {
    feasvd_buf.feasvd_redu[2 * block] = swings[block];
    feasvd_buf.feasvd_redu[2 * block + 1] = -swings[block];
  }
  EXPECT_EQ(spread(4, 10), 4194304.0F);
  EXPECT_EQ(printed.out, "seg_num=4\r\n");
}

TEST_F(FeatureSpread, SumsEntriesInFloat) {
  // The mean is 0. In the sum of squares, 2^25 + 2, both ones are lost because they are added one by one.
  const float entries[4] = {4096, -4096, 1, -1};
  std::copy(std::begin(entries), std::end(entries), feasvd_buf.feasvd_redu);
  EXPECT_EQ(spread(8, 8), static_cast<float>(std::sqrt(33554432.0 / 4)));
  ASSERT_NE(static_cast<float>(std::sqrt(33554432.0 / 4)), static_cast<float>(std::sqrt(33554434.0 / 4)));
}

TEST_F(FeatureSpread, EqualsItsDefinitionToTheLastBit) {
  const auto by_definition = [](int half, int blocks) {
    std::vector<float> bzc;
    for (int i = 0; i < blocks; i++) {
      const float* x = feasvd_buf.feasvd_redu + i * half;
      float sum = 0;
      for (int j = 0; j < half; j++) sum = sum + x[j];
      const float mean = sum / static_cast<float>(half);
      float squares = 0;
      for (int j = 0; j < half; j++) {
        const float difference = x[j] - mean;
        const float square = difference * difference;
        squares = squares + square;
      }
      const float quotient = squares / static_cast<float>(half);
      bzc.push_back(static_cast<float>(std::sqrt(static_cast<double>(quotient))));
    }
    float sum = 0;
    for (const float deviation : bzc) sum = sum + deviation;
    return sum / static_cast<float>(blocks);
  };
  for (const auto& kind : tests::kinds()) {
    const auto values = tests::series(kind, 1000);
    std::copy(values.begin(), values.end(), feasvd_buf.feasvd_redu);
    for (const int rate : {2, 32, 50, 128}) {
      const int half = rate / 2;
      EXPECT_TRUE(tests::same_bits(spread(rate, 1000), by_definition(half, 1000 / half - 1))) << kind.name << rate;
    }
  }
}

TEST_F(FeatureSpread, OfOneHalfCycleOrLessIsNotANumber) {
  EXPECT_TRUE(std::isnan(spread(64, 63)));
  EXPECT_EQ(printed.out, "seg_num=0\r\n");
  EXPECT_TRUE(std::isnan(spread(64, 32)));
  EXPECT_EQ(printed.out, "seg_num=0\r\n");
  EXPECT_TRUE(std::isnan(spread(64, 31)));
  EXPECT_EQ(printed.out, "seg_num=-1\r\n");
  EXPECT_TRUE(std::isnan(spread(64, 0)));
  EXPECT_EQ(printed.out, "seg_num=-1\r\n");
}

TEST_F(FeatureSpread, OfARateWithoutAHalfCycleIsNotANumber) {
  for (const int rate : {0, 1, -1, -2, -64, std::numeric_limits<int>::min()}) {
    EXPECT_TRUE(std::isnan(spread(rate, 100))) << rate;
    EXPECT_EQ(printed.out, "seg_num=0\r\n") << rate;
  }
}

TEST_F(FeatureSpread, AcceptsMoreHalfCyclesThanTheLongestRecordHasAtItsLowestRate) {
  ripple(16 * 23998, 16 * 23999, 1);
  EXPECT_EQ(spread(32, DQ_RECORD_CAPACITY), 1.0F / 23999.0F);
  EXPECT_EQ(printed.out, "seg_num=23999\r\n");
}

TEST_F(FeatureSpread, NeedsNoMemory) {
  ripple(0, 384000, 0.5F);
  const tests::FailingMalloc no_block(1);
  const tests::FailingAllocation no_zeroed_block(1);
  EXPECT_EQ(spread(2, DQ_RECORD_CAPACITY), 0.0F) << "383999 half-cycles of one sample";
  EXPECT_EQ(spread(64, DQ_RECORD_CAPACITY), 0.5F);
}

TEST_F(FeatureSpread, StaysInsideTheArrayForAnyCount) {
  feasvd_buf.feasvd_max = tests::nan;  // a field after the array
  for (const unsigned num : {unsigned{DQ_RECORD_CAPACITY} + 1, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU}) {
    EXPECT_EQ(spread(32, num), 0.0F) << num;
    EXPECT_EQ(printed.out, "seg_num=23999\r\n") << num;
  }
  EXPECT_TRUE(std::isnan(spread(std::numeric_limits<int>::max(), 0xFFFFFFFFU)))
      << "the half-cycle is longer than the array";
}

TEST_F(FeatureSpread, LeavesTheFeatureAsItWas) {
  ripple(0, 100, 0.5F);
  const std::vector<float> before(feasvd_buf.feasvd_redu, feasvd_buf.feasvd_redu + 100);
  spread(64, 100);
  EXPECT_TRUE(tests::same_bits({feasvd_buf.feasvd_redu, feasvd_buf.feasvd_redu + 100}, before));
}

}  // namespace
