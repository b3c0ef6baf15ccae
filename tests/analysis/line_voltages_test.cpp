// Tests that the voltages between phases are reported where an earth fault displaces the neutral.
#include "analysis/line_voltages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <string>

#include "analysis/analyse.h"
#include "outputs/json.h"
#include "outputs/text.h"
#include "synth/record_file.h"
#include "synth/waveform.h"

namespace {

/// From 0.4 s to 0.7 s phase A is connected to earth through a resistance that leaves 3 % of its voltage; the neutral
/// takes on the rest with the opposite sign, so that the voltages between phases stay. After `line_from_s` all voltages
/// are reduced to 80 %.
readers::Record earth_fault(double line_from_s = 10) {
  synth::Waveform waveform;
  waveform.volts = 11547;
  waveform.rate = 3200;
  waveform.length = 3840;
  auto record = synth::record_of(waveform);
  for (std::size_t i = 0; i < waveform.length; i++) {
    const double seconds = static_cast<double>(i) / waveform.rate;
    const double neutral = seconds >= 0.4 && seconds < 0.7 ? 0.97 * record.channels[0].samples[i] : 0;
    const double share = seconds >= line_from_s && seconds < 0.7 ? 0.8 : 1;
    for (std::size_t phase = 0; phase < 3; phase++) {
      double& sample = record.channels[phase].samples[i];
      sample = share * (sample - neutral);
    }
  }
  return record;
}

TEST(LineVoltages, KeepTheirLevelWhileAnEarthFaultDisplacesTheNeutral) {
  const auto record = earth_fault();
  const auto analysis = analysis::analyse(record, {});
  EXPECT_EQ(analysis.found.events.size(), 2U) << "the dip of one phase voltage and the swell of the others";
  ASSERT_TRUE(analysis.line);
  EXPECT_TRUE(analysis.line->events.empty());
  for (std::size_t pair = 0; pair < 3; pair++) {
    EXPECT_NEAR(analysis.line->lowest_v[pair], 20000, 40) << "11547 V times the square root of 3";
  }
  EXPECT_NEAR(analysis.line->lowest_percent(), 100, 0.2);
  const std::string text = outputs::text_of(record, analysis);
  const auto first =
      text.find("voltages between phases, computed, because an earth fault displaces the neutral\n  no events;");
  ASSERT_NE(first, std::string::npos) << text;
  EXPECT_GT(text.find("2 events of the phase voltages"), first);
  const auto document = nlohmann::json::parse(outputs::json_of(record, analysis));
  EXPECT_EQ(document["line_voltages"]["events"].size(), 0U);
  EXPECT_EQ(document["line_voltages"]["lowest_urms_half"][1]["phase"], "BC");
}

TEST(LineVoltages, HaveEventsOfTheirOwn) {
  const auto record = earth_fault(0.55);
  const auto analysis = analysis::analyse(record, {});
  ASSERT_TRUE(analysis.line);
  ASSERT_EQ(analysis.line->events.size(), 1U);
  const auto& dip = analysis.line->events[0];
  EXPECT_EQ(dip.kind, measure::EventKind::dip);
  EXPECT_NEAR(dip.start_s, 0.55, 0.03);
  EXPECT_NEAR(dip.extreme_v / dip.reference_v, 0.8, 0.005);
  const auto document = nlohmann::json::parse(outputs::json_of(record, analysis));
  EXPECT_EQ(document["line_voltages"]["events"][0]["kind"], "dip");
  EXPECT_NE(outputs::text_of(record, analysis).find("1 event; lowest"), std::string::npos);
}

TEST(LineVoltages, AreNotComputedForOtherDips) {
  synth::Waveform waveform;
  waveform.rate = 3200;
  waveform.length = 3200;
  waveform.stages = {{0.4, 0.5, {0.03, 1, 1}, {0.03, 1, 1}}};
  const auto record = synth::record_of(waveform);
  const auto analysis = analysis::analyse(record, {});
  EXPECT_EQ(analysis.found.events.size(), 1U);
  EXPECT_FALSE(analysis.line) << "two phases keep their levels, so the neutral is earthed";
  EXPECT_TRUE(nlohmann::json::parse(outputs::json_of(record, analysis))["line_voltages"].is_null());
}

}  // namespace
