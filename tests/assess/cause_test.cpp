// The likely cause of simulated dips, where it is known.
#include "assess/cause.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <functional>
#include <map>
#include <random>
#include <string>

#include "measure/measure.h"
#include "tests/assess/circuit.h"

namespace {

using assess::Cause;
using assess::CauseKind;
using assess::PowerFlow;
using tests::BaySamples;
using tests::Circuit;
using tests::within;

/// The likely cause of the first dip.
std::optional<Cause> cause_of(const BaySamples& samples) {
  const auto voltages = samples.voltage_waveform();
  const auto currents = samples.current_waveform();
  for (const measure::Event& event : measure::measure(voltages, {}).events) {
    if (event.kind != measure::EventKind::dip || !event.course || !event.course->start_s) continue;
    const auto& course = *event.course;
    const PowerFlow flow(voltages, currents, 50, {});
    const double end_s = course.end_s ? course.end_s->value : 3840 / tests::sample_rate;
    return likely_cause(flow, course, direction_of(flow, {course.start_s->value, end_s}));
  }
  return std::nullopt;
}

/// Voltages of a source behind a resistance and an inductance, from which a load and another current flow.
class Feeder {
 public:
  Feeder(double reactance, double load_share) : inductance_(reactance / tests::omega), load_(load_share) {}

  using Current = std::function<double(std::size_t phase, double t)>;  // amperes; a load of 1 takes a peak of 325

  [[nodiscard]] BaySamples with(const Current& more, double noise, std::mt19937& random) const {
    BaySamples samples;
    std::normal_distribution<double> per_unit;
    const auto error = [&] { return 325 * noise * per_unit(random); };
    constexpr double step = 1e-6;
    for (std::size_t i = 0; i < 3840; i++) {
      const double t = static_cast<double>(i) / tests::sample_rate;
      for (std::size_t k = 0; k < 3; k++) {
        const double slope = (more(k, t + step) - more(k, t - step)) / (2 * step);
        const double volts = phase_value(k, t, 0) - inductance_ * slope;
        samples.volts[k].push_back(volts + error());
        samples.amperes[k].push_back(load_ * phase_value(k, t, -0.4) + more(k, t) + error());
      }
    }
    return samples;
  }

  static double phase_value(std::size_t phase, double t, double angle) {
    return 325 * std::cos(tests::omega * t + angle - 2 * std::numbers::pi / 3 * static_cast<double>(phase));
  }

