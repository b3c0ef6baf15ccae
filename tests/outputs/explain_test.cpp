// Tests dipx explain: every code that the command prints has an explanation, and the sketch agrees with the text.
#include "outputs/explain.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "assess/known_curves.h"
#include "assess/verdict.h"
#include "measure/dip_type.h"
#include "outputs/dip_category_name.h"
#include "outputs/phasor_sketch.h"
#include "tests/command/dipx_command.h"
#include "tests/core/working_folder.h"

namespace {

using tests::dipx;

class CategoryCode : public testing::TestWithParam<int> {};

TEST_P(CategoryCode, IsExplainedByItsName) {
  const auto text = outputs::explanation_of(std::to_string(GetParam())).value_or("");
  EXPECT_TRUE(text.starts_with(fmt::format("{}   {}\n\n", GetParam(), outputs::dip_category_name(GetParam())))) << text;
  EXPECT_NE(text.find("How it is decided\n"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(All, CategoryCode, testing::Range(0, 11));

/// Returns the terms of the list in its order.
std::vector<std::string> listed_terms() {
  std::istringstream list(outputs::list_of_codes());
  std::vector<std::string> terms;
  std::string line;
  while (std::getline(list, line) && line != "Terms") continue;
  while (std::getline(list, line)) terms.push_back(line.substr(2, line.find(' ', 2) - 2));
  return terms;
}

TEST(Explain, KnowsTheTermsOfTheOutputs) {
  const auto listed = listed_terms();
  for (const char* term : {"dip",
                           "swell",
                           "interruption",
                           "rapid_voltage_change",
                           "urms_half",
                           "reference",
                           "hysteresis",
                           "depth",
                           "residual_voltage",
                           "duration",
                           "course",
                           "segment",
                           "transition",
                           "gradual",
                           "characteristic_voltage",
                           "type",
                           "pn_factor",
                           "unbalance",
                           "phase_jump",
                           "plus_minus",
                           "point_on_wave",
                           "explained",
                           "wiring",
                           "declared",
                           "itic",
                           "semi_f47",
                           "itic_upper",
                           "iec_class_2",
                           "iec_class_3",
                           "ieee_1668",
                           "rides_through",
                           "trips",
                           "not_covered",
                           "too_close_to_tell",
                           "step_by_step",
                           "above",
                           "below",
                           "outside",
                           "en50160",
                           "en50160_swell",
                           "unipede",
                           "ieee_1159",
                           "instantaneous",
                           "momentary",
                           "temporary",
                           "sustained",
                           "undervoltage",
                           "overvoltage",
                           "sag",
                           "c4_110",
                           "dip_energy",
                           "lost_volt_seconds",
                           "severity"}) {
    EXPECT_EQ(std::count(listed.begin(), listed.end(), term), 1) << term;
  }
}

TEST(Explain, HasATextForEveryTermOfTheList) {
  ASSERT_FALSE(listed_terms().empty());
  for (const auto& term : listed_terms()) {
    const auto text = outputs::explanation_of(term);
    ASSERT_TRUE(text) << term;
    EXPECT_TRUE(text->starts_with(term + "   ")) << *text;
  }
}

/// Three voltages with a negative sequence at an angle, which lost a part of the positive one, and with zero sequence.
measure::DipType type_with(double loss, double negative, double degrees, double zero) {
  const double pi = std::numbers::pi;
  measure::Phasors before{};
  measure::Phasors voltages{};
  for (std::size_t phase = 0; phase < 3; phase++) {
    const double third = -2 * pi / 3 * static_cast<double>(phase);
    before[phase] = std::polar(230.0, third);
    voltages[phase] = 230.0 * (std::polar(1 - loss, third) + std::polar(negative, degrees * pi / 180 - third) + zero);
  }
  return measure::type_of(voltages, before, {});
}

TEST(Explain, StatesTheLimitsThatDetermineTypes) {
  const auto text = outputs::explanation_of("0").value_or("");
  EXPECT_NE(text.find("1.5 %"), std::string::npos);
  EXPECT_EQ(type_with(0.1, 0.014, 0, 0).category, 9);
  EXPECT_EQ(type_with(0.1, 0.016, 0, 0).category, 0);
  EXPECT_NE(text.find(" 8 %"), std::string::npos);
  EXPECT_EQ(type_with(0.5, 0.039, 0, 0).category, 9);
  EXPECT_EQ(type_with(0.5, 0.041, 0, 0).category, 0);
  EXPECT_NE(text.find(" 2 %"), std::string::npos);
  EXPECT_EQ(type_with(0.05, 0.05, 0, 0.019).category, 0);
  EXPECT_EQ(type_with(0.05, 0.05, 0, 0.021).category, 6);
  EXPECT_NE(text.find("quarter"), std::string::npos);
  EXPECT_EQ(type_with(0.3, 0.2, 0, 0.049).category, 0);
  EXPECT_EQ(type_with(0.3, 0.2, 0, 0.051).category, 6);
  // The sectors, in steps of 60 degrees from 0.
  const int categories[] = {0, 1, 2, 3, 4, 5};
  for (const int sector : categories) EXPECT_EQ(type_with(0.3, 0.2, 60 * sector, 0).category, sector);
}

TEST(Explain, KeepsWithinATerminalsWidth) {
  auto codes = listed_terms();
  for (int category = 0; category <= 10; category++) codes.push_back(std::to_string(category));
  for (const auto& code : codes) {
    const std::string text = outputs::explanation_of(code).value_or("");
    ASSERT_NE(text, "") << code;
    const auto paragraphs = text.substr(text.find('\n'));  // below the heading
    for (std::size_t at = 0; at < paragraphs.size();) {
      const std::size_t end = paragraphs.find('\n', at);
      EXPECT_LE(end - at, 78U) << paragraphs.substr(at, end - at);
      at = end + 1;
    }
  }
}

TEST(Explain, AcceptsCodesAsPeopleWriteThem) {
  for (const auto& [asked, code] : {std::pair("ITIC", "itic"),
                                    {"SEMI F47", "semi_f47"},
                                    {"phase-jump", "phase_jump"},
                                    {"Residual voltage", "residual_voltage"},
                                    {"D2", "en50160"},
                                    {"x5", "en50160"},
                                    {"T3", "en50160_swell"},
                                    {"Too close to tell", "too_close_to_tell"},
                                    {"IEEE 1159", "ieee_1159"},
                                    {"EN 50160", "en50160"},
                                    {"Dip energy", "dip_energy"},
                                    {"C4.110", "c4_110"},
                                    {"II", "c4_110"}}) {
    EXPECT_EQ(outputs::explanation_of(asked), outputs::explanation_of(code)) << asked;
  }
  for (const char* unknown : {"D6", "E1", "S4", "T0", "IIII", "d", "11", "", "too_shallow"})
    EXPECT_FALSE(outputs::explanation_of(unknown)) << unknown;
}

TEST(Explain, KnowsEveryCurveAndVerdict) {
  for (const auto& curve : assess::known_curves(50)) EXPECT_TRUE(outputs::explanation_of(curve.code)) << curve.code;
  for (const auto outcome : {assess::Outcome::rides_through, assess::Outcome::trips, assess::Outcome::not_covered,
                             assess::Outcome::too_close}) {
    EXPECT_TRUE(outputs::explanation_of(assess::outcome_words(outcome))) << assess::outcome_words(outcome);
  }
}

TEST(Explain, SuggestsCodesThatAreNearAMistypedOne) {
  using Codes = std::vector<std::string>;
  EXPECT_EQ(outputs::near_codes("itik"), (Codes{"itic", "itic_upper"}));
  EXPECT_EQ(outputs::near_codes("Swel"), Codes{"swell"});
  EXPECT_EQ(outputs::near_codes("hystersis"), Codes{"hysteresis"});
  EXPECT_EQ(outputs::near_codes("unipeed"), Codes{"unipede"});
  EXPECT_EQ(outputs::near_codes("iec class"), (Codes{"iec_class_2", "iec_class_3"}));
  EXPECT_EQ(outputs::near_codes("energy"), Codes{"dip_energy"});
  EXPECT_EQ(outputs::near_codes("smei"), Codes{"semi_f47"});
  EXPECT_EQ(outputs::near_codes("xyzzy"), Codes{});
  EXPECT_EQ(outputs::near_codes("11"), Codes{}) << "too short";
  EXPECT_EQ(outputs::near_codes(std::string(100000, 'i')), Codes{}) << "too long";
}

TEST(Explain, NamesNearCodesInItsError) {
  const auto one = dipx({"explain", "itik"});
  EXPECT_EQ(one.status, 1);
  EXPECT_NE(one.err.find("'itik' is not a code; did you mean itic or itic_upper? Run dipx explain to list all of them"),
            std::string::npos)
      << one.err;
  const auto two = dipx({"explain", "iec class"});
  EXPECT_NE(two.err.find("did you mean iec_class_2 or iec_class_3? "), std::string::npos) << two.err;
}

TEST(PhasorSketch, DrawsUndisturbedPhasorsToTheirFullLength) {
  EXPECT_EQ(outputs::phasor_sketch({std::polar(1.0, 0.0), std::polar(1.0, -2.0943951), std::polar(1.0, 2.0943951)}),
            "             C\n"
            "              *\n"
            "               *\n"
            "                **\n"
            "                  *\n"
            "                   *\n"
            "                    +*************A\n"
            "                   *\n"
            "                  *\n"
            "                **\n"
            "               *\n"
            "              *\n"
            "             B\n");
}

TEST(PhasorSketch, LeavesSmallLettersWherePhasorsStoodBefore) {
  const auto sketch = outputs::phasor_sketch({0.5, std::polar(1.0, -2.0943951), std::polar(1.0, 2.0943951)});
  EXPECT_NE(sketch.find("+******A      a\n"), std::string::npos) << sketch;
}

TEST(Explain, PrintsACodesMeaningAndAllCodes) {
  const auto one = dipx({"explain", "7"});
  EXPECT_EQ(one.status, 0);
  EXPECT_EQ(one.out, outputs::explanation_of("7"));
  const auto all = dipx({"explain"});
  EXPECT_EQ(all.status, 0);
  EXPECT_EQ(all.out, outputs::list_of_codes());
}

TEST(Explain, RefusesAnUnknownCode) {
  const auto result = dipx({"explain", "11"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("'11' is not a code; run dipx explain to list all of them"), std::string::npos)
      << result.err;
}

}  // namespace
