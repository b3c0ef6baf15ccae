#include "synth/waveform.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/synth/cycle_figures.h"

namespace synth {
namespace {

using tests::degrees_of;
using tests::rms_over;
using tests::sine_in;
using Samples = std::vector<double>;

constexpr double exact = 1e-9;  // volts: the rounding error in double for some hundred volts

/// Returns a waveform of 230 V at 50 Hz with `per_cycle` samples per cycle, lasting `cycles` cycles.
Waveform steady(int per_cycle, int cycles) {
  Waveform waveform;
  waveform.rate = 50.0 * per_cycle;
  waveform.length = static_cast<std::size_t>(per_cycle) * static_cast<std::size_t>(cycles);
  return waveform;
}

Samples phase(const Waveform& waveform, std::size_t x) {
  return record_of(waveform).channels[x].samples;
}

/// Returns the magnitude of phase A relative to 230 V at each sample: its samples divided by those of the undisturbed
/// waveform, which must have no sample at a zero crossing.
Samples factors_of_a(Waveform waveform) {
  waveform.degrees = 45;  // with this angle and four samples per cycle, no sample is at a zero crossing
  const auto disturbed = phase(waveform, 0);
  waveform.stages.clear();
  auto factors = phase(waveform, 0);
  std::transform(disturbed.begin(), disturbed.end(), factors.begin(), factors.begin(), std::divides<>());
  return factors;
}

void expect_near(const Samples& found, const Samples& expected) {
  ASSERT_EQ(found.size(), expected.size());
  for (std::size_t i = 0; i < found.size(); i++) EXPECT_NEAR(found[i], expected[i], exact) << "sample " << i;
}

// --- the record ------------------------------------------------------------------------------------------------------

TEST(Waveform, SaysInItsRecordWhatItIs) {
  Waveform waveform = steady(32, 2);
  waveform.frequency = 49.9;
  const auto record = record_of(waveform);
  EXPECT_EQ(record.line_frequency, 50) << "the nominal frequency is stated";
  ASSERT_EQ(record.rates.size(), 1U);
  EXPECT_EQ(record.rates[0].rate, 1600);
  EXPECT_EQ(record.rates[0].end, 64U);
  EXPECT_EQ(record.length(), 64U);
  ASSERT_EQ(record.channels.size(), 3U);
  for (std::size_t x = 0; x < 3; x++) {
    EXPECT_EQ(record.channels[x].name, std::string("U") + "abc"[x]);
    EXPECT_EQ(record.channels[x].phase, std::string(1, "ABC"[x]));
    EXPECT_EQ(record.channels[x].unit, "V");
    EXPECT_EQ(record.channels[x].samples.size(), 64U);
  }
  EXPECT_TRUE(record.notes.empty());
}

TEST(Waveform, OfNoLengthHasNoSamples) {
  const auto record = record_of(steady(32, 0));
  EXPECT_EQ(record.length(), 0U);
  EXPECT_EQ(record.channels.size(), 3U);
}

// --- the undisturbed sine --------------------------------------------------------------------------------------------

TEST(Waveform, IsASineFromItsAngleOn) {
  Waveform waveform = steady(4, 1);
  const double peak = 230 * std::numbers::sqrt2;
  expect_near(phase(waveform, 0), {0, peak, 0, -peak});
  waveform.degrees = 90;
  expect_near(phase(waveform, 0), {peak, 0, -peak, 0});
  waveform.degrees = -360 * 1e6 + 30;
  EXPECT_NEAR(phase(waveform, 0)[0], peak / 2, 1e-4) << "the sine loses digits after many turns";
}

TEST(Waveform, HasPhasesAThirdOfATurnApart) {
  const auto record = record_of(steady(12, 1));
  for (std::size_t x = 0; x < 3; x++) {
    const auto sine = sine_in(record.channels[x].samples, 0, 12);
    EXPECT_NEAR(std::abs(sine), 230, exact);
    EXPECT_NEAR(std::remainder(degrees_of(sine) + 120.0 * static_cast<double>(x), 360), 0, exact) << "ABC"[x];
  }
  // Phase B lags by four of the twelve samples, phase C by eight.
  for (std::size_t i = 0; i + 4 < 12; i++) {
    EXPECT_NEAR(record.channels[1].samples[i + 4], record.channels[0].samples[i], exact);
    EXPECT_NEAR(record.channels[2].samples[i], record.channels[0].samples[i + 4], exact);
  }
}

TEST(Waveform, HasItsVoltageAsRmsOverEveryCycle) {
  for (const double volts : {0.001, 57.735, 400000.0}) {
    Waveform waveform = steady(32, 3);
    waveform.volts = volts;
    for (std::size_t x = 0; x < 3; x++) {
      const auto samples = phase(waveform, x);
      for (const std::size_t begin : {0U, 5U, 64U}) EXPECT_NEAR(rms_over(samples, begin, 32) / volts, 1, 1e-12);
    }
  }
}

TEST(Waveform, GoesAtItsOwnFrequencyAndNotAtTheNominalOne) {
  // At 49 Hz half a turn is missing after 25 nominal cycles of 50 Hz.
  Waveform waveform = steady(32, 26);
  waveform.frequency = 49;
  const auto samples = phase(waveform, 0);
  waveform.frequency = 50;
  const auto nominal = phase(waveform, 0);
  // Eight samples later, a quarter of a nominal cycle has passed, which is 49/200 of a turn.
  const double peak = 230 * std::numbers::sqrt2;
  EXPECT_NEAR(samples[25 * 32], 0, exact);
  EXPECT_NEAR(samples[25 * 32 + 8], -peak * std::sin(2 * std::numbers::pi * 49 / 200), exact);
  EXPECT_NEAR(nominal[25 * 32 + 8], peak, exact);
}

TEST(Waveform, KeepsItsAngleOverAnHour) {
  // At 17 Hz and 100 samples per second the sine completes whole turns every 100 samples.
  Waveform waveform;
  waveform.frequency = 17;
  waveform.rate = 100;
  waveform.length = 360100;
  const auto samples = phase(waveform, 0);
  for (std::size_t i = 0; i < 100; i++) EXPECT_NEAR(samples[360000 + i], samples[i], 1e-6) << i;
}

// --- stages ----------------------------------------------------------------------------------------------------------

Stage shrunk(double begin, double end, double factor) {
  const Factors factors = {factor, factor, factor};
  return {begin, end, factors, factors};
}

TEST(Stages, HoldFromTheirFirstSampleUpToTheirEnd) {
  // The rate is 200 samples per second, so a sample takes 5 ms.
  Waveform waveform = steady(4, 2);
  waveform.stages = {shrunk(0.010, 0.025, 0.5)};
  expect_near(factors_of_a(waveform), {1, 1, 0.5, 0.5, 0.5, 1, 1, 1});
}

TEST(Stages, BeginAtTheNextSampleWhenTheyBeginBetweenTwo) {
  Waveform waveform = steady(4, 2);
  waveform.stages = {shrunk(0.0101, 0.0249, 0.5)};
  expect_near(factors_of_a(waveform), {1, 1, 1, 0.5, 0.5, 1, 1, 1});
  waveform.stages = {shrunk(0.0099, 0.0251, 0.5)};
  expect_near(factors_of_a(waveform), {1, 1, 0.5, 0.5, 0.5, 0.5, 1, 1});
}

TEST(Stages, TakeASumOfDecimalFractionsForTheSampleThatIsMeant) {
  // In double precision 0.1 + 0.2 is more than 0.3.
  Waveform waveform = steady(4, 20);
  waveform.stages = {shrunk(0.1 + 0.2, 0.4, 0.5)};
  const auto factors = factors_of_a(waveform);
  EXPECT_NEAR(factors[59], 1, exact);
  EXPECT_NEAR(factors[60], 0.5, exact);
  waveform.stages = {shrunk(0.2, 0.1 + 0.2, 0.5)};
  EXPECT_NEAR(factors_of_a(waveform)[59], 0.5, exact);
  EXPECT_NEAR(factors_of_a(waveform)[60], 1, exact);
}

TEST(Stages, GoFromTheirFirstFactorToTheirLastInAStraightLine) {
  Waveform waveform = steady(4, 2);
  const Factors half = {0.5, 0.5, 0.5};
  waveform.stages = {{0.005, 0.025, undisturbed, half}};
  expect_near(factors_of_a(waveform), {1, 1, 0.875, 0.75, 0.625, 1, 1, 1});
}

TEST(Stages, TurnOnTheWayInAStraightLineBetweenTheirPhasors) {
  // The factor goes from 1 to 1 at 90 degrees, so half-way it is (1 + j) / 2, which is 0.707 at 45 degrees.
  Waveform waveform = steady(4, 2);
  const Factors turned = {phasor(1, 90), phasor(1, 90), phasor(1, 90)};
  waveform.stages = {{0, 0.020, undisturbed, turned}};
  const auto samples = phase(waveform, 0);
  // At the second sample the sine has turned by 180 degrees, and the factor by 45.
  EXPECT_NEAR(samples[2], 230 * std::numbers::sqrt2 * std::sqrt(0.5) * -std::sqrt(0.5), exact);
}

TEST(Stages, GiveEachPhaseItsFactor) {
  Waveform waveform = steady(32, 3);
  waveform.stages = {{0.02, 0.04, {phasor(0.5, -25), 1, phasor(0.1, 170)}, {phasor(0.5, -25), 1, phasor(0.1, 170)}}};
  const auto record = record_of(waveform);
  const double volts[] = {115, 230, 23};
  const double turns[] = {-25, 0, 170};
  for (std::size_t x = 0; x < 3; x++) {
    const auto& samples = record.channels[x].samples;
    const auto before = sine_in(samples, 0, 32);
    const auto during = sine_in(samples, 32, 32);
    EXPECT_NEAR(std::abs(before), 230, exact);
    EXPECT_NEAR(std::abs(during), volts[x], exact);
    EXPECT_NEAR(rms_over(samples, 32, 32), volts[x], exact);
    EXPECT_NEAR(degrees_of(during / before), turns[x], exact);
    EXPECT_NEAR(std::abs(sine_in(samples, 64, 32) - before), 0, exact) << "the voltage is the same as before the stage";
  }
}

TEST(Stages, MayFallToNothing) {
  Waveform waveform = steady(32, 2);
  waveform.stages = {shrunk(0.02, 1, 0)};
  const auto samples = phase(waveform, 1);
  EXPECT_NEAR(rms_over(samples, 0, 32), 230, exact);
  EXPECT_EQ(rms_over(samples, 32, 32), 0);
}

TEST(Stages, GiveWayToLaterOnesWhereTheyOverlap) {
  Waveform waveform = steady(4, 2);
  waveform.stages = {shrunk(0, 0.03, 0.5), shrunk(0.01, 0.02, 0.25)};
  expect_near(factors_of_a(waveform), {0.5, 0.5, 0.25, 0.25, 0.5, 0.5, 1, 1});
}

TEST(Stages, AreCutAtTheRecordsEnds) {
  Waveform waveform = steady(4, 1);
  waveform.stages = {shrunk(-1, 0.005, 0.5), shrunk(0.015, 9, 0.25), shrunk(9, 10, 0)};
  expect_near(factors_of_a(waveform), {0.5, 1, 1, 0.25});
}

// --- harmonics -------------------------------------------------------------------------------------------------------

TEST(Harmonics, HaveTheirShareOfTheFundamental) {
  Waveform waveform = steady(64, 1);
  waveform.harmonics = {{3, 0.1}, {5, 0.04}, {31, 0.01}};
  for (std::size_t x = 0; x < 3; x++) {
    const auto samples = phase(waveform, x);
    EXPECT_NEAR(std::abs(sine_in(samples, 0, 64)), 230, exact);
    EXPECT_NEAR(std::abs(sine_in(samples, 0, 64, 3)), 23, exact);
    EXPECT_NEAR(std::abs(sine_in(samples, 0, 64, 5)), 9.2, exact);
    EXPECT_NEAR(std::abs(sine_in(samples, 0, 64, 31)), 2.3, exact);
    EXPECT_NEAR(std::abs(sine_in(samples, 0, 64, 7)), 0, exact);
    EXPECT_NEAR(rms_over(samples, 0, 64), 230 * std::sqrt(1 + 0.01 + 0.0016 + 0.0001), exact);
  }
}

TEST(Harmonics, PassZeroWithTheFundamentalOfTheirPhase) {
  // The third harmonic is therefore equal in all phases, and the fifth has the opposite phase sequence.
  Waveform waveform = steady(64, 1);
  waveform.degrees = 20;
  waveform.harmonics = {{3, 0.1}, {5, 0.1}};
  for (std::size_t x = 0; x < 3; x++) {
    const auto samples = phase(waveform, x);
    EXPECT_NEAR(degrees_of(sine_in(samples, 0, 64, 3)), 60, exact);
    const double fifth = 100 - 600.0 * static_cast<double>(x);
    EXPECT_NEAR(std::remainder(degrees_of(sine_in(samples, 0, 64, 5)) - fifth, 360), 0, exact);
  }
}

TEST(Harmonics, ShrinkAndTurnWithTheirPhase) {
  Waveform waveform = steady(64, 2);
  waveform.harmonics = {{5, 0.1}};
  waveform.stages = {{0.02, 0.04, {phasor(0.5, 30), 1, 1}, {phasor(0.5, 30), 1, 1}}};
  const auto samples = phase(waveform, 0);
  EXPECT_NEAR(std::abs(sine_in(samples, 64, 64, 5)), 11.5, exact);
  EXPECT_NEAR(degrees_of(sine_in(samples, 64, 64, 5)), 150, exact);
  EXPECT_NEAR(std::abs(sine_in(phase(waveform, 1), 64, 64, 5)), 23, exact);
}

// --- noise -----------------------------------------------------------------------------------------------------------

/// Returns the noise that is added to a waveform.
Samples noise_in(const Waveform& waveform, std::size_t x) {
  Waveform clean = waveform;
  clean.noise = 0;
  auto added = phase(waveform, x);
  const auto without = phase(clean, x);
  std::transform(added.begin(), added.end(), without.begin(), added.begin(), std::minus<>());
  return added;
}

TEST(Noise, IsTheSameForTheSameSeedAndOtherForAnother) {
  Waveform waveform = steady(32, 4);
  waveform.noise = 2;
  waveform.seed = 7;
  const auto first = record_of(waveform);
  const auto again = record_of(waveform);
  waveform.seed = 8;
  const auto other = record_of(waveform);
  for (std::size_t x = 0; x < 3; x++) {
    EXPECT_EQ(first.channels[x].samples, again.channels[x].samples) << "the same seed gives the same noise bit for bit";
    for (std::size_t i = 0; i < first.length(); i++) {
      EXPECT_NE(first.channels[x].samples[i], other.channels[x].samples[i]) << "ABC"[x] << i;
    }
  }
}

TEST(Noise, OfNothingIsNone) {
  Waveform waveform = steady(32, 2);
  const auto clean = phase(waveform, 0);
  waveform.seed = 99;
  EXPECT_EQ(phase(waveform, 0), clean);
}

TEST(Noise, HasTheStandardDeviationThatWasAskedForAndNoMean) {
  // For 64000 samples the standard error is 1/253 of the deviation for the mean and 1/358 of it for the deviation
  // itself; four standard errors are allowed for each.
  Waveform waveform = steady(128, 500);
  waveform.noise = 3;
  for (std::size_t x = 0; x < 3; x++) {
    const auto noise = noise_in(waveform, x);
    double sum = 0;
    for (const double value : noise) sum += value;
    EXPECT_NEAR(sum / 64000, 0, 4 * 3 / 253.0);
    EXPECT_NEAR(rms_over(noise, 0, noise.size()), 3, 4 * 3 / 358.0);
  }
}

TEST(Noise, IsOfItsOwnInEachPhase) {
  Waveform waveform = steady(128, 100);
  waveform.noise = 1;
  const auto a = noise_in(waveform, 0);
  const auto b = noise_in(waveform, 1);
  double product = 0;
  for (std::size_t i = 0; i < a.size(); i++) product += a[i] * b[i];
  // For independent noise the mean product is 0 with a standard error of 1/113.
  EXPECT_NEAR(product / static_cast<double>(a.size()), 0, 4 / 113.0);
}

TEST(Noise, DoesNotFollowTheVoltage) {
  Waveform waveform = steady(32, 4);
  waveform.noise = 1;
  const auto steady_noise = noise_in(waveform, 2);
  waveform.stages = {shrunk(0.02, 1, 0)};
  const auto noise = noise_in(waveform, 2);
  for (std::size_t i = 0; i < noise.size(); i++) EXPECT_NEAR(noise[i], steady_noise[i], exact);
}

// --- phasors ---------------------------------------------------------------------------------------------------------

TEST(Phasor, HasAMagnitudeAndAnAngleInDegrees) {
  EXPECT_NEAR(phasor(2, 60).real(), 1, 1e-15);
  EXPECT_NEAR(phasor(2, 60).imag(), std::sqrt(3.0), 1e-15);
  EXPECT_EQ(phasor(0.5, 0), Phasor(0.5, 0));
}

}  // namespace
}  // namespace synth
