// Bringing samples to another rate, and what that does to the figures of a dip.
#include "analysis/choice/resampling.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "analysis/analyse.h"
#include "synth/waveform.h"

namespace {

using analysis::analysed_samples_per_cycle;
using analysis::needs_resampling;

TEST(Resampling, IsDoneOnlyWhereNeeded) {
  for (const int whole : {32, 33, 64, 77, 128}) {
    EXPECT_EQ(analysed_samples_per_cycle(whole), whole);
    EXPECT_FALSE(needs_resampling(whole, whole));
    EXPECT_EQ(analysed_samples_per_cycle(whole * 1.00005), whole) << "the line's own frequency varies by more";
  }
}

TEST(Resampling, GoesToANumberOfSamplesThatTheLibraryTakes) {
  EXPECT_EQ(analysed_samples_per_cycle(8), 64);
  EXPECT_EQ(analysed_samples_per_cycle(31), 64);
  EXPECT_EQ(analysed_samples_per_cycle(32.05), 32);
  EXPECT_EQ(analysed_samples_per_cycle(48.07), 48);
  EXPECT_EQ(analysed_samples_per_cycle(51.2), 52);
  EXPECT_EQ(analysed_samples_per_cycle(127.97), 128);
  EXPECT_EQ(analysed_samples_per_cycle(128.5), 128);
  EXPECT_EQ(analysed_samples_per_cycle(511.8), 128);
}

struct Rates {
  double from;
  double to;
};

class EveryRate : public testing::TestWithParam<Rates> {};

TEST_P(EveryRate, KeepsASineUpToTheEnds) {
  const auto [from, to] = GetParam();
  const auto sine = [](double seconds) { return 325 * std::sin(2 * std::numbers::pi * 50 * seconds + 0.7); };
  std::vector<float> values;
  for (int i = 0; i < static_cast<int>(from); i++) values.push_back(static_cast<float>(sine(i / from)));
  const auto result = analysis::resampled(values, from, to, from / 50);
  EXPECT_GE(result.delay, 0);
  EXPECT_LT(result.delay, 1 / to);
  const double last = result.delay + static_cast<double>(result.values.size() - 1) / to;
  EXPECT_LE(last, static_cast<double>(values.size() - 1) / from + 1e-9);
  EXPECT_GT(last, static_cast<double>(values.size() - 1) / from - 1 / to);
  double worst = 0;
  for (std::size_t i = 0; i < result.values.size(); i++) {
    const double seconds = result.delay + static_cast<double>(i) / to;
    worst = std::max(worst, std::abs(static_cast<double>(result.values[i]) - sine(seconds)));
  }
  EXPECT_LT(worst, 325 * 1e-3);
}

INSTANTIATE_TEST_SUITE_P(Rates, EveryRate,
                         testing::Values(Rates{600, 3200}, Rates{1000, 3200}, Rates{1602.5, 1600}, Rates{2403.4, 2400},
                                         Rates{15152, 6400}, Rates{20000, 6400}, Rates{30707.24, 6400}));

TEST(Resampling, TakesAWaveformShorterThanACycle) {
  EXPECT_GE(analysis::resampled({1, 2, 3}, 1000, 3200, 20).values.size(), 6U);
  EXPECT_EQ(analysis::resampled({5}, 1000, 3200, 20).values.size(), 1U);
}

class DipAtEveryRate : public testing::TestWithParam<double> {};

TEST_P(DipAtEveryRate, IsMeasuredAsAtADirectOne) {
  synth::Waveform waveform;
  waveform.rate = GetParam();
  waveform.length = static_cast<std::size_t>(waveform.rate);
  waveform.stages = {{0.4, 0.6, {0.5, 1, 1}, {0.5, 1, 1}}};
  const auto analysis = analysis::analyse(synth::record_of(waveform), {});
  EXPECT_TRUE(analysis.voltages.resampled);
  EXPECT_NEAR(analysis.pre_event_voltage, 230, 0.23);
  ASSERT_EQ(analysis.dips.size(), 1U);
  const auto& dip = analysis.dips[0];
  EXPECT_NEAR(analysis.voltages.seconds_at(dip.start), 0.4, 0.01);
  EXPECT_NEAR(analysis.voltages.seconds_at(*dip.end), 0.6, 0.02);
  EXPECT_NEAR(static_cast<double>(analysis.voltages.record_sample_at(dip.start)),
              analysis.voltages.seconds_at(dip.start) * waveform.rate, 0.51);
  EXPECT_NEAR(dip.lowest[0], 115, 0.5);
  EXPECT_NEAR(dip.lowest[1], 230, 0.5);
  ASSERT_EQ(dip.segments.size(), 1U);
  EXPECT_EQ(dip.segments[0].category, 3);
  EXPECT_NEAR(dip.segments[0].residual[0], 115, 2.3);
}

INSTANTIATE_TEST_SUITE_P(Rates, DipAtEveryRate, testing::Values(600, 1000, 1200, 2560, 5555, 7000, 20000, 30000));

}  // namespace
