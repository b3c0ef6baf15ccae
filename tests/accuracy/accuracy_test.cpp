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

/// Shares of right figures over many random dips, per shape. They are floors: better is welcome.
TEST(RandomDips, AreMeasuredRightAsOftenAsBefore) {
  struct Shares {
    int cases = 0, segments = 0, residual = 0, boundaries = 0, category = 0, jump = 0;
  };
  std::map<std::string, Shares> shares;
  std::mt19937 random(1);
  for (int i = 0; i < 600; i++) {
    const auto dip = accuracy::random_case(random);
    const auto hits = hits_of(dip);
    auto& share = shares[accuracy::shape_of(dip)];
    share.cases++;
    share.segments += hits.segments;
    share.residual += hits.residual;
    share.boundaries += hits.boundaries;
    share.category += hits.category;
    share.jump += hits.jump;
  }
  for (const char* shape : {"plain", "jump"}) {
    const auto& share = shares[shape];
    EXPECT_GT(share.cases, 100) << shape;
    EXPECT_EQ(share.segments, share.cases) << shape;
    EXPECT_EQ(share.residual, share.cases) << shape;
    EXPECT_EQ(share.boundaries, share.cases) << shape;
    EXPECT_EQ(share.category, share.cases) << shape;
    EXPECT_EQ(share.jump, share.cases) << shape;
  }
  const auto per_cent = [&](const char* shape, int Shares::*hits) {
    return 100.0 * shares[shape].*hits / shares[shape].cases;
  };
  // Slow shallow falls are refused; what is reported of a ramp is right but for its boundaries.
  EXPECT_GE(per_cent("ramp", &Shares::segments), 84);
  EXPECT_EQ(shares["ramp"].residual, shares["ramp"].segments);
  EXPECT_EQ(shares["ramp"].category, shares["ramp"].segments);
  EXPECT_GE(per_cent("two steps", &Shares::segments), 74);
  EXPECT_GE(per_cent("two steps", &Shares::category), 74);
  EXPECT_GE(per_cent("two steps", &Shares::residual), 63);
}

}  // namespace
