// Tests how many figures are right on dips whose figures are known.
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

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
  EXPECT_TRUE(hits.voltage) << accuracy::text_of(dip);
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

INSTANTIATE_TEST_SUITE_P(Cycles, EveryDuration, testing::Values(2, 5, 20, 50, 100, 400));

TEST(OneCycle, IsMeasuredRight) {
  for (int kind = 0; kind < accuracy::kinds; kind++) expect_all(dip_of(static_cast<Kind>(kind), 0.4, 1, 32));
}

TEST(OneCycle, IsMeasuredButForTheVoltagesLastPerCentAtAHighRate) {
  // From 48 samples per cycle on, averages of samples are fitted. In such a short dip the average that contains an edge
  // has much weight.
  for (int kind = 0; kind < accuracy::kinds; kind++) {
    const auto dip = dip_of(static_cast<Kind>(kind), 0.4, 1, 64);
    const auto errors = accuracy::errors_of(dip, accuracy::analysis_of(dip));
    EXPECT_TRUE(errors.segments) << accuracy::text_of(dip);
    EXPECT_LE(errors.voltage, 0.05) << accuracy::text_of(dip);
    EXPECT_LE(errors.boundary, 0.25) << accuracy::text_of(dip);
    EXPECT_TRUE(errors.category) << accuracy::text_of(dip);
  }
}

class EveryLongDuration : public testing::TestWithParam<double> {};

TEST_P(EveryLongDuration, IsMeasuredRight) {
  expect_all(dip_of(Kind::single_c, 0.6, GetParam(), 32));
  expect_all(dip_of(Kind::two_bc, 0.4, GetParam(), 64));
  auto turned = dip_of(Kind::two_ab_with_zero, 0.3, GetParam(), 100);
  turned.jump = -30;
  expect_all(turned);
}

INSTANTIATE_TEST_SUITE_P(Cycles, EveryLongDuration, testing::Values(491, 493, 600, 2500));

TEST(LongDips, OfTwoStepsAreMeasuredRight) {
  for (const auto kind : {Kind::single_a, Kind::two_ca, Kind::balanced}) {
    auto dip = dip_of(kind, 0.2, 1200, 64);
    dip.later = {{kind, 0.4}};
    expect_all(dip);
  }
}

TEST(LongDips, AreMeasuredRightAfterASlowFall) {
  auto dip = dip_of(Kind::balanced, 0.2, 600, 64);
  dip.fall_cycles = 20;
  expect_all(dip);
}

/// Does the same, but allows for the rounding of a table's values: one sample more or less, and microvolts.
void expect_same_course(const nlohmann::json& one, const nlohmann::json& other, const DipCase& dip) {
  const double sample = 1.01 / (50.0 * dip.samples_per_cycle);
  EXPECT_NEAR(one["start_s"], other["start_s"], sample);
  EXPECT_NEAR(one["end_s"], other["end_s"], sample);
  ASSERT_EQ(one["segments"].size(), other["segments"].size());
  for (std::size_t s = 0; s < one["segments"].size(); s++) {
    EXPECT_EQ(one["segments"][s]["category"], other["segments"][s]["category"]);
    for (std::size_t phase = 0; phase < 3; phase++) {
      EXPECT_NEAR(one["segments"][s]["voltage"][phase]["voltage_v"],
                  other["segments"][s]["voltage"][phase]["voltage_v"], 1e-3);
    }
  }
}

