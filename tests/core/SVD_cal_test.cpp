#include "sagx/SVD_cal.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <vector>

#include "tests/core/dip_waveforms.h"

namespace {

using tests::zeroed;

class FeatureReduction : public testing::Test {
 protected:
  /// Reduces a window whose phase A has the given features, the other phases 0.
  const feasvd_data& reduce(const std::vector<float>& features) {
    std::copy(features.begin(), features.end(), buf->feasvd_a);
    buf->num = static_cast<unsigned>(features.size());
    EXPECT_EQ(SVD_datapro(buf.get(), dipx.get()), 0);
    return feasvd_buf;
  }
  /// The tenth in which a feature next to a largest one of 1 is counted.
  int tenth_of(float feature) {
    const auto& reduced = reduce({feature, 1.0F});
    if (reduced.feasvd_ten_i[9] == 2) return 9;
    return static_cast<int>(std::find(reduced.feasvd_ten_i, reduced.feasvd_ten_i + 9, 1) - reduced.feasvd_ten_i);
  }

  tests::Zeroed<dq_data> buf = zeroed<dq_data>();
  tests::Zeroed<dq_dipx_struct> dipx = zeroed<dq_dipx_struct>();
};

TEST_F(FeatureReduction, TakesTheLargestPhaseOfEachSample) {
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
  EXPECT_EQ(tenth_of(0.1F), 1) << "the float above a tenth";
  EXPECT_EQ(tenth_of(std::nextafter(0.1F, 0.0F)), 0);
}

TEST_F(FeatureReduction, MultipliesByTenInDouble) {
  // The floats next to 0.7 and 0.9 lie below them; in float ten times them would be 7 and 9.
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
  EXPECT_EQ(reduced.feasvd_ten_i[9], 2) << "the largest and what is no number";
}

TEST_F(FeatureReduction, ForgetsTheWindowBefore) {
  reduce({5, 10, 10});
  const auto& reduced = reduce({1, 1});
  EXPECT_EQ(reduced.feasvd_max, 1.0F);
  EXPECT_EQ(reduced.feasvd_ten_i[5], 0);
  EXPECT_EQ(reduced.feasvd_ten_i[9], 2);
  EXPECT_EQ(reduced.feasvd_ten_f[5], 0.0F);
  EXPECT_EQ(reduced.feasvd_redu[2], 1.0F) << "what lies behind the count stays";
}

TEST_F(FeatureReduction, OfAnEmptyWindowHasNoShares) {
  const auto& reduced = reduce({});
  EXPECT_EQ(reduced.feasvd_max, 0.0F);
  EXPECT_EQ(reduced.feasvd_min, 99999.0F);
  EXPECT_EQ(reduced.feasvd_ten_i[9], 0);
  EXPECT_TRUE(std::isnan(reduced.feasvd_ten_f[9]));
}

TEST_F(FeatureReduction, StaysInsideTheArraysWhateverTheCountSays) {
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

}  // namespace
