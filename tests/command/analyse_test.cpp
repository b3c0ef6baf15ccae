// Tests the events and courses that dipx analyse shows for records whose dips are known.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/command/analyse_fixture.h"

namespace {

using nlohmann::json;
using tests::dipx;
using tests::expect_course;
using tests::expect_event;
using Record = tests::MadeRecord;

constexpr const char* example = DIPX_EXAMPLES "/rte_00.cfg";

class Analyse : public tests::Analysing {};

// --- what is shown ---------------------------------------------------------------------------------------------------

/// Returns the text with one blank for every run of blanks and line ends, because lines are broken at the terminal's
/// width.
std::string unbroken(const std::string& text) {
  std::string words;
  for (const char byte : text) {
    const bool blank = byte == ' ' || byte == '\n';
    if (!blank || words.empty() || words.back() != ' ') words += blank ? ' ' : byte;
  }
  return words;
}

TEST_F(Analyse, ShowsTheExamplesEvents) {
  const auto result = dipx({"analyse", example});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_TRUE(result.out.starts_with(std::string(example) +
                                     "\n"
                                     "  COMTRADE 1999 BINARY, RTE DFR database, DATA_S2 record 0,\n"
                                     "  01/01/2000 00:00:00.000000\n"
                                     "  3.281 s: 21000 samples at 6400 Hz, 128 per cycle of 50 Hz\n"
                                     "  voltages v1, v2, v3\n"))
      << result.out;
  const std::string words = unbroken(result.out);
  for (const char* sentence :
       {"events by IEC 61000-4-30, in per cent of the pre-event voltage: dip below 90 %, swell above 110 %, "
        "interruption below 5 %, hysteresis 2 %",
        " 2 events event 1: dip 0.2636 s to 0.5713 s ", "residual voltage 18.19 kV in v1",
        "29.1 % of the pre-event voltage 62.55 kV",
        "Trips: ITIC, SEMI F47, IEC 61000-4-11 class 2, IEC 61000-4-11 class 3, IEEE 1668 cell D2 of EN 50160, ",
        " event 2: swell 0.2667 s to 0.5684 s ", "above 110 % of the pre-event voltage"}) {
    EXPECT_NE(words.find(sentence), std::string::npos) << sentence << "\n" << result.out;
  }
}

TEST_F(Analyse, ReadsTheExampleFromItsDatFileToo) {
  EXPECT_EQ(json::parse(dipx({"analyse", "--json", DIPX_EXAMPLES "/rte_00.dat"}).out)["events"],
            json::parse(dipx({"analyse", "--json", example}).out)["events"]);
}

TEST_F(Analyse, PrintsOneDocumentWithTheRecordsFacts) {
  const auto found = analysed({}, example);
  EXPECT_EQ(found["format"], "dipx analysis");
  EXPECT_EQ(found["format_version"], 2);
  EXPECT_EQ(found["dipx_version"], DIPX_VERSION);
  const auto& record = found["record"];
  EXPECT_EQ(record["file"], example);
  EXPECT_EQ(record["station"], "RTE DFR database");
  EXPECT_EQ(record["device"], "DATA_S2 record 0");
  EXPECT_EQ(record["start_time"], "01/01/2000 00:00:00.000000");
  EXPECT_EQ(record["trigger_time"], "01/01/2000 00:00:00.250000");
  EXPECT_EQ(record["samples"], 21000);
  EXPECT_EQ(record["sampling_rate_hz"], 6400.0);
  auto voltage = found["voltages"][1];
  EXPECT_NEAR(voltage["usual_rms_v"], 62500, 60) << "110 kV over the root of three, about 2 % less at that hour";
  for (const char* level : {"usual_rms_v", "reference_v", "lowest_rms_v", "highest_rms_v"}) voltage.erase(level);
  EXPECT_EQ(voltage, (json{{"phase", "B"},
                           {"channel", 2},
                           {"name", "v2"},
                           {"unit", "V"},
                           {"side", "primary"},
                           {"transformer_primary", 1},
                           {"transformer_secondary", 1}}));
}

TEST_F(Analyse, ReportsThatThereAreNoEvents) {
  EXPECT_TRUE(text(Record(230, 0.4))
                  .ends_with("\n\nno events\n  Urms(1/2) from 100.0 % (A) to 100.0 % (A) of the pre-event voltage\n"))
      << text(Record(230, 0.4));
  EXPECT_EQ(analysed(Record(230, 0.4))["events"], json::array());
}

TEST_F(Analyse, PrintsALineForEachEventAndARowForEachSegment) {
  const Record record = Record(230, 2).lower("ABC", 0.5, 0.9, 161).lower("ABC", 0.9, 1.3, 92).lower("A", 1.6, 1.7, 100);
  record.write_csv("record.csv");
  const auto lines = dipx({"analyse", "record.csv", "-q"}).out;
  EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 2) << lines;
  EXPECT_NE(lines.find("record.csv: event 1, dip   "), std::string::npos) << lines;
  EXPECT_NE(lines.find("residual 40.0 % of the pre-event voltage, ABC; segments of the level before: A (ABC) 70.0 %, "
                       "then A (ABC) 40.0 %; 1 note\n"),
            std::string::npos)
      << lines;
  const auto table = dipx({"analyse", "record.csv", "--csv"}).out;
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 4) << table;
  EXPECT_TRUE(table.starts_with("file,start_time,voltages,event,kind,event_start_s,")) << table;
}

