// Tests an analysis as a JSON document: members that are null, and the references of figures.
#include "outputs/json.h"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/outputs/found_by_hand.h"

namespace {

using nlohmann::json;
using tests::a_record;
using tests::nothing_found;
using tests::one_dip_found;

json document_of(const analysis::Analysis& analysis) {
  return json::parse(outputs::json_of(a_record(), analysis));
}

TEST(Json, HasNullForAPhaseThatWasNotMeasuredInASegment) {
  auto analysis = one_dip_found();
  analysis.found.events[0].course->segments[0].phases[1].measured = false;
  const auto segments = document_of(analysis)["events"][0]["course"]["segments"];
  EXPECT_TRUE(segments[0]["voltage"][1].is_null());
  EXPECT_TRUE(segments[0]["phase_jump"][1].is_null());
  EXPECT_EQ(segments[0]["voltage"][0]["voltage_v"], 115);
  EXPECT_EQ(segments[0]["phase_jump"][0]["degrees"], -20);
  EXPECT_EQ(segments[1]["voltage"][1]["voltage_v"], 230);
}

TEST(Json, HasNullForALevelThatIsNotKnown) {
  auto analysis = one_dip_found();
  analysis.usual_v[1] = std::numeric_limits<double>::quiet_NaN();
  analysis.found.reference_v[1] = std::numeric_limits<double>::quiet_NaN();
  const auto voltages = document_of(analysis)["voltages"];
  EXPECT_EQ(voltages[0]["usual_rms_v"], 230);
  EXPECT_TRUE(voltages[1]["usual_rms_v"].is_null());
  EXPECT_TRUE(voltages[1]["reference_v"].is_null());
}

TEST(Json, HasNullForAChangeOfMissingSamples) {
  auto analysis = one_dip_found();
  measure::Change change;
  change.phases = {false, true, false};
  change.before_v = {230, 230, 230};
  change.after_v = {std::numeric_limits<double>::quiet_NaN(), 220, 230};
  analysis.found.changes_without_event = {change};
  const auto voltages = document_of(analysis)["changes_without_event"][0]["voltage"];
  EXPECT_TRUE(voltages[0].is_null());
  EXPECT_EQ(voltages[1], (json{{"phase", "B"}, {"before_v", 230}, {"after_v", 220}}));
}

TEST(Json, RoundsTheSmallestVoltagesToZero) {
  auto analysis = one_dip_found();
  analysis.found.events[0].course->segments[0].sequences->negative_v = 3e-308;
  EXPECT_EQ(document_of(analysis)["events"][0]["course"]["segments"][0]["sequences"]["negative_v"], 0);
}

TEST(Json, HasNoAngleOfAPhaseThatWasDeadBefore) {
  auto analysis = one_dip_found();
  auto& before = analysis.found.events[0].course->before;
  before[2] = 0;
  const auto voltages = [&] { return document_of(analysis)["events"][0]["course"]["level_before"]["voltage"]; };
  EXPECT_EQ(voltages()[0]["degrees"], 0);
  EXPECT_EQ(voltages()[1]["degrees"], -120);
  EXPECT_TRUE(voltages()[2]["degrees"].is_null());
  EXPECT_EQ(voltages()[2]["voltage_v"], 0);
  before[0] = 0;
  for (const auto& voltage : voltages()) EXPECT_TRUE(voltage["degrees"].is_null()) << voltage;
}

TEST(Json, NamesTheReferenceOfARapidVoltageChange) {
  auto analysis = one_dip_found();
  analysis.options.reference = measure::Reference::sliding;
  measure::Event change;
  change.kind = measure::EventKind::rapid_voltage_change;
  change.end_s = 0.1;
  change.reference_v = 220;
  analysis.found.events.push_back(change);
  EXPECT_EQ(document_of(analysis)["events"][1]["reference"]["kind"], "sliding");
  analysis.declared = analysis::DeclaredVoltage{220, false, false, false, 220};
  const auto events = document_of(analysis)["events"];
  EXPECT_EQ(events[0]["reference"]["kind"], "sliding");
  EXPECT_EQ(events[1]["reference"], (json{{"kind", "declared"}, {"voltage_v", 220}}));
}

TEST(Json, HasAVerdictOfEachCurveOnADip) {
  auto analysis = one_dip_found();
  analysis.own_curves = {{"press", "Press", false, 0, {{1, 40}}}};
  const auto verdicts = document_of(analysis)["events"][0]["verdicts"];
  std::vector<std::string> curves;
  for (const auto& verdict : verdicts) curves.push_back(verdict["curve"]);
  EXPECT_EQ(curves, (std::vector<std::string>{"press", "itic", "semi_f47", "iec_class_2", "iec_class_3", "ieee_1668"}));
  EXPECT_EQ(verdicts[0], (json{{"curve", "press"},
                               {"name", "Press"},
                               {"verdict", "rides_through"},
                               {"words", "rides through"},
                               {"limit_percent", 40},
                               {"severity", 0.833},
                               {"step_by_step", {{"verdict", "rides_through"}, {"words", "rides through"}}}}));
  EXPECT_EQ(verdicts[2]["words"], "trips (below 70 %)");
  EXPECT_EQ(verdicts[2]["step_by_step"]["verdict"], "too_close_to_tell") << "50 % for 0.1 s are on the curve";
}

TEST(Json, HasTheClassesAndIndicesOfADip) {
  auto analysis = one_dip_found();
  EXPECT_TRUE(document_of(analysis)["events"][0]["indices"].is_null());
  analysis.indices = {assess::Indices{0.125, 20.5}};
  const auto dip = document_of(analysis)["events"][0];
  EXPECT_EQ(dip["indices"], (json{{"energy_s", 0.125}, {"lost_v_s", 20.5}}));
  EXPECT_EQ(dip["classes"], (json{{"ieee_1159", "instantaneous sag"},
                                  {"unipede_cell", "30 to 60 % for 100 to 500 ms"},
                                  {"c4_110_type", "I"}}));
}

TEST(Json, JudgesASwellByTheUpperCurve) {
  auto analysis = nothing_found();
  measure::Event swell;
  swell.kind = measure::EventKind::swell;
  swell.end_s = 0.1;
  swell.extreme_v = 299;
  swell.reference_v = 230;
  analysis.found.events = {swell};
  const auto event = document_of(analysis)["events"][0];
  ASSERT_EQ(event["verdicts"].size(), 1U);
  EXPECT_EQ(event["verdicts"][0]["curve"], "itic_upper");
  EXPECT_EQ(event["verdicts"][0]["words"], "trips (above 120 %)");
  EXPECT_EQ(event["classes"], (json{{"ieee_1159", "instantaneous swell"}, {"en50160_swell_cell", "S1"}}));
  EXPECT_FALSE(event.contains("indices"));
}

TEST(Json, ContainsTheNumberOfTheSet) {
  auto analysis = nothing_found();
  EXPECT_TRUE(document_of(analysis)["record"]["set"].is_null()) << "the user named the channels";
  analysis.voltages.set = 2;
  analysis.voltages.sets = 3;
  EXPECT_EQ(document_of(analysis)["record"]["set"], (json{{"number", 2}, {"of", 3}}));
}

}  // namespace