TEST(Pipe, GivesTheFiguresOfTheAnalysisInMemory) {
  auto evolving = dip_of(Kind::single_a, 0.5, 30, 64);
  evolving.later = {{Kind::two_ab_with_zero, 0.6}, {Kind::balanced, 0.6}};
  evolving.recovery_cycles = 5;
  for (const auto& dip : {dip_of(Kind::single_b, 0.5, 5, 64), dip_of(Kind::balanced, 0.3, 600, 32), evolving}) {
    const auto piped = accuracy::piped_analysis_of(dip);
    EXPECT_TRUE(accuracy::judge(dip, piped).all());
    const auto direct = accuracy::analysis_of(dip);
    ASSERT_EQ(piped["events"].size(), 1U);
    ASSERT_EQ(direct["events"].size(), 1U);
    expect_same_course(piped["events"][0]["course"], direct["events"][0]["course"], dip);
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

TEST_P(EveryRamp, IsMeasuredRightAsAFallAndAsARecovery) {
  for (const auto kind : {Kind::single_c, Kind::two_bc, Kind::two_ab_with_zero, Kind::balanced}) {
    auto dip = dip_of(kind, 0.45, 30, 64);
    dip.fall_cycles = GetParam();
    expect_all(dip);
    std::swap(dip.fall_cycles, dip.recovery_cycles);
    expect_all(dip);
  }
}

INSTANTIATE_TEST_SUITE_P(Cycles, EveryRamp, testing::Values(1, 2, 5, 10, 20));

class EveryStepLength : public testing::TestWithParam<double> {};

TEST_P(EveryStepLength, OfTwoStepsIsMeasuredRight) {
  for (const int rate : {32, 64, 128}) {
    for (const auto& [first, second] : {std::pair(0.3, 0.6), {0.7, 0.35}, {0.3, 0.4}}) {
      auto dip = dip_of(Kind::balanced, first, 2 * GetParam(), rate);
      dip.later = {{Kind::balanced, second}};
      expect_all(dip);
    }
  }
}

TEST_P(EveryStepLength, OfAnEvolvingFaultIsMeasuredRight) {
  const std::vector<std::vector<Kind>> faults = {
      {Kind::single_a, Kind::two_ab_with_zero, Kind::balanced},
      {Kind::balanced, Kind::two_bc_with_zero, Kind::single_b},
      {Kind::single_c, Kind::balanced},
  };
  for (const auto& kinds : faults) {
    auto dip = dip_of(kinds[0], 0.5, static_cast<double>(kinds.size()) * GetParam(), 64);
    for (std::size_t step = 1; step < kinds.size(); step++) dip.later.push_back({kinds[step], 0.5});
    expect_all(dip);
  }
}

INSTANTIATE_TEST_SUITE_P(Cycles, EveryStepLength, testing::Values(3, 4, 5, 10, 25));

/// Returns the number of dips of which all figures are right.
struct Share {
  int cases = 0;
  int right = 0;
  std::string wrong;  ///< the others, one a line

  void add(const DipCase& dip) {
    cases++;
    if (hits_of(dip).all()) {
      right++;
    } else {
      wrong += accuracy::text_of(dip) + '\n';
    }
  }
  [[nodiscard]] double per_cent() const { return 100.0 * right / cases; }
};

using SharesByShape = std::map<std::string, Share>;

constexpr const char* shapes[] = {"plain", "jump", "ramp", "recovery", "two steps", "evolving"};

// These shares are lower limits; higher shares pass as well.

TEST(RandomDips, OfTwoCyclesAndMoreAreMeasuredRightInEveryShape) {
  SharesByShape shares;
  std::mt19937 random(1);
  for (int i = 0; i < 1200; i++) {
    const auto dip = accuracy::random_case(random);
    if (dip.cycles >= 2) shares[accuracy::shape_of(dip)].add(dip);
  }
  for (const char* shape : shapes) {
    EXPECT_GE(shares[shape].cases, 80) << shape;
    EXPECT_GE(shares[shape].per_cent(), 95) << shape << "\n" << shares[shape].wrong;
  }
}

TEST(RandomDips, OfOneCycleAreFoundWhereTheyAre) {
  Share found;
  std::mt19937 random(1);
  for (int i = 0; i < 1200; i++) {
    const auto dip = accuracy::random_case(random);
    const bool sudden = dip.fall_cycles == 0 && dip.recovery_cycles == 0;
    if (dip.cycles > 1 || !sudden) continue;
    const auto hits = hits_of(dip);
    found.cases++;
    found.right += hits.segments && hits.boundaries && hits.category ? 1 : 0;
    if (!hits.boundaries) found.wrong += accuracy::text_of(dip) + '\n';
  }
  EXPECT_GE(found.cases, 50);
  EXPECT_GE(found.per_cent(), 95) << found.wrong;
}

TEST(RandomDips, OfGreatLengthAreMeasuredRightInEveryShape) {
  Share all;
  SharesByShape shares;
  std::mt19937 random(1);
  for (int i = 0; i < 200; i++) {
    const auto dip = accuracy::random_long_case(random);
    shares[accuracy::shape_of(dip)].add(dip);
  }
  for (const char* shape : shapes) {
    const Share& share = shares[shape];
    EXPECT_GE(share.cases, 15) << shape;
    EXPECT_GE(share.per_cent(), 90) << shape << "\n" << share.wrong;
    all.cases += share.cases;
    all.right += share.right;
    all.wrong += share.wrong;
  }
  EXPECT_GE(all.per_cent(), 97) << all.wrong;
}

}  // namespace