// --- where dips are, and how deep ------------------------------------------------------------------------------------

TEST_F(Analyse, FindsADipOfKnownPlaceDepthAndPhase) {
  const auto found = analysed(Record(230, 1).lower("B", 0.4, 0.5, 115));
  ASSERT_EQ(found["events"].size(), 1U);
  const auto& dip = found["events"][0];
  EXPECT_EQ(dip["kind"], "dip");
  EXPECT_EQ(dip["phases"], "B");
  expect_event(dip, 0.4, 0.5);
  expect_course(dip["course"], 0.4, 0.5);
  EXPECT_TRUE(dip["start"]["known"]);
  EXPECT_NEAR(dip["lowest_urms_half"][0]["voltage_v"], 230, 0.01);
  EXPECT_NEAR(dip["lowest_urms_half"][1]["voltage_v"], 115, 0.01);
  EXPECT_NEAR(dip["lowest_urms_half"][1]["percent"], 50, 0.01);
  EXPECT_NEAR(dip["lowest_urms_half"][2]["voltage_v"], 230, 0.01);
  EXPECT_NEAR(dip["extreme"]["voltage_v"], 115, 0.01);
  EXPECT_EQ(dip["extreme"]["phase"], "B");
  EXPECT_NEAR(dip["depth_percent"], 50, 0.01);
  EXPECT_NEAR(dip["duration_s"].get<double>(),
              dip["end"]["time_s"].get<double>() - dip["start"]["time_s"].get<double>(), 2e-6);
  EXPECT_NEAR(dip["duration_cycles"].get<double>() * 0.02, dip["duration_s"].get<double>(), 2e-5);
  EXPECT_EQ(dip["recorded_duration_s"], dip["duration_s"]);
}

TEST_F(Analyse, MeasuresTheSameAtEveryLevel) {
  for (const double volts : {0.001, 49.0, 57.7, 230.0, 401.0, 400000.0}) {
    const auto found = analysed(Record(volts, 1).lower("A", 0.4, 0.5, 0.3 * volts));
    EXPECT_NEAR(found["voltages"][0]["usual_rms_v"].get<double>() / volts, 1, 1e-4) << volts;
    ASSERT_EQ(found["events"].size(), 1U) << volts;
    const auto& dip = found["events"][0];
    EXPECT_NEAR(dip["reference"]["voltage_v"].get<double>() / volts, 1, 1e-4) << volts;
    EXPECT_NEAR(dip["extreme"]["voltage_v"].get<double>() / volts, 0.3, 1e-4) << volts;
    expect_course(dip["course"], 0.4, 0.5);
    ASSERT_EQ(dip["course"]["segments"].size(), 1U) << volts;
    EXPECT_NEAR(dip["course"]["segments"][0]["voltage"][0]["percent_of_before"], 30, 0.1) << volts;
  }
}

TEST_F(Analyse, GivesEachOfSeveralDipsItsPlaceInTheWholeRecord) {
  const auto found =
      analysed(Record(230, 4).lower("A", 0.5, 0.6, 100).lower("B", 1.5, 1.7, 150).lower("ABC", 3.0, 3.3, 60));
  ASSERT_EQ(found["events"].size(), 3U);
  const double starts[] = {0.5, 1.5, 3.0};
  const double ends[] = {0.6, 1.7, 3.3};
  const double lowest[] = {100, 150, 60};
  for (std::size_t i = 0; i < 3; i++) {
    const auto& dip = found["events"][i];
    EXPECT_EQ(dip["number"], i + 1);
    expect_event(dip, starts[i], ends[i]);
    expect_course(dip["course"], starts[i], ends[i]);
    EXPECT_NEAR(dip["extreme"]["voltage_v"], lowest[i], 0.05);
  }
}

