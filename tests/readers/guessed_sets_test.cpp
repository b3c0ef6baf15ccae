#include "readers/voltages/guessed_sets.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/readers/voltage_records.h"

namespace readers {
namespace {

VoltageSet only_set(const Record& record) {
  const auto sets = find_voltage_sets(record);
  EXPECT_EQ(sets.size(), 1U);
  return sets.empty() ? VoltageSet() : sets.front();
}

void expect_order(const VoltageSet& set, std::array<std::size_t, 3> channels, PhaseSource source) {
  EXPECT_EQ(set.channels, channels);
  EXPECT_EQ(set.source, source);
}

TEST(GuessedSets, MayRepeatThePhase) {
  expect_order(only_set(record_named({"U Sig (a) a", "U Sig (b) b", "U Sig (c) c", "I Sig (a) a"}, "V")), {0, 1, 2},
               PhaseSource::name);
}

TEST(GuessedSets, MayBeNamedByPhasesAlone) {
  for (const auto& names :
       {std::vector<std::string>{"L1", "L2", "L3"}, {"Phase A", "Phase B", "Phase C"}, {"ph_1", "ph_2", "ph_3"}}) {
    const VoltageSet set = only_set(record_named(names, ""));
    expect_order(set, {0, 1, 2}, PhaseSource::name);
    EXPECT_TRUE(set.unit_guessed);
  }
}

TEST(GuessedSets, MayBeNumbered) {
  expect_order(only_set(record_named({"S1) N2", "S1) N1", "S1) N3", "S1) X"}, "kV")), {1, 0, 2}, PhaseSource::number);
  EXPECT_TRUE(find_voltage_sets(record_named({"N1", "N2", "N3", "N4"}, "kV")).empty());
}

TEST(GuessedSets, NeedOneChannelForEachPhase) {
  for (const auto& names : {std::vector<std::string>{"L1", "L2", "L2"}, {"L1", "L2", "L4"}, {"L1", "L1", "L2", "L3"}}) {
    EXPECT_TRUE(find_voltage_sets(record_named(names, "")).empty()) << names[0] << names[1] << names[2];
  }
  EXPECT_TRUE(find_voltage_sets(record_named({"N1", "N2", "N3", "N1"}, "kV")).empty()) << "two channels are number 1";
  EXPECT_TRUE(find_voltage_sets(record_named({"1", "2", "3", "4"}, "kV")).empty()) << "a number alone is no name";
}

TEST(GuessedSets, AreNotMadeOfNamesThatOnlyCountAmongOthers) {
  for (const char* word : {"CH", "Kanal ", "analog_", "AI", "in.", "Input #"}) {
    const std::string name = word;
    EXPECT_EQ(only_set(record_named({name + "1", name + "2", name + "3"}, "")).source, PhaseSource::only_three) << word;
    EXPECT_TRUE(find_voltage_sets(record_named({name + "1", name + "2", name + "3", name + "4"}, "")).empty()) << word;
  }
  EXPECT_TRUE(find_voltage_sets(record_named({"pump 1", "pump 2", "pump 3"}, "")).empty());
  const std::string longer(40, '1');
  EXPECT_TRUE(find_voltage_sets(record_named({longer, longer + "2", longer + "3"}, "")).empty());
}

TEST(GuessedSets, MayBeTheOnlyThreeVoltages) {
  Record record = record_named({"north", "south", "west"}, "V");
  record.channels.insert(record.channels.begin() + 1, channel("load", "A"));
  record.channels.push_back(channel("switch", "s"));
  expect_order(only_set(record), {0, 2, 3}, PhaseSource::only_three);
  record.channels.push_back(channel("east", "V"));
  EXPECT_TRUE(find_voltage_sets(record).empty());
  EXPECT_EQ(only_set(record_named({"column 2", "column 3", "column 4"}, "")).source, PhaseSource::only_three);
  EXPECT_TRUE(find_voltage_sets(record_named({"Ia", "Ib", "Ic"}, "")).empty());
  EXPECT_TRUE(find_voltage_sets(record_named({"Phase_B", "Phase_C", "Phase_D"}, "kV")).empty());
}

TEST(GuessedSets, AreNotNeededForPhasesOfTransformers) {
  for (const auto& names : {std::vector<std::string>{"Voltage L1-N (VT)", "Voltage L2-N (VT)", "Voltage L3-N (VT)"},
                            {"VT secondary L1", "VT secondary L2", "VT secondary L3"},
                            {"VR", "VS", "VT"}}) {
    expect_order(only_set(record_named(names, "V")), {0, 1, 2}, PhaseSource::name);
    EXPECT_TRUE(find_line_to_line_sets(record_named(names, "V")).empty()) << names[0];
  }
}

}  // namespace
}  // namespace readers
