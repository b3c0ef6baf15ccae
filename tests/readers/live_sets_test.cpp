#include "readers/voltages/live_sets.h"

#include <gtest/gtest.h>

#include <cmath>
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
  EXPECT_TRUE(find_voltage_sets(record).front().live) << "there is no better set";
  for (const char* name : {"U2a", "U2b", "U2c"}) record.channels.push_back(channel(name, "V", "", alternating));
  const auto sets = find_voltage_sets(record);
  ASSERT_EQ(sets.size(), 2U);
  EXPECT_EQ(sets[0].channels[0], 3U);
  EXPECT_TRUE(sets[0].live);
  EXPECT_FALSE(sets[1].live);
}

TEST(LiveSets, AreNotNamedAsCurrentsWhereOthersAreNot) {
  const auto sets = find_voltage_sets(record_named({"Ia", "Ib", "Ic", "Ua", "Ub", "Uc"}, "V"));
  ASSERT_EQ(sets.size(), 2U);
  EXPECT_EQ(sets[0].channels[0], 3U);
  EXPECT_FALSE(sets[1].live);
}

}  // namespace
}  // namespace readers
