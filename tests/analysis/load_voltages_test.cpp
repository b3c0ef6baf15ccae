// What loads beyond transformers see of made records.
#include "analysis/load_voltages.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "analysis/analyse.h"
#include "analysis/assessment.h"
#include "analysis/refusal.h"
#include "synth/record_file.h"
#include "synth/waveform.h"

namespace {

using analysis::Analysis;
using analysis::AnalysisOptions;
using analysis::LoadVoltages;

/// 230 V with a dip from 0.4 s to 0.5 s to these shares.
readers::Record record_of(const synth::Factors& shares) {
  synth::Waveform waveform;
  waveform.volts = 230;
  waveform.rate = 6400;
  waveform.length = 6400;
  waveform.stages = {{0.4, 0.5, shares, shares}};
  return synth::record_of(waveform);
}

Analysis analysed(const readers::Record& record, const char* through, double nominal = 0) {
  AnalysisOptions options;
  options.through = assess::connections_of(through);
  options.nominal = nominal;
  return analysis::analyse(record, options);
}

double percent_of(const measure::Event& event) {
  return 100 * event.extreme_v / event.reference_v;
}

TEST(LoadVoltages, AreNotComputedUnlessAskedFor) {
  EXPECT_FALSE(analysis::analyse(record_of({0.5, 1, 1}), {}).load);
}

TEST(LoadVoltages, ShowADipInOnePhaseAsOneInTwo) {
  const auto record = record_of({0.4, 1, 1});
  const Analysis analysis = analysed(record, "Dyn11");
  ASSERT_TRUE(analysis.load);
  const Analysis& phases = analysis.load->phases;
  ASSERT_EQ(phases.found.events.size(), 1U);
  // The winding of phase a has |0.4 - (-1/2 - j sqrt(3)/2)| / sqrt(3) of its voltage.
  const double share = std::sqrt(0.81 + 0.75) / std::numbers::sqrt3;
  EXPECT_NEAR(phases.found.events[0].course->segments.at(0).phases[0].share_of_before, share, 0.0005);
  // A cycle that contains the change, in which the voltage of the winding turns, may have a lower RMS.
  EXPECT_NEAR(percent_of(phases.found.events[0]), 100 * share, 1);
  EXPECT_EQ(phases.found.events[0].phases, (measure::PhaseFlags{true, false, true}));
  const auto shape = analysis::shape_of(phases.found.events[0], phases);
  EXPECT_EQ(shape.kind, assess::DipKind::two_voltages);
  // The voltages between phases have the phases of the record, without the zero sequence: type D*.
  const Analysis& lines = analysis.load->lines;
  ASSERT_EQ(lines.found.events.size(), 1U);
  EXPECT_NEAR(percent_of(lines.found.events[0]), 100 * (1.0 / 3 + 2.0 / 3 * 0.4), 0.05);
  EXPECT_EQ(analysis::shape_of(lines.found.events[0], lines).kind, assess::DipKind::one_voltage);
  EXPECT_EQ(dips_at(phases.found.events[0], analysis), (std::vector<std::size_t>{0}));
}

TEST(LoadVoltages, ReferToTheDeclaredVoltageOfTheirKind) {
  const auto record = record_of({0.5, 0.5, 0.5});
  const Analysis analysis = analysed(record, "Yd1", 230);
  ASSERT_TRUE(analysis.load);
  EXPECT_DOUBLE_EQ(analysis.load->phases.found.events.at(0).reference_v, 230);
  EXPECT_NEAR(analysis.load->lines.found.events.at(0).reference_v, 230 * std::numbers::sqrt3, 1e-9);
  EXPECT_NEAR(percent_of(analysis.load->lines.found.events.at(0)), 50, 0.05);
}

TEST(LoadVoltages, AreTheSameFromVoltagesBetweenPhases) {
  const auto record = record_of({0.4, 1, 1});
  AnalysisOptions options;
  options.through = assess::connections_of("Dyn5");
  const Analysis from_phases = analysis::analyse(record, options);
  options.choice.line_to_line = true;
  const Analysis from_lines = analysis::analyse(record, options);
  EXPECT_FALSE(from_lines.load->has_zero);
  ASSERT_EQ(from_lines.load->phases.found.events.size(), 1U);
  EXPECT_NEAR(percent_of(from_lines.load->phases.found.events[0]), percent_of(from_phases.load->phases.found.events[0]),
              0.01);
  const auto& one = from_lines.load->phases.found.events[0].course->segments.at(0);
  const auto& other = from_phases.load->phases.found.events[0].course->segments.at(0);
  EXPECT_EQ(one.type->letter, other.type->letter);
  EXPECT_EQ(one.type->phases, other.type->phases);
}

TEST(LoadVoltages, KeepAnEarthFaultAwayWhereTheZeroSequenceDoesNotPass) {
  // All phases move by the same voltage, as where the neutral is not earthed: nothing reaches loads between phases.
  auto record = record_of({1, 1, 1});
  for (auto& channel : record.channels) channel.samples.assign(channel.samples.size(), 0);
  for (std::size_t i = 0; i < 6400; i++) {
    const double angle = 2 * std::numbers::pi * 50 * static_cast<double>(i) / 6400;
    const double neutral = i >= 2560 && i < 3200 ? std::cos(angle) : 0;
    for (std::size_t k = 0; k < 3; k++) {
      const double phase = std::cos(angle - 2 * std::numbers::pi / 3 * static_cast<double>(k));
      record.channels[k].samples[i] = 325 * (phase - neutral);
    }
  }
  const Analysis beyond = analysed(record, "Dyn11");
  EXPECT_FALSE(beyond.found.events.empty());
  EXPECT_TRUE(beyond.load->phases.found.events.empty());
  EXPECT_TRUE(beyond.load->lines.found.events.empty());
  const Analysis passed = analysed(record, "YNyn0");
  EXPECT_EQ(passed.load->phases.found.events.size(), passed.found.events.size());
  EXPECT_TRUE(passed.load->lines.found.events.empty());
}

TEST(LoadVoltages, NeedThreeWaveforms) {
  const auto record = record_of({0.5, 1, 1});
  AnalysisOptions options;
  options.through = assess::connections_of("Dyn11");
  options.choice.channels = "1,2";
  EXPECT_THROW(analysis::analyse(record, options), analysis::Refusal);
}

TEST(LoadVoltages, OfSkewedChannelsAreThoseOfChannelsWithoutSkew) {
  auto record = record_of({0.4, 1, 1});
  const Analysis plain = analysed(record, "Dyn11");
  const double late = 40e-6;  // half a degree and more; 0.26 of a sample
  for (std::size_t i = 0; i < 6400; i++) {
    const double t = static_cast<double>(i) / 6400 + late;
    record.channels[1].samples[i] = 230 * std::numbers::sqrt2 * std::sin(2 * std::numbers::pi * (50 * t - 1.0 / 3));
  }
  record.channels[1].skew = late;
  const Analysis skewed = analysed(record, "Dyn11");
  for (std::size_t k = 0; k < 3; k++) {
    const auto of = [&](const Analysis& one) { return one.load->phases.measured.waveform.volts(k, 1000); };
    EXPECT_NEAR(of(plain), of(skewed), 0.01);
  }
}

// --- times of samples ------------------------------------------------------------------------------------------------

TEST(InTime, InterpolatesACubicExactly) {
  std::vector<double> late;
  std::vector<double> in_place;
  const auto cubic = [](double x) { return 1 + x * (2 - x * (0.5 - 0.25 * x)); };
  for (int i = 0; i < 9; i++) {
    late.push_back(cubic(i + 0.3));
    in_place.push_back(cubic(i));
  }
  const auto found = analysis::in_time(late, 0.3);
  for (std::size_t i = 2; i + 1 < found.size(); i++) EXPECT_NEAR(found[i], in_place[i], 1e-9) << i;
}

TEST(InTime, KeepsMissingSamplesToTheirNeighbours) {
  constexpr double none = std::numeric_limits<double>::quiet_NaN();
  const auto found = analysis::in_time({0, 1, 2, none, 4, 5, 6, 7}, 0.5);
  EXPECT_NEAR(found[2], 1.5, 1e-12) << "linear next to the gap";
  EXPECT_TRUE(std::isnan(found[3]));
  EXPECT_TRUE(std::isnan(found[4]));
  EXPECT_NEAR(found[5], 4.5, 1e-12);
}

TEST(InTime, LeavesSamplesWithoutSkewAlone) {
  EXPECT_EQ(analysis::in_time({3, 1, 4}, 0), (std::vector<double>{3, 1, 4}));
}

}  // namespace
