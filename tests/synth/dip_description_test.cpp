#include "synth/dip_description.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <utility>

#include "tests/synth/cycle_figures.h"

namespace synth {
namespace {

using tests::degrees_of;
using tests::rms_over;
using tests::sine_in;

constexpr double exact = 1e-9;

/// Returns the text of the DescriptionError that `action` throws, or a text that no expectation matches when it throws
/// none.
template <typename Action>
std::string refusal_of(Action action) {
  try {
    action();
  } catch (const DescriptionError& error) {
    return error.what();
  }
  return "(nothing was refused)";
}

std::string refusal_of(const DipDescription& dip) {
  return refusal_of([&] { waveform_of(dip); });
}

// --- choice of phases ------------------------------------------------------------------------------------------------

struct FaultCase {
  const char* text;
  int mask;
  bool between_phases;
};

void PrintTo(const FaultCase& fault, std::ostream* out) {
  *out << fault.text;
}

class Faults : public testing::TestWithParam<FaultCase> {};

TEST_P(Faults, AreReadFromThePhasesLetters) {
  const Fault fault = parse_fault(GetParam().text);
  EXPECT_EQ(fault.mask, GetParam().mask);
  EXPECT_EQ(fault.between_phases, GetParam().between_phases);
}

INSTANTIATE_TEST_SUITE_P(Phases, Faults,
                         testing::Values(FaultCase{"A", 1, false}, FaultCase{"B", 2, false}, FaultCase{"C", 4, false},
                                         FaultCase{"AB", 3, false}, FaultCase{"BC", 6, false},
                                         FaultCase{"CA", 5, false}, FaultCase{"AC", 5, false},
                                         FaultCase{"ABC", 7, false}, FaultCase{"CAB", 7, false},
                                         FaultCase{"abc", 7, false}, FaultCase{"A-B", 3, true},
                                         FaultCase{"B-C", 6, true}, FaultCase{"C-A", 5, true},
                                         FaultCase{"C-B", 6, true}, FaultCase{"b-c", 6, true}));

class NoFaults : public testing::TestWithParam<const char*> {};

TEST_P(NoFaults, AreRefused) {
  EXPECT_EQ(refusal_of([] { parse_fault(GetParam()); }),
            std::string("--phases '") + GetParam() +
                "' does not name phases; give A to ABC, or A-B, B-C or C-A for two phases that move towards each "
                "other");
}

INSTANTIATE_TEST_SUITE_P(Texts, NoFaults,
                         testing::Values("", "D", "AA", "ABCA", "A B", "AB-", "A-", "-A", "A-A", "A--", "--A", "-A-",
                                         "---", "A-D", "A-BC", "1", "\x01"));

// --- effect on the phases --------------------------------------------------------------------------------------------

TEST(Factors, ShrinkAndTurnThePhasesThatAreNamed) {
  const Factors factors = factors_of(parse_fault("CA"), 30, -20);
  EXPECT_NEAR(std::abs(factors[0]), 0.7, 1e-15);
  EXPECT_NEAR(degrees_of(factors[0]), -20, 1e-12);
  EXPECT_EQ(factors[1], Phasor(1));
  EXPECT_EQ(factors[2], factors[0]);
}

TEST(Factors, OfNoDepthAndNoJumpChangeNothing) {
  for (const char* phases : {"ABC", "B", "A-B", "B-C", "C-A"}) {
    const Factors factors = factors_of(parse_fault(phases), 0, 0);
    for (const auto& factor : factors) EXPECT_NEAR(std::abs(factor - 1.0), 0, 1e-15) << phases;
  }
}

TEST(Factors, OfFullDepthLeaveNothing) {
  EXPECT_EQ(factors_of(parse_fault("ABC"), 100, 45), (Factors{0, 0, 0}));
}

struct PairCase {
  const char* phases;
  std::size_t healthy;
};

void PrintTo(const PairCase& pair, std::ostream* out) {
  *out << pair.phases;
}

class BetweenPhases : public testing::TestWithParam<PairCase> {};

TEST_P(BetweenPhases, TwoMoveTowardsEachOtherAndTheThirdStays) {
  const std::size_t healthy = GetParam().healthy;
  const std::size_t leading = (healthy + 1) % 3;
  const std::size_t lagging = (healthy + 2) % 3;
  for (const double depth : {10.0, 25.0, 40.0, 50.0}) {
    const Factors factors = factors_of(parse_fault(GetParam().phases), depth, 0);
    EXPECT_EQ(factors[healthy], Phasor(1));
    EXPECT_NEAR(std::abs(factors[leading]), 1 - depth / 100, 1e-12);
    EXPECT_NEAR(std::abs(factors[lagging]), 1 - depth / 100, 1e-12);
    // Opposite the healthy phase both voltages keep a half, which is the cosine of the remaining part of the initial 60
    // degrees.
    const double left = std::acos(0.5 / (1 - depth / 100)) * 180 / std::numbers::pi;
    EXPECT_NEAR(degrees_of(factors[leading]), left - 60, 1e-9);
    EXPECT_NEAR(degrees_of(factors[lagging]), 60 - left, 1e-9);
    // No zero sequence arises.
    const Phasor sum = factors[0] + factors[1] * phasor(1, -120) + factors[2] * phasor(1, 120);
    EXPECT_NEAR(std::abs(sum), 0, 1e-12);
  }
}

TEST_P(BetweenPhases, FallByAHalfAtMost) {
  const Fault fault = parse_fault(GetParam().phases);
  EXPECT_NO_THROW(factors_of(fault, 50, 0));
  EXPECT_EQ(refusal_of([&] { factors_of(fault, 50.001, 0); }),
            "--depth 50.001: two phases that move towards each other fall by a half at most; give up to 50, or choose "
            "phases that shrink");
}

TEST_P(BetweenPhases, HaveNoPhaseJumpOfTheirOwn) {
  EXPECT_EQ(refusal_of([] { factors_of(parse_fault(GetParam().phases), 20, -10); }),
            "--jump -10: when two phases move towards each other, the jump follows from the depth; leave it out, or "
            "choose phases that shrink");
}

INSTANTIATE_TEST_SUITE_P(Pairs, BetweenPhases,
                         testing::Values(PairCase{"B-C", 0}, PairCase{"C-A", 1}, PairCase{"A-B", 2},
                                         PairCase{"B-A", 2}));

// --- the waveform ----------------------------------------------------------------------------------------------------

void expect_stage(const Stage& stage, double begin, double end, double first, double last) {
  EXPECT_NEAR(stage.begin, begin, 1e-12);
  EXPECT_NEAR(stage.end, end, 1e-12);
  EXPECT_NEAR(std::abs(stage.first[0]), first, 1e-12);
  EXPECT_NEAR(std::abs(stage.last[0]), last, 1e-12);
}

TEST(Description, SaysByItselfWhatTheHelpSays) {
  const Waveform waveform = waveform_of({});
  EXPECT_EQ(waveform.volts, 230);
  EXPECT_EQ(waveform.frequency, 50);
  EXPECT_EQ(waveform.nominal_frequency, 50);
  EXPECT_EQ(waveform.rate, 6400);
  EXPECT_EQ(waveform.length, 5120U) << "0.3 s before the dip, 0.2 s of dip, 0.3 s after it";
  EXPECT_EQ(waveform.noise, 0);
  EXPECT_EQ(waveform.seed, 1U);
  EXPECT_TRUE(waveform.harmonics.empty());
  ASSERT_EQ(waveform.stages.size(), 1U);
  expect_stage(waveform.stages[0], 0.3, 0.5, 0.5, 0.5);
  for (const auto& factor : waveform.stages[0].first) EXPECT_EQ(factor, Phasor(0.5));
}

TEST(Description, HasAStagePerStep) {
  DipDescription dip;
  dip.start = 1;
  dip.durations = {0.5, 0.25, 2};
  dip.depths = {20, 60, 40};
  dip.jumps = {0, -30, 10};
  const Waveform waveform = waveform_of(dip);
  ASSERT_EQ(waveform.stages.size(), 3U);
  expect_stage(waveform.stages[0], 1, 1.5, 0.8, 0.8);
  expect_stage(waveform.stages[1], 1.5, 1.75, 0.4, 0.4);
  expect_stage(waveform.stages[2], 1.75, 3.75, 0.6, 0.6);
  EXPECT_NEAR(degrees_of(waveform.stages[1].first[2]), -30, 1e-12);
  EXPECT_NEAR(degrees_of(waveform.stages[2].first[2]), 10, 1e-12);
  EXPECT_EQ(waveform.length, static_cast<std::size_t>(4.05 * 6400));
}

TEST(Description, TakesOneFigureForAllSteps) {
  DipDescription dip;
  dip.durations = {0.1};
  dip.depths = {20, 60};
  dip.jumps = {15};
  const Waveform waveform = waveform_of(dip);
  ASSERT_EQ(waveform.stages.size(), 2U);
  expect_stage(waveform.stages[0], 0.3, 0.4, 0.8, 0.8);
  expect_stage(waveform.stages[1], 0.4, 0.5, 0.4, 0.4);
  EXPECT_NEAR(degrees_of(waveform.stages[0].first[1]), 15, 1e-12);
  EXPECT_NEAR(degrees_of(waveform.stages[1].first[1]), 15, 1e-12);
}

TEST(Description, FallsAheadOfTheFirstStepAndRecoversBehindTheLast) {
  DipDescription dip;
  dip.fall = 0.04;
  dip.recovery = 0.5;
  dip.durations = {0.1, 0.2};
  dip.depths = {20, 60};
  const Waveform waveform = waveform_of(dip);
  ASSERT_EQ(waveform.stages.size(), 4U);
  expect_stage(waveform.stages[0], 0.3, 0.34, 1, 0.8);
  expect_stage(waveform.stages[1], 0.34, 0.44, 0.8, 0.8);
  expect_stage(waveform.stages[2], 0.44, 0.64, 0.4, 0.4);
  expect_stage(waveform.stages[3], 0.64, 1.14, 0.4, 1);
  EXPECT_EQ(waveform.length, static_cast<std::size_t>(std::lround(1.44 * 6400)));
}

TEST(Description, LeavesOutAStepOfNoDuration) {
  DipDescription dip;
  dip.durations = {0, 0.1};
  dip.depths = {90, 20};
  const Waveform waveform = waveform_of(dip);
  ASSERT_EQ(waveform.stages.size(), 1U);
  expect_stage(waveform.stages[0], 0.3, 0.4, 0.8, 0.8);
}

TEST(Description, RefusesListsThatDoNotFitEachOther) {
  DipDescription dip;
  dip.durations = {1, 2, 3};
  dip.depths = {10, 20};
  EXPECT_EQ(refusal_of(dip), "--depth 10,20: 2 values for 3 steps; give one value for all steps or one for each");
  dip.depths = {10, 20, 30, 40};
  EXPECT_EQ(refusal_of(dip), "--duration 1,2,3: 3 values for 4 steps; give one value for all steps or one for each");
  dip.durations = {1};
  dip.jumps = {0, 0.5};
  EXPECT_EQ(refusal_of(dip), "--jump 0,0.5: 2 values for 4 steps; give one value for all steps or one for each");
  dip.jumps = {};
  EXPECT_EQ(refusal_of(dip), "--jump : 0 values for 4 steps; give one value for all steps or one for each");
  dip.jumps = {0, 0.5, 1, 1.5};
  EXPECT_EQ(waveform_of(dip).stages.size(), 4U);
}

TEST(Description, RefusesADepthOfAnyStepThatCannotBe) {
  DipDescription dip;
  dip.phases = "B-C";
  dip.depths = {50, 60};
  EXPECT_TRUE(refusal_of(dip).starts_with("--depth 60: ")) << refusal_of(dip);
  dip.depths = {40, 50};
  EXPECT_EQ(waveform_of(dip).stages.size(), 2U);
}

// --- rate, length, frequency -----------------------------------------------------------------------------------------

TEST(Description, Takes128SamplesPerNominalCycleUnlessARateIsGiven) {
  DipDescription dip;
  dip.frequency = 60;
  EXPECT_EQ(waveform_of(dip).rate, 7680);
  dip.deviation = 0.5;
  EXPECT_EQ(waveform_of(dip).rate, 7680) << "nominal";
  dip.rate = 3840;
  EXPECT_EQ(waveform_of(dip).rate, 3840);
  EXPECT_EQ(waveform_of(dip).length, 3072U) << "0.8 s";
}

TEST(Description, TakesTheLengthThatIsGivenToTheNearestSample) {
  DipDescription dip;
  dip.rate = 1000;
  dip.length = 0.4;
  EXPECT_EQ(waveform_of(dip).length, 400U) << "the given length applies even if the dip lasts longer";
  dip.length = 2.0004;
  EXPECT_EQ(waveform_of(dip).length, 2000U);
  dip.length = 2.0006;
  EXPECT_EQ(waveform_of(dip).length, 2001U);
}

TEST(Description, MakesOneSampleToTwentyMillion) {
  DipDescription dip;
  dip.rate = 1000;
  dip.length = 0.0005;
  EXPECT_EQ(waveform_of(dip).length, 1U);
  dip.length = 0.0004;
  EXPECT_EQ(refusal_of(dip),
            "0.0004 s at 1000 samples per second are 0 samples, but the limits are 1 and 20000000; choose another "
            "--length or --rate");
  dip.length = 20000;
  EXPECT_EQ(waveform_of(dip).length, 20000000U);
  dip.length = 20000.001;
  EXPECT_EQ(refusal_of(dip),
            "20000.001 s at 1000 samples per second are 20000001 samples, but the limits are 1 and 20000000; choose "
            "another --length or --rate");
}

TEST(Description, RefusesALengthThatIsNoNumber) {
  DipDescription dip;
  dip.start = std::nan("");
  EXPECT_NE(refusal_of(dip), "(nothing was refused)");
}

TEST(Description, NeedsARateOfMoreThanTwiceTheFrequency) {
  DipDescription dip;
  dip.rate = 100;
  EXPECT_EQ(refusal_of(dip), "--rate 100: 50 Hz needs more than 100 samples per second; raise the rate");
  dip.rate = 100.5;
  EXPECT_EQ(waveform_of(dip).rate, 100.5);
  dip.deviation = 0.25;
  EXPECT_EQ(refusal_of(dip), "--rate 100.5: 50.25 Hz needs more than 100.5 samples per second; raise the rate");
}

TEST(Description, HoldsHarmonicsBelowHalfTheRate) {
  DipDescription dip;
  dip.harmonics = {{5, 0.04}, {63, 0.01}};
  const Waveform waveform = waveform_of(dip);
  ASSERT_EQ(waveform.harmonics.size(), 2U);
  EXPECT_EQ(waveform.harmonics[1].order, 63);
  EXPECT_EQ(waveform.harmonics[1].share, 0.01);
  dip.harmonics.push_back({64, 0.02});
  EXPECT_EQ(refusal_of(dip),
            "--harmonics 64:2: 3200 Hz is not below half of the 6400 samples per second; choose a lower order or a "
            "higher --rate");
}

TEST(Description, PassesVoltageNoiseAndSeedOn) {
  DipDescription dip;
  dip.volts = 1000;
  dip.noise = 0.5;
  dip.seed = 42;
  const Waveform waveform = waveform_of(dip);
  EXPECT_EQ(waveform.volts, 1000);
  EXPECT_EQ(waveform.noise, 5) << "volts";
  EXPECT_EQ(waveform.seed, 42U);
}

// --- the point on wave -----------------------------------------------------------------------------------------------

struct PointCase {
  double start;
  double degrees;
  double frequency;
  double deviation;
};

void PrintTo(const PointCase& point, std::ostream* out) {
  *out << point.degrees << " degrees at " << point.start << " s, " << point.frequency << " + " << point.deviation;
}

class PointOnWave : public testing::TestWithParam<PointCase> {};

TEST_P(PointOnWave, IsPhaseAsAngleAtTheStartOfTheDip) {
  const auto& point = GetParam();
  DipDescription dip;
  dip.start = point.start;
  dip.point_on_wave = point.degrees;
  dip.frequency = point.frequency;
  dip.deviation = point.deviation;
  dip.rate = 20000;
  dip.depths = {0};  // a depth of 0 lets the voltage continue unchanged
  const auto at = static_cast<std::size_t>(std::lround(dip.start * dip.rate));
  const auto record = record_of(waveform_of(dip));
  for (std::size_t x = 0; x < 3; x++) {
    const double angle = (point.degrees - 120.0 * static_cast<double>(x)) * std::numbers::pi / 180;
    EXPECT_NEAR(record.channels[x].samples[at], 230 * std::numbers::sqrt2 * std::sin(angle), 1e-7) << "ABC"[x];
  }
}

INSTANTIATE_TEST_SUITE_P(Starts, PointOnWave,
                         testing::Values(PointCase{0.3, 0, 50, 0}, PointCase{0.3, 90, 50, 0},
                                         PointCase{0.30205, -135, 50, 0}, PointCase{0, 77, 50, 0},
                                         PointCase{0.5, 242.28, 60, 0}, PointCase{1.25, 10, 50, -0.7},
                                         PointCase{1.25, 10, 60, 0.05}));

TEST(PointOnWave, IsThatOfTheBeginningOfAGradualFall) {
  DipDescription dip;
  dip.point_on_wave = 90;
  dip.fall = 0.1;
  EXPECT_NEAR(record_of(waveform_of(dip)).channels[0].samples[1920], 230 * std::numbers::sqrt2, 1e-7);
}

// --- complete descriptions, checked in the samples -------------------------------------------------------------------

TEST(Description, GivesEachStepItsVoltagesInTheSamples) {
  DipDescription dip;
  dip.phases = "AB";
  dip.rate = 1600;
  dip.start = 0.1;
  dip.durations = {0.04, 0.06};
  dip.depths = {30, 60};
  dip.jumps = {0, -30};
  const auto record = record_of(waveform_of(dip));
  EXPECT_EQ(record.length(), 800U);
  struct Expected {
    std::size_t begin;
    double share;
    double jump;
  };
  for (std::size_t x = 0; x < 3; x++) {
    const auto& samples = record.channels[x].samples;
    const auto before = sine_in(samples, 0, 32);
    for (const auto& expected : {Expected{128, 1, 0}, Expected{160, 0.7, 0}, Expected{192, 0.7, 0},
                                 Expected{224, 0.4, -30}, Expected{288, 0.4, -30}, Expected{320, 1, 0}}) {
      const bool dips = x < 2;
      const auto sine = sine_in(samples, expected.begin, 32);
      EXPECT_NEAR(rms_over(samples, expected.begin, 32), dips ? 230 * expected.share : 230, exact) << expected.begin;
      EXPECT_NEAR(degrees_of(sine / before), dips ? expected.jump : 0, exact) << expected.begin;
    }
  }
}

TEST(Description, MakesADipBetweenPhasesInTheSamples) {
  DipDescription dip;
  dip.phases = "B-C";
  dip.rate = 1600;
  const auto record = record_of(waveform_of(dip));
  const double volts[] = {230, 115, 115};
  const double angles[] = {0, -180, 180};  // B and C meet opposite A
  for (std::size_t x = 0; x < 3; x++) {
    const auto sine = sine_in(record.channels[x].samples, 480, 32);
    EXPECT_NEAR(std::abs(sine), volts[x], exact);
    EXPECT_NEAR(std::remainder(degrees_of(sine) - angles[x], 360), 0, exact);
  }
}

}  // namespace
}  // namespace synth
