#include "readers/voltages/live_sets.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "tests/readers/voltage_records.h"

namespace readers {
namespace {

std::vector<bool> live_in(const Record& record) {
  std::vector<bool> live;
  for (const VoltageSet& set : find_voltage_sets(record)) live.push_back(set.live);
  return live;
}

TEST(LiveSets, AreMoreThanNoiseBesideTheLargest) {
  EXPECT_EQ(live_in(two_sets(100, 100)), (std::vector<bool>{true, true}));
  EXPECT_EQ(live_in(two_sets(100, 1.5)), (std::vector<bool>{true, true}));
  EXPECT_EQ(live_in(two_sets(100, 0.5)), (std::vector<bool>{true, false}));
  EXPECT_EQ(live_in(two_sets(0.5, 100)), (std::vector<bool>{true, false})) << "live ones first";
}

TEST(LiveSets, AreComparedInVolts) {
  EXPECT_EQ(live_in(two_sets(100, 0.1, "kV")), (std::vector<bool>{true, true}));
  EXPECT_EQ(live_in(two_sets(100, 500, "mV")), (std::vector<bool>{true, false}));
}

TEST(LiveSets, HaveNoPhaseThatIsZeroThroughout) {
  Record record = two_sets(100, 0);
  EXPECT_EQ(live_in(record), (std::vector<bool>{true, false}));
  record.channels[1].samples = {0, 0};
  EXPECT_EQ(live_in(record), (std::vector<bool>{false, false}));
}

TEST(LiveSets, MayHaveAPhaseThatIsLostForMostOfTheRecord) {
  Record record = two_sets(100, 100);
  for (std::size_t i = 0; i < 6; i++) record.channels[i].samples.resize(1000, i == 0 ? 0.001 : 100);
  EXPECT_EQ(live_in(record), (std::vector<bool>{true, true}));
}

TEST(LiveSets, AreJudgedByTheValuesThatAreThere) {
  Record record = two_sets(100, 100);
  record.channels[0].samples[0] = no_value;
  EXPECT_EQ(live_in(record), (std::vector<bool>{true, true}));
  record.channels[0].samples[1] = no_value;
  EXPECT_EQ(live_in(record), (std::vector<bool>{true, false}));
  EXPECT_EQ(sets_in(record), (Sets{{4, 5, 6}, {1, 2, 3}})) << "live ones first";
}

TEST(LiveSets, HaveNoPhaseThatStandsStill) {
  Record record = two_sets(100, 100);
  record.channels[4].samples = {437.5, 437.5, 437.5};
  EXPECT_EQ(live_in(record), (std::vector<bool>{true, false}));
}

TEST(LiveSets, AlternateWithTheLineWhereOthersDo) {
  std::vector<double> direct(400);
  std::vector<double> alternating(400);
  for (std::size_t i = 0; i < 400; i++) {
    direct[i] = 220 + static_cast<double>(i % 3);
    alternating[i] = 100 * std::sin(2 * 3.141592653589793 * static_cast<double>(i) / 20);
  }
  std::vector<Channel> channels;
  for (const char* name : {"U1a", "U1b", "U1c"}) channels.push_back(channel(name, "V", "", direct));
  Record record = record_of(channels);
  record.rates = {{1000, 400}};
  EXPECT_FALSE(find_voltage_sets(record).front().live);
  EXPECT_FALSE(find_voltage_sets(record).front().alternates);
  for (const char* name : {"U2a", "U2b", "U2c"}) record.channels.push_back(channel(name, "V", "", alternating));
  const auto sets = find_voltage_sets(record);
  ASSERT_EQ(sets.size(), 2U);
  EXPECT_EQ(sets[0].channels[0], 3U);
  EXPECT_TRUE(sets[0].live);
  EXPECT_FALSE(sets[1].live);
}

TEST(LiveSets, MayHoldRmsValuesUnlessOthersAreWaveforms) {
  std::vector<double> trend;
  for (int i = 0; i < 200; i++) trend.push_back(i > 50 && i < 60 ? 40 : 100 + 0.1 * (i % 5));
  Record record =
      record_of({channel("Ua", "V", "", trend), channel("Ub", "V", "", trend), channel("Uc", "V", "", trend)});
  for (const double rate : {0.1, 1.0, 5.0, 100.0, 120.0}) {
    record.rates = {{rate, 200}};
    const auto set = find_voltage_sets(record).front();
    EXPECT_FALSE(set.alternates) << rate;
    const bool as_instruments_record = rate >= 5;
    EXPECT_EQ(set.rms, as_instruments_record) << rate;
    EXPECT_EQ(set.live, as_instruments_record) << rate;
  }
  record.rates = {{100, 200}};
  for (double& value : record.channels[1].samples) value -= 50;
  EXPECT_FALSE(find_voltage_sets(record).front().rms) << "no RMS value is negative";
}

TEST(LiveSets, OfRmsValuesMayHavePhasesThatDoNotChange) {
  std::vector<double> dip(200, 100.0);
  dip[60] = 40;
  const std::vector<double> steady(200, 100.0);
  Record record =
      record_of({channel("Ua", "V", "", dip), channel("Ub", "V", "", steady), channel("Uc", "V", "", steady)});
  record.rates = {{100, 200}};
  EXPECT_TRUE(find_voltage_sets(record).front().rms);
  EXPECT_TRUE(find_voltage_sets(record).front().live);
  for (double& value : record.channels[2].samples) value = 0;
  EXPECT_FALSE(find_voltage_sets(record).front().live) << "a phase without voltage carries no usable signal";
  record.channels[0].samples = record.channels[2].samples = steady;
  EXPECT_FALSE(find_voltage_sets(record).front().live) << "nothing changes";
  // A waveform with a phase that does not change is not usable.
  for (std::size_t i = 0; i < 200; i++) record.channels[0].samples[i] = i % 2 == 0 ? 100 : -100;
  EXPECT_FALSE(find_voltage_sets(record).front().live);
  EXPECT_FALSE(find_voltage_sets(record).front().rms);
}

TEST(LiveSets, OfRmsValuesHaveTheirPhasesBehindTheWord) {
  std::vector<double> trend(200, 230.0);
  for (std::size_t i = 0; i < 200; i++) trend[i] += 0.1 * static_cast<double>(i % 7);
  for (const char* name : {"Urms L1", "U1 RMS", "URMS(1/2) L1", "Urms1/2 L1", "U L1 rms"}) {
    std::vector<Channel> channels;
    for (const char phase : {'1', '2', '3'}) {
      std::string own = name;
      own[own.find_last_of('1', own.ends_with('1') ? own.npos : own.find(' ') + 2)] = phase;
      channels.push_back(channel(own, "V", "", trend));
    }
    Record record = record_of(channels);
    record.rates = {{100, 200}};
    const auto sets = find_voltage_sets(record);
    ASSERT_EQ(sets.size(), 1U) << name;
    EXPECT_TRUE(sets[0].rms) << name;
    EXPECT_EQ(sets[0].channels, (std::array<std::size_t, 3>{0, 1, 2})) << name;
  }
}

TEST(LiveSets, MayHaveAnOffset) {
  std::vector<Channel> channels;
  for (int phase = 0; phase < 3; phase++) {
    std::vector<double> wave;
    for (int i = 0; i < 400; i++)
      wave.push_back(500 + 100 * std::sin(2 * 3.141592653589793 * (i / 20.0 - phase / 3.0)));
    channels.push_back(channel(std::string("U") + "abc"[phase], "V", "", wave));
  }
  Record record = record_of(channels);
  record.rates = {{1000, 400}};
  EXPECT_TRUE(find_voltage_sets(record).front().live);
}

TEST(LiveSets, HaveAPlausibleLevel) {
  for (const double volts : {0.0037, 0.1}) {
    const std::vector<double> samples = {volts, -volts};
    const Record record =
        record_of({channel("Ua", "V", "", samples), channel("Ub", "V", "", samples), channel("Uc", "V", "", samples)});
    EXPECT_EQ(find_voltage_sets(record).front().live, volts > 0.02) << volts;
  }
}

TEST(LiveSets, BelowAVoltShowTheLineFrequency) {
  std::mt19937 random(1);
  for (const double volts : {0.1, 10.0}) {
    std::vector<double> noise(400);
    std::vector<double> line(400);
    for (std::size_t i = 0; i < 400; i++) {
      noise[i] = random() % 2 == 0 ? volts : -volts;
      line[i] = volts * std::sin(2 * 3.141592653589793 * static_cast<double>(i) / 20) + 0.5 * noise[i];
    }
    for (const auto& samples : {noise, line}) {
      Record record = record_of(
          {channel("Ua", "V", "", samples), channel("Ub", "V", "", samples), channel("Uc", "V", "", samples)});
      record.rates = {{1000, 400}};
      EXPECT_EQ(find_voltage_sets(record).front().live, volts > 1 || samples == line) << volts;
    }
  }
}

TEST(LiveSets, MayBeNoiseInAPartOfTheRecord) {
  std::mt19937 random(1);
  std::vector<double> samples(800);
  for (std::size_t i = 0; i < 800; i++) {
    const double line = 100 * std::sin(2 * 3.141592653589793 * static_cast<double>(i) / 20);
    samples[i] = i < 400 ? (random() % 2 == 0 ? 0.01 : -0.01) : line;
  }
  Record record =
      record_of({channel("Ua", "V", "", samples), channel("Ub", "V", "", samples), channel("Uc", "V", "", samples)});
  record.rates = {{1000, 800}};
  const VoltageSet set = find_voltage_sets(record).front();
  EXPECT_TRUE(set.live);
  Part part;
  part.rate = 1000;
  part.end = 400;
  EXPECT_NEAR(noise_in(record, set, part, {1, 1, 1}).value_or(0), 0.01, 1e-9);
  EXPECT_FALSE(noise_in(record, set, part, {1000, 1000, 1000})) << "10 V may be anything";
  part.begin = 400;
  part.end = 800;
  EXPECT_FALSE(noise_in(record, set, part, {1, 1, 1}));
}

TEST(LiveSets, AreNotNamedAsCurrentsWhereOthersAreNot) {
  const auto sets = find_voltage_sets(record_named({"Ia", "Ib", "Ic", "Ua", "Ub", "Uc"}, "V"));
  ASSERT_EQ(sets.size(), 2U);
  EXPECT_EQ(sets[0].channels[0], 3U);
  EXPECT_FALSE(sets[1].live);
}

}  // namespace
}  // namespace readers
