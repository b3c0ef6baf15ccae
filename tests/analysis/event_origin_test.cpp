// The side and the likely cause of dips in records with currents.
#include "analysis/event_origin.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <random>
#include <string>
#include <vector>

#include "analysis/analyse.h"
#include "outputs/origin_text.h"
#include "readers/record.h"
#include "tests/assess/circuit.h"

namespace {

using analysis::Analysis;
using outputs::cause_sentence;
using outputs::direction_sentence;

/// A record of a fault of phase A at the load, with voltages and currents of one bay.
readers::Record faulted_record() {
  std::mt19937 random(1);
  const tests::Fault fault{"A", true, 0.02, true};
  const auto samples =
      tests::samples_of(tests::state_of({}, nullptr), state_of({}, &fault), 0.2, 0.35, 0, random, 0.02);
  readers::Record record;
  record.line_frequency = 50;
  record.rates = {{tests::sample_rate, samples.volts[0].size()}};
  for (const bool current : {false, true}) {
    for (std::size_t k = 0; k < 3; k++) {
      readers::Channel channel;
      channel.name = std::string(current ? "I" : "U") + "abc"[k];
      channel.phase = std::string(1, "ABC"[k]);
      channel.unit = current ? "A" : "V";
      channel.samples = current ? samples.amperes[k] : samples.volts[k];
      record.channels.push_back(channel);
    }
  }
  return record;
}

TEST(EventOrigin, IsThatOfTheCurrentsOfTheBay) {
  const auto record = faulted_record();
  const Analysis analysis = analysis::analyse(record, {});
  ASSERT_EQ(analysis.origins.size(), analysis.found.events.size());
  ASSERT_FALSE(analysis.origins.empty());
  ASSERT_TRUE(analysis.origins[0].direction && analysis.origins[0].cause);
  EXPECT_EQ(analysis.origins[0].direction->agreed(), assess::Side::downstream);
  EXPECT_EQ(analysis.origins[0].cause->kind, assess::CauseKind::fault);
  EXPECT_EQ(direction_sentence(0, analysis),
            "Side of the cause, by the currents: all four methods say downstream (real current: downstream, system "
            "trajectory: downstream, disturbance energy: downstream, resistance sign: downstream)");
  EXPECT_EQ(cause_sentence(0, analysis).substr(0, 28), "Likely cause: fault, because");
}

TEST(EventOrigin, IsTheSameByVoltagesBetweenPhases) {
  const auto record = faulted_record();
  analysis::AnalysisOptions options;
  options.choice.line_to_line = true;
  const Analysis analysis = analysis::analyse(record, options);
  ASSERT_FALSE(analysis.origins.empty());
  ASSERT_TRUE(analysis.origins[0].direction);
  EXPECT_EQ(analysis.origins[0].direction->opinions[3].side, assess::Side::downstream) << "of the positive sequence";
}

TEST(EventOrigin, IsFoundAtAFrequencyThatLeavesACycleFewerThanEightSamples) {
  auto record = faulted_record();
  constexpr std::size_t step = 17;  // 7.5 samples of a cycle at 50 Hz, but 8 of one at 47 Hz
  for (auto& channel : record.channels) {
    std::vector<double> kept;
    for (std::size_t i = 0; i < channel.samples.size(); i += step) kept.push_back(channel.samples[i]);
    channel.samples = kept;
  }
  record.line_frequency = 47;
  record.rates = {{tests::sample_rate / step, record.channels[0].samples.size()}};
  const Analysis analysis = analysis::analyse(record, {});
  ASSERT_NEAR(analysis.found.frequency, 50, 0.1);
  ASSERT_FALSE(analysis.origins.empty());
  ASSERT_TRUE(analysis.origins[0].direction);
  EXPECT_EQ(analysis.origins[0].direction->agreed(), assess::Side::downstream);
}

TEST(EventOrigin, IsNotGivenWithoutCurrents) {
  auto record = faulted_record();
  record.channels.resize(3);
  const Analysis analysis = analysis::analyse(record, {});
  EXPECT_TRUE(analysis.origins.empty());
  EXPECT_EQ(direction_sentence(0, analysis), "");
  EXPECT_EQ(cause_sentence(0, analysis), "");
}

TEST(EventOrigin, IsNotGivenForCurrentsThatWereNotRead) {
  auto record = faulted_record();
  for (std::size_t k = 3; k < 6; k++) record.channels[k].samples.clear();
  EXPECT_TRUE(analysis::analyse(record, {}).origins.empty());
}

}  // namespace
