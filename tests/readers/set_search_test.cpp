#include "readers/voltages/set_search.h"

#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <string>
#include <vector>

#include "tests/readers/voltage_records.h"

namespace readers {
namespace {

const Sets no_sets;
const Sets first_three = {{1, 2, 3}};

// --- names -----------------------------------------------------------------------------------------------------------

TEST(VoltageSets, AreFoundByManyWaysOfNaming) {
  const std::vector<std::vector<std::string>> ways = {
      {"Ua", "Ub", "Uc"},
      {"UA_1", "UB_1", "UC_1"},
      {"VA_GC1", "VB_GC1", "VC_GC1"},
      {"LINE ULA", "LINE ULB", "LINE ULC"},
      {"LINE_UL1", "LINE_UL2", "LINE_UL3"},
      {"U Sig (a)", "U Sig (b)", "U Sig (c)"},
      {"J2 -VA", "J2 -VB", "J2 -VC"},
      {"Popular Va-g", "Popular Vb-g", "Popular Vc-g"},
      {"Van", "Vbn", "Vcn"},
      {"HCSA", "HCSB", "HCSC"},
      {"v1", "v2", "v3"},
      {"V_L1", "V_L2", "V_L3"},
      {"L1", "L2", "L3"},
      {"u_l1", "u_l2", "u_l3"},
      {"VR", "VS", "VT"},
      {"UU", "UV", "UW"},
      {"VU", "VV", "VW"},
      {"Phase U", "Phase V", "Phase W"},
      {"v_Ug_A", "v_Ug_B", "v_Ug_C"},
      {"phase_A_voltage", "phase_B_voltage", "phase_C_voltage"},
      {"F5-VA", "F6-VB", "F7-VC"},
      {"1-500kV Ua", "2-500kV Ub", "3-500kV Uc"},
      {"\xE7\x94\xB5\xE5\x8E\x8BUa", "\xE7\x94\xB5\xE5\x8E\x8BUb", "\xE7\x94\xB5\xE5\x8E\x8BUc"},
      {"\xE7\x94\xB5\xE5\x8E\x8B"
       "A\xE7\x9B\xB8",
       "\xE7\x94\xB5\xE5\x8E\x8B"
       "B\xE7\x9B\xB8",
       "\xE7\x94\xB5\xE5\x8E\x8B"
       "C\xE7\x9B\xB8"},
  };
  for (const auto& names : ways) EXPECT_EQ(sets_named(names), first_three) << names[0];
}

TEST(VoltageSets, AreFoundByNameWithoutUnit) {
  const std::vector<std::vector<std::string>> ways = {
      {"Ua", "Ub", "Uc"},
      {"VA", "VB", "VC"},
      {"V1", "V2", "V3"},
      {"u_l1", "u_l2", "u_l3"},
      {"VL1", "VL2", "VL3"},
      {"BUS1UA", "BUS1UB", "BUS1UC"},
      {"Ua_SUB_A", "Ub_SUB_A", "Uc_SUB_A"},
      {"U (A)", "U (B)", "U (C)"},
      {"phase_A_voltage", "phase_B_voltage", "phase_C_voltage"},
  };
  for (const auto& names : ways) EXPECT_EQ(sets_named(names, ""), first_three) << names[0];
}

TEST(VoltageSets, AreNotMadeOfOtherQuantitiesWithoutUnit) {
  EXPECT_EQ(sets_named({"Ia", "Ib", "Ic"}, ""), no_sets);
  EXPECT_EQ(sets_named({"GEN_A", "GEN_B", "GEN_C"}, ""), no_sets);
  EXPECT_EQ(sets_named({"DC1", "DC2", "DC3"}, ""), no_sets);
}

TEST(VoltageSets, AreMadeOfVoltagesOnly) {
  for (const char* unit : {"V", "v", "kV", "KV", "mV", "MV", "volt", "Volts", " V "}) {
    EXPECT_EQ(sets_named({"Ua", "Ub", "Uc"}, unit), first_three) << unit;
  }
  for (const char* unit : {"kA", "Hz", "VA", "%", "deg"})
    EXPECT_EQ(sets_named({"Ua", "Ub", "Uc"}, unit), no_sets) << unit;
}

TEST(VoltageSets, MayHaveUnitsInCyrillicLetters) {
  for (const char* unit : {"В", "кВ", "В/кВ", "В/к", "мВ"}) {
    EXPECT_EQ(sets_named({"Ua", "Ub", "Uc"}, unit), first_three) << unit;
  }
}

TEST(VoltageSets, MayBeMislabelledWhereNoUnitIsOfVoltage) {
  for (const char* unit : {"A", "А", "-", "?"}) {
    const Record record = record_named({"UA", "UB", "UC", "IA", "IB", "IC"}, unit);
    EXPECT_EQ(sets_in(record), first_three) << unit;
    EXPECT_TRUE(find_voltage_sets(record)[0].unit_guessed) << unit;
  }
  EXPECT_FALSE(find_voltage_sets(record_named({"UA", "UB", "UC"}, "V"))[0].unit_guessed);
  Record both = record_named({"UA", "UB", "UC", "Ua2", "Ub2", "Uc2"}, "A");
  for (std::size_t i = 3; i < 6; i++) both.channels[i].unit = "V";
  EXPECT_EQ(sets_in(both), (Sets{{4, 5, 6}}));
}

TEST(VoltageSets, SayHowTheirPhasesWereToldApart) {
  const auto source = [](const Record& record) { return find_voltage_sets(record)[0].source; };
  EXPECT_EQ(source(record_named({"Ua", "Ub", "Uc"}, "V")), PhaseSource::name);
  EXPECT_EQ(source(record_named({"UA left", "UB middle", "UC right"}, "V")), PhaseSource::order);
  EXPECT_EQ(source(record_of({channel("x", "V", "A"), channel("x", "V", "B"), channel("x", "V", "C")})),
            PhaseSource::phase_field);
}

// --- long names ------------------------------------------------------------------------------------------------------

TEST(VoltageSets, AreFoundByLongNamesInLinearTime) {
  // The names have a mark at every other place. If each of them took as long as the name, the search would take
  // minutes.
  constexpr std::size_t length = 200000;
  for (const std::string piece : {"_A", "_1", "a", " ", "ua", "_ua", "uab_", "u1-u2"}) {
    std::vector<std::string> names;
    for (const char* phase : {"a", "b", "c"}) {
      std::string name;
      while (name.size() < length) name += piece;
      names.push_back(name + " U" + phase);
    }
    const auto start = std::chrono::steady_clock::now();
    const Record record = record_named(names, "V");
    find_voltage_sets(record);
    find_line_to_line_sets(record);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20)) << piece;
  }
}