TEST_F(Analyse, FindsDipsInAFlickeringRecord) {
  Record flicker(230, 8);
  for (int dip = 0; dip < 20; dip++) flicker.lower("A", 0.3 + 0.35 * dip, 0.35 + 0.35 * dip, 115);
  const auto found = analysed(flicker);
  ASSERT_EQ(found["events"].size(), 20U);
  for (std::size_t dip = 0; dip < 20; dip++) {
    const double start = 0.3 + 0.35 * static_cast<double>(dip);
    expect_course(found["events"][dip]["course"], start, start + 0.05);
  }
}

TEST_F(Analyse, MeasuresADipThatHasNotRecovered) {
  const Record record = Record(230, 1).lower("C", 0.7, 1, 46);
  const auto found = analysed(record);
  ASSERT_EQ(found["events"].size(), 1U);
  const auto& dip = found["events"][0];
  EXPECT_TRUE(dip["end"]["time_s"].is_null());
  EXPECT_TRUE(dip["duration_s"].is_null());
  EXPECT_NEAR(dip["recorded_duration_s"], 0.3, 0.02);
  EXPECT_NEAR(dip["course"]["start_s"], 0.7, 0.005);
  EXPECT_TRUE(dip["course"]["end_s"].is_null());
  ASSERT_EQ(dip["course"]["segments"].size(), 1U);
  EXPECT_TRUE(dip["course"]["segments"][0]["end_s"].is_null());
  EXPECT_NEAR(dip["course"]["segments"][0]["voltage"][2]["percent_of_before"], 20, 0.1);
  const auto summary = text(record);
  EXPECT_NE(summary.find(" s to beyond the end of the record\n"), std::string::npos) << summary;
}

TEST_F(Analyse, MeasuresARecordThatBeginsInADip) {
  const Record record = Record(230, 1).lower("ABC", 0, 0.4, 92);
  const auto found = analysed(record);
  ASSERT_EQ(found["events"].size(), 1U);
  const auto& dip = found["events"][0];
  EXPECT_FALSE(dip["start"]["known"]);
  EXPECT_TRUE(dip["duration_s"].is_null());
  EXPECT_NEAR(dip["recorded_duration_s"], 0.41, 0.02);
  EXPECT_NEAR(dip["extreme"]["percent"], 40, 0.01);
  const auto& course = dip["course"];
  EXPECT_TRUE(course["start_s"].is_null());
  EXPECT_TRUE(course["point_on_wave"].is_null());
  EXPECT_NEAR(course["end_s"], 0.4, 0.005);
  EXPECT_EQ(course["level_before"]["source"], "after");
  EXPECT_NEAR(course["level_before"]["voltage"][1]["voltage_v"], 230, 0.1);
  EXPECT_NEAR(course["segments"][0]["voltage"][1]["percent_of_before"], 40, 0.1);
  EXPECT_NE(found["notes"].dump().find("Event 1: the record begins within the dip; its levels before the dip are those "
                                       "of the voltage after it."),
            std::string::npos)
      << found["notes"];
  const auto declared = analysed({"--nominal", "240"});
  EXPECT_EQ(declared["events"][0]["course"]["level_before"]["source"], "declared");
  EXPECT_NEAR(declared["events"][0]["course"]["level_before"]["voltage"][1]["voltage_v"], 240, 0.1);
  EXPECT_NE(text(record).find("event 1: dip   before the beginning of the record to "), std::string::npos);
}

TEST_F(Analyse, MeasuresDipsNearTheRecordsEnds) {
  const auto at_start = analysed(Record(230, 1).lower("A", 0.06, 0.16, 115));
  ASSERT_EQ(at_start["events"].size(), 1U);
  expect_course(at_start["events"][0]["course"], 0.06, 0.16);
  EXPECT_NEAR(at_start["events"][0]["course"]["segments"][0]["voltage"][0]["percent_of_before"], 50, 0.1);
  const auto at_end = analysed(Record(230, 1).lower("A", 0.85, 0.95, 115));
  ASSERT_EQ(at_end["events"].size(), 1U);
  expect_course(at_end["events"][0]["course"], 0.85, 0.95);
}

