// Vector groups and what transformers make of voltages, compared with the differences that their windings take.
#include "assess/transformer.h"

#include <gtest/gtest.h>

#include <complex>
#include <cstddef>
#include <numbers>
#include <string>
#include <vector>

namespace {

using assess::Connection;
using assess::connection_of;
using assess::connections_of;
using assess::mapped;
using assess::Monitor;
using assess::VoltageMap;
using measure::Phasor;
using measure::Phasors;
using Samples = std::array<double, 3>;

// --- vector groups ---------------------------------------------------------------------------------------------------

TEST(VectorGroup, GivesTheClockNumber) {
  EXPECT_EQ(connection_of("Dyn11").clock, 11);
  EXPECT_EQ(connection_of("Yd1").clock, 1);
  EXPECT_EQ(connection_of("Dd0").clock, 0);
  EXPECT_EQ(connection_of("Yzn5").clock, 5);
  EXPECT_EQ(connection_of("Dz10").clock, 10);
  EXPECT_EQ(connection_of("YNyn6").name, "YNyn6");
}

TEST(VectorGroup, PassesTheZeroSequenceOnlyBetweenStarsWithNeutrals) {
  EXPECT_TRUE(connection_of("YNyn0").passes_zero);
  for (const char* group : {"Yyn0", "YNy0", "Yy0", "Dyn11", "YNd5", "Yzn5", "YNzn11", "Dd6", "ZNyn1"}) {
    EXPECT_FALSE(connection_of(group).passes_zero) << group;
  }
}

TEST(VectorGroup, OfAnImpossibleTransformerIsRefused) {
  const std::vector<std::pair<const char*, const char*>> refused = {
      {"", "'' is not a vector group"},
      {"dyn11", "'dyn11' is not a vector group"},
      {"DYN11", "'DYN11' is not a vector group"},
      {"D11", "'D11' is not a vector group"},
      {"Xyn11", "'Xyn11' is not a vector group"},
      {"Dyn", "'Dyn' does not end in a clock number"},
      {"Dyn12", "'Dyn12' does not end in a clock number"},
      {"Dyn011", "'Dyn011' does not end in a clock number"},
      {"Dyn11x", "'Dyn11x' does not end in a clock number"},
      {"DNyn11", "'DNyn11' does not exist, because a delta winding has no neutral"},
      {"Ydn11", "'Ydn11' does not exist, because a delta winding has no neutral"},
      {"Dyn0", "'Dyn0' does not exist, because the clock number of these windings is odd"},
      {"YNyn11", "'YNyn11' does not exist, because the clock number of these windings is even"},
      {"Dd5", "'Dd5' does not exist, because the clock number of these windings is even"},
      {"Yz0", "'Yz0' does not exist, because the clock number of these windings is odd"},
  };
  for (const auto& [text, beginning] : refused) {
    try {
      connection_of(text);
      FAIL() << text;
    } catch (const assess::NotAConnection& error) {
      EXPECT_EQ(std::string(error.what()).substr(0, std::string(beginning).size()), beginning);
      EXPECT_NE(std::string(error.what()).find("; "), std::string::npos) << "a remedy follows";
    }
  }
}

TEST(VectorGroups, AreSeparatedByCommas) {
  const auto connections = connections_of("Dyn11, YNyn0,Dd6");
  ASSERT_EQ(connections.size(), 3U);
  EXPECT_EQ(names_of(connections), "Dyn11,YNyn0,Dd6");
  EXPECT_FALSE(pass_zero(connections));
  EXPECT_TRUE(pass_zero(connections_of("YNyn0,YNyn6")));
  EXPECT_THROW(connections_of("Dyn11,"), assess::NotAConnection);
  EXPECT_THROW(connections_of(",Dyn11"), assess::NotAConnection);
}

// --- windings --------------------------------------------------------------------------------------------------------

constexpr Samples some = {7, -2, 11};  // any three voltages, with a sum that is not zero
constexpr double mean = 16.0 / 3;
const double root3 = std::numbers::sqrt3;

void expect_equal(const Samples& found, const Samples& expected) {
  for (std::size_t i = 0; i < 3; i++) EXPECT_NEAR(found[i], expected[i], 1e-12) << i;
}

Samples phases_through(const char* groups, const Samples& voltages) {
  return mapped(map_to_phases(connections_of(groups), {}), voltages);
}

TEST(Windings, OfAStarOnADeltaTakeVoltagesBetweenPhases) {
  const auto [a, b, c] = some;
  expect_equal(phases_through("Dyn11", some), {(a - b) / root3, (b - c) / root3, (c - a) / root3});
  expect_equal(phases_through("Dyn1", some), {(a - c) / root3, (b - a) / root3, (c - b) / root3});
  expect_equal(phases_through("Dyn5", some), {(b - a) / root3, (c - b) / root3, (a - c) / root3});
  expect_equal(phases_through("Dyn7", some), {(c - a) / root3, (a - b) / root3, (b - c) / root3});
}

TEST(Windings, OfADeltaOnAStarGiveDifferencesToo) {
  // The delta's voltages between phases are those of the star's windings; its phase voltages have no sum.
  const auto [a, b, c] = some;
  const Samples between = mapped(map_to_lines(connections_of("Yd1"), {}), some);
  expect_equal(between, {root3 * (a - mean), root3 * (b - mean), root3 * (c - mean)});
}

TEST(Windings, OfStarsPassTheZeroSequenceOnlyWithNeutrals) {
  const auto [a, b, c] = some;
  expect_equal(phases_through("YNyn0", some), some);
  expect_equal(phases_through("YNyn6", some), {-a, -b, -c});
  expect_equal(phases_through("YNyn4", some), {b, c, a});  // b lags a by 120 degrees
  expect_equal(phases_through("YNyn8", some), {c, a, b});
  expect_equal(phases_through("YNyn2", some), {-c, -a, -b});
  expect_equal(phases_through("YNyn10", some), {-b, -c, -a});
  expect_equal(phases_through("Yyn0", some), {a - mean, b - mean, c - mean});
  expect_equal(phases_through("Dd6", some), {mean - a, mean - b, mean - c});
}

TEST(Windings, OfAZigzagAddPartsOfTwoLimbs) {
  // Yzn11: the winding of a has halves on the limbs of A and, reversed, of B; each half has a third of the square root
  // of 3 of the voltage, so that both together have the size of a phase voltage.
  const auto [a, b, c] = some;
  expect_equal(phases_through("Yzn11", some), {(a - b) / root3, (b - c) / root3, (c - a) / root3});
}

TEST(Windings, InSeriesAddTheirClockNumbers) {
  expect_equal(phases_through("Dyn11,Dyn5", some), phases_through("Dd4", some));
  expect_equal(phases_through("Dyn11,Yd1", some), phases_through("Dd0", some));
}

TEST(Windings, TakeVoltagesBetweenPhasesAsWell) {
  const auto [a, b, c] = some;
  const Samples between = {a - b, b - c, c - a};
  for (const char* group : {"Dyn11", "Yd5", "Dd0", "Yyn6"}) {
    const auto connections = connections_of(group);
    const Samples from_phases = mapped(map_to_lines(connections, {}), some);
    expect_equal(mapped(map_to_lines(connections, {.between_phases = true, .wiring = {}}), between), from_phases);
  }
}

TEST(Windings, TurnATurnedPhaseBack) {
  Monitor monitor;
  monitor.wiring.turned_phase = 1;
  const auto [a, b, c] = some;
  expect_equal(mapped(map_to_phases(connections_of("Dyn11"), monitor), Samples{a, -b, c}),
               phases_through("Dyn11", some));
}

// --- sequences -------------------------------------------------------------------------------------------------------

TEST(Transformers, TurnPositiveAndNegativeSequencesInOppositeDirections) {
  const Phasor turn = std::polar(1.0, 2 * std::numbers::pi / 3);
  const Phasors positive = {1, std::conj(turn), turn};
  const Phasors negative = {1, turn, std::conj(turn)};
  for (int clock = 0; clock < 12; clock++) {
    const std::string group = (clock % 2 == 1 ? "Dyn" : "Dd") + std::to_string(clock);
    const VoltageMap map = map_to_phases(connections_of(group), {});
    const Phasor lag = std::polar(1.0, -std::numbers::pi / 6 * clock);
    const Phasors from_positive = mapped(map, positive);
    const Phasors from_negative = mapped(map, negative);
    const Phasors from_zero = mapped(map, Phasors{1, 1, 1});
    for (std::size_t i = 0; i < 3; i++) {
      EXPECT_NEAR(std::abs(from_positive[i] - lag * positive[i]), 0, 1e-12) << group;
      EXPECT_NEAR(std::abs(from_negative[i] - std::conj(lag) * negative[i]), 0, 1e-12) << group;
      EXPECT_NEAR(std::abs(from_zero[i]), 0, 1e-12) << group;
    }
  }
}

}  // namespace