// --- line-to-line voltages -------------------------------------------------------------------------------------------

Sets line_sets_in(const Record& record) {
  Sets result;
  for (const VoltageSet& set : find_line_to_line_sets(record)) {
    EXPECT_TRUE(set.between_phases);
    result.push_back({set.channels[0] + 1, set.channels[1] + 1, set.channels[2] + 1});
  }
  return result;
}

TEST(LineToLineSets, AreFoundByNameInTheOrderAbBcCa) {
  EXPECT_EQ(line_sets_in(record_named({"Uab", "Ubc", "Uca"}, "V")), first_three);
  EXPECT_EQ(line_sets_in(record_named({"VAB", "VBC", "VCA"}, "")), first_three);
  EXPECT_EQ(line_sets_in(record_named({"U31", "U12", "U23"}, "kV")), (Sets{{2, 3, 1}}));
  EXPECT_EQ(line_sets_in(record_named({"Ua-Ub", "Ub-Uc", "Uc-Ua"}, "V")), first_three);
  EXPECT_EQ(line_sets_in(record_named({"Uac", "Ucb", "Uba"}, "V")), (Sets{{3, 2, 1}}));
  EXPECT_EQ(line_sets_in(record_named({"Urs", "Ust", "Utr"}, "V")), first_three);
  EXPECT_EQ(line_sets_in(record_named({"Uuv", "Uvw", "Uwu"}, "V")), first_three);
}

TEST(LineToLineSets, AreFoundByThePhaseField) {
  EXPECT_EQ(line_sets_in(record_of({channel("Bus", "V", "AB"), channel("Bus", "V", "BC"), channel("Bus", "V", "CA")})),
            first_three);
  EXPECT_EQ(
      line_sets_in(record_of({channel("B", "V", "L1-L2"), channel("B", "V", "L2-L3"), channel("B", "V", "L3-L1")})),
      first_three);
}

TEST(LineToLineSets, AreNotMadeOfPhaseVoltagesOrCurrents) {
  EXPECT_EQ(line_sets_in(record_named({"Ua", "Ub", "Uc"}, "V")), no_sets);
  EXPECT_EQ(line_sets_in(record_named({"Uab", "Ubc", "Uca"}, "A")), no_sets);
  EXPECT_EQ(line_sets_in(record_named({"Iab", "Ibc", "Ica"}, "")), no_sets);
}