TEST_F(Analyse, MeasuresAShallowDipAndOneInARestlessRecord) {
  const auto shallow = analysed(Record(230, 1).lower("A", 0.4, 0.44, 202));
  ASSERT_EQ(shallow["events"].size(), 1U);
  expect_course(shallow["events"][0]["course"], 0.4, 0.44);
  Record restless(230, 1);
  for (int cycle = 4; cycle < 50; cycle += 2) restless.lower("B", 0.02 * cycle, 0.02 * (cycle + 1), 218);
  const auto found = analysed(restless.lower("A", 0.4, 0.5, 115), {"--rvc-threshold", "0"});
  ASSERT_EQ(found["events"].size(), 1U);
  expect_course(found["events"][0]["course"], 0.4, 0.5);
  EXPECT_NEAR(found["events"][0]["course"]["segments"][0]["voltage"][0]["percent_of_before"], 50, 0.5);
}

TEST_F(Analyse, MeasuresADipAgainstTheLevelJustBeforeIt) {
  // The voltage settles at 220 V first, and the dip to 87 % of the usual level is one to 200 / 220.
  const auto found =
      analysed(Record(230, 3).lower("ABC", 0.2, 0.6, 220).lower("ABC", 0.6, 0.8, 200), {"--rvc-threshold", "0"});
  ASSERT_EQ(found["events"].size(), 1U);
  const auto& dip = found["events"][0];
  expect_event(dip, 0.6, 0.8);
  EXPECT_NEAR(dip["extreme"]["percent"], 100 * 200 / 230.0, 0.01);
  EXPECT_NEAR(dip["course"]["level_before"]["voltage"][0]["voltage_v"], 220, 0.1);
  EXPECT_NEAR(dip["course"]["segments"][0]["voltage"][0]["percent_of_before"], 100 * 200 / 220.0, 0.1);
  ASSERT_EQ(found["changes_without_event"].size(), 1U);
  EXPECT_NEAR(found["changes_without_event"][0]["start_s"], 0.2, 0.005);
  EXPECT_NEAR(found["changes_without_event"][0]["voltage"][0]["after_v"], 220, 0.1);
}

TEST_F(Analyse, MeasuresADipAfterASlowFall) {
  // The voltage falls to 30 % over ten cycles and stays there for three.
  const auto found = analysed(Record(230, 3).slope("ABC", 1, 1.2, 69).lower("ABC", 1.2, 1.26, 69));
  ASSERT_EQ(found["events"].size(), 1U);
  const auto& course = found["events"][0]["course"];
  // 90 % lies a seventh of the way from 100 % to 30 %.
  expect_course(course, 1 + 0.2 / 7, 1.26);
  ASSERT_EQ(course["segments"].size(), 1U);
  EXPECT_NEAR(course["segments"][0]["voltage"][1]["percent_of_before"], 30, 1);
  EXPECT_TRUE(course["transitions"][0]["gradual"]);
  EXPECT_FALSE(course["transitions"][1]["gradual"]);
  EXPECT_TRUE(course["point_on_wave"].is_null()) << "a gradual fall begins at no point on the wave";
}

// --- what segments are -----------------------------------------------------------------------------------------------

TEST_F(Analyse, PrintsTheTypeOfEachSegment) {
  const auto found = analysed(Record(230, 1).lower("B", 0.4, 0.5, 115));
  const auto& course = found["events"][0]["course"];
  ASSERT_EQ(course["segments"].size(), 1U);
  const auto& segment = course["segments"][0];
  EXPECT_EQ(segment["number"], 1);
  EXPECT_FALSE(segment["gradual"]);
  EXPECT_TRUE(segment["measured"]);
  EXPECT_EQ(segment["category"], (json{{"code", 5}, {"name", "single-phase dip, B"}}));
  EXPECT_EQ(segment["type"]["letter"], "B");
  EXPECT_EQ(segment["type"]["phases"], "B");
  EXPECT_EQ(segment["below_threshold"], "B");
  EXPECT_NEAR(segment["voltage"][0]["percent_of_before"], 100, 0.1);
  EXPECT_NEAR(segment["voltage"][1]["percent_of_before"], 50, 0.1);
  EXPECT_NEAR(segment["voltage"][1]["voltage_v"], 115, 0.2);
  EXPECT_NEAR(segment["phase_jump"][1]["degrees"], 0, 0.5);
  // The sequences of (1, 1/2, 1) are 5/6, 1/6 and 1/6.
  EXPECT_NEAR(segment["sequences"]["positive_v"], 230 * 5 / 6.0, 0.2);
  EXPECT_NEAR(segment["sequences"]["negative_v"], 230 / 6.0, 0.2);
  EXPECT_NEAR(segment["sequences"]["zero_v"], 230 / 6.0, 0.2);
  EXPECT_NEAR(segment["unbalance_percent"], 20, 0.5);
  // Phase A passes zero upwards at 0.4 s, 20 whole cycles into the record; B and C follow by a third of a turn.
  for (const auto& [phase, degrees] : {std::pair(0U, 0.0), {1U, 240.0}, {2U, 120.0}}) {
    const auto& found_degrees = course["point_on_wave"][phase]["degrees"];
    EXPECT_NEAR(std::remainder(found_degrees.get<double>() - degrees, 360), 0, 10);
  }
}

