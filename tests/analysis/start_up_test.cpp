// Tests what counts as the start-up of a recorder on sines whose height is a function of time.
#include "analysis/choice/start_up.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>
#include <utility>
#include <vector>

namespace analysis {
namespace {

using std::numbers::pi;

/// The height of a phase at a time in cycles.
using Height = std::function<double(double cycles, std::size_t phase)>;

constexpr double samples_per_cycle = 64;

/// Returns the start-up of 20 cycles in whole cycles. The voltages have a fifth harmonic, and a frequency of their own.
double start_up(const Height& height, std::size_t phases = 3, double frequency = 50, double noise = 0) {
  std::vector<std::vector<double>> samples(phases);
  unsigned state = 1;
  for (std::size_t p = 0; p < phases; p++) {
    for (int i = 0; i < 20 * samples_per_cycle; i++) {
      const double cycles = i / samples_per_cycle * frequency / 50;
      const double angle = 2 * pi * (cycles - static_cast<double>(p) / 3) + 0.4;
      state = state * 1664525 + 1013904223;
      const double random = noise * (state / 4294967296.0 - 0.5);
      samples[p].push_back(325 * (height(cycles, p) * (std::sin(angle) + 0.05 * std::sin(5 * angle)) + random));
    }
  }
  measure::Waveform waveform;
  waveform.rate = 50 * samples_per_cycle;
  waveform.line_frequency = 50;
  for (const auto& phase : samples) waveform.phases.push_back({phase});
  return static_cast<double>(start_up_of(waveform)) / samples_per_cycle;
}

Height raised_cosine(double length) {
  return [length](double t, std::size_t) { return t < length ? 0.5 - 0.5 * std::cos(pi * t / length) : 1; };
}

Height first_order(double time_constant) {
  return [time_constant](double t, std::size_t) { return 1 - std::exp(-t / time_constant); };
}

Height level_until(double level, double end) {
  return [level, end](double t, std::size_t) { return t < end ? level : 1; };
}

TEST(StartUp, RisesFromNothing) {
  for (const double cycles : {1.0, 1.5, 2.0, 3.0}) {
    for (const double frequency : {49.0, 50.0, 50.7}) {
      // The frequency moves the end by 0.06 cycles at most, and 0.1 % is missing at most so shortly before it.
      EXPECT_EQ(start_up(raised_cosine(cycles), 3, frequency), std::ceil(cycles)) << cycles;
    }
  }
  // After the time constant times 4.6 the rest is 1 %; two cycles later they agree within that.
  for (const double constant : {0.33, 0.5, 1.0}) {
    const double cycles = start_up(first_order(constant));
    EXPECT_GE(cycles, 2.3 * constant) << constant;  // the factor is 0.9
    EXPECT_LE(cycles, 4.6 * constant + 1) << constant;
  }
  for (const std::size_t phases : {1U, 2U}) EXPECT_EQ(start_up(raised_cosine(2), phases), 2) << phases;
  EXPECT_EQ(start_up(raised_cosine(2), 3, 50, 0.01), 2);
}

TEST(StartUp, MayOvershoot) {
  const Height height = [](double t, std::size_t) { return 1 - std::exp(-3 * t) * std::cos(4 * t); };
  EXPECT_GT(start_up(height), 0);
}

TEST(StartUp, IsNoDipThatIsOnAtTheBeginning) {
  for (const double level : {0.0, 0.1, 0.2, 0.5, 0.8}) {
    for (const double end : {0.4, 0.55, 1.0, 1.3, 3.0, 5.0}) {
      EXPECT_EQ(start_up(level_until(level, end)), 0) << level << ' ' << end;
      EXPECT_EQ(start_up(level_until(level, end), 3, 50, 0.01), 0) << level << ' ' << end;
    }
  }
  EXPECT_EQ(start_up([](double t, std::size_t p) { return p == 0 && t < 3 ? 0.5 : 1; }), 0);
}

TEST(StartUp, IsNoRiseOfSomeVoltagesOnly) {
  const Height rise = raised_cosine(2);
  EXPECT_EQ(start_up([&](double t, std::size_t p) { return p == 0 ? rise(t, p) : 1; }), 0);
  EXPECT_EQ(start_up([&](double t, std::size_t p) { return p < 2 ? rise(t, p) : 1; }), 0);
}

TEST(StartUp, IsNoRecoveryFromALevel) {
  EXPECT_EQ(start_up([](double t, std::size_t) { return std::min(0.5 + t / 4, 1.0); }), 0);
  EXPECT_EQ(start_up([](double t, std::size_t) { return 1 - 0.6 * std::exp(-t); }), 0);
  // A voltage that returns slowly after an interruption that was on.
  EXPECT_EQ(start_up([](double t, std::size_t) { return std::clamp((t - 1) / 2, 0.0, 1.0); }), 0);
  // A rise over more cycles than a filter takes.
  EXPECT_EQ(start_up([](double t, std::size_t) { return std::min(t / 15, 1.0); }), 0);
}

TEST(StartUp, IsNotThereWhereACycleIsLongerThanTheRecord) {
  const std::vector<double> samples(64, 1.0);
  measure::Waveform waveform;
  waveform.rate = 50;
  waveform.phases.push_back({samples});
  // A cycle of these frequencies has more samples than a record holds, than an integer counts, and infinitely many.
  for (const double frequency : {1.0, 1e-300, 1e-320, 0.0}) {
    waveform.line_frequency = frequency;
    EXPECT_EQ(start_up_of(waveform), 0U) << frequency;
  }
}

TEST(StartUp, IsNotThereInSteadyVoltages) {
  EXPECT_EQ(start_up([](double, std::size_t) { return 1; }), 0);
  EXPECT_EQ(start_up([](double, std::size_t) { return 0; }), 0);
  EXPECT_EQ(start_up_of({}), 0U);
}

}  // namespace
}  // namespace analysis
