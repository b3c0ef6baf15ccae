#include "measure/step_instant.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

constexpr std::size_t count = 10;
constexpr double samples_per_cycle = 16;
constexpr PhaseFlags all = {true, true, true};

/// Samples of three phases that fall to a third. The edge of phase k lies at `at[k]` samples; a low pass that takes the
/// mean over one sample spreads it, unless `is_sharp`.
std::vector<StepSample> samples_of(const PerPhase& at, double degrees, bool is_sharp = false) {
  std::vector<StepSample> samples(count);
  for (std::size_t k = 0; k < count; k++) {
    for (std::size_t phase = 0; phase < 3; phase++) {
      const double angle =
          (static_cast<double>(k) / samples_per_cycle - static_cast<double>(phase) / 3) * 2 * tests::pi;
      const double since = static_cast<double>(k) - at[phase];
      const double done = is_sharp ? (since < 0 ? 0 : 1) : std::clamp(since + 0.5, 0.0, 1.0);
      StepSample& sample = samples[k];
      sample.before[phase] = std::cos(angle + degrees / 180 * tests::pi);
      sample.after[phase] = sample.before[phase] / 3;
      sample.voltage[phase] = sample.before[phase] + done * (sample.after[phase] - sample.before[phase]);
    }
  }
  return samples;
}

std::optional<StepInstant> found_in(const std::vector<StepSample>& samples) {
  const PerPhase noise = {1e-4, 1e-4, 1e-4};  // 1 % of the peak
  return step_instant(samples, 4.5, noise, noise, all);
}

TEST(StepInstant, LiesWithinTheEdge) {
  for (const double at : {4.0, 4.2, 4.4, 4.5, 4.7, 4.9, 5.1}) {
    for (const double degrees : {0, 20, 45, 75}) {
      const auto found = found_in(samples_of({at, at, at}, degrees));
      ASSERT_TRUE(found) << at;
      EXPECT_NEAR(found->at, at, 0.2) << degrees;
      EXPECT_NEAR(found->at, at, found->plus_minus) << degrees;
      EXPECT_LT(found->plus_minus, 1);
    }
  }
}

TEST(StepInstant, WithoutAnEdgeIsTheMiddleBetweenTwoSamples) {
  for (const double at : {4.1, 4.5, 4.9}) {
    const auto found = found_in(samples_of({at, at, at}, 20, true));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->at, 4.5) << at;
  }
}

TEST(StepInstant, IsThatOfTheFirstPhase) {
  const auto found = found_in(samples_of({4.3, 7.5, 8.1}, 20));
  ASSERT_TRUE(found);
  EXPECT_NEAR(found->at, 4.3, 0.2);
}

TEST(StepInstant, NeedsNoMissingSample) {
  auto samples = samples_of({4.3, 4.3, 4.3}, 20);
  samples[4].voltage[0] = std::nan("");
  const auto found = found_in(samples);
  ASSERT_TRUE(found);
  EXPECT_NEAR(found->at, 4.3, 0.2);
}

TEST(StepInstant, IsUnknownIfTheVoltageDoesNotStep) {
  auto samples = samples_of({4.3, 4.3, 4.3}, 20);
  for (std::size_t k = 0; k < count; k++) {
    for (double& voltage : samples[k].voltage) voltage += k % 2 == 0 ? 0.5 : -0.5;
  }
  EXPECT_FALSE(found_in(samples)) << "the voltage rings";
  EXPECT_FALSE(found_in(samples_of({20, 20, 20}, 20))) << "it steps later than in these samples";
}

}  // namespace
}  // namespace measure