TEST_F(Analyse, GivesThePhaseJump) {
  const auto found = analysed(Record(230, 1).lower("A", 0.4, 0.6, 115).turn("A", 0.4, 0.6, -25));
  const auto& jumps = found["events"][0]["course"]["segments"][0]["phase_jump"];
  EXPECT_NEAR(jumps[0]["degrees"], -25, 0.5);
  EXPECT_NEAR(jumps[1]["degrees"], 0, 0.5);
  const auto wide = analysed(Record(230, 1).lower("A", 0.4, 0.6, 115).turn("A", 0.4, 0.6, 170));
  EXPECT_NEAR(wide["events"][0]["course"]["segments"][0]["phase_jump"][0]["degrees"], 170, 0.5);
}

TEST_F(Analyse, SeparatesTheStepsOfADip) {
  const auto found = analysed(Record(230, 2).lower("ABC", 0.5, 0.9, 161).lower("ABC", 0.9, 1.3, 92));
  const auto& segments = found["events"][0]["course"]["segments"];
  ASSERT_EQ(segments.size(), 2U);
  EXPECT_NEAR(segments[0]["voltage"][0]["percent_of_before"], 70, 0.1);
  EXPECT_NEAR(segments[1]["voltage"][0]["percent_of_before"], 40, 0.1);
  EXPECT_NEAR(segments[0]["end_s"], 0.9, 0.005);
  EXPECT_NEAR(segments[1]["start_s"], 0.9, 0.005);
}

TEST_F(Analyse, FollowsAFaultFromOnePhaseToAll) {
  const auto found =
      analysed(Record(230, 2).lower("A", 0.5, 0.6, 115).lower("AB", 0.6, 0.7, 115).lower("ABC", 0.7, 0.9, 100));
  const auto& segments = found["events"][0]["course"]["segments"];
  ASSERT_EQ(segments.size(), 3U);
  const int categories[] = {3, 8, 9};
  const char* below[] = {"A", "AB", "ABC"};
  for (std::size_t s = 0; s < 3; s++) {
    EXPECT_EQ(segments[s]["category"]["code"], categories[s]);
    EXPECT_EQ(segments[s]["below_threshold"], below[s]);
  }
}

TEST_F(Analyse, GivesTheRateOfChangeInTheRecordsVoltsAndSeconds) {
  const auto change = [&](double volts, double hertz) {
    Record(volts, 40 / hertz, 64 * hertz, hertz).lower("A", 20 / hertz, 26 / hertz, volts / 2).write_comtrade("record");
    return analysed({}, "record.cfg")["events"][0]["course"]["steepest_change"][0]["v_per_s"].get<double>();
  };
  // Half the voltage is lost within a cycle, and more than half of that within half a cycle.
  const double at_50_hertz = change(230, 50);
  EXPECT_GT(at_50_hertz, 115 / 2.0 / 0.01);
  EXPECT_LT(at_50_hertz, 115 / 0.01);
  EXPECT_NEAR(change(2300, 50) / at_50_hertz, 10, 0.01);
  EXPECT_NEAR(change(230, 60) / at_50_hertz, 1.2, 0.001);
}

