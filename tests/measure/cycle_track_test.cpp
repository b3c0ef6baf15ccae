#include "measure/cycle_track.h"

#include <gtest/gtest.h>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::phasor;
using tests::staged;

TEST(CycleTrack, FindsTheFrequency) {
  for (const double hertz : {40.5, 45.0, 49.7, 50.0, 50.02, 52.3, 59.4, 60.0, 60.5, 71.0}) {
    const auto made = staged({{0, balanced(230)}}, 1, {6400, hertz, 3});
    EXPECT_NEAR(CycleTrack(made.waveform()).frequency(), hertz, 1e-3);
  }
}

TEST(CycleTrack, FindsTheFrequencyOfOneAndTwoPhasesAndOfFewSamples) {
  for (const std::size_t phases : {1U, 2U}) {
    const auto made = staged({{0, balanced(230)}}, 1, {6400, 49.7, phases});
    EXPECT_NEAR(CycleTrack(made.waveform()).frequency(), 49.7, 1e-3);
  }
  const auto made = staged({{0, balanced(230)}}, 1, {400, 49.7, 3});
  EXPECT_NEAR(CycleTrack(made.waveform()).frequency(), 49.7, 1e-2) << "eight samples per cycle";
}

TEST(CycleTrack, FindsTheFrequencyDespiteHarmonics) {
  auto made = staged({{0, balanced(230)}}, 1, {6400, 49.7, 3});
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [](double t) { return tests::turning(phasor(15, 20), 5 * 49.7, t) + 30; });
  }
  EXPECT_NEAR(CycleTrack(made.waveform()).frequency(), 49.7, 1e-2);
}

TEST(CycleTrack, MeasuresTheFrequencyWhereTheVoltageIsHigh) {
  // During most of the record there is no voltage.
  const Phasors dead = {};
  const auto made = staged({{0, dead}, {4, balanced(230)}}, 6, {3200, 49.7, 3});
  EXPECT_NEAR(CycleTrack(made.waveform()).frequency(), 49.7, 1e-3);
}

TEST(CycleTrack, HasOnePhasorPerCycle) {
  const Phasors rms = {phasor(230, 15), phasor(115, -100), phasor(23, 170)};
  const auto made = staged({{0, rms}}, 1);
  const CycleTrack track(made.waveform());
  ASSERT_EQ(track.cycles(), 50U);
  for (std::size_t k = 0; k < track.cycles(); k++) {
    EXPECT_FALSE(track.is_missing(k));
    EXPECT_EQ(track.first_sample(k), 128 * k);
    for (std::size_t phase = 0; phase < 3; phase++) {
      EXPECT_NEAR(std::abs(track.phasors(k)[phase] - rms[phase] * std::numbers::sqrt2), 0, 1e-3);
    }
  }
  EXPECT_NEAR(track.time_of(3), 0.07 - 0.5 / 6400, 1e-9) << "the middle of samples 384 to 511";
  EXPECT_EQ(track.cycle_at(0.0599), 2U);
  EXPECT_EQ(track.cycle_at(0.0601), 3U);
  EXPECT_EQ(track.cycle_at(-1), 0U);
  EXPECT_EQ(track.cycle_at(100), 49U);
}

TEST(CycleTrack, IsMissingWhereSamplesAre) {
  auto made = staged({{0, balanced(230)}}, 1);
  made.lose(1, 0.209, 0.2095).lose(2, 0.5, 0.57);
  const CycleTrack track(made.waveform());
  EXPECT_NEAR(track.frequency(), 50, 1e-3);
  for (std::size_t k = 0; k < track.cycles(); k++) {
    EXPECT_EQ(track.is_missing(k), k == 10 || (k >= 25 && k <= 28)) << k;
  }
}