 private:
  double inductance_;  // volt seconds per ampere
  double load_;
};

/// Inrush: the core saturates around one peak of the flux in each cycle, with an offset of the flux that decays.
BaySamples energising(std::mt19937& random) {
  const double size = within(random, 6, 12);
  const double start_s = within(random, 0.1, 0.12);
  const double decay_s = within(random, 0.1, 0.2);
  const std::array<double, 3> offsets = {within(random, 0.6, 0.9), -within(random, 0.5, 0.9), within(random, 0.3, 0.7)};
  const auto inrush = [=](std::size_t phase, double t) {
    if (t < start_s) return 0.0;
    const double flux = std::sin(tests::omega * t - 2 * std::numbers::pi / 3 * static_cast<double>(phase)) +
                        offsets[phase] * std::exp(-(t - start_s) / decay_s);
    constexpr double knee = 1.1;
    const double beyond = std::abs(flux) > knee ? std::copysign(std::abs(flux) - knee, flux) : 0;
    return 325 * size * beyond;
  };
  return Feeder(within(random, 0.06, 0.12), 0.3).with(inrush, 0.002, random);
}

/// A motor takes a lagging current of several times its own, which falls to its own when the motor is up to speed.
BaySamples motor_start(std::mt19937& random) {
  const double size = within(random, 3, 6);
  const double start_s = within(random, 0.1, 0.12);
  const double run_up_s = within(random, 0.12, 0.2);
  const auto current = [=](std::size_t phase, double t) {
    if (t < start_s) return 0.0;
    const double share = 0.15 + 0.85 / (1 + std::exp((t - start_s - run_up_s) / 0.03));
    const double angle = -1.35;
    const double sudden = Feeder::phase_value(phase, start_s, angle) * std::exp(-(t - start_s) / 0.01);
    return size * share * (Feeder::phase_value(phase, t, angle) - sudden);
  };
  return Feeder(within(random, 0.05, 0.08), 0.5).with(current, 0.002, random);
}

BaySamples fault(std::mt19937& random) {
  const std::array<tests::Fault, 4> faults = {
      {{"A", true, 0.02, true}, {"BC", false, 0.02, true}, {"ABC", true, 0.02, true}, {"AB", true, 0.03, false}}};
  const tests::Fault& one = faults[random() % faults.size()];
  Circuit circuit;
  circuit.source = {0.005, within(random, 0.03, 0.1)};
  const double start_s = within(random, 0.2, 0.22);
  return tests::samples_of(state_of(circuit, nullptr), state_of(circuit, &one), start_s,
                           start_s + within(random, 0.06, 0.2), 0.002, random, 0.015);
}

/// A breaker upstream opens and closes again.
BaySamples switching(std::mt19937& random) {
  const double start_s = within(random, 0.2, 0.22);
  return tests::samples_of(tests::state_of({}, nullptr), {}, start_s, start_s + within(random, 0.06, 0.2), 0.002,
                           random, 0.0005);
}

struct Expected {
  CauseKind kind;
  BaySamples (*make)(std::mt19937&);
};

TEST(CauseShares, OfSimulatedDips) {
  std::mt19937 random(7);
  for (const auto& [kind, make] : {Expected{CauseKind::fault, fault},
                                   {CauseKind::switching, switching},
                                   {CauseKind::energising, energising},
                                   {CauseKind::motor_start, motor_start}}) {
    constexpr int dips = 30;
    int right = 0;
    int wrong = 0;
    for (int i = 0; i < dips; i++) {
      const auto cause = cause_of(make(random));
      if (cause) (cause->kind == kind ? right : wrong)++;
    }
    std::printf("%s: %d right, %d wrong, %d not named, of %d\n", cause_code(kind), right, wrong, dips - right - wrong,
                dips);
    EXPECT_GE(right, dips * 8 / 10) << cause_code(kind);
    EXPECT_LE(wrong, dips / 20) << cause_code(kind);
  }
}

TEST(Cause, HasItsGroundsInAClause) {
  std::mt19937 random(3);
  const auto cause = cause_of(switching(random));
  ASSERT_TRUE(cause);
  EXPECT_STREQ(cause_words(cause->kind), "interruption by switching");
  EXPECT_NE(cause->grounds.find("at once, and no current rises first"), std::string::npos);
}

TEST(Cause, GivesNoRatioToACurrentThatWasNextToNothing) {
  std::mt19937 random(1);
  const tests::Fault of_phase_a{"A", true, 0.02, true};
  constexpr double start_s = 0.2;
  BaySamples samples = tests::samples_of(tests::state_of({}, nullptr), tests::state_of({}, &of_phase_a), start_s,
                                         start_s + 0.1, 0.002, random, 0.015);
  const auto usual = cause_of(samples);
  ASSERT_TRUE(usual);
  EXPECT_NE(usual->grounds.find("a current rises to "), std::string::npos) << usual->grounds;
  const auto before = static_cast<std::size_t>(start_s * tests::sample_rate);
  for (auto& phase : samples.amperes) {
    for (std::size_t i = 0; i < before; i++) phase[i] *= 1e-5;
  }
  const auto of_open_line = cause_of(samples);
  ASSERT_TRUE(of_open_line);
  EXPECT_NE(of_open_line->grounds.find("a current rises from next to nothing"), std::string::npos)
      << of_open_line->grounds;
}

TEST(Cause, OfAFaultUpstreamNeedsTheDirection) {
  std::mt19937 random(1);
  const tests::Fault upstream{"A", true, 0.02, false};
  const BaySamples samples =
      tests::samples_of(tests::state_of({}, nullptr), state_of({}, &upstream), 0.2, 0.3, 0, random, 0.02);
  const auto voltages = samples.voltage_waveform();
  const auto currents = samples.current_waveform();
  const auto events = measure::measure(voltages, {}).events;
  ASSERT_FALSE(events.empty());
  const auto& course = *events[0].course;
  const PowerFlow flow(voltages, currents, 50, {});
  EXPECT_FALSE(likely_cause(flow, course, std::nullopt));
  const auto cause = likely_cause(flow, course, direction_of(flow, {course.start_s->value, course.end_s->value}));
  ASSERT_TRUE(cause);
  EXPECT_EQ(cause->kind, CauseKind::fault);
  EXPECT_NE(cause->grounds.find("the cause is upstream"), std::string::npos);
}

}  // namespace
