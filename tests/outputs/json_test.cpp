// An analysis as a JSON document: what is null in it, and what figures refer to.
#include "outputs/json.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

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

TEST(Json, SaysWhatARapidVoltageChangeRefersTo) {
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

TEST(Json, HoldsTheNumberOfTheSet) {
  auto analysis = nothing_found();
  EXPECT_TRUE(document_of(analysis)["record"]["set"].is_null()) << "the user named the channels";
  analysis.voltages.set = 2;
  analysis.voltages.sets = 3;
  EXPECT_EQ(document_of(analysis)["record"]["set"], (json{{"number", 2}, {"of", 3}}));
}

}  // namespace
