// Curves from CSV files: the forms that are understood, and the message for each error.
#include "analysis/own_curve.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace {

using analysis::own_curve;
using assess::Curve;

std::vector<std::pair<double, double>> steps_of(const Curve& curve) {
  std::vector<std::pair<double, double>> steps;
  for (const auto& step : curve.steps) steps.emplace_back(step.seconds, step.percent);
  return steps;
}

using Steps = std::vector<std::pair<double, double>>;

TEST(OwnCurve, IsNamedAfterItsFileWithoutACommentThatNamesIt) {
  const Curve curve = own_curve("duration_s,voltage_percent\n0.2,50\n1,80\n", "plants/Press line 3.csv");
  EXPECT_EQ(curve.name, "Press line 3");
  EXPECT_EQ(curve.code, "press_line_3");
  EXPECT_EQ(steps_of(curve), (Steps{{0.2, 50}, {1, 80}}));
  EXPECT_FALSE(curve.for_swells);
}

TEST(OwnCurve, TakesItsNameFromAComment) {
  const Curve curve = own_curve("# Name: Extruder 7\n# measured in May\nduration_s,voltage\n1,80\n", "a.csv");
  EXPECT_EQ(curve.name, "Extruder 7");
  EXPECT_EQ(curve.code, "extruder_7");
}

TEST(OwnCurve, HasANameInUtf8WhateverItsFileIsIn) {
  EXPECT_EQ(own_curve("# name: Stra\xDF"
                      "e\nduration_s,voltage\n1,80\n",
                      "a.csv")
                .name,
            "Straße");
  EXPECT_EQ(own_curve("# name: Straße\nduration_s,voltage\n1,80\n", "a.csv").name, "Straße");
}

TEST(OwnCurve, HasDurationsInMilliseconds) {
  EXPECT_EQ(steps_of(own_curve("Voltage (%),Duration [ms]\n50,250\n", "a.csv")), (Steps{{0.25, 50}}));
  EXPECT_EQ(steps_of(own_curve("time ms,voltage\n500,50\n", "a.csv")), (Steps{{0.5, 50}}));
}

TEST(OwnCurve, MayHaveDecimalCommasBetweenSemicolons) {
  const std::string text =
      "\xEF\xBB\xBF"
      "\"duration_s\";\"voltage_percent\"\r\n0,5;70,5\r\n\r\n";
  EXPECT_EQ(steps_of(own_curve(text, "a.csv")), (Steps{{0.5, 70.5}}));
  EXPECT_EQ(steps_of(own_curve("duration_s\tvoltage\n0.5\t70 %\n", "a.csv")), (Steps{{0.5, 70}}));
}

TEST(OwnCurve, MayLastForEver) {
  EXPECT_TRUE(std::isinf(own_curve("duration_s,voltage\n1,80\ninf,90\n", "a.csv").steps.back().seconds));
}

struct Fault {
  const char* text;
  const char* complaint;
};

class BadCurve : public testing::TestWithParam<Fault> {};

TEST_P(BadCurve, IsRefusedWithFileLineAndRemedy) {
  try {
    own_curve(GetParam().text, "plant.csv");
    FAIL() << "the curve was accepted";
  } catch (const analysis::CurveError& error) {
    EXPECT_STREQ(error.what(), GetParam().complaint);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Faults, BadCurve,
    testing::Values(
        Fault{"", "plant.csv: the curve holds no header; expected a line such as duration_ms,voltage_percent; add one"},
        Fault{"duration_s,voltage\n",
              "plant.csv, line 1: the curve holds no step after the header; expected a row such as 200,50; add one"},
        Fault{
            "seconds,voltage\n1,50\n",
            "plant.csv, line 1: the curve has the header 'seconds,voltage'; expected a column named duration or time; "
            "use a header such as duration_ms,voltage_percent"},
        Fault{"duration_s,level\n1,50\n",
              "plant.csv, line 1: the curve has the header 'duration_s,level'; expected a column named voltage; use a "
              "header such as duration_ms,voltage_percent"},
        Fault{"duration,voltage\n1,50\n",
              "plant.csv, line 1: the curve has the column 'duration'; expected a duration in s or ms; name the unit, "
              "as in duration_ms"},
        Fault{"duration_min,voltage\n1,50\n",
              "plant.csv, line 1: the curve has the column 'duration_min'; expected a duration in s or ms; name the "
              "unit, as in duration_ms"},
        Fault{"duration_s,voltage\n1,fifty\n",
              "plant.csv, line 2: the curve has the voltage 'fifty'; expected a number; correct it"},
        Fault{"duration_s,voltage\n1\n",
              "plant.csv, line 2: the curve has the voltage ''; expected a number; correct it"},
        Fault{"duration_s,voltage\nnan,50\n",
              "plant.csv, line 2: the curve has the duration 'nan'; expected a number; correct it"},
        Fault{"duration_s,voltage\n0,50\n",
              "plant.csv, line 2: the curve has the duration '0'; expected more than 0; correct it"},
        Fault{"duration_s,voltage\n1,150\n",
              "plant.csv, line 2: the curve has the voltage '150'; expected 0 to 100 %; give it in per cent"},
        Fault{"# c\nduration_s,voltage\n1,50\n1,60\n",
              "plant.csv, line 4: the curve has the duration '1'; expected more than in the row before; sort the rows "
              "by duration"},
        Fault{"duration_s,voltage\n1,50\n2,40\n",
              "plant.csv, line 3: the curve has the voltage '40'; expected at least that of the row before; give each "
              "row the lowest voltage that equipment rides through for that time"}));

}  // namespace