TEST(CycleTrack, FindsWhereTheVoltageIsSteady) {
  const Phasors low = {phasor(115, 0), phasor(230, -120), phasor(207, 120)};
  const auto made = staged({{0, balanced(230)}, {0.4, low}, {0.6, balanced(230)}}, 1);
  const CycleTrack track(made.waveform());
  ASSERT_EQ(track.steady().size(), 3U);
  const auto& dip = track.steady()[1];
  EXPECT_EQ(track.steady()[0].begin, 0U);
  EXPECT_EQ(track.steady()[0].end, 20U);
  EXPECT_EQ(dip.begin, 20U);
  EXPECT_EQ(dip.end, 30U);
  EXPECT_EQ(dip.length(), 10U);
  EXPECT_EQ(track.steady()[2].end, 50U);
  EXPECT_NEAR(dip.level[0], 115, 0.01);
  EXPECT_NEAR(dip.level[1], 230, 0.01);
  EXPECT_NEAR(dip.level[2], 207, 0.01);
}

TEST(CycleTrack, IsNotSteadyAcrossMissingSamples) {
  auto made = staged({{0, balanced(230)}}, 1);
  made.lose(0, 0.41, 0.411);
  const CycleTrack track(made.waveform());
  ASSERT_EQ(track.steady().size(), 2U);
  EXPECT_EQ(track.steady()[0].end, 20U);
  EXPECT_EQ(track.steady()[1].begin, 21U);
}

TEST(CycleTrack, OfLessThanACycleHasNoFrequency) {
  const auto made = staged({{0, balanced(230)}}, 0.015);
  const CycleTrack track(made.waveform());
  EXPECT_EQ(track.cycles(), 0U);
  EXPECT_TRUE(track.steady().empty());
  EXPECT_EQ(track.frequency(), 50);
}

TEST(CycleTrack, HasAFrequencyForAnySamples) {
  MadeWaveform made(6400, 0.5, 50, 1);
  made.add(0, [](double t) { return 1e300 * std::cos(2 * tests::pi * 50 * t); });
  const CycleTrack track(made.waveform());
  EXPECT_TRUE(std::isfinite(track.frequency()));
}

TEST(CycleTrack, FindsTheFrequencyWhereTheAngleJumps) {
  // The angle jumps by 36 degrees in the middle of the only cycles there are.
  const auto made = staged({{0, balanced(230, -90)}, {0.2, balanced(230, -54)}}, 0.4);
  EXPECT_NEAR(CycleTrack(made.waveform()).frequency(), 50, 1e-3);
}

TEST(CycleTrack, UsesTheFrequencyOfTheSteadiestTime) {
  // While the voltage is high, machines swing by 0.3 Hz up and down for a second; then they are calm for one.
  MadeWaveform made(6400, 2, 50, 1);
  made.add(0, [](double t) {
    const double swing = t < 1 ? 0.15 * (1 - std::cos(4 * tests::pi * t)) : 0;
    return 325 * std::cos(2 * tests::pi * 50 * t + swing);
  });
  EXPECT_NEAR(CycleTrack(made.waveform()).frequency(), 50, 2e-3);
}

TEST(CycleTrack, UsesTheFrequencyOfThePhasesThatAreSteady) {
  // The voltage of phase A, which a broken conductor has left, swings up and down at a frequency of its own.
  MadeWaveform made(6400, 1, 50, 3);
  made.add(0,
           [](double t) { return (200 + 120 * std::cos(2 * tests::pi * 9 * t)) * std::cos(2 * tests::pi * 44 * t); });
  for (const std::size_t phase : {1U, 2U}) {
    const double turn = static_cast<double>(phase) * 2 * tests::pi / 3;
    made.add(phase, [turn](double t) { return 325 * std::cos(2 * tests::pi * 50.1 * t - turn); });
  }
  const CycleTrack track(made.waveform());
  EXPECT_NEAR(track.frequency(), 50.1, 1e-3);
  EXPECT_LT(track.frequency_error(), 1e-3);
}

TEST(CycleTrack, OfNoiseHasTheLineFrequency) {
  MadeWaveform made(6400, 1, 50, 3);
  made.add_noise(325);
  const CycleTrack track(made.waveform());
  EXPECT_EQ(track.frequency(), 50);
  EXPECT_EQ(track.frequency_error(), 0.1) << "as far as a network's frequency usually is from its nominal value";
}

}  // namespace
}  // namespace measure
