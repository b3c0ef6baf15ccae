// The side of a dip's cause in simulated circuits, where it is known.
#include "assess/direction.h"

#include <gtest/gtest.h>

#include <array>
#include <map>
#include <random>
#include <string>

#include "measure/measure.h"
#include "tests/assess/circuit.h"

namespace {

using assess::Direction;
using assess::direction_of;
using assess::PowerFlow;
using assess::Side;
using tests::BaySamples;
using tests::Circuit;
using tests::Fault;
using tests::within;

/// The methods' answers for a dip from 0.2 s to 0.35 s; nothing if the voltage does not dip.
std::optional<Direction> answer(const BaySamples& samples) {
  const auto voltages = samples.voltage_waveform();
  const auto currents = samples.current_waveform();
  for (const measure::Event& event : measure::measure(voltages, {}).events) {
    if (event.kind != measure::EventKind::dip || !event.course) continue;
    const auto& course = *event.course;
    if (!course.start_s || !course.end_s) continue;
    return direction_of(PowerFlow(voltages, currents, 50, {}), {course.start_s->value, course.end_s->value});
  }
  return std::nullopt;
}

BaySamples faulted(const Circuit& circuit, const Fault& fault, double noise = 0) {
  std::mt19937 random(1);
  return tests::samples_of(state_of(circuit, nullptr), state_of(circuit, &fault), 0.2, 0.35, noise, random, 0.02);
}

TEST(Direction, IsDownstreamOfAFaultAtTheLoad) {
  const auto direction = answer(faulted({}, {"ABC", true, 0.02, true}));
  ASSERT_TRUE(direction);
  EXPECT_EQ(direction->decided(), 4U);
  EXPECT_EQ(direction->agreed(), Side::downstream);
  EXPECT_EQ(direction->words(), "all four methods say downstream");
}

TEST(Direction, IsUpstreamOfAFaultAtTheBusbar) {
  const auto direction = answer(faulted({}, {"A", true, 0.02, false}));
  ASSERT_TRUE(direction);
  EXPECT_EQ(direction->agreed(), Side::upstream);
}

TEST(Direction, DoesNotDependOnThePolarityOfTheCurrents) {
  BaySamples samples = faulted({}, {"BC", false, 0.02, true});
  const auto direction = answer(samples);
  for (auto& phase : samples.amperes) {
    for (double& sample : phase) sample = -sample;
  }
  const auto turned = answer(samples);
  ASSERT_TRUE(direction && turned);
  for (std::size_t i = 0; i < direction->opinions.size(); i++) {
    EXPECT_EQ(direction->opinions[i].side, turned->opinions[i].side) << direction->opinions[i].method;
  }
  EXPECT_EQ(turned->opinions[3].side, Side::downstream);
}

TEST(Direction, NeedsActivePowerBeforeTheDip) {
  Circuit circuit;
  circuit.load = {0.001, 1};
  circuit.line = circuit.cable = {0.0001, 0.01};
  EXPECT_FALSE(answer(faulted(circuit, {"ABC", true, 0.02, false})));
}

TEST(Direction, NeedsACycleAndAHalf) {
  const Circuit circuit;
  const Fault fault{"ABC", true, 0.02, true};
  const BaySamples samples = faulted(circuit, fault);
  const auto voltages = samples.voltage_waveform();
  const auto currents = samples.current_waveform();
  const PowerFlow flow(voltages, currents, 50, {});
  EXPECT_FALSE(direction_of(flow, {0.2, 0.229}));
  EXPECT_TRUE(direction_of(flow, {0.2, 0.23}));
  EXPECT_FALSE(direction_of(flow, {0.02, 0.2})) << "there is no cycle before";
}

TEST(Direction, SaysInWordsHowManyMethodsAgree) {
  Direction direction;
  direction.opinions = {{"a", Side::upstream}, {"b", std::nullopt}, {"c", Side::upstream}};
  EXPECT_EQ(direction.words(), "both methods that decide say upstream");
  direction.opinions[1].side = Side::upstream;
  EXPECT_EQ(direction.words(), "three methods say upstream");
  direction.opinions[1].side = Side::downstream;
  EXPECT_EQ(direction.words(), "the methods disagree");
  EXPECT_FALSE(direction.agreed());
  direction.opinions = {{"a", Side::upstream}};
  EXPECT_EQ(direction.words(), "the currents do not show the side");
}

TEST(PowerFlow, HasTheWattsOfTheCircuit) {
  const tests::State normal = tests::state_of({}, nullptr);
  std::mt19937 random(1);
  const BaySamples samples = tests::samples_of(normal, normal, 0.2, 0.3, 0, random, 0.02);
  const auto voltages = samples.voltage_waveform();
  const auto currents = samples.current_waveform();
  const PowerFlow flow(voltages, currents, 50, {});
  const auto moment = flow.at(0.1);
  ASSERT_TRUE(moment);
  double watts = 0;
  for (std::size_t k = 0; k < 3; k++) {
    watts += 325 * 325 / 2.0 * std::real(normal.volts[k] * std::conj(normal.amperes[k]));
  }
  EXPECT_NEAR(moment->watts(), watts, 1e-6 * watts);
  EXPECT_NEAR(std::abs(flow.negative(moment->volts)), 0, 1e-6);
  EXPECT_NEAR(std::abs(flow.positive(moment->volts)), 325 / std::sqrt(2.0) * std::abs(normal.volts[0]), 1e-6);
  EXPECT_FALSE(flow.at(0.59));
  EXPECT_FALSE(flow.at(-0.01));
}

// --- shares right ----------------------------------------------------------------------------------------------------

Circuit any_circuit(std::mt19937& random) {
  const auto impedance = [&](double lowest, double highest, double least_ratio, double most_ratio) {
    const double size = within(random, lowest, highest);
    const double angle = std::atan(within(random, least_ratio, most_ratio));
    return std::polar(size, angle);
  };
  Circuit circuit;
  circuit.source = impedance(0.02, 0.15, 3, 15);
  circuit.line = impedance(0.01, 0.1, 1, 5);
  circuit.cable = impedance(0.01, 0.1, 1, 5);
  circuit.load = impedance(1, 1, 0.2, 0.75);
  return circuit;
}

Fault any_fault(std::mt19937& random, bool downstream) {
  const std::array<std::pair<const char*, bool>, 6> kinds = {
      {{"A", true}, {"C", true}, {"BC", false}, {"AB", false}, {"AC", true}, {"ABC", true}}};
  const auto& [phases, to_ground] = kinds[random() % kinds.size()];
  return {phases, to_ground, within(random, 0.001, 0.15), downstream};
}

struct Shares {
  int right = 0;
  int decided = 0;
  [[nodiscard]] double percent() const { return decided > 0 ? 100.0 * right / decided : 0; }
};

/// Fixed-impedance loads, faults of all kinds and of several resistances on either side, 0.5 % noise.
TEST(DirectionShares, OfSimulatedFaults) {
  std::mt19937 random(20);
  std::map<std::string, Shares> methods;
  Shares agreed;
  int dips = 0;
  for (int i = 0; i < 240; i++) {
    const bool downstream = i % 2 == 0;
    const Circuit circuit = any_circuit(random);
    const Fault fault = any_fault(random, downstream);
    const double start_s = within(random, 0.2, 0.22);
    const auto direction =
        answer(tests::samples_of(state_of(circuit, nullptr), state_of(circuit, &fault), start_s,
                                 start_s + within(random, 0.04, 0.2), 0.005, random, within(random, 0.005, 0.03)));
    if (!direction) continue;
    dips++;
    const Side truth = downstream ? Side::downstream : Side::upstream;
    for (const auto& opinion : direction->opinions) {
      if (!opinion.side) continue;
      methods[opinion.method].decided++;
      methods[opinion.method].right += *opinion.side == truth ? 1 : 0;
    }
    if (!direction->agreed()) continue;
    agreed.decided++;
    agreed.right += direction->agreed() == truth ? 1 : 0;
  }
  RecordProperty("dips", dips);
  for (const auto& [method, shares] : methods) {
    std::printf("%s: %d of %d right (%.1f %%)\n", method.c_str(), shares.right, shares.decided, shares.percent());
  }
  std::printf("agreement: %d of %d right (%.1f %%), of %d dips\n", agreed.right, agreed.decided, agreed.percent(),
              dips);
  EXPECT_GT(dips, 160);
  EXPECT_GT(agreed.decided, dips / 2);
  EXPECT_GE(agreed.percent(), 95);
  for (const auto& [method, shares] : methods) EXPECT_GE(shares.percent(), 80) << method;
}

}  // namespace
