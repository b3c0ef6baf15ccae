#include "readers/voltages/bay_currents.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "tests/readers/voltage_records.h"

namespace readers {
namespace {

using Phases = std::array<std::size_t, 3>;

/// Returns a record whose channels are voltages in volts if U or V is followed by a phase, otherwise currents in
/// amperes.
Record bays(const std::vector<std::string>& names) {
  Record record = record_of({});
  for (const std::string& name : names) {
    const std::size_t at = name.find_last_of("UV");
    const bool voltage = at + 1 < name.size() && std::string("aAbBcCL").find(name[at + 1]) != std::string::npos;
    record.channels.push_back(channel(name, voltage ? "V" : "A"));
  }
  return record;
}

std::optional<BayCurrents> of_set(const Record& record, std::size_t number) {
  return currents_of_bay(record, find_voltage_sets(record).at(number - 1));
}

void expect_currents(const Record& record, std::size_t number, const Phases& phases,
                     std::optional<std::size_t> residual, BaySource source) {
  const auto found = of_set(record, number);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->set.phases, phases);
  EXPECT_EQ(found->set.residual, residual);
  EXPECT_EQ(found->source, source);
}

TEST(BayCurrents, AreThoseWithTheSameName) {
  const Record record = bays({"VA_GC1", "VB_GC1", "VC_GC1", "IA_GC1", "IB_GC1", "IC_GC1", "IN_GC1", "VA_GC2", "VB_GC2",
                              "VC_GC2", "IA_GC2", "IB_GC2", "IC_GC2", "IN_GC2"});
  expect_currents(record, 1, {3, 4, 5}, 6, BaySource::name);
  expect_currents(record, 2, {10, 11, 12}, 13, BaySource::name);
}

TEST(BayCurrents, MayBeTheOnlyOnes) {
  expect_currents(bays({"east UL1", "east UL2", "east UL3", "west IL1", "west IL2", "west IL3", "west I0"}), 1,
                  {3, 4, 5}, 6, BaySource::only_one);
  EXPECT_FALSE(of_set(bays({"UA", "UB", "UC"}), 1));
}

TEST(BayCurrents, MayHaveMoreWordsInTheirNames) {
  const Record record = bays({"LINE SUM ILA", "LINE SUM ILB", "LINE SUM ILC", "LINE SUM IN", "REM1 SUM ILA",
                              "REM1 SUM ILB", "REM1 SUM ILC", "REM1 SUM IN", "LINE ULA", "LINE ULB", "LINE ULC"});
  expect_currents(record, 1, {0, 1, 2}, 3, BaySource::name);
}

TEST(BayCurrents, MayHaveRunningNumbers) {
  const Record record =
      bays({"1-500kV North电压Ua", "2-500kV North电压Ub", "3-500kV North电压Uc", "5-spare电流Ia", "6-spare电流Ib",
            "7-spare电流Ic", "8-spare电流3Io", "10-500kX North电流Ia", "11-500kX North电流Ib", "12-500kX North电流Ic"});
  EXPECT_FALSE(of_set(record, 1)) << "kX and kV are different words";
  Record same = record;
  for (const std::size_t i : {0U, 1U, 2U}) same.channels[i].name.replace(same.channels[i].name.find("kV"), 2, "kX");
  expect_currents(same, 1, {7, 8, 9}, std::nullopt, BaySource::name);
  EXPECT_EQ(find_current_sets(same).at(0).residual, 6U);
}

TEST(BayCurrents, AreNoneWhereSeveralFeedersAgree) {
  EXPECT_FALSE(of_set(bays({"bus Ua", "bus Ub", "bus Uc", "line 1 Ia", "line 1 Ib", "line 1 Ic", "line 2 Ia",
                            "line 2 Ib", "line 2 Ic"}),
                      1));
  // The only currents are those of the second bay, as their names say.
  const Record record = bays(
      {"north Ua", "north Ub", "north Uc", "south Ua", "south Ub", "south Uc", "south Ia", "south Ib", "south Ic"});
  EXPECT_FALSE(of_set(record, 1));
  expect_currents(record, 2, {6, 7, 8}, std::nullopt, BaySource::name);
}

TEST(BayCurrents, AreNotFoundAmongSequencesAndVoltages) {
  // Units are copied from channel to channel: the voltages have the unit A, too.
  Record record = record_named({"UA", "UB", "UC", "IA", "IB", "IC", "IO", "I1", "I2", "I3"}, "A");
  const auto sets = find_current_sets(record);
  ASSERT_EQ(sets.size(), 1U);
  EXPECT_EQ(sets[0].phases, (Phases{3, 4, 5}));
  EXPECT_EQ(sets[0].residual, 6U);
  ASSERT_EQ(find_current_sets(record_named({"I1", "I2", "I3"}, "kA")).size(), 1U);
}

TEST(BayCurrents, HaveNoTrendsAmongThem) {
  Record record = bays({"UA", "UB", "UC", "IA", "IB", "IC"});
  for (const char* name : {"J1 Ia", "J1 Ib", "J1 Ic"}) record.channels.push_back(channel(name, "A", "", {3, 4}));
  ASSERT_EQ(find_current_sets(record).size(), 2U);
  EXPECT_TRUE(find_current_sets(record)[1].trend);
  expect_currents(record, 1, {3, 4, 5}, std::nullopt, BaySource::name);
  record.channels.erase(record.channels.begin() + 3, record.channels.begin() + 6);
  EXPECT_FALSE(of_set(record, 1));
}

TEST(BayCurrents, HaveNamesWithoutTheQuantityInCommon) {
  // The quantity is written as a word of its own, before the phase, or after it.
  expect_currents(bays({"North U Ua", "North U Ub", "North U Uc", "North I Ia", "North I Ib", "North I Ic",
                        "South I Ia", "South I Ib", "South I Ic"}),
                  1, {3, 4, 5}, std::nullopt, BaySource::name);
  expect_currents(bays({"Feeder1-ULa", "Feeder1-ULb", "Feeder1-ULc", "Feeder1-ILa", "Feeder1-ILb", "Feeder1-ILc",
                        "Feeder2-ILa", "Feeder2-ILb", "Feeder2-ILc"}),
                  1, {3, 4, 5}, std::nullopt, BaySource::name);
  expect_currents(bays({"Zone7 VAN", "Zone7 VBN", "Zone7 VCN", "Zone7 IA", "Zone7 IB", "Zone7 IC", "Zone8 IA",
                        "Zone8 IB", "Zone8 IC"}),
                  1, {3, 4, 5}, std::nullopt, BaySource::name);
}

TEST(BayCurrents, HaveResidualsInManyWaysOfNaming) {
  for (const char* residual : {"3I0", "I0", "IN", "IG", "IE", "Io", "Ires", "I_N", "3I_0"}) {
    expect_currents(bays({"UA", "UB", "UC", "IA", "IB", "IC", residual}), 1, {3, 4, 5}, 6, BaySource::name);
  }
  for (const char* other : {"Input", "IX", "Main", "Inverse"}) {
    expect_currents(bays({"UA", "UB", "UC", "IA", "IB", "IC", other}), 1, {3, 4, 5}, std::nullopt, BaySource::name);
  }
}

TEST(BayCurrents, AreNotThoseOfAnotherSetOfVoltages) {
  // The only currents bear the name of the other bay.
  const Record record =
      bays({"east UA", "east UB", "east UC", "west UA", "west UB", "west UC", "west IA", "west IB", "west IC"});
  EXPECT_FALSE(of_set(record, 1));
  expect_currents(record, 2, {6, 7, 8}, std::nullopt, BaySource::name);
}

TEST(BayCurrents, HaveUnitsOfCurrent) {
  for (const auto& [unit, amperes] : {std::pair<std::string, double>{"A", 1},
                                      {"kA", 1000},
                                      {"mA", 0.001},
                                      {"кА", 1000},
                                      {"А", 1},
                                      {"", 1},
                                      {"ampere", 1}}) {
    EXPECT_EQ(amperes_per_unit(channel("Ia", unit)), amperes) << unit;
  }
  EXPECT_TRUE(find_current_sets(record_named({"Ia", "Ib", "Ic"}, "Hz")).empty());
  EXPECT_TRUE(find_current_sets(record_named({"Ia", "Ib", "Ic"}, "V")).empty());
}

TEST(BayCurrents, AreWantedInAllBays) {
  const Record record = bays({"UA", "IA_1", "IB_1", "IC_1", "IN_1", "IA_2", "IB_2", "IC_2", "temperature"});
  std::vector<bool> wanted(record.channels.size(), false);
  want_currents(record, wanted);
  EXPECT_EQ(wanted, (std::vector<bool>{false, true, true, true, true, true, true, true, false}));
}

}  // namespace
}  // namespace readers
