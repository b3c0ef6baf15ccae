#include "sagx/dip_category.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "sagx/dipx_lib.h"
#include "tests/core/dip_waveforms.h"

namespace {

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

vec_struct vec(const tests::Phasor& phasor) {
  return {static_cast<float>(phasor.real()), static_cast<float>(phasor.imag())};
}

vec_struct positive(vec_struct a, vec_struct b, vec_struct c) {
  vec_struct result{};
  seq_cal(&a, &b, &c, &result);
  return result;
}

vec_struct zero(vec_struct a, vec_struct b, vec_struct c) {
  vec_struct result{};
  seq0_cal(&a, &b, &c, &result);
  return result;
}

void expect_phasor(vec_struct actual, float r, float x) {
  EXPECT_EQ(actual.r, r);
  EXPECT_EQ(actual.x, x);
}

// --- sequences -------------------------------------------------------------------------------------------------------

TEST(PositiveSequence, AddsAThirdOfPhaseAUnrotated) {
  expect_phasor(positive({3, 0}, {0, 0}, {0, 0}), 1, 0);
  expect_phasor(positive({0, 3}, {0, 0}, {0, 0}), 0, 1);
}

TEST(PositiveSequence, TurnsTheSecondPhaseForwardWithACutConstant) {
  expect_phasor(positive({0, 0}, {3, 0}, {0, 0}), -0.5F, 0.866F);
  expect_phasor(positive({0, 0}, {0, 3}, {0, 0}), -0.866F, -0.5F);
}

TEST(PositiveSequence, TurnsTheThirdPhaseBackWithACutConstant) {
  expect_phasor(positive({0, 0}, {0, 0}, {3, 0}), -0.5F, -0.866F);
  expect_phasor(positive({0, 0}, {0, 0}, {0, 3}), 0.866F, -0.5F);
}

TEST(PositiveSequence, KeepsDoubleUntilItIsStored) {
  // Half of -1 and half of 2^25 are added to 2^24; a float sum would lose the half volt.
  EXPECT_EQ(positive({16777216.0F, 0}, {-1, 0}, {33554432.0F, 0}).r, static_cast<float>(0.5 / 3));
  EXPECT_EQ(positive({0, 16777216.0F}, {0, -1}, {0, 33554432.0F}).x, static_cast<float>(0.5 / 3));
}

TEST(PositiveSequence, OfABalancedSystemIsPhaseA) {
  const auto b = vec(tests::phasor(100, -120));
  const auto c = vec(tests::phasor(100, 120));
  const auto forward = positive({100, 0}, b, c);
  EXPECT_NEAR(forward.r, 100, 0.01);
  EXPECT_NEAR(forward.x, 0, 0.01);
}

TEST(PositiveSequence, WithTwoPhasesExchangedIsTheNegativeOne) {
  const auto b = vec(tests::phasor(100, -120));
  const auto c = vec(tests::phasor(100, 120));
  const auto backward = positive({100, 0}, c, b);
  EXPECT_NEAR(backward.r, 0, 0.01);
  EXPECT_NEAR(backward.x, 0, 0.01);
}

TEST(ZeroSequence, IsTheMeanOfThePhases) {
  expect_phasor(zero({1, 10}, {2, 20}, {6, 60}), 3, 30);
  expect_phasor(zero({1, 1}, {1, 2}, {0, 4}), 2.0F / 3.0F, 7.0F / 3.0F);
}

TEST(ZeroSequence, AddsInFloatFromPhaseAToC) {
  expect_phasor(zero({16777216.0F, 1}, {1, 16777216.0F}, {-16777216.0F, -16777216.0F}), 0, 0);
  expect_phasor(zero({-16777216.0F, 0}, {16777216.0F, 0}, {1, 0}), 1.0F / 3.0F, 0);
}

TEST(Sequences, WithoutAPhasorChangeNothing) {
  for (const auto calculate : {seq_cal, seq0_cal}) {
    vec_struct input = {1, 2};
    vec_struct result = {7, 8};
    calculate(nullptr, &input, &input, &result);
    calculate(&input, nullptr, &input, &result);
    calculate(&input, &input, nullptr, &result);
    calculate(&input, &input, &input, nullptr);
    expect_phasor(result, 7, 8);
  }
}

// --- low phases ------------------------------------------------------------------------------------------------------

void expect_low(sagx::LowPhases low, int count, int mask) {
  EXPECT_EQ(low.count, count);
  EXPECT_EQ(low.mask, mask);
}

TEST(LowPhases, HaveABitEach) {
  expect_low(sagx::low_phases(100, 100, 100, 90), 0, 0);
  expect_low(sagx::low_phases(80, 100, 100, 90), 1, 1);
  expect_low(sagx::low_phases(100, 80, 100, 90), 1, 2);
  expect_low(sagx::low_phases(100, 100, 80, 90), 1, 4);
}

TEST(LowPhases, AddUp) {
  expect_low(sagx::low_phases(80, 80, 100, 90), 2, 3);
  expect_low(sagx::low_phases(100, 80, 80, 90), 2, 6);
  expect_low(sagx::low_phases(80, 100, 80, 90), 2, 5);
  expect_low(sagx::low_phases(80, 80, 80, 90), 3, 7);
}

TEST(LowPhases, LieStrictlyBelowTheThreshold) {
  expect_low(sagx::low_phases(90, 90, 90, 90), 0, 0);
  const float below = std::nextafter(90.0F, 0.0F);
  expect_low(sagx::low_phases(below, below, below, 90), 3, 7);
}

TEST(LowPhases, DoNotIncludePhasesWithoutVoltage) {
  expect_low(sagx::low_phases(nan, 80, nan, 90), 1, 2);
  expect_low(sagx::low_phases(80, 80, 80, nan), 0, 0);
}

// --- vote ------------------------------------------------------------------------------------------------------------

int winner_of(std::initializer_list<int> categories) {
  sagx::CategoryVote vote;
  for (const int category : categories) vote.add(category);
  return vote.winner();
}

TEST(CategoryVote, GoesToTheMostFrequent) {
  EXPECT_EQ(winner_of({3, 8, 8, 0, 8, 3}), 8);
  EXPECT_EQ(winner_of({0}), 0);
  EXPECT_EQ(winner_of({9}), 9);
}

TEST(CategoryVote, GoesToTheLowestOfEquals) {
  EXPECT_EQ(winner_of({9, 1, 9, 1}), 1);
  EXPECT_EQ(winner_of({4, 0}), 0);
  EXPECT_EQ(winner_of({4, 0, 4}), 4);
}

TEST(CategoryVote, CountsNoSampleWithoutACategory) {
  EXPECT_EQ(winner_of({10, 10, 10, 2}), 2);
}

TEST(CategoryVote, WithoutVotesHasNoWinner) {
  EXPECT_EQ(winner_of({}), 10);
  EXPECT_EQ(winner_of({10, 10}), 10);
}

TEST(CategoryVote, IgnoresInvalidCodes) {
  EXPECT_EQ(winner_of({-1, 11, 1000, -1}), 10);
}

// --- category of a sample --------------------------------------------------------------------------------------------

// Nominal is 100 V, so negative sequences count from 4 V on and zero sequences above 3 V.
constexpr float nominal = 100;

/// Returns the category with almost no negative sequence, which is decided by the phases alone.
int by_phases(int type, int phase, float u0 = 0) {
  vec_struct before = {100, 0};
  vec_struct now = {50, 0};
  vec_struct negative = {0.5F, 0};
  return symmetrical_components_dq(&before, &now, &negative, 0.5F, u0, nominal, type, phase);
}

/// Returns the category when the negative sequence leads the drop of the positive one by `sectors` times 60 degrees.
int by_angle(double sectors, int type = 3, float u0 = 0) {
  vec_struct before = {100, 0};
  vec_struct now = {50, 0};
  auto negative = vec(tests::phasor(50, 60 * sectors));
  return symmetrical_components_dq(&before, &now, &negative, 50, u0, nominal, type, 0);
}

TEST(DipCategory, OfALowBalanceWithoutLowPhasesIsMissing) {
  EXPECT_EQ(by_phases(0, 0), 10);
  EXPECT_EQ(by_phases(0, 7, 50), 10);
}

TEST(DipCategory, OfThreeBalancedLowPhasesIsAlwaysNine) {
  EXPECT_EQ(by_phases(3, 7), 9);
  EXPECT_EQ(by_phases(3, 0), 9);
  EXPECT_EQ(by_phases(3, 1, 50), 9);
}

TEST(DipCategory, OfOneLowPhaseNamesIt) {
  EXPECT_EQ(by_phases(1, 1), 3);
  EXPECT_EQ(by_phases(1, 2), 5);
  EXPECT_EQ(by_phases(1, 4), 1);
}

TEST(DipCategory, OfOneLowPhaseFollowsTheHighestBit) {
  EXPECT_EQ(by_phases(1, 3), 5);
  EXPECT_EQ(by_phases(1, 5), 1);
  EXPECT_EQ(by_phases(1, 6), 1);
  EXPECT_EQ(by_phases(1, 7), 1);
  EXPECT_EQ(by_phases(1, 0), 10);
}

TEST(DipCategory, OfOneLowPhaseIsNotRaised) {
  EXPECT_EQ(by_phases(1, 1, 50), 3);
  EXPECT_EQ(by_phases(1, 2, 50), 5);
  EXPECT_EQ(by_phases(1, 4, 50), 1);
}

TEST(DipCategory, OfTwoLowPhasesNamesThePair) {
  EXPECT_EQ(by_phases(2, 3), 4);
  EXPECT_EQ(by_phases(2, 6), 0);
  EXPECT_EQ(by_phases(2, 5), 2);
}

TEST(DipCategory, OfTwoLowPhasesFollowsTheLastPairOfAnOddMask) {
  EXPECT_EQ(by_phases(2, 7), 2);
  EXPECT_EQ(by_phases(2, 1), 10);
  EXPECT_EQ(by_phases(2, 0, 50), 10);
}

TEST(DipCategory, OfTwoLowPhasesIsRaisedByAZeroSequence) {
  EXPECT_EQ(by_phases(2, 6, 3.5F), 6);
  EXPECT_EQ(by_phases(2, 5, 3.5F), 7);
  EXPECT_EQ(by_phases(2, 3, 3.5F), 8);
}

TEST(DipCategory, OfAnImpossibleCountIsMissing) {
  EXPECT_EQ(by_phases(4, 7), 10);
  EXPECT_EQ(by_phases(-1, 1), 10);
}

TEST(DipCategory, NeedsAZeroSequenceStrictlyAboveItsThreshold) {
  EXPECT_EQ(by_phases(2, 6, 3.0F), 0);
  EXPECT_EQ(by_phases(2, 6, std::nextafter(3.0F, 4.0F)), 6);
  EXPECT_EQ(by_angle(0, 3, 3.0F), 0);
  EXPECT_EQ(by_angle(0, 3, std::nextafter(3.0F, 4.0F)), 6);
  EXPECT_EQ(by_phases(2, 6, nan), 0);
}

TEST(DipCategory, CountsANegativeSequenceThatEqualsItsThreshold) {
  vec_struct before = {100, 0};
  vec_struct now = {50, 0};
  vec_struct negative = {-4, 0};
  const auto category = [&](float un) {
    return symmetrical_components_dq(&before, &now, &negative, un, 0, nominal, 1, 4);
  };
  EXPECT_EQ(category(4.0F), 3) << "decided by the angle of 180 degrees";
  EXPECT_EQ(category(std::nextafter(4.0F, 0.0F)), 1) << "decided by the phases, of which C is low";
  EXPECT_EQ(category(nan), 3) << "NaN does not count as small";
}

TEST(DipCategory, StoresItsThresholdsAsFloat) {
  vec_struct before = {100, 0};
  vec_struct now = {50, 0};
  vec_struct negative = {50, 0};
  // 0.04 x 230 is above the nearest float, 0.03 x 210 is below it.
  ASSERT_LT(static_cast<double>(9.2F), 0.04 * 230);
  ASSERT_GT(static_cast<double>(6.3F), 0.03 * 210);
  EXPECT_EQ(symmetrical_components_dq(&before, &now, &negative, 9.2F, 0, 230, 3, 7), 0);
  EXPECT_EQ(symmetrical_components_dq(&before, &now, &negative, 50, 6.3F, 210, 3, 7), 0);
}

TEST(DipCategory, OfASectorIsItsNumber) {
  EXPECT_EQ(by_angle(0), 0);
  EXPECT_EQ(by_angle(1), 1);
  EXPECT_EQ(by_angle(2), 2);
  EXPECT_EQ(by_angle(3), 3);
  EXPECT_EQ(by_angle(4), 4);
  EXPECT_EQ(by_angle(5), 5);
}

TEST(DipCategory, ChangesInTheMiddleBetweenTwoSectors) {
  EXPECT_EQ(by_angle(0.49), 0);
  EXPECT_EQ(by_angle(0.51), 1);
  EXPECT_EQ(by_angle(1.49), 1);
  EXPECT_EQ(by_angle(1.51), 2);
  EXPECT_EQ(by_angle(4.49), 4);
  EXPECT_EQ(by_angle(4.51), 5);
}

TEST(DipCategory, WrapsFromTheLastSectorToTheFirst) {
  EXPECT_EQ(by_angle(5.49), 5);
  EXPECT_EQ(by_angle(5.51), 0);
  EXPECT_EQ(by_angle(5.99), 0);
  EXPECT_EQ(by_angle(-1e-7), 0) << "the angle rounds to six sectors";
}

TEST(DipCategory, OfTwoLowPhasesLeavesASinglePhaseSectorSixDegreesEarly) {
  EXPECT_EQ(by_angle(1.39, 2), 1);
  EXPECT_EQ(by_angle(1.41, 2), 2);
  EXPECT_EQ(by_angle(3.39, 2), 3);
  EXPECT_EQ(by_angle(3.41, 2), 4);
  EXPECT_EQ(by_angle(1.41, 1), 1);
  EXPECT_EQ(by_angle(1.41, 3), 1);
}

TEST(DipCategory, OfTwoLowPhasesEntersASinglePhaseSectorAsUsual) {
  EXPECT_EQ(by_angle(0.49, 2), 0);
  EXPECT_EQ(by_angle(0.51, 2), 1);
}

TEST(DipCategory, OfTwoLowPhasesWrapsFromTheTopOfTheLastSector) {
  EXPECT_EQ(by_angle(5.39, 2), 5);
  EXPECT_EQ(by_angle(5.45, 2), 0);
  EXPECT_EQ(by_angle(5.45, 2, 3.5F), 6);
}

TEST(DipCategory, OfOneLowPhaseEntersATwoPhaseSectorSixDegreesLate) {
  EXPECT_EQ(by_angle(1.55, 1), 1);
  EXPECT_EQ(by_angle(1.59, 1), 1);
  EXPECT_EQ(by_angle(1.61, 1), 2);
  EXPECT_EQ(by_angle(3.59, 1), 3);
  EXPECT_EQ(by_angle(3.61, 1), 4);
  EXPECT_EQ(by_angle(1.55, 2), 2);
  EXPECT_EQ(by_angle(1.55, 3), 2);
}

TEST(DipCategory, OfOneLowPhaseLeavesATwoPhaseSectorAsUsual) {
  EXPECT_EQ(by_angle(2.49, 1), 2);
  EXPECT_EQ(by_angle(2.51, 1), 3);
}

TEST(DipCategory, OfOneLowPhaseStaysAtTheStartOfTheFirstSector) {
  EXPECT_EQ(by_angle(0.05, 1), 0);
}

TEST(DipCategory, OfOneLowPhaseKeepsTheLastSectorSixDegreesLonger) {
  EXPECT_EQ(by_angle(5.55, 1), 5);
  EXPECT_EQ(by_angle(5.59, 1), 5);
  EXPECT_EQ(by_angle(5.61, 1), 0);
}

TEST(DipCategory, OfATwoPhaseSectorIsRaisedByAZeroSequence) {
  EXPECT_EQ(by_angle(0, 3, 3.5F), 6);
  EXPECT_EQ(by_angle(2, 3, 3.5F), 7);
  EXPECT_EQ(by_angle(4, 3, 3.5F), 8);
}

TEST(DipCategory, OfASinglePhaseSectorIsNotRaised) {
  EXPECT_EQ(by_angle(1, 3, 50), 1);
  EXPECT_EQ(by_angle(3, 3, 50), 3);
  EXPECT_EQ(by_angle(5, 3, 50), 5);
}

TEST(DipCategory, IsMeasuredAgainstTheDropNotAgainstTheAxes) {
  vec_struct before = {0, 100};
  vec_struct now = {0, 50};
  auto ahead = vec(tests::phasor(50, 90 + 60));
  EXPECT_EQ(symmetrical_components_dq(&before, &now, &ahead, 50, 0, nominal, 3, 7), 1);
  auto rise_before = before;
  auto rise_now = vec(tests::phasor(150, 90));
  EXPECT_EQ(symmetrical_components_dq(&rise_before, &rise_now, &ahead, 50, 0, nominal, 3, 7), 4)
      << "the angle is relative to a rise";
}

TEST(DipCategory, WithoutADropIsMissing) {
  vec_struct before = {100, 10};
  vec_struct same = before;
  vec_struct negative = {50, 50};
  EXPECT_EQ(symmetrical_components_dq(&before, &same, &negative, 70, 0, nominal, 3, 7), 10);
  EXPECT_EQ(symmetrical_components_dq(&before, &same, &negative, 70, 50, nominal, 2, 6), 10);
}

TEST(DipCategory, OfNotANumberIsMissing) {
  vec_struct before = {100, 0};
  vec_struct now = {nan, 0};
  vec_struct negative = {50, 50};
  EXPECT_EQ(symmetrical_components_dq(&before, &now, &negative, 70, 50, nominal, 2, 6), 10);
  now = {50, 0};
  negative = {nan, 0};
  EXPECT_EQ(symmetrical_components_dq(&before, &now, &negative, nan, 0, nominal, 3, 7), 10);
}

TEST(DipCategory, WithoutAPhasorIsMissing) {
  vec_struct some = {100, 0};
  EXPECT_EQ(symmetrical_components_dq(nullptr, &some, &some, 0, 0, nominal, 3, 7), 10);
  EXPECT_EQ(symmetrical_components_dq(&some, nullptr, &some, 0, 0, nominal, 3, 7), 10);
  EXPECT_EQ(symmetrical_components_dq(&some, &some, nullptr, 0, 0, nominal, 3, 7), 10);
}

TEST(DipCategory, LeavesThePhasorsAsTheyWere) {
  vec_struct before = {100, 1};
  vec_struct now = {50, 2};
  vec_struct negative = {-50, 3};
  symmetrical_components_dq(&before, &now, &negative, 50, 0, nominal, 1, 1);
  expect_phasor(before, 100, 1);
  expect_phasor(now, 50, 2);
  expect_phasor(negative, -50, 3);
}

/// Returns the category of a balanced system of 100 V whose phases are scaled; the given count and mask name no phase.
int of_scaled(double a, double b, double c) {
  const auto scaled = tests::scaled(100 * a, 100 * b, 100 * c);
  const auto whole = tests::scaled(100, 100, 100);
  auto before = positive(vec(whole[0]), vec(whole[1]), vec(whole[2]));
  auto now = positive(vec(scaled[0]), vec(scaled[1]), vec(scaled[2]));
  auto negative = positive(vec(scaled[0]), vec(scaled[2]), vec(scaled[1]));
  return symmetrical_components_dq(&before, &now, &negative, std::hypot(negative.r, negative.x), 0, nominal, 0, 0);
}

TEST(DipCategory, OfADropOfOnePhaseIsThatPhase) {
  EXPECT_EQ(of_scaled(0.8, 1, 1), 3);
  EXPECT_EQ(of_scaled(1, 0.8, 1), 5);
  EXPECT_EQ(of_scaled(1, 1, 0.8), 1);
}

TEST(DipCategory, OfADropOfTwoPhasesIsThatPair) {
  EXPECT_EQ(of_scaled(1, 0.8, 0.8), 0);
  EXPECT_EQ(of_scaled(0.8, 1, 0.8), 2);
  EXPECT_EQ(of_scaled(0.8, 0.8, 1), 4);
}

TEST(DipCategory, NeedsADropOfTwelvePerCentForItsAngle) {
  EXPECT_EQ(of_scaled(1, 0.87, 1), 5);
  EXPECT_EQ(of_scaled(1, 0.89, 1), 10) << "decided by the phases, of which none is low";
}

// --- the decision about one sample -----------------------------------------------------------------------------------

/// The positive sequence loses 30 of 100 V, in phase with the negative sequence.
sagx::SequenceSample sample_of(float negative_size, float zero_size = 0) {
  return {{100, 0}, {70, 0}, {negative_size, 0}, negative_size, zero_size};
}

TEST(CategoryOfASample, IsByThePhasesBelowTheThresholdOfTheNegativeSequence) {
  const sagx::SequenceThresholds thresholds(100);
  EXPECT_EQ(sagx::category_of(sample_of(3.9F), {1, 2}, thresholds, sagx::AllLow::by_angle), 5);
  EXPECT_EQ(sagx::category_of(sample_of(4), {1, 2}, thresholds, sagx::AllLow::by_angle), 0);
}

TEST(CategoryOfASample, WithAllPhasesLowIsByTheRule) {
  const sagx::SequenceThresholds thresholds(100);
  EXPECT_EQ(sagx::category_of(sample_of(20), {3, 7}, thresholds, sagx::AllLow::by_angle), 0);
  EXPECT_EQ(sagx::category_of(sample_of(20), {3, 7}, thresholds, sagx::AllLow::three_phase), 9);
  EXPECT_EQ(sagx::category_of(sample_of(20), {2, 6}, thresholds, sagx::AllLow::three_phase), 0);
}

TEST(CategoryOfASample, OfTwoPhasesCountsTheZeroSequence) {
  const sagx::SequenceThresholds thresholds(100);
  EXPECT_EQ(sagx::category_of(sample_of(20, 3), {2, 6}, thresholds, sagx::AllLow::by_angle), 0);
  EXPECT_EQ(sagx::category_of(sample_of(20, 3.1F), {2, 6}, thresholds, sagx::AllLow::by_angle), 6);
}

TEST(CategoryOfASample, IsMissingIfThePositiveSequenceHasNotChanged) {
  auto sample = sample_of(20);
  sample.positive = sample.positive_before;
  for (const auto all_low : {sagx::AllLow::by_angle, sagx::AllLow::three_phase}) {
    EXPECT_EQ(sagx::category_of(sample, {3, 7}, sagx::SequenceThresholds(100), all_low), sagx::no_category);
  }
}

}  // namespace
