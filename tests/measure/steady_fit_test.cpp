#include "measure/steady_fit.h"

#include <gtest/gtest.h>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::phasor;
using tests::staged;

const double peak = 230 * std::numbers::sqrt2;
/// Of 1200 samples per second: changes lie half-way between two samples.
constexpr double half_sample_s = 0.5 / 1200;
const Phasors low = {phasor(115, -20), phasor(207, -130), phasor(69, 140)};

PhasorFit fitted(const MadeWaveform& made, double from_s, double to_s, bool after_change) {
  const Excerpt excerpt(made.waveform(), 0, made.waveform().length(), peak, 50);
  return steady_fit(excerpt, from_s, to_s, after_change);
}

void expect_low(const PhasorFit& fit, double off) {
  for (std::size_t phase = 0; phase < 3; phase++) {
    EXPECT_NEAR(std::abs(fit.phasors(0.25)[phase] - low[phase] / 230.0), 0, off) << "phase " << phase;
  }
}

TEST(SteadyFit, FindsThePhasorsStrictlyInsideATime) {
  // Outside the time the voltage is another one, which must leave no trace.
  const auto made = staged({{0, balanced(230)}, {0.2, low}, {0.3, balanced(230)}}, 0.5);
  expect_low(fitted(made, 0.2, 0.3, false), 1e-6);
  expect_low(fitted(made, 0.2, 0.3, true), 1e-6);
}

TEST(SteadyFit, IsNotMovedByDecayingOffsets) {
  // Time constants of 0.12 to 2.4 cycles are among those that are tried.
  for (const double cycles : {0.12, 0.6, 2.4}) {
    auto made = staged({{0, balanced(230)}, {0.2, low}, {0.3, balanced(230)}}, 0.5, {1200, 50, 3});
    for (std::size_t phase = 0; phase < 3; phase++) {
      made.add(phase,
               [&](double t) { return t < 0.2 || t >= 0.3 ? 0 : 60.0 * std::exp(-(t - 0.2) / (0.02 * cycles)); });
    }
    const PhasorFit fit = fitted(made, 0.2 - half_sample_s, 0.3 - half_sample_s, true);
    ASSERT_FALSE(fit.form().decays.empty()) << cycles;
    expect_low(fit, 1e-4);
  }
}

TEST(SteadyFit, OfTwoCyclesKnowsOneDecay) {
  auto made = staged({{0, balanced(230)}, {0.22, low}, {0.26, balanced(230)}}, 0.5, {1200, 50, 3});
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) { return t < 0.22 || t >= 0.26 ? 0 : 60.0 * std::exp(-(t - 0.22) / 0.012); });
  }
  const PhasorFit fit = fitted(made, 0.22 - half_sample_s, 0.26 - half_sample_s, true);
  EXPECT_EQ(fit.form().decays, (std::vector<double>{0.6}));
  expect_low(fit, 1e-4);
}

TEST(SteadyFit, AddsNoDecayWithoutNeed) {
  const auto made = staged({{0, balanced(230)}, {0.2, low}, {0.3, balanced(230)}}, 0.5);
  EXPECT_TRUE(fitted(made, 0.2, 0.3, true).form().decays.empty());
}

TEST(SteadyFit, OfOneCycleIsRight) {
  // With 24 samples per cycle each average is one sample.
  const auto made = staged({{0, balanced(230)}, {0.24, low}, {0.26, balanced(230)}}, 0.5, {1200, 50, 3});
  expect_low(fitted(made, 0.24 - half_sample_s, 0.26 - half_sample_s, true), 1e-5);
}

}  // namespace
}  // namespace measure
