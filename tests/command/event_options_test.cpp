// Tests the options for the rules by which events are found: the effect of each, and the values that are refused.
#include "command/event_options.h"

#include <gtest/gtest.h>

#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <numbers>
#include <string>
#include <vector>

#include "tests/command/analyse_fixture.h"

namespace {

using analysis::AnalysisOptions;
using analysis::DeclaredKind;
using nlohmann::json;
using tests::dipx;
using tests::expect_course;
using Record = tests::MadeRecord;
using Words = std::vector<std::string>;

// --- --nominal as it is written --------------------------------------------------------------------------------------

AnalysisOptions taken(const std::string& nominal) {
  command::EventOptions given;
  given.nominal = nominal;
  AnalysisOptions options;
  command::take_event_options(given, options);
  return options;
}

struct Form {
  const char* text;
  double volts;
  DeclaredKind kind;
};

class NominalForm : public testing::TestWithParam<Form> {};

TEST_P(NominalForm, IsUnderstood) {
  const auto options = taken(GetParam().text);
  EXPECT_DOUBLE_EQ(options.nominal, GetParam().volts);
  EXPECT_EQ(options.nominal_kind, GetParam().kind);
}

INSTANTIATE_TEST_SUITE_P(
    Forms, NominalForm,
    testing::Values(Form{"230", 230, DeclaredKind::by_level}, Form{"230V", 230, DeclaredKind::by_level},
                    Form{"57.735", 57.735, DeclaredKind::by_level}, Form{"20kV", 20000, DeclaredKind::by_level},
                    Form{"0.4 kV", 400, DeclaredKind::by_level}, Form{"2e4", 20000, DeclaredKind::by_level},
                    Form{"1.1MV", 1.1e6, DeclaredKind::by_level}, Form{"20kV:line", 20000, DeclaredKind::line},
                    Form{"230:phase", 230, DeclaredKind::phase}, Form{"230 V:phase", 230, DeclaredKind::phase}));

class BadNominal : public testing::TestWithParam<const char*> {};

TEST_P(BadNominal, IsRefusedWithAForm) {
  try {
    taken(GetParam());
    FAIL() << GetParam();
  } catch (const command::UnusableOptions& error) {
    EXPECT_EQ(error.what(), std::string("--nominal: '") + GetParam() +
                                "' is not a voltage; use a form such as 230, 20kV, 20kV:line or 230:phase");
  }
}

INSTANTIATE_TEST_SUITE_P(Texts, BadNominal,
                         testing::Values("x", "0", "-230", "230A", "230kVA", "230 k V", "nan", "inf", "2e7", "0x10",
                                         "0x1p4V", "infinity", "230  k", " ", "1e", "--5", "1e400", "nan(1)V",
                                         "230:", "230:both", "230:phase:line", ":phase", "230,400", "kV"));

// --- --nominal as it is meant ----------------------------------------------------------------------------------------

class EventRules : public tests::Analysing {};

TEST_F(EventRules, ReadADeclaredVoltageByTheRecordsLevel) {
  const double root = std::numbers::sqrt3;
  Record(230, 1).lower("A", 0.4, 0.5, 115).write_csv("record.csv");
  const auto as_phase = analysed({"--nominal", "230"});
  EXPECT_EQ(
      as_phase["declared_voltage"],
      (json{
          {"given_v", 230}, {"kind", "phase"}, {"kind_from", "level"}, {"divided_by_ratio", false}, {"level_v", 230}}));
  EXPECT_EQ(as_phase["parameters"]["reference"], "declared");
  EXPECT_EQ(as_phase["events"][0]["reference"], (json{{"kind", "declared"}, {"voltage_v", 230}}));
  const auto as_line = analysed({"--nominal", "400"});
  EXPECT_EQ(as_line["declared_voltage"]["kind"], "line");
  EXPECT_NEAR(as_line["declared_voltage"]["level_v"], 400 / root, 1e-3);
  EXPECT_NEAR(as_line["events"][0]["extreme"]["percent"], 115 / (4 / root), 1e-3);
  const auto between = analysed({"--nominal", "230", "--line-to-line"});
  EXPECT_EQ(between["declared_voltage"]["kind"], "phase");
  EXPECT_NEAR(between["declared_voltage"]["level_v"], 230 * root, 1e-3);
}

TEST_F(EventRules, UseTheKindThatTheUserStates) {
  Record(230, 1).write_csv("record.csv");
  const auto fixed = analysed({"--nominal", "400:phase"});
  EXPECT_EQ(fixed["declared_voltage"]["kind_from"], "user");
  EXPECT_EQ(fixed["declared_voltage"]["level_v"], 400);
  ASSERT_EQ(fixed["events"].size(), 1U) << "230 V are 57.5 % of 400 V from beginning to end";
  EXPECT_FALSE(fixed["events"][0]["start"]["known"]);
  EXPECT_TRUE(fixed["events"][0]["end"]["time_s"].is_null());
}

TEST_F(EventRules, RefuseAnImplausibleVoltageUnlessItsKindIsFixed) {
  Record(230, 1).write_csv("record.csv");
  expect_refused({"--nominal", "20kV"}, 3,
                 "dipx: record.csv: its highest voltage is 230.0 V, which is 1.992 % of the declared 11.55 kV; check "
                 "--nominal, or append :phase or :line to say which voltage is meant");
  expect_refused({"--nominal", "1"}, 3,
                 "dipx: record.csv: its highest voltage is 230.0 V, which is 23000 % of the declared 1.000 V; check "
                 "--nominal, or append :phase or :line to say which voltage is meant");
  expect_refused({"--nominal", "10MV"}, 3,
                 "dipx: record.csv: its highest voltage is 230.0 V, which is 0.003984 % of the declared 5.774 MV; "
                 "check --nominal, or append :phase or :line to say which voltage is meant");
  const auto fixed = analysed({"--nominal", "20kV:line"});
  EXPECT_NE(fixed["notes"].dump().find("The record does not suit --nominal: its highest voltage is 230.0 V, which is "
                                       "1.992 % of the declared 11.55 kV."),
            std::string::npos)
      << fixed["notes"];
}

// --- --curve ---------------------------------------------------------------------------------------------------------

void write_text(const std::string& file, const std::string& text) {
  std::ofstream(file, std::ios::binary) << text;
}

TEST_F(EventRules, JudgeByOwnCurves) {
  write_text("press.csv", "# name: Press line 3\nduration_ms,voltage_percent\n1000,45\n");
  write_text("oven.csv", "duration_s;voltage\n1;55,5\n");
  Record(230, 1).lower("A", 0.4, 0.5, 115).write_csv("record.csv");
  const auto verdicts = analysed({"--curve", "press.csv", "--curve", "oven.csv"})["events"][0]["verdicts"];
  ASSERT_EQ(verdicts.size(), 7U) << "two own curves and the five published ones for dips";
  EXPECT_EQ(verdicts[0]["curve"], "press_line_3");
  EXPECT_EQ(verdicts[0]["name"], "Press line 3");
  EXPECT_EQ(verdicts[0]["words"], "rides through") << "50 % is above 45 %";
  EXPECT_NEAR(verdicts[0]["severity"], 50 / 55.0, 2e-3);
  EXPECT_EQ(verdicts[1]["curve"], "oven");
  EXPECT_EQ(verdicts[1]["words"], "trips (below 55.5 %)");
  EXPECT_EQ(verdicts[2]["curve"], "itic");
}

TEST_F(EventRules, RefuseACurveThatCannotBeRead) {
  Record(230, 1).write_csv("record.csv");
  write_text("press.csv", "duration_ms,voltage_percent\n1000,high\n");
  expect_refused({"--curve", "press.csv"}, 1,
                 "dipx: --curve press.csv, line 2: the curve has the voltage 'high'; expected a number; correct it");
  expect_refused({"--curve", "missing.csv"}, 1,
                 "dipx: --curve missing.csv: cannot be opened; check the path and its read permission");
  expect_refused({"--curve", "."}, 1, "dipx: --curve .: is a folder; name a file with a voltage-tolerance curve");
}

TEST_F(EventRules, RefuseTwoCurvesOfOneName) {
  Record(230, 1).write_csv("record.csv");
  write_text("ITIC.csv", "duration_ms,voltage_percent\n1000,50\n");
  expect_refused({"--curve", "ITIC.csv"}, 1,
                 "dipx: --curve ITIC.csv: another curve is also named 'ITIC'; begin the file with a line such as "
                 "# name: Press line 3");
}

// --- thresholds and references ---------------------------------------------------------------------------------------

TEST_F(EventRules, FindDipsBelowTheDipThreshold) {
  Record(230, 1).lower("A", 0.4, 0.5, 0.87 * 230).write_csv("record.csv");
  EXPECT_EQ(analysed({"--rvc-threshold", "0"})["events"].size(), 1U);
  EXPECT_EQ(analysed({"--rvc-threshold", "0", "--dip-threshold", "86"})["events"].size(), 0U);
  const auto found = analysed({"--dip-threshold", "88"});
  EXPECT_EQ(found["parameters"]["dip_threshold_percent"], 88);
  EXPECT_EQ(found["events"][0]["kind"], "dip");
}

TEST_F(EventRules, FindSwellsAboveTheSwellThreshold) {
  Record(230, 1).lower("A", 0.4, 0.5, 1.15 * 230).write_csv("record.csv");
  const auto found = analysed({"--rvc-threshold", "0"});
  ASSERT_EQ(found["events"].size(), 1U);
  EXPECT_EQ(found["events"][0]["kind"], "swell");
  EXPECT_NEAR(found["events"][0]["extreme"]["percent"], 115, 0.01);
  EXPECT_EQ(analysed({"--rvc-threshold", "0", "--swell-threshold", "116"})["events"].size(), 0U);
}

TEST_F(EventRules, FindInterruptionsBelowTheirThresholdInAllPhases) {
  const auto kinds = [](const json& found) {
    std::vector<std::string> all;
    for (const auto& event : found["events"]) all.push_back(event["kind"]);
    return all;
  };
  const auto all_phases = analysed(Record(230, 1).lower("ABC", 0.4, 0.6, 0.08 * 230));
  EXPECT_EQ(kinds(all_phases), (Words{"dip"}));
  EXPECT_EQ(kinds(analysed({"--interruption-threshold", "10"})), (Words{"dip", "interruption"}));
  analysed(Record(230, 1).lower("AB", 0.4, 0.6, 0.08 * 230));
  EXPECT_EQ(kinds(analysed({"--interruption-threshold", "10"})), (Words{"dip"}));
}

TEST_F(EventRules, EndAnEventInsideItsThresholdByTheHysteresis) {
  // Back to 93 % at first, and to 100 % half a second later.
  Record(230, 2).lower("A", 0.4, 0.5, 115).lower("A", 0.5, 1, 0.93 * 230).write_csv("record.csv");
  EXPECT_NEAR(analysed({})["events"][0]["end"]["time_s"], 0.515, 0.015);
  EXPECT_NEAR(analysed({"--hysteresis", "4"})["events"][0]["end"]["time_s"], 1.015, 0.015);
}

TEST_F(EventRules, FindRapidChangesAboveTheirThreshold) {
  Record(230, 4).lower("ABC", 2, 4, 0.96 * 230).write_csv("record.csv");
  const auto found = analysed({});
  ASSERT_EQ(found["events"].size(), 1U);
  const auto& change = found["events"][0];
  EXPECT_EQ(change["kind"], "rapid_voltage_change");
  EXPECT_NEAR(change["delta_steady"]["voltage_v"], 0.04 * 230, 0.1);
  EXPECT_NEAR(change["delta_max"]["percent"], 4, 0.1);
  EXPECT_EQ(analysed({"--rvc-threshold", "5"})["events"].size(), 0U);
  EXPECT_EQ(analysed({"--rvc-threshold", "0"})["events"].size(), 0U);
}

TEST_F(EventRules, UseTheRequestedReferenceForPercentages) {
  // 195 V are 84.8 % of the 230 V before the dip and 97.5 % of the declared 200 V.
  Record(230, 1).lower("A", 0.4, 0.5, 195).write_csv("record.csv");
  const auto dips_by = [&](const Words& more) {
    const auto found = analysed(more);
    int dips = 0;
    for (const auto& event : found["events"]) dips += event["kind"] == "dip" ? 1 : 0;
    return dips;
  };
  EXPECT_EQ(dips_by({}), 1);
  EXPECT_EQ(dips_by({"--nominal", "200"}), 0) << "a declared voltage is the reference unless another is asked for";
  EXPECT_EQ(dips_by({"--nominal", "200", "--reference", "declared"}), 0);
  EXPECT_EQ(dips_by({"--nominal", "200", "--reference", "pre-event"}), 1);
  EXPECT_EQ(dips_by({"--nominal", "200", "--reference", "sliding"}), 0) << "it slides from the declared voltage on";
  EXPECT_EQ(dips_by({"--reference", "sliding"}), 1);
  const auto both = analysed({"--nominal", "200", "--reference", "pre-event"});
  EXPECT_EQ(both["events"][0]["reference"]["kind"], "pre-event");
  EXPECT_NEAR(both["events"][0]["extreme"]["percent"], 100 * 195 / 230.0, 0.01);
  EXPECT_NEAR(both["events"][0]["extreme"]["percent_of_declared"], 97.5, 0.01);
}

TEST_F(EventRules, FollowASlowDriftWithASlidingReference) {
  // Ten minutes' worth of a slow sag in the small: 100 % to 91 % over five minutes, then a step down to 86 %, which is
  // This is 94.5 % of the voltage that had been reached.
  Record(230, 330, 800)
      .slope("ABC", 1, 300, 0.91 * 230)
      .lower("ABC", 300, 329, 0.91 * 230)
      .lower("ABC", 328, 328.5, 0.86 * 230)
      .write_comtrade("record");
  const auto dips_by = [&](const char* reference) {
    const auto found = analysed({"--reference", reference, "--nominal", "230", "--rvc-threshold", "0"}, "record.cfg");
    return found["events"].size();
  };
  EXPECT_EQ(dips_by("sliding"), 0U);
  EXPECT_EQ(dips_by("declared"), 1U);
}

// --- help and what is refused ----------------------------------------------------------------------------------------

TEST_F(EventRules, AreListedInTheHelp) {
  const auto help = dipx({"analyse", "--help"});
  EXPECT_EQ(help.status, 0);
  for (const char* option :
       {"\nEvents:\n", "--nominal V", "--reference declared|sliding|pre-event", "--dip-threshold PERCENT",
        "A dip begins below this value (90)", "--swell-threshold PERCENT", "A swell begins above this value (110)",
        "--interruption-threshold PERCENT", "(5)", "--hysteresis PERCENT", "(2)", "--rvc-threshold PERCENT", "(3)",
        "--options FILE", "--fail-on dip|swell|event", "--library", "--event N"}) {
    EXPECT_NE(help.out.find(option), std::string::npos) << option;
  }
}

struct Refused {
  const char* name;
  Words options;
  std::string complaint;
};

void PrintTo(const Refused& refused, std::ostream* out) {
  *out << refused.name;
}

class RefusedRule : public tests::Analysing, public testing::WithParamInterface<Refused> {};

TEST_P(RefusedRule, EndsWithStatusOneAndAReason) {
  Record(230, 0.4).write_csv("record.csv");
  expect_refused(GetParam().options, 1, GetParam().complaint);
}

Refused out_of_range(const char* name, const std::string& option, const std::string& value, const std::string& range) {
  return {name,
          {option, value},
          option + ": '" + value + "' is not a number from " + range + "\nRun with --help for more information."};
}

INSTANTIATE_TEST_SUITE_P(
    Options, RefusedRule,
    testing::Values(
        out_of_range("DipTooLow", "--dip-threshold", "0.9", "1 to 100"),
        out_of_range("DipTooHigh", "--dip-threshold", "101", "1 to 100"),
        out_of_range("DipNotANumber", "--dip-threshold", "nan", "1 to 100"),
        out_of_range("SwellTooLow", "--swell-threshold", "99", "100 to 300"),
        out_of_range("SwellTooHigh", "--swell-threshold", "301", "100 to 300"),
        out_of_range("InterruptionTooLow", "--interruption-threshold", "-1", "0 to 99"),
        out_of_range("InterruptionTooHigh", "--interruption-threshold", "100", "0 to 99"),
        out_of_range("HysteresisTooLow", "--hysteresis", "-0.1", "0 to 50"),
        out_of_range("HysteresisTooHigh", "--hysteresis", "50.1", "0 to 50"),
        out_of_range("HysteresisAWord", "--hysteresis", "2%", "0 to 50"),
        out_of_range("RapidChangeTooLow", "--rvc-threshold", "-3", "0 to 50"),
        out_of_range("RapidChangeTooHigh", "--rvc-threshold", "51", "0 to 50"),
        Refused{"DipAboveSwell",
                {"--dip-threshold", "100", "--swell-threshold", "100", "--hysteresis", "0"},
                "dipx: --dip-threshold 100 is not below --swell-threshold 100; nearly every voltage would be an event"},
        Refused{"InterruptionAboveDip",
                {"--interruption-threshold", "90"},
                "dipx: --interruption-threshold 90 is not below --dip-threshold 90; an interruption lies within a dip"},
        Refused{"HysteresisPastTheReference",
                {"--hysteresis", "11"},
                "dipx: --hysteresis 11 reaches past 100 % from a threshold, so that an event would not end at the "
                "reference voltage; use at most 10"},
        Refused{"HysteresisPastTheReferenceOfSwells",
                {"--swell-threshold", "101"},
                "dipx: --hysteresis 2 reaches past 100 % from a threshold, so that an event would not end at the "
                "reference voltage; use at most 1"},
        Refused{"DeclaredWithoutAVoltage",
                {"--reference", "declared"},
                "dipx: --reference declared needs a declared voltage; give it with --nominal"},
        Refused{"UnknownReference",
                {"--reference", "nominal"},
                "--reference: nominal not in {declared,sliding,pre-event}\nRun with --help for more information."},
        Refused{"NoVoltage",
                {"--nominal", "twenty"},
                "dipx: --nominal: 'twenty' is not a voltage; use a form such as 230, 20kV, 20kV:line or 230:phase"},
        Refused{"NoVectorGroup",
                {"--through", "Dyn11,star"},
                "dipx: --through: 'star' is not a vector group; use a vector group such as Dyn11, Yd1, YNyn0 or Yzn5, "
                "with the winding on the monitor's side first"},
        Refused{
            "ImpossibleVectorGroup",
            {"--through", "Dyn10"},
            "dipx: --through: 'Dyn10' does not exist, because the clock number of these windings is odd; check it on "
            "the transformer's rating plate"},
        Refused{"UnknownFailOn",
                {"--fail-on", "sag"},
                "--fail-on: sag not in {dip,swell,event}\nRun with --help for more information."},
        Refused{"EventWithoutFigure", {"--event", "2"}, "dipx: --event needs --svg, --pdf or --png"},
        Refused{
            "TheNextWord", {"--nominal"}, "--nominal: 1 required V missing\nRun with --help for more information."}),
    [](const auto& refused) { return std::string(refused.param.name); });

}  // namespace
