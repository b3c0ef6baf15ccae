// dipx analyse on dips beyond 500 cycles, which the library measures in another way than short ones.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>

#include "tests/command/piped_analysis.h"

namespace {

using nlohmann::json;
using tests::joined;
using tests::piped;
using tests::piped_analysis;
using tests::piped_text;
using tests::Words;

constexpr double half_cycle = 0.01;

/// One segment as it should be found: phases A, B and C.
struct Truth {
  double begin;  // seconds
  double end;
  double volts[3];
  double jumps[3];
  int category;
  const char* low_phases;
};

/// `late`: by how many seconds the beginning may come behind its truth.
void expect_segment(const json& segment, const Truth& truth, double late = half_cycle) {
  EXPECT_GE(segment["start"]["time_s"], truth.begin - half_cycle);
  EXPECT_LE(segment["start"]["time_s"], truth.begin + late);
  EXPECT_NEAR(segment["end"]["time_s"], truth.end, half_cycle);
  for (std::size_t x = 0; x < 3; x++) {
    EXPECT_NEAR(segment["residual_voltage"][x]["voltage_v"], truth.volts[x], 0.3) << "ABC"[x];
    EXPECT_NEAR(segment["residual_voltage"][x]["percent"], truth.volts[x] / 2.3, 0.13) << "ABC"[x];
    EXPECT_NEAR(segment["phase_jump"][x]["degrees"], truth.jumps[x], 0.5) << "ABC"[x];
  }
  EXPECT_EQ(segment["category"]["code"], truth.category);
  EXPECT_EQ(segment["phases_below_threshold"]["letters"], truth.low_phases);
}

const json& only_dip(const json& analysis) {
  EXPECT_EQ(analysis["dips"].size(), 1U);
  EXPECT_EQ(analysis["dips"][0]["not_analysed"], nullptr);
  return analysis["dips"][0];
}

// --- segments --------------------------------------------------------------------------------------------------------

const Words two_steps_in_a_minute = {"--start", "5", "--duration", "8,7", "--depth", "30,60", "--length", "60"};

TEST(LongDip, OfTwoStepsInAMinutesRecordHasBothSegments) {
  const auto analysis = piped_analysis(two_steps_in_a_minute);
  EXPECT_EQ(analysis["record"]["samples"], 384000) << "the longest there is";
  const auto& dip = only_dip(analysis);
  EXPECT_NEAR(dip["start"]["time_s"], 5, half_cycle);
  EXPECT_NEAR(dip["duration_s"], 15, 2 * half_cycle);
  EXPECT_FALSE(dip["gradual_fall_doubtful"]);
  ASSERT_EQ(dip["segments"].size(), 2U);
  expect_segment(dip["segments"][0], {5, 13, {161, 161, 161}, {0, 0, 0}, 9, "ABC"});
  expect_segment(dip["segments"][1], {13, 20, {92, 92, 92}, {0, 0, 0}, 9, "ABC"});
}

TEST(LongDip, PrintsBothSegmentsAsText) {
  const std::string text = piped_text(joined(two_steps_in_a_minute, {"--rate", "1600"}));
  const auto first = text.find("\n  segment 1  5.00");
  const auto second = text.find("\n  segment 2  13.00");
  ASSERT_NE(first, std::string::npos) << text;
  ASSERT_NE(second, std::string::npos) << text;
  constexpr const char* first_figures =
      ": three-phase dip (9)\n"
      "    residual voltage    161.0 V    70.0 %  161.0 V    70.0 %  161.0 V    70.0 %\n";
  constexpr const char* second_figures =
      ": three-phase dip (9)\n"
      "    residual voltage    92.00 V    40.0 %  92.00 V    40.0 %  92.00 V    40.0 %\n";
  EXPECT_NE(text.substr(first, second - first).find(first_figures), std::string::npos) << text;
  EXPECT_NE(text.substr(second).find(second_figures), std::string::npos) << text;
  EXPECT_EQ(text.find("segment 3"), std::string::npos);
}

TEST(LongDip, HasAsManySegmentsAsSteps) {
  const auto analysis = piped_analysis({"--rate", "1600", "--start", "1", "--duration", "4,5,6,7", "--depth",
                                        "20,50,30,70", "--jump", "0,-20,10,-40", "--phases", "CA"});
  const auto& dip = only_dip(analysis);
  ASSERT_EQ(dip["segments"].size(), 4U);
  // A middle transition may stay where the RMS has it, up to one and a half cycles late.
  constexpr double late = 4 * half_cycle;
  expect_segment(dip["segments"][0], {1, 5, {184, 230, 184}, {0, 0, 0}, 7, "AC"});
  expect_segment(dip["segments"][1], {5, 10, {115, 230, 115}, {-20, 0, -20}, 7, "AC"}, late);
  expect_segment(dip["segments"][2], {10, 16, {161, 230, 161}, {10, 0, 10}, 7, "AC"}, late);
  expect_segment(dip["segments"][3], {16, 23, {69, 230, 69}, {-40, 0, -40}, 7, "AC"}, late);
}

TEST(LongDip, HasResidualVoltagesFromInsideEachSegment) {
  // The lowest RMS of the first step up to its RMS boundary lies in the transition to the second.
  const auto analysis = piped_analysis({"--phases", "B", "--depth", "30,44", "--duration", "10", "--rate", "1600",
                                        "--start", "0.51346", "--point-on-wave", "242.28", "--length", "21"});
  const auto& dip = only_dip(analysis);
  ASSERT_EQ(dip["segments"].size(), 2U);
  expect_segment(dip["segments"][0], {0.51346, 10.51346, {230, 161, 230}, {0, 0, 0}, 5, "B"});
  expect_segment(dip["segments"][1], {10.51346, 20.51346, {230, 128.8, 230}, {0, 0, 0}, 5, "B"}, 3 * half_cycle);
  EXPECT_NEAR(dip["lowest_voltage"][1]["voltage_v"], 128.8, 0.01);
}

struct ThreeBoundaries {
  const char* name;
  Words options;
  Truth truth;
};

void PrintTo(const ThreeBoundaries& dip, std::ostream* out) {
  *out << dip.name;
}

class LongDipOfThreeBoundaries : public testing::TestWithParam<ThreeBoundaries> {};

TEST_P(LongDipOfThreeBoundaries, HasItsSegmentBetweenFallAndRecovery) {
  const auto traced = piped(joined({"synth"}, GetParam().options), {"analyse", "-", "--json", "--trace"});
  ASSERT_EQ(traced.status, 0) << traced.err;
  ASSERT_NE(traced.err.find("T_num = 3\r\n"), std::string::npos) << "no case of three boundaries: " << traced.err;
  const auto analysis = json::parse(traced.out);
  const auto& dip = only_dip(analysis);
  ASSERT_EQ(dip["segments"].size(), 1U);
  // The end lies where the recovery has brought the voltage to the threshold, or the RMS shows it.
  auto truth = GetParam().truth;
  const double end = dip["segments"][0]["end"]["time_s"];
  EXPECT_GE(end, truth.end - half_cycle);
  EXPECT_LE(end, dip["end"]["time_s"]);
  truth.end = end;
  expect_segment(dip["segments"][0], truth);
}

INSTANTIATE_TEST_SUITE_P(Recoveries, LongDipOfThreeBoundaries,
                         testing::Values(ThreeBoundaries{"AllPhases",
                                                         {"--rate", "1600", "--start", "1.272", "--recovery", "0.5",
                                                          "--duration", "10.18", "--depth", "61"},
                                                         {1.272, 11.452, {89.7, 89.7, 89.7}, {0, 0, 0}, 9, "ABC"}},
                                         ThreeBoundaries{"OnePhase",
                                                         {"--rate", "5000", "--start", "0.767", "--recovery", "0.5",
                                                          "--duration", "11.9", "--depth", "54", "--phases", "B"},
                                                         {0.767, 12.667, {230, 105.8, 230}, {0, 0, 0}, 5, "B"}},
                                         ThreeBoundaries{
                                             "TwoPhasesThatTurn",
                                             {"--rate", "6400", "--start", "0.335", "--recovery", "0.5", "--duration",
                                              "10.86", "--depth", "46", "--phases", "CA", "--jump", "-15"},
                                             {0.335, 11.195, {124.2, 230, 124.2}, {-15, 0, -15}, 7, "AC"}}),
                         [](const auto& dip) { return dip.param.name; });

// --- point on wave ---------------------------------------------------------------------------------------------------

struct Fall {
  const char* start;
  const char* degrees;  // of phase A
  const char* rate;
};

void PrintTo(const Fall& fall, std::ostream* out) {
  *out << fall.degrees << " degrees at " << fall.start << " s, " << fall.rate << " Hz";
}

class LongDipPointOnWave : public testing::TestWithParam<Fall> {
 protected:
  static json points(const char* duration) {
    return only_dip(piped_analysis({"--start", GetParam().start, "--point-on-wave", GetParam().degrees, "--rate",
                                    GetParam().rate, "--duration", duration}))["point_on_wave"];
  }
};

TEST_P(LongDipPointOnWave, IsRightToASampleAndThatOfAShortDipOfTheSameFall) {
  const auto found = points("10");
  const auto of_short_dip = points("0.5");
  const double sample = 360 * 50 / std::stod(GetParam().rate);
  for (std::size_t x = 0; x < 3; x++) {
    const double degrees = found[x]["degrees"];
    const double truth = std::stod(GetParam().degrees) - 120.0 * static_cast<double>(x);
    EXPECT_LE(std::abs(std::remainder(degrees - truth, 360)), sample) << "ABC"[x] << ": " << degrees;
    EXPECT_NEAR(std::remainder(degrees - of_short_dip[x]["degrees"].get<double>(), 360), 0, 0.01) << "ABC"[x];
    EXPECT_GE(degrees, 0);
    EXPECT_LT(degrees, 360);
  }
}

INSTANTIATE_TEST_SUITE_P(Falls, LongDipPointOnWave,
                         testing::Values(Fall{"0.2", "0", "1600"}, Fall{"0.51346", "242.28", "1600"},
                                         Fall{"1.003", "54", "1600"}, Fall{"0.35", "90", "3200"},
                                         Fall{"1.80797", "218.68", "3200"}, Fall{"7.77", "301", "3200"},
                                         Fall{"0.25", "180", "6400"}, Fall{"1.10301", "102.3", "6400"},
                                         Fall{"3.3333", "359", "6400"}));

// --- text and JSON ---------------------------------------------------------------------------------------------------

template <typename... Figures>
std::string printed(const char* format, Figures... figures) {
  char text[300];
  std::snprintf(text, sizeof text, format, figures...);
  return text;
}

std::string volts(double value) {
  const double size = std::abs(value);
  const auto digits = [](double figure) {
    std::string text = printed("%#.4g", figure);
    if (text.back() == '.') text.pop_back();
    return text;
  };
  if (size >= 1000) return digits(value / 1000) + " kV";
  return size < 1 && size > 0 ? digits(value * 1000) + " mV" : digits(value) + " V";
}

std::string lasting(double seconds) {
  return seconds < 1 ? printed("%.1f ms", seconds * 1000) : printed("%.3f s", seconds);
}

/// A column of 19 characters, in which a degree sign has two bytes.
std::string column(const std::string& figure) {
  const std::size_t characters = figure.size() - (figure.ends_with("°") ? 1 : 0);
  return std::string(19 - std::min<std::size_t>(characters, 19), ' ') + figure;
}

template <typename Figure>
std::string line(const char* heading, const json& phases, Figure figure) {
  return printed("%-22s", heading) + column(figure(phases[0])) + column(figure(phases[1])) + column(figure(phases[2])) +
         "\n";
}

std::string turn(double degrees) {
  const std::string digits = printed("%+.1f", degrees);
  return (digits == "+0.0" || digits == "-0.0" ? "0.0" : digits) + "°";
}

std::string level(const json& phase) {
  return volts(phase["voltage_v"]) + printed(" %7.1f %%", phase["percent"].get<double>());
}

/// Where the dip stands, from the words of the JSON.
std::string tolerance(const json& dip) {
  std::string text;
  const auto& curves = dip["voltage_tolerance"];
  if (curves["itic"] != "outside") text += curves["itic"].get<std::string>() + " ITIC, ";
  if (curves["semi_f47"] != "outside") text += curves["semi_f47"].get<std::string>() + " SEMI F47, ";
  return "  " + text + "cell " + dip["en50160_cell"].get<std::string>() + " of EN 50160 (by the pre-event voltage)\n";
}

/// The text of a dip from the figures of its JSON.
std::string text_of(const json& dip) {
  const auto seconds = [](const json& position) { return position["time_s"].get<double>(); };
  std::string text =
      printed("\ndip %d   %.4f s to %.4f s, %s, %.2f cycles\n", dip["number"].get<int>(), seconds(dip["start"]),
              seconds(dip["end"]), lasting(dip["duration_s"]).c_str(), dip["duration_cycles"].get<double>());
  const auto& residual = dip["residual_voltage"];
  text += printed("  dip, residual voltage %s (%.1f %%) in U%c, depth %.1f %%\n", volts(residual["voltage_v"]).c_str(),
                  residual["percent"].get<double>(), std::tolower(residual["phase"].get<std::string>()[0]),
                  dip["depth_percent"].get<double>());
  text += std::string(22, ' ') + column("Ua") + column("Ub") + column("Uc") + "\n";
  text += line("  lowest voltage", dip["lowest_voltage"], level);
  text += line("  point on wave", dip["point_on_wave"],
               [](const json& phase) { return printed("%.1f°", phase["degrees"].get<double>()); });
  text +=
      line("  fastest change", dip["fastest_change"], [](const json& phase) { return volts(phase["v_per_s"]) + "/s"; });
  for (const auto& segment : dip["segments"]) {
    const auto& low = segment["phases_below_threshold"];
    const int count = low["count"];
    text += printed("  segment %d  %.4f s to %.4f s: %s (%d)\n", segment["number"].get<int>(),
                    seconds(segment["start"]), seconds(segment["end"]),
                    segment["category"]["name"].get<std::string>().c_str(), segment["category"]["code"].get<int>());
    text += line("    residual voltage", segment["residual_voltage"], level);
    text += line("    phase jump", segment["phase_jump"], [](const json& phase) { return turn(phase["degrees"]); });
    text += printed("    %d phase%s below the threshold (%s), unbalance %.1f %%\n", count, count == 1 ? "" : "s",
                    low["letters"].get<std::string>().c_str(), segment["unbalance_percent"].get<double>());
  }
  return text + tolerance(dip);
}

class TextAndJson : public testing::TestWithParam<Words> {};

TEST_P(TextAndJson, ShowTheSameFigures) {
  const auto analysis = piped_analysis(GetParam());
  ASSERT_EQ(analysis["dips"].size(), 1U);
  ASSERT_FALSE(analysis["dips"][0]["segments"].empty());
  const std::string text = piped_text(GetParam());
  EXPECT_EQ(text.substr(text.find("\n1 dip\n") + 7), text_of(analysis["dips"][0]));
}

INSTANTIATE_TEST_SUITE_P(
    Dips, TextAndJson,
    testing::Values(joined(two_steps_in_a_minute, {"--rate", "1600"}),
                    Words{"--rate", "1600", "--start", "1.272", "--recovery", "0.5", "--duration", "10.18"},
                    Words{"--phases", "B", "--depth", "30,44", "--duration", "10", "--rate", "1600"},
                    Words{"--phases", "C-A", "--depth", "44.4", "--duration", "12.3", "--rate", "3200", "--voltage",
                          "6351"},
                    Words{"--phases", "AB", "--depth", "70", "--jump", "-33.3", "--noise", "0.3"}));

}  // namespace