TEST_F(Analyse, MeasuresTheSegmentsOfAVeryLongDip) {
  const auto found =
      analysed(Record(230, 22, 1600).lower("A", 0.503, 11, 100).lower("A", 11, 21, 161).turn("A", 0.503, 21, -25));
  ASSERT_EQ(found["events"].size(), 1U);
  const auto& course = found["events"][0]["course"];
  expect_course(course, 0.503, 21);
  // 0.503 s are 25.15 cycles.
  EXPECT_NEAR(course["point_on_wave"][0]["degrees"], 54, 10);
  EXPECT_NEAR(course["point_on_wave"][1]["degrees"], 54 + 240, 10);
  ASSERT_EQ(course["segments"].size(), 2U);
  const double ends[] = {11, 21};
  const double volts[] = {100, 161};
  for (std::size_t s = 0; s < 2; s++) {
    const auto& segment = course["segments"][s];
    EXPECT_NEAR(segment["end_s"], ends[s], 0.005);
    EXPECT_NEAR(segment["voltage"][0]["voltage_v"], volts[s], 0.5);
    EXPECT_NEAR(segment["voltage"][1]["voltage_v"], 230, 0.5);
    EXPECT_NEAR(segment["phase_jump"][0]["degrees"], -25, 0.5);
    EXPECT_NEAR(segment["phase_jump"][2]["degrees"], 0, 0.5);
    EXPECT_EQ(segment["category"]["code"], 3);
  }
}

TEST_F(Analyse, GivesThePhaseJumpOfALongDipWhereTheFrequencyIsOff) {
  // A deviation of 0.05 Hz turns the phases by 180 degrees in ten seconds.
  Record(230, 12, 1600, 50.05).lower("A", 0.503, 11, 100).turn("A", 0.503, 11, -25).write_csv("record.csv");
  const auto found = analysed({"--frequency", "50"});
  EXPECT_NEAR(found["record"]["measured_frequency_hz"], 50.05, 0.001);
  const auto& segment = found["events"][0]["course"]["segments"][0];
  EXPECT_NEAR(segment["phase_jump"][0]["degrees"], -25, 1);
  EXPECT_NEAR(segment["phase_jump"][1]["degrees"], 0, 1);
}

TEST_F(Analyse, ReportsSixtyHertzInRealSeconds) {
  Record(120, 1, 3840, 60).lower("A", 0.5, 0.6, 60).write_comtrade("sixty");
  const auto found = analysed({}, "sixty.cfg");
  EXPECT_EQ(found["record"]["samples_per_cycle"], 64);
  EXPECT_EQ(found["record"]["line_frequency_hz"], 60.0);
  ASSERT_EQ(found["events"].size(), 1U);
  const auto& dip = found["events"][0];
  expect_event(dip, 0.5, 0.6, 1 / 60.0);
  expect_course(dip["course"], 0.5, 0.6, 1 / 60.0);
  EXPECT_NEAR(dip["duration_cycles"].get<double>() / 60, dip["duration_s"].get<double>(), 2e-5);
}

// --- missing samples -------------------------------------------------------------------------------------------------

TEST_F(Analyse, LeavesMissingSamplesOutOfEveryFigure) {
  const Record record = Record(230, 1).lower("ABC", 0.4, 0.6, 115);
  const auto whole = analysed(record);
  record.write_csv_without("gap.csv", "A", 0.5, 0.504);
  const auto found = analysed({}, "gap.csv");
  ASSERT_EQ(found["events"].size(), 1U);
  expect_course(found["events"][0]["course"], 0.4, 0.6);
  const auto& segments = found["events"][0]["course"]["segments"];
  ASSERT_EQ(segments.size(), 1U);
  EXPECT_NEAR(segments[0]["voltage"][0]["voltage_v"], 115, 0.2);
  EXPECT_NE(found["notes"].dump().find("26 values of Ua are missing (the first is sample 3201, the longest gap is 26 "
                                       "samples); they are left out of every figure."),
            std::string::npos)
      << found["notes"];
  EXPECT_EQ(whole["events"][0]["extreme"], found["events"][0]["extreme"]);
}

TEST_F(Analyse, MeasuresADipWithoutTheHalfOfOnePhase) {
  Record(230, 1).lower("ABC", 0.4, 0.6, 115).write_csv_without("gap.csv", "A", 0.45, 0.55);
  const auto found = analysed({}, "gap.csv");
  ASSERT_EQ(found["events"].size(), 1U);
  expect_course(found["events"][0]["course"], 0.4, 0.6);
  const auto& voltage = found["events"][0]["course"]["segments"][0]["voltage"];
  for (std::size_t phase = 0; phase < 3; phase++) EXPECT_NEAR(voltage[phase]["voltage_v"], 115, 0.2) << phase;
}

}  // namespace
