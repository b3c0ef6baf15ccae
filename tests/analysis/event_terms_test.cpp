// Residual voltage, depth and kind of a dip, and where it stands on the tolerance curves.
#include "analysis/event_terms.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <tuple>
#include <utility>

namespace {

using analysis::Dip;
using analysis::EventTerms;
using analysis::Ride;

analysis::Analysis at_100_volts() {
  analysis::Analysis analysis;
  analysis.voltages.sampling_rate = 1000;
  analysis.voltages.samples_per_cycle = 20;
  analysis.pre_event_voltage = 100;
  return analysis;
}

EventTerms event(double seconds, double percent) {
  EventTerms terms;
  terms.seconds = terms.least_seconds = seconds;
  terms.judged_percent = percent;
  return terms;
}

TEST(EventTerms, NamesTheLowestPhaseItsDepthAndTheDuration) {
  Dip dip;
  dip.start = 400;
  dip.end = 650;
  dip.lowest = {95, 40, 60};
  dip.lowest_of_highest = 95;
  const auto terms = analysis::terms_of(dip, at_100_volts());
  EXPECT_EQ(terms.worst_phase, 1U);
  EXPECT_EQ(terms.residual, 40);
  EXPECT_EQ(terms.residual_percent, 40);
  EXPECT_EQ(terms.depth_percent, 60);
  EXPECT_EQ(terms.seconds, 0.25);
  EXPECT_STREQ(analysis::kind_of(terms), "dip");
}

TEST(EventTerms, CallsItAnInterruptionWhenAllPhasesStoodBelowFivePerCentAtOnce) {
  Dip dip;
  dip.lowest = {0, 0, 0};
  dip.lowest_of_highest = 5;
  EXPECT_STREQ(analysis::kind_of(analysis::terms_of(dip, at_100_volts())), "dip") << "each was below, but not at once";
  dip.lowest_of_highest = 4.999;
  EXPECT_STREQ(analysis::kind_of(analysis::terms_of(dip, at_100_volts())), "interruption");
}

TEST(EventTerms, JudgesByTheDeclaredVoltageWhereItIsGiven) {
  auto analysis = at_100_volts();
  Dip dip;
  dip.end = 100;
  dip.lowest = {72, 72, 72};
  dip.lowest_of_highest = 72;
  EXPECT_EQ(analysis::en50160_cell(analysis::terms_of(dip, analysis)), "B1");
  EXPECT_STREQ(analysis::judged_by(analysis), "pre-event voltage");
  analysis.declared = analysis::DeclaredVoltage{90, false, false, 90};
  const auto terms = analysis::terms_of(dip, analysis);
  EXPECT_EQ(analysis::en50160_cell(terms), "A1");
  EXPECT_EQ(terms.residual_percent, 72) << "of the pre-event voltage, as the dip threshold is";
  EXPECT_EQ(terms.judged_percent, 80);
  EXPECT_STREQ(analysis::judged_by(analysis), "declared voltage");
  dip.lowest_of_highest = 4.6;
  EXPECT_STREQ(analysis::kind_of(analysis::terms_of(dip, analysis)), "dip") << "5.1 % of the declared voltage";
}

TEST(EventTerms, HasNoDurationWithoutARecovery) {
  EXPECT_FALSE(analysis::terms_of(Dip{}, at_100_volts()).seconds);
}

struct CurvePoint {
  const char* curve;
  double seconds;
  double percent;
  const char* stands;
};

/// "itic, 0.02 s, 0 %": the printed parameter is part of the test's name.
void PrintTo(const CurvePoint& point, std::ostream* out) {
  *out << point.curve << ", " << point.seconds << " s, " << point.percent << " %";
}

class ToleranceCurves : public testing::TestWithParam<CurvePoint> {};

TEST_P(ToleranceCurves, JudgeADipByItsResidualVoltageAndDuration) {
  const auto& [code, seconds, percent, stands] = GetParam();
  for (const auto& curve : analysis::tolerance_curves()) {
    if (std::string(curve.code) == code) {
      EXPECT_STREQ(analysis::ride_name(analysis::ride_through(curve, event(seconds, percent))), stands);
      return;
    }
  }
  FAIL() << "no such curve: " << code;
}

// Each step from both sides, in time and in voltage.
INSTANTIATE_TEST_SUITE_P(
    Steps, ToleranceCurves,
    testing::Values(CurvePoint{"itic", 0.02, 0, "above"}, CurvePoint{"itic", 0.0201, 0, "below"},
                    CurvePoint{"itic", 0.5, 70, "above"}, CurvePoint{"itic", 0.5, 69.9, "below"},
                    CurvePoint{"itic", 0.51, 70, "below"}, CurvePoint{"itic", 10, 80, "above"},
                    CurvePoint{"itic", 10, 79.9, "below"}, CurvePoint{"itic", 10.1, 80, "below"},
                    CurvePoint{"itic", 1000, 90, "above"}, CurvePoint{"semi_f47", 0.049, 0, "outside"},
                    CurvePoint{"semi_f47", 0.05, 49.9, "below"}, CurvePoint{"semi_f47", 0.2, 50, "above"},
                    CurvePoint{"semi_f47", 0.21, 50, "below"}, CurvePoint{"semi_f47", 0.5, 70, "above"},
                    CurvePoint{"semi_f47", 0.51, 70, "below"}, CurvePoint{"semi_f47", 1, 80, "above"},
                    CurvePoint{"semi_f47", 1.01, 0, "outside"}));

TEST(ToleranceCurves, JudgeADipThatHasNotRecoveredWhereNoMoreOfItWouldChangeThat) {
  const auto& [itic, semi_f47] = std::pair(analysis::tolerance_curves()[0], analysis::tolerance_curves()[1]);
  const auto unrecovered = [](double seconds, double percent) {
    EventTerms terms = event(seconds, percent);
    terms.seconds.reset();
    return terms;
  };
  EXPECT_EQ(analysis::ride_through(itic, unrecovered(0.3, 69.9)), Ride::below) << "below for any longer time too";
  EXPECT_EQ(analysis::ride_through(itic, unrecovered(0.3, 70)), Ride::not_judged) << "may last longer than it may";
  EXPECT_EQ(analysis::ride_through(itic, unrecovered(20, 89.9)), Ride::below);
  EXPECT_EQ(analysis::ride_through(itic, unrecovered(20, 90)), Ride::through) << "may last for ever";
  EXPECT_EQ(analysis::ride_through(semi_f47, unrecovered(0.3, 0)), Ride::not_judged) << "may outlast the curve";
}

TEST(EventTerms, CountWhatWasRecordedOfADipThatHasNotRecovered) {
  auto analysis = at_100_volts();
  analysis.voltages.length = 1000;
  Dip dip;
  dip.start = 400;
  const auto terms = analysis::terms_of(dip, analysis);
  EXPECT_FALSE(terms.seconds);
  EXPECT_EQ(terms.least_seconds, 0.6);
}

TEST(EventTerms, CallASegmentNextToNothingWhereAllPhasesStandBelowFivePerCent) {
  analysis::Segment segment;
  segment.residual = {1, 4.999, 0};
  EXPECT_TRUE(analysis::is_next_to_nothing(segment, at_100_volts()));
  segment.residual[1] = 5;
  EXPECT_FALSE(analysis::is_next_to_nothing(segment, at_100_volts()));
}

TEST(En50160, HasACellForEachRangeOfResidualVoltageAndDuration) {
  const double longest[] = {0.2, 0.5, 1, 5, 60};
  const std::tuple<char, double, double> rows[] = {
      {'A', 89.9, 80}, {'B', 79.9, 70}, {'C', 69.9, 40}, {'D', 39.9, 5}, {'X', 4.9, 0}};
  for (int column = 0; column < 5; column++) {
    const double above_the_last = column == 0 ? 0.01 : longest[column - 1] + 0.001;
    for (const auto& [letter, highest, lowest] : rows) {
      const std::string cell = {letter, static_cast<char>('1' + column)};
      for (const double percent : {highest, lowest}) {
        EXPECT_EQ(analysis::en50160_cell(event(longest[column], percent)), cell) << percent;
        EXPECT_EQ(analysis::en50160_cell(event(above_the_last, percent)), cell) << percent;
      }
    }
  }
}

TEST(En50160, HasNoCellOutsideItsTable) {
  EXPECT_EQ(analysis::en50160_cell(event(0.0099, 50)), "");
  EXPECT_EQ(analysis::en50160_cell(event(60.1, 50)), "");
  EXPECT_EQ(analysis::en50160_cell(event(0.1, 90)), "");
  EventTerms lasting = event(1, 50);
  lasting.seconds.reset();
  EXPECT_EQ(analysis::en50160_cell(lasting), "");
}

}  // namespace
