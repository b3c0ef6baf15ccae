// Tests the size of currents before and during events on sines, whose RMS is their peak divided by the root of two.
#include "analysis/event_currents.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

namespace analysis {
namespace {

constexpr double rate = 1000;
constexpr std::size_t cycle = 20;  // samples at 50 Hz

/// Returns a record of one second with the currents 10 A before 0.4 s, 30 A until 0.6 s, then 12 A, all RMS, in three
/// phases. The residual current is 0 but for 5 A between 0.4 s and 0.6 s. The unit of all is kA.
readers::Record a_fault() {
  readers::Record record;
  record.rates = {{rate, 1000}};
  for (std::size_t phase = 0; phase < 4; phase++) {
    readers::Channel& channel = record.channels.emplace_back();
    channel.unit = "kA";
    for (std::size_t i = 0; i < 1000; i++) {
      const bool fault = i >= 400 && i < 600;
      const double rms = phase == 3 ? (fault ? 5 : 0) : fault ? 30 : i < 400 ? 10 : 12;
      const double angle = 2 * std::numbers::pi * (static_cast<double>(i) / cycle - static_cast<double>(phase) / 3);
      channel.samples.push_back(1e-3 * rms * std::numbers::sqrt2 * std::sin(angle));
    }
  }
  return record;
}

readers::BayCurrents all_four() {
  readers::BayCurrents bay;
  bay.set.phases = {0, 1, 2};
  bay.set.residual = 3;
  return bay;
}

AnalysedVoltages from(std::size_t begin) {
  AnalysedVoltages voltages;
  voltages.part = {begin, 1000, rate, static_cast<double>(begin) / rate};
  voltages.line_frequency = 50;
  return voltages;
}

measure::Event event(double start_s, std::optional<double> end_s) {
  measure::Event result;
  result.start_s = start_s;
  result.end_s = end_s;
  return result;
}

measure::Findings found(const std::vector<measure::Event>& events) {
  measure::Findings findings;
  findings.events = events;
  findings.frequency = 50;
  return findings;
}

void expect_amperes(const PerCurrent& figures, double phases, double residual) {
  for (std::size_t i = 0; i < most_currents; i++) {
    ASSERT_TRUE(figures[i]) << i;
    EXPECT_NEAR(*figures[i], i == 3 ? residual : phases, 1e-9) << i;
  }
}

TEST(EventCurrents, AreTheLargestBeforeAndDuringAnEvent) {
  const auto record = a_fault();
  const Currents currents = measured_currents(record, from(0), found({event(0.4, 0.62)}), all_four());
  ASSERT_EQ(currents.events.size(), 1U);
  expect_amperes(currents.events[0].before_a, 10, 0);
  expect_amperes(currents.events[0].during_a, 30, 5);
}

TEST(EventCurrents, CountTheirTimesFromTheBeginningOfThePart) {
  const auto record = a_fault();
  const Currents currents = measured_currents(record, from(300), found({event(0.1, std::nullopt)}), all_four());
  expect_amperes(currents.events[0].before_a, 10, 0);
  expect_amperes(currents.events[0].during_a, 30, 5);
}

TEST(EventCurrents, BeforeAnEventFollowThePreviousOne) {
  const auto record = a_fault();
  const auto events = found({event(0.4, 0.6), event(0.5, 0.52), event(0.7, 0.71), event(0.71, 0.73)});
  const Currents currents = measured_currents(record, from(0), events, all_four());
  expect_amperes(currents.events[1].before_a, 10, 0);  // an interruption within the dip
  expect_amperes(currents.events[1].during_a, 30, 5);
  expect_amperes(currents.events[2].before_a, 12, 0);
  expect_amperes(currents.events[2].during_a, 12, 0);  // over a cycle, although the event is shorter
  EXPECT_FALSE(currents.events[3].before_a[0]);        // nothing lies between the events
}

TEST(EventCurrents, LeaveOutCyclesWithMissingSamples) {
  auto record = a_fault();
  for (std::size_t i = 0; i < 1000; i += cycle)
    record.channels[1].samples[i] = std::numeric_limits<double>::quiet_NaN();
  record.channels[2].samples[500] = std::numeric_limits<double>::infinity();
  const Currents currents = measured_currents(record, from(0), found({event(0.4, 0.6)}), all_four());
  EXPECT_FALSE(currents.events[0].before_a[1]);
  EXPECT_FALSE(currents.events[0].during_a[1]);
  EXPECT_NEAR(*currents.events[0].during_a[2], 30, 1e-9);
}

TEST(EventCurrents, OfRmsRecordsAreTheValuesThemselves) {
  readers::Record record;
  for (std::size_t i = 0; i < 4; i++) record.channels.emplace_back().samples = {1, 2, 9, 3};
  AnalysedVoltages voltages;
  voltages.part = {0, 4, 100, 0};
  voltages.rms = true;
  const Currents currents = measured_currents(record, voltages, found({event(0.02, 0.03)}), all_four());
  expect_amperes(currents.events[0].before_a, 2, 2);
  expect_amperes(currents.events[0].during_a, 9, 9);
}

TEST(EventCurrents, EndWithTheRecord) {
  const auto record = a_fault();
  const Currents currents = measured_currents(record, from(0), found({event(0.99, std::nullopt)}), all_four());
  EXPECT_NEAR(*currents.events[0].before_a[0], 30, 1e-9);
  EXPECT_FALSE(currents.events[0].during_a[0]);  // only half a cycle is left
}

}  // namespace
}  // namespace analysis