TEST(VoltageSets, AreGivenInTheOrderOfPhasesAndOfTheFile) {
  EXPECT_EQ(sets_named({"Vc bus", "Vb bus", "Va bus", "Ua", "Ib", "Ub", "Uc"}), (Sets{{3, 2, 1}, {4, 6, 7}}));
}

TEST(VoltageSets, AreToldApartByTheRestOfTheName) {
  EXPECT_EQ(sets_named({"Ua1", "Ua2", "Ub1", "Ub2", "Uc1", "Uc2"}), (Sets{{1, 3, 5}, {2, 4, 6}}));
  EXPECT_EQ(sets_named({"Ua_SUB_A", "Ub_SUB_A", "Uc_SUB_A", "Ua_SUB_B", "Ub_SUB_B", "Uc_SUB_B"}),
            (Sets{{1, 2, 3}, {4, 5, 6}}));
  EXPECT_EQ(sets_named({"U1a", "U1b", "U1c", "U2a", "U2b", "U2c", "U3a", "U3b", "U3c"}),
            (Sets{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}));
}

TEST(VoltageSets, OfOneNameAreTakenInTheirOrder) {
  EXPECT_EQ(sets_named({"Ua", "Ub", "Uc", "Ua", "Ub", "Uc"}), (Sets{{1, 2, 3}, {4, 5, 6}}));
}

TEST(VoltageSets, AreMadeOfNeighboursWhenNamesHaveNothingInCommon) {
  EXPECT_EQ(sets_named({"UA left", "UB middle", "UC right", "I", "VA x", "VB y", "VC z"}),
            (Sets{{1, 2, 3}, {5, 6, 7}}));
  EXPECT_EQ(sets_named({"UA left", "UC right", "UB middle"}), no_sets);
}

TEST(VoltageSets, LeaveOutNeutralAndZeroSequence) {
  EXPECT_EQ(sets_named({"Ua", "Un", "Ub", "3U0", "Uc", "3Uo"}), (Sets{{1, 3, 5}}));
  Record record = record_named({"U x", "U x", "U x", "U x"}, "V");
  record.channels[0].phase = "A";
  record.channels[1].phase = "N";
  record.channels[2].phase = "B";
  record.channels[3].phase = "C";
  EXPECT_EQ(sets_in(record), (Sets{{1, 3, 4}}));
}

TEST(VoltageSets, LeaveOutVoltagesBetweenPhases) {
  EXPECT_EQ(sets_named({"Uab", "Ubc", "Uca"}), no_sets);
  EXPECT_EQ(sets_named({"VAB", "VBC", "VCA"}, ""), no_sets);
  EXPECT_EQ(sets_named({"U12", "U23", "U31"}), no_sets);
  EXPECT_EQ(sets_named({"L1-L2", "L2-L3", "L3-L1"}), no_sets);
  EXPECT_EQ(sets_named({"Ua-Ub", "Ub-Uc", "Uc-Ua"}), no_sets);
  EXPECT_EQ(sets_named({"Uab", "Ubc", "Uca", "Ua", "Ub", "Uc"}), (Sets{{4, 5, 6}}));

  Record record = record_named({"Uab", "Ubc", "Uca"}, "V");
  for (std::size_t i = 0; i < 3; i++) record.channels[i].phase = std::string(1, static_cast<char>('A' + i));
  EXPECT_EQ(sets_in(record), no_sets) << "even where the phase field has a single letter";
}

TEST(VoltageSets, LeaveOutComputedFigures) {
  EXPECT_EQ(sets_named({"Vag Mag", "Vbg Mag", "Vcg Mag"}), no_sets);
  EXPECT_EQ(sets_named({"Va RMS", "Vb RMS", "Vc RMS", "Va", "Vb", "Vc"}), (Sets{{4, 5, 6}}));
}

TEST(VoltageSets, MayHaveAVoltageLetterInThePhaseField) {
  const Record record = record_of({channel("Ua", "V", "V"), channel("Ub", "V", "V"), channel("Uc", "V", "V")});
  EXPECT_EQ(sets_in(record), first_three);
}

TEST(VoltageSets, NeedAllThreePhases) {
  EXPECT_EQ(sets_named({"Ua", "Ub"}), no_sets);
  EXPECT_EQ(sets_named({"Ua", "Ub", "Ub"}), no_sets);
  EXPECT_EQ(sets_named({}), no_sets);
}

// --- phase fields ----------------------------------------------------------------------------------------------------

