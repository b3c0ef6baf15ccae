// Phase jumps and categories where the line does not run at its nominal frequency, and levels that no segment shows.
#include "analysis/embedded/frequency_drift.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "tests/command/piped_analysis.h"

namespace {

using nlohmann::json;
using tests::piped_analysis;
using tests::Words;

/// The sentence among the record's notes that has these words; empty when there is none.
std::string note_with(const json& analysis, const std::string& words) {
  for (const std::string note : analysis["notes"]) {
    if (note.find(words) != std::string::npos) return note;
  }
  return "";
}

// --- frequency -------------------------------------------------------------------------------------------------------

struct Segment {
  std::array<double, 3> jumps;
  int category;
};

struct OffFrequency {
  const char* name;
  Words options;
  const char* hertz;  ///< as the note says it; empty where there is nothing to say
  std::vector<Segment> segments;
};

void PrintTo(const OffFrequency& dip, std::ostream* out) {
  *out << dip.name;
}

class DipOffFrequency : public testing::TestWithParam<OffFrequency> {};

TEST_P(DipOffFrequency, HasItsOwnPhaseJumpsAndCategories) {
  const auto& truth = GetParam();
  const auto analysis = piped_analysis(truth.options);
  const auto& segments = analysis["dips"][0]["segments"];
  ASSERT_EQ(segments.size(), truth.segments.size());
  for (std::size_t s = 0; s < segments.size(); s++) {
    EXPECT_EQ(segments[s]["category"]["code"], truth.segments[s].category) << "segment " << s + 1;
    for (std::size_t x = 0; x < 3; x++) {
      EXPECT_NEAR(segments[s]["phase_jump"][x]["degrees"], truth.segments[s].jumps[x], 0.5) << s + 1 << "ABC"[x];
    }
  }
  EXPECT_EQ(note_with(analysis, "the line runs at"),
            truth.hertz[0] == '\0' ? ""
                                   : std::string("Dip 1: the line runs at ") + truth.hertz +
                                         " Hz; how that turns the angles is taken out of its phase jumps and "
                                         "categories.");
}

// Against the nominal frequency most of them have another category.
INSTANTIATE_TEST_SUITE_P(
    Dips, DipOffFrequency,
    testing::Values(
        OffFrequency{"OnePhase",
                     {"--phases", "C", "--depth", "60", "--duration", "3", "--deviation", "0.05"},
                     "50.050",
                     {{{0, 0, 0}, 1}}},
        OffFrequency{"ShallowOfOnePhase",
                     {"--phases", "A", "--depth", "20", "--duration", "1", "--deviation", "-0.05"},
                     "49.950",
                     {{{0, 0, 0}, 3}}},
        // Two phases that move towards each other by 40 %: they end at 60 % and turn by 26.3 degrees.
        OffFrequency{"TwoPhases",
                     {"--phases", "A-B", "--depth", "40", "--duration", "1", "--deviation", "0.1", "--noise", "0.3"},
                     "50.100",
                     {{{-26.3, 26.3, 0}, 4}}},
        OffFrequency{"TwoPhasesWithZeroSequence",
                     {"--phases", "CA", "--depth", "40", "--jump", "-15", "--duration", "2", "--deviation", "-0.1"},
                     "49.900",
                     {{{-15, 0, -15}, 7}}},
        OffFrequency{"TwoSteps",
                     {"--phases", "B", "--depth", "30,60", "--duration", "2,2", "--jump", "10,-20", "--point-on-wave",
                      "90", "--deviation", "0.1"},
                     "50.100",
                     {{{0, 10, 0}, 5}, {{0, -20, 0}, 5}}},
        OffFrequency{"Long",
                     {"--phases", "C", "--depth", "60", "--jump", "12", "--duration", "15", "--deviation", "0.05"},
                     "50.050",
                     {{{0, 0, 12}, 1}}},
        OffFrequency{"LongOfTwoSteps",
                     {"--phases", "A", "--depth", "25,60", "--duration", "8,7", "--deviation", "-0.1"},
                     "49.900",
                     {{{0, 0, 0}, 3}, {{0, 0, 0}, 3}}},
        OffFrequency{"AtSixtyHertz",
                     {"--frequency", "60", "--phases", "C", "--depth", "60", "--duration", "1", "--deviation", "0.1",
                      "--format", "cff"},
                     "60.100",
                     {{{0, 0, 0}, 1}}},
        OffFrequency{"NextToNoDrift",
                     {"--phases", "C", "--depth", "60", "--duration", "0.2", "--deviation", "0.01"},
                     "",
                     {{{0.5, 0.5, 0.5}, 1}}},
        OffFrequency{"AtNominal", {"--phases", "C", "--depth", "60", "--duration", "3"}, "", {{{0, 0, 0}, 1}}}),
    [](const auto& dip) { return dip.param.name; });

TEST(FarOffFrequency, IsNamedWhereItHasADipRefusedAndHelps) {
  const Words half_a_hertz_off = {"--deviation", "0.5", "--phases", "A", "--depth", "50"};
  const auto refused = piped_analysis(half_a_hertz_off);
  ASSERT_EQ(refused["dips"][0]["not_analysed"]["code"], "unstable");
  EXPECT_EQ(note_with(refused, "the line runs at"),
            "Dip 1: the line runs at 50.500 Hz, which may be why the dip is not analysed: --frequency 50.500 has the "
            "record analysed at that.");
  const auto analysed = piped_analysis(half_a_hertz_off, {"--frequency", "50.500"});
  EXPECT_EQ(analysed["dips"][0]["segments"][0]["category"]["code"], 3);
  EXPECT_EQ(note_with(analysed, "the line runs at"), "");
}

constexpr int samples_per_cycle = 64;

/// 80 cycles of three phases whose angle at each sample is the nominal one and `degrees` of the time in cycles.
template <typename Degrees>
analysis::Waveform waveform(Degrees degrees) {
  analysis::Waveform waves;
  for (std::size_t phase = 0; phase < 3; phase++) {
    for (int i = 0; i < 80 * samples_per_cycle; i++) {
      const double cycles = static_cast<double>(i) / samples_per_cycle;
      const double angle = 2 * std::numbers::pi * (cycles - static_cast<double>(phase) / 3 + degrees(cycles) / 360);
      waves[phase].push_back(static_cast<float>(325 * std::sin(angle)));
    }
  }
  return waves;
}

constexpr analysis::Stretch first_half_second{0, 25 * samples_per_cycle};

TEST(FrequencyDrift, IsAsManyDegreesPerCycleAsTheAngleTurnsByAheadOfTheDip) {
  const auto waves = waveform([](double cycles) { return -0.72 * cycles; });
  const analysis::CyclePhasors phasors(waves, samples_per_cycle);
  const analysis::embedded::FrequencyDrift drift(phasors, first_half_second, {});
  EXPECT_NEAR(drift.before(), -0.72, 1e-3);
  EXPECT_NEAR(drift.degrees_between(10 * samples_per_cycle, 40 * samples_per_cycle), -0.72 * 30, 0.03);
}

TEST(FrequencyDrift, IsMeasuredAnewInASegmentOfFiftyCycles) {
  // 0.36 degrees per cycle ahead of the dip, 0.9 from it on.
  const auto waves = waveform([](double cycles) { return cycles < 25 ? 0.36 * cycles : 9 + 0.9 * (cycles - 25); });
  const analysis::CyclePhasors phasors(waves, samples_per_cycle);
  analysis::Segment segment;
  segment.samples = {25 * samples_per_cycle, 75 * samples_per_cycle};
  const analysis::embedded::FrequencyDrift drift(phasors, first_half_second, {segment});
  EXPECT_NEAR(drift.degrees_between(0, 25 * samples_per_cycle), 9, 0.03);
  EXPECT_NEAR(drift.degrees_between(25 * samples_per_cycle, 75 * samples_per_cycle), 45, 0.05);
  segment.samples.end--;
  const analysis::embedded::FrequencyDrift of_shorter(phasors, first_half_second, {segment});
  EXPECT_NEAR(of_shorter.degrees_between(25 * samples_per_cycle, 75 * samples_per_cycle), 18, 0.05);
}

TEST(FrequencyDrift, IsUnknownWhereTheAngleDoesNotTurnEvenly) {
  const auto waves = waveform([](double cycles) { return 0.72 * cycles + (cycles < 12 ? 0 : 5); });
  const analysis::CyclePhasors phasors(waves, samples_per_cycle);
  const analysis::embedded::FrequencyDrift drift(phasors, first_half_second, {});
  EXPECT_EQ(drift.degrees_between(0, 40 * samples_per_cycle), 0);
}

TEST(FrequencyDrift, IsUnknownFromLessThanFiveCycles) {
  const auto waves = waveform([](double cycles) { return 0.72 * cycles; });
  const analysis::CyclePhasors phasors(waves, samples_per_cycle);
  const analysis::embedded::FrequencyDrift four(phasors, {0, 5 * samples_per_cycle - 1}, {});
  EXPECT_EQ(four.degrees_between(0, 40 * samples_per_cycle), 0);
  const analysis::embedded::FrequencyDrift five(phasors, {0, 5 * samples_per_cycle}, {});
  EXPECT_NEAR(five.degrees_between(0, 40 * samples_per_cycle), 0.72 * 40, 0.5);
}

// --- levels ----------------------------------------------------------------------------------------------------------

TEST(MissedLevel, BehindASlowRecoveryIsSaid) {
  // The second step's end is a recovery of two seconds, by which the segmentation loses the step.
  const auto analysis = piped_analysis(
      {"--rate", "3200", "--start", "5", "--duration", "8,7", "--depth", "30,60", "--recovery", "2", "--length", "30"});
  ASSERT_EQ(analysis["dips"][0]["segments"].size(), 1U) << "no case of a lost step any more";
  const std::string note = note_with(analysis, "no segment has its figures");
  double from = 0;
  double to = 0;
  std::array<double, 3> volts{};
  ASSERT_EQ(std::sscanf(note.c_str(), "Dip 1: from %lf s to %lf s the voltage stands at %lf V, %lf V, %lf V; ", &from,
                        &to, &volts[0], &volts[1], &volts[2]),
            5)
      << note;
  EXPECT_NEAR(from, 13, 0.04);
  EXPECT_NEAR(to, 20, 0.08);
  for (const double level : volts) EXPECT_NEAR(level, 92, 0.1);
}

TEST(MissedLevel, AboveASegmentsResidualVoltageIsSaid) {
  // Ten per cent between steps of one phase: the segment runs over both and has the lower one's figures.
  const auto analysis = piped_analysis({"--phases", "A", "--duration", "2,3", "--depth", "30,40"});
  ASSERT_EQ(analysis["dips"][0]["segments"].size(), 1U) << "no case of a lost step any more";
  EXPECT_NE(note_with(analysis, "the voltage stands at 161.0 V, 230.0 V, 230.0 V; the analysis did not tell"), "");
}

class NoMissedLevel : public testing::TestWithParam<Words> {};

TEST_P(NoMissedLevel, IsSaidWhereTheSegmentsShowAll) {
  EXPECT_EQ(note_with(piped_analysis(GetParam()), "no segment has its figures"), "");
}

INSTANTIATE_TEST_SUITE_P(Dips, NoMissedLevel,
                         testing::Values(Words{"--duration", "8,7", "--depth", "30,60"},
                                         Words{"--duration", "0.5,0.4", "--depth", "30,60", "--noise", "0.5"},
                                         Words{"--fall", "0.3", "--duration", "0.5", "--start", "1"},
                                         Words{"--phases", "B-C", "--depth", "40", "--duration", "1"},
                                         Words{"--depth", "0"}));

}  // namespace
