// Right answers on dips that people know. Where a figure is not asked for, the method does not give it; the reason
// stands beside the test.
#include <gtest/gtest.h>

#include <map>
#include <tuple>

#include "tests/accuracy/dip_case.h"

namespace {

using accuracy::DipCase;
using accuracy::Hits;
using accuracy::Kind;

Hits hits_of(const DipCase& dip) {
  return accuracy::judge(dip, accuracy::analysis_of(dip));
}

void expect_all(const DipCase& dip) {
  const auto hits = hits_of(dip);
  EXPECT_TRUE(hits.segments) << accuracy::text_of(dip);
  EXPECT_TRUE(hits.residual) << accuracy::text_of(dip);
  EXPECT_TRUE(hits.boundaries) << accuracy::text_of(dip);
  EXPECT_TRUE(hits.category) << accuracy::text_of(dip);
  EXPECT_TRUE(hits.jump) << accuracy::text_of(dip);
}

DipCase dip_of(Kind kind, double depth, double cycles, int rate) {
  DipCase dip;
  dip.kind = kind;
  dip.depth = depth;
  dip.cycles = cycles;
  dip.samples_per_cycle = rate;
  return dip;
}

class EveryKindAndRate : public testing::TestWithParam<std::tuple<int, int>> {};

TEST_P(EveryKindAndRate, IsMeasuredRightWhenShallow) {
  expect_all(dip_of(static_cast<Kind>(std::get<0>(GetParam())), 0.15, 3, std::get<1>(GetParam())));
}

TEST_P(EveryKindAndRate, IsMeasuredRightWhenDeep) {
  // Two phases that move towards each other cannot fall below a half.
  const auto kind = static_cast<Kind>(std::get<0>(GetParam()));
  const bool moves_together = kind >= Kind::two_bc && kind <= Kind::two_ab;
  expect_all(dip_of(kind, moves_together ? 0.45 : 0.95, 8, std::get<1>(GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Dips, EveryKindAndRate,
                         testing::Combine(testing::Range(0, accuracy::kinds), testing::Values(32, 64, 100, 128)));

class EveryPlace : public testing::TestWithParam<double> {};

TEST_P(EveryPlace, GivesTheSameFigures) {
  auto dip = dip_of(Kind::single_b, 0.5, 5, 64);
  dip.lead_cycles = GetParam();
  expect_all(dip);
}

INSTANTIATE_TEST_SUITE_P(Leads, EveryPlace, testing::Values(5.5, 6.1, 9.73, 17.25, 40.5, 333.3));

class EveryDuration : public testing::TestWithParam<double> {};

TEST_P(EveryDuration, IsMeasuredRight) {
  expect_all(dip_of(Kind::balanced, 0.4, GetParam(), 32));
  expect_all(dip_of(Kind::two_ca_with_zero, 0.4, GetParam(), 32));
}

INSTANTIATE_TEST_SUITE_P(Cycles, EveryDuration, testing::Values(1, 2, 5, 20, 50, 100, 400));

class EveryLongDuration : public testing::TestWithParam<double> {};

TEST_P(EveryLongDuration, IsMeasuredRight) {
  expect_all(dip_of(Kind::single_c, 0.6, GetParam(), 32));
  expect_all(dip_of(Kind::two_bc, 0.4, GetParam(), 64));
  auto turned = dip_of(Kind::two_ab_with_zero, 0.3, GetParam(), 100);
  turned.jump = -30;
  expect_all(turned);
}

// 492 cycles and their margins are 500.
INSTANTIATE_TEST_SUITE_P(Cycles, EveryLongDuration, testing::Values(491, 493, 600, 2500));

TEST(LongDips, OfTwoStepsHaveTheRightResidualVoltagesAndCategories) {
  // A middle transition that the dq magnitudes do not show in its stretch stays where the RMS has it, up to one and a
  // half cycles late.
  for (const auto kind : {Kind::single_a, Kind::two_ca, Kind::balanced}) {
    auto dip = dip_of(kind, 0.2, 1200, 64);
    dip.second_depth = 0.4;
    const auto hits = hits_of(dip);
    EXPECT_TRUE(hits.segments && hits.residual && hits.category && hits.jump) << accuracy::text_of(dip);
  }
}

TEST(LongDips, AreNotDividedBehindASlowFall) {
  // Of a fall of 20 cycles the RMS feature shows nothing at any threshold: the recovery alone makes no valid list.
  auto dip = dip_of(Kind::balanced, 0.2, 600, 64);
  dip.fall_cycles = 20;
  const auto analysis = accuracy::analysis_of(dip);
  EXPECT_EQ(analysis["dips"][0]["not_analysed"]["code"], "not_segmented");
}

TEST(Pipe, GivesTheFiguresOfTheAnalysisInMemory) {
  for (const auto& dip : {dip_of(Kind::single_b, 0.5, 5, 64), dip_of(Kind::balanced, 0.3, 600, 32)}) {
    auto piped = accuracy::piped_analysis_of(dip);
    auto direct = accuracy::analysis_of(dip);
    ASSERT_EQ(piped["dips"].size(), 1U);
    EXPECT_TRUE(accuracy::judge(dip, piped).all());
    EXPECT_EQ(piped["dips"][0]["segments"], direct["dips"][0]["segments"]);
  }
}

class EveryJump : public testing::TestWithParam<double> {};

TEST_P(EveryJump, IsMeasuredRight) {
  for (const auto kind : {Kind::single_a, Kind::two_bc_with_zero, Kind::balanced}) {
    auto dip = dip_of(kind, 0.3, 8, 64);
    dip.jump = GetParam();
    expect_all(dip);
  }
}

INSTANTIATE_TEST_SUITE_P(Degrees, EveryJump, testing::Values(-60, -30, -15, -5, 5, 15, 30, 60));

class EveryRamp : public testing::TestWithParam<double> {};

TEST_P(EveryRamp, LeadsToTheRightResidualVoltagesAndCategory) {
  // The segment behind a ramp that the feature does not see ends where the RMS recovers, up to a cycle late.
  for (const auto kind : {Kind::single_c, Kind::two_ab_with_zero, Kind::balanced}) {
    auto dip = dip_of(kind, 0.5, 30, 64);
    dip.fall_cycles = GetParam();
    const auto hits = hits_of(dip);
    EXPECT_TRUE(hits.segments) << accuracy::text_of(dip);
    EXPECT_TRUE(hits.residual) << accuracy::text_of(dip);
    EXPECT_TRUE(hits.category) << accuracy::text_of(dip);
    EXPECT_TRUE(hits.jump) << accuracy::text_of(dip);
  }
}

INSTANTIATE_TEST_SUITE_P(FallCycles, EveryRamp, testing::Values(1, 2, 5, 10, 20));

TEST(TwoSteps, AreToldApartWhenEachLastsTenCyclesAndTheStepIsLarge) {
  // Shorter parts and steps below about a fifth of the depth stay under the threshold, which follows the window's
  // larger changes.
  for (const int rate : {32, 64, 128}) {
    auto down = dip_of(Kind::balanced, 0.3, 20, rate);
    down.second_depth = 0.6;
    expect_all(down);
    auto up = dip_of(Kind::balanced, 0.7, 20, rate);
    up.second_depth = 0.35;
    expect_all(up);
  }
}

/// How often each figure is right.
struct Shares {
  void add(const Hits& hits) {
    cases++;
    segments += hits.segments;
    residual += hits.residual;
    boundaries += hits.boundaries;
    category += hits.category;
    jump += hits.jump;
  }
  [[nodiscard]] double per_cent(int Shares::*figure) const { return 100.0 * this->*figure / cases; }

  int cases = 0, segments = 0, residual = 0, boundaries = 0, category = 0, jump = 0;
};

using SharesByShape = std::map<std::string, Shares>;

SharesByShape shares_of(int count, DipCase (&random_dip)(std::mt19937&)) {
  SharesByShape shares;
  std::mt19937 random(1);
  for (int i = 0; i < count; i++) {
    const auto dip = random_dip(random);
    shares[accuracy::shape_of(dip)].add(hits_of(dip));
  }
  return shares;
}

/// All figures but, perhaps, the boundaries.
void expect_always_but_boundaries(const Shares& shares, int most_cases) {
  EXPECT_GT(shares.cases, most_cases);
  EXPECT_EQ(shares.segments, shares.cases);
  EXPECT_EQ(shares.residual, shares.cases);
  EXPECT_EQ(shares.category, shares.cases);
  EXPECT_EQ(shares.jump, shares.cases);
}

void expect_always(const Shares& shares, int most_cases) {
  expect_always_but_boundaries(shares, most_cases);
  EXPECT_EQ(shares.boundaries, shares.cases);
}

// The shares of ramps and two steps are floors: better is welcome.

TEST(RandomDips, AreMeasuredRightAsOftenAsBefore) {
  auto shares = shares_of(600, accuracy::random_case);
  expect_always(shares["plain"], 100);
  expect_always(shares["jump"], 100);
  // Slow shallow falls are refused; what is reported of a ramp is right but for its boundaries.
  EXPECT_GE(shares["ramp"].per_cent(&Shares::segments), 84);
  EXPECT_EQ(shares["ramp"].residual, shares["ramp"].segments);
  EXPECT_EQ(shares["ramp"].category, shares["ramp"].segments);
  EXPECT_GE(shares["two steps"].per_cent(&Shares::segments), 74);
  EXPECT_GE(shares["two steps"].per_cent(&Shares::category), 74);
  EXPECT_GE(shares["two steps"].per_cent(&Shares::residual), 63);
}

TEST(RandomDips, OfGreatLengthAreMeasuredRightAsOftenAsBefore) {
  auto shares = shares_of(120, accuracy::random_long_case);
  // A transition that falls into the padded edge of its stretch stays where the RMS has it, up to one and a half cycles
  // late; with two steps that is every other middle one.
  expect_always_but_boundaries(shares["plain"], 20);
  EXPECT_GE(shares["plain"].per_cent(&Shares::boundaries), 95);
  expect_always(shares["jump"], 10);
  // Slow falls are refused: the RMS feature does not show them, and the recovery alone makes no valid list.
  EXPECT_GE(shares["ramp"].per_cent(&Shares::segments), 78);
  EXPECT_EQ(shares["ramp"].residual, shares["ramp"].segments);
  EXPECT_EQ(shares["ramp"].category, shares["ramp"].segments);
  // A step may be pruned when it is small against the dip.
  EXPECT_GE(shares["two steps"].per_cent(&Shares::segments), 95);
  EXPECT_EQ(shares["two steps"].residual, shares["two steps"].segments);
  EXPECT_EQ(shares["two steps"].category, shares["two steps"].segments);
  EXPECT_GE(shares["two steps"].per_cent(&Shares::boundaries), 50);
}

}  // namespace