TEST(VoltageSets, AreFoundByThePhaseField) {
  const std::vector<std::vector<std::string>> ways = {{"A", "B", "C"},       {"a", "b", "c"},      {"L1", "L2", "L3"},
                                                      {"1", "2", "3"},       {"R", "S", "T"},      {"AN", "BN", "CN"},
                                                      {"A-N", "B-N", "C-N"}, {"A-G", "B-G", "C-G"}};
  for (const auto& phases : ways) {
    const Record record =
        record_of({channel("Bus", "V", phases[0]), channel("Bus", "V", phases[1]), channel("Bus", "V", phases[2])});
    EXPECT_EQ(sets_in(record), first_three) << phases[0];
  }
}

TEST(VoltageSets, DropChannelsWhosePhaseFieldNamesTwoPhases) {
  for (const auto& phases : std::vector<std::vector<std::string>>{
           {"AB", "BC", "CA"}, {"L1-L2", "L2-L3", "L3-L1"}, {"12", "23", "31"}, {"RS", "ST", "TR"}}) {
    const Record record =
        record_of({channel("Ua", "V", phases[0]), channel("Ub", "V", phases[1]), channel("Uc", "V", phases[2])});
    EXPECT_EQ(sets_in(record), no_sets) << phases[0];
  }
}

TEST(VoltageSets, GoByThePhaseFieldBeforeTheName) {
  // The channels belong to three power lines called A, B and C, so only the field gives the phase.
  Record record = record_of({});
  for (const char* line : {"Line A", "Line B", "Line C"}) {
    for (const char* phase : {"A", "B", "C"}) record.channels.push_back(channel(line, "V", phase));
  }
  EXPECT_EQ(sets_in(record), (Sets{{1, 2, 3}, {4, 5, 6}, {7, 8, 9}}));
}

TEST(VoltageSets, GoByTheNameWhereThePhaseFieldIsFilledWithoutCare) {
  for (const auto& phases :
       std::vector<std::vector<std::string>>{{"1", "1", "1"}, {"A", "B", "B"}, {"U1", "U2", "?"}}) {
    const Record record =
        record_of({channel("Ua", "V", phases[0]), channel("Ub", "V", phases[1]), channel("Uc", "V", phases[2])});
    EXPECT_EQ(sets_in(record), first_three) << phases[0];
  }
}

// --- properties of sets ----------------------------------------------------------------------------------------------

TEST(VoltageSets, MayBeNamedByThePhaseAlone) {
  for (const std::vector<std::string>& names :
       {std::vector<std::string>{"A", "B", "C"}, {"R", "S", "T"}, {"U", "V", "W"}}) {
    EXPECT_EQ(sets_named(names), first_three) << names[0];
    EXPECT_EQ(sets_named(names, ""), first_three) << names[0];
    EXPECT_EQ(sets_named(names, "ka"), no_sets) << names[0];
  }
  EXPECT_TRUE(find_voltage_sets(record_named({"A", "B", "C"}, "")).front().unit_guessed);
}

TEST(VoltageSets, SayWhichPhaseFieldsDoNotFitTheNames) {
  using Doubts = std::array<bool, 3>;
  const auto doubts = [](const std::vector<std::string>& names, const std::vector<std::string>& fields) {
    std::vector<Channel> channels;
    for (std::size_t i = 0; i < 3; i++) channels.push_back(channel(names[i], "V", fields[i]));
    return find_voltage_sets(record_of(channels)).front().doubtful;
  };
  EXPECT_EQ(doubts({"Ua", "Ub", "Uc"}, {"A", "B", "C"}), Doubts{});
  EXPECT_EQ(doubts({"Ua", "Ub", "Uc"}, {"A", "B", "B"}), (Doubts{false, false, true}));
  EXPECT_EQ(doubts({"Va", "Vb", "Vc"}, {"B", "C", "A"}), (Doubts{true, true, true}));
  EXPECT_EQ(doubts({"v_Ug_A", "v_Ug_B", "v_Ug_C"}, {"A", "B", "C"}), Doubts{}) << "here U means voltage";
  EXPECT_EQ(doubts({"U2a", "U2b", "U2c"}, {"A", "B", "C"}), Doubts{});
}

TEST(LineToLineSets, SayWhichAreNamedTheOtherWayRound) {
  using Turned = std::array<bool, 3>;
  const auto turned = [](const std::vector<std::string>& names) {
    return find_line_to_line_sets(record_named(names, "V")).front().turned;
  };
  EXPECT_EQ(turned({"Uab", "Ubc", "Uca"}), Turned{});
  EXPECT_EQ(turned({"Uab", "Ubc", "Uac"}), (Turned{false, false, true}));
  EXPECT_EQ(turned({"U21", "U32", "U13"}), (Turned{true, true, true}));
  EXPECT_EQ(turned({"Ua-Ub", "Uc-Ub", "Uc-Ua"}), (Turned{false, true, false}));
}

}  // namespace
}  // namespace readers
