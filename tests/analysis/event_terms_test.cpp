// An event in the field's own terms, and its place on the tolerance curves.
#include "analysis/event_terms.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>
#include <tuple>
#include <utility>

namespace {

using analysis::EventTerms;
using analysis::Ride;
using measure::Event;
using measure::EventKind;
using measure::Reference;

/// An analysis of a second that begins ten seconds into its record.
analysis::Analysis a_second() {
  analysis::Analysis analysis;
  analysis.voltages.line_frequency = 50;
  analysis.voltages.part = {20000, 21000, 1000, 10};
  return analysis;
}

Event dip(double start_s, std::optional<double> end_s, double volts, double reference_v = 100) {
  Event event;
  event.start_s = start_s;
  event.end_s = end_s;
  event.extreme_v = volts;
  event.reference_v = reference_v;
  return event;
}

EventTerms event(double seconds, double percent) {
  EventTerms terms;
  terms.seconds = terms.least_seconds = seconds;
  terms.percent = percent;
  return terms;
}

TEST(EventTerms, GiveADipsVoltageDepthAndDuration) {
  const auto terms = analysis::terms_of(dip(0.25, 0.5, 40), a_second());
  EXPECT_EQ(terms.percent, 40);
  EXPECT_EQ(terms.depth_percent, 60);
  EXPECT_EQ(terms.seconds, 0.25);
  EXPECT_EQ(terms.least_seconds, 0.25);
}

TEST(EventTerms, AreRelativeToTheEventsOwnReference) {
  auto analysis = a_second();
  analysis.usual_v = {100, 100, 100};
  analysis.declared.emplace().level = 100;
  EXPECT_EQ(analysis::terms_of(dip(0, 0.1, 60, 80), analysis).percent, 75);
  EXPECT_EQ(analysis::terms_of(dip(0, 0.1, 60, 0), analysis).percent, 0) << "nothing to divide by";
}

TEST(EventTerms, HaveNoDurationWhereABeginningOrAnEndLiesOutsideOfTheRecord) {
  const auto lasting = analysis::terms_of(dip(0.25, {}, 40), a_second());
  EXPECT_FALSE(lasting.seconds);
  EXPECT_EQ(lasting.least_seconds, 0.75) << "until the record ends after a second";
  Event earlier = dip(0, 0.25, 40);
  earlier.start_known = false;
  const auto begun = analysis::terms_of(earlier, a_second());
  EXPECT_FALSE(begun.seconds);
  EXPECT_EQ(begun.least_seconds, 0.25);
}

TEST(EventTerms, HaveWordsAndCodes) {
  EXPECT_STREQ(analysis::kind_code(EventKind::dip), "dip");
  EXPECT_STREQ(analysis::kind_code(EventKind::swell), "swell");
  EXPECT_STREQ(analysis::kind_code(EventKind::interruption), "interruption");
  EXPECT_STREQ(analysis::kind_code(EventKind::rapid_voltage_change), "rapid_voltage_change");
  EXPECT_STREQ(analysis::kind_words(EventKind::rapid_voltage_change), "rapid voltage change");
  EXPECT_STREQ(analysis::kind_words(EventKind::swell), "swell");
  EXPECT_STREQ(analysis::reference_code(Reference::pre_event), "pre-event");
  EXPECT_STREQ(analysis::reference_code(Reference::declared), "declared");
  EXPECT_STREQ(analysis::reference_code(Reference::sliding), "sliding");
  EXPECT_STREQ(analysis::reference_words(Reference::pre_event), "pre-event voltage");
  EXPECT_STREQ(analysis::reference_words(Reference::declared), "declared voltage");
  EXPECT_STREQ(analysis::reference_words(Reference::sliding), "sliding reference");
}

struct CurvePoint {
  const char* curve;
  double seconds;
  double percent;
  const char* ride;
};

/// "itic, 0.02 s, 0 %": the printed parameter is part of the test's name.
void PrintTo(const CurvePoint& point, std::ostream* out) {
  *out << point.curve << ", " << point.seconds << " s, " << point.percent << " %";
}

class ToleranceCurves : public testing::TestWithParam<CurvePoint> {};

TEST_P(ToleranceCurves, JudgeADipByItsResidualVoltageAndDuration) {
  const auto& [code, seconds, percent, ride] = GetParam();
  for (const auto& curve : analysis::tolerance_curves()) {
    if (std::string(curve.code) == code) {
      EXPECT_STREQ(analysis::ride_name(analysis::ride_through(curve, event(seconds, percent))), ride);
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
