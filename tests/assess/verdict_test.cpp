// Verdicts by voltage-tolerance curves, with the corner cases of each curve worked out by hand.
#include "assess/verdict.h"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "assess/known_curves.h"
#include "tests/assess/event.h"

namespace {

using assess::Curve;
using assess::DipKind;
using assess::EventShape;
using assess::EventTerms;
using assess::Outcome;
using assess::Ride;
using tests::event;

Curve curve_named(const std::string& code, double line_frequency = 50) {
  for (const Curve& curve : assess::known_curves(line_frequency)) {
    if (curve.code == code) return curve;
  }
  throw std::invalid_argument("no such curve: " + code);
}

/// A dip without an uncertainty of its duration.
EventShape dip(double seconds, double percent, std::optional<DipKind> kind = DipKind::one_voltage) {
  EventShape shape;
  shape.terms = event(seconds, percent);
  shape.kind = kind;
  return shape;
}

std::string words(const Curve& curve, const EventShape& shape) {
  return words_of(verdict_of(curve, shape));
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
  for (const auto& curve : assess::known_curves(50)) {
    if (std::string(curve.code) == code) {
      EXPECT_STREQ(assess::ride_name(assess::ride_through(curve, event(seconds, percent))), ride);
      return;
    }
  }
  FAIL() << "no such curve: " << code;
}

// Each step is tested from both sides, in time and in voltage.
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
  const auto& [itic, semi_f47] = std::pair(assess::known_curves(50)[0], assess::known_curves(50)[1]);
  const auto unrecovered = [](double seconds, double percent) {
    EventTerms terms = event(seconds, percent);
    terms.seconds.reset();
    return terms;
  };
  EXPECT_EQ(assess::ride_through(itic, unrecovered(0.3, 69.9)), Ride::below) << "below for any longer time too";
  EXPECT_EQ(assess::ride_through(itic, unrecovered(0.3, 70)), Ride::not_judged) << "may last longer than it may";
  EXPECT_EQ(assess::ride_through(itic, unrecovered(20, 89.9)), Ride::below);
  EXPECT_EQ(assess::ride_through(itic, unrecovered(20, 90)), Ride::through) << "may last for ever";
  EXPECT_EQ(assess::ride_through(semi_f47, unrecovered(0.3, 0)), Ride::not_judged) << "may outlast the curve";
}

struct Case {
  const char* curve;
  double seconds;
  double percent;
  DipKind kind;
  const char* words;
};

void PrintTo(const Case& one, std::ostream* out) {
  *out << one.curve << ", " << one.seconds << " s, " << one.percent << " %";
}

class Verdicts : public testing::TestWithParam<Case> {};

TEST_P(Verdicts, AreGivenInWords) {
  const auto& [curve, seconds, percent, kind, expected] = GetParam();
  EXPECT_EQ(words(curve_named(curve), dip(seconds, percent, kind)), expected);
}

constexpr DipKind one = DipKind::one_voltage;
constexpr DipKind two = DipKind::two_voltages;
constexpr DipKind three = DipKind::three_voltages;

// Voltages are 0.3 % from the limit, which is more than their uncertainty.
INSTANTIATE_TEST_SUITE_P(Itic, Verdicts,
                         testing::Values(Case{"itic", 0.02, 0, one, "rides through"},
                                         Case{"itic", 0.021, 69.7, one, "trips (below 70 %)"},
                                         Case{"itic", 0.5, 70.3, three, "rides through"},
                                         Case{"itic", 0.501, 70.3, one, "trips (below 80 %)"},
                                         Case{"itic", 10, 80.3, two, "rides through"},
                                         Case{"itic", 10.1, 89.7, one, "trips (below 90 %)"}));
INSTANTIATE_TEST_SUITE_P(SemiF47, Verdicts,
                         testing::Values(Case{"semi_f47", 0.049, 0, one, "not covered (shorter than 0.05 s)"},
                                         Case{"semi_f47", 0.2, 50.3, two, "rides through"},
                                         Case{"semi_f47", 0.2, 49.7, one, "trips (below 50 %)"},
                                         Case{"semi_f47", 0.201, 50.3, one, "trips (below 70 %)"},
                                         Case{"semi_f47", 0.501, 70.3, one, "trips (below 80 %)"},
                                         Case{"semi_f47", 1, 80.3, one, "rides through"},
                                         Case{"semi_f47", 1.01, 0, one, "not covered (longer than 1 s)"},
                                         Case{"semi_f47", 0.1, 60, three,
                                              "not covered (the curve says nothing about three-phase dips)"}));
INSTANTIATE_TEST_SUITE_P(Iec61000_4_11, Verdicts,
                         testing::Values(Case{"iec_class_2", 0.01, 0, one, "rides through"},
                                         Case{"iec_class_2", 0.02, 0, three, "rides through"},
                                         Case{"iec_class_2", 0.021, 69.7, one, "trips (below 70 %)"},
                                         Case{"iec_class_2", 0.5, 70.3, one, "rides through"},
                                         Case{"iec_class_2", 0.501, 85, one, "not covered (longer than 0.5 s)"},
                                         Case{"iec_class_3", 0.02, 0, one, "rides through"},
                                         Case{"iec_class_3", 0.021, 39.7, one, "trips (below 40 %)"},
                                         Case{"iec_class_3", 0.2, 40.3, one, "rides through"},
                                         Case{"iec_class_3", 0.201, 69.7, one, "trips (below 70 %)"},
                                         Case{"iec_class_3", 0.5, 70.3, one, "rides through"},
                                         Case{"iec_class_3", 5, 79.7, one, "trips (below 80 %)"},
                                         Case{"iec_class_3", 5, 80.3, one, "rides through"},
                                         Case{"iec_class_3", 5.01, 80.3, one, "not covered (longer than 5 s)"}));
INSTANTIATE_TEST_SUITE_P(Ieee1668, Verdicts,
                         testing::Values(Case{"ieee_1668", 0.2, 50.3, one, "rides through"},
                                         Case{"ieee_1668", 0.2, 50.3, two, "rides through"},
                                         Case{"ieee_1668", 0.2, 50.3, three, "trips (below 80 %)"},
                                         Case{"ieee_1668", 0.05, 50.3, three, "rides through"},
                                         Case{"ieee_1668", 0.051, 50.3, three, "trips (below 70 %)"},
                                         Case{"ieee_1668", 0.1, 70.3, three, "rides through"},
                                         Case{"ieee_1668", 0.5, 70.3, two, "rides through"},
                                         Case{"ieee_1668", 0.5, 70.3, three, "trips (below 80 %)"},
                                         Case{"ieee_1668", 2, 80.3, three, "rides through"},
                                         Case{"ieee_1668", 2.01, 80.3, one, "not covered (longer than 2 s)"}));

TEST(Verdict, CountsACycleOfTheLine) {
  const EventShape dip_of_a_cycle = dip(0.0195, 0);
  EXPECT_EQ(words(curve_named("iec_class_2", 50), dip_of_a_cycle), "rides through");
  EXPECT_EQ(words(curve_named("iec_class_2", 60), dip_of_a_cycle), "trips (below 70 %)") << "a cycle is 16.7 ms";
}

TEST(Verdict, JudgesSwellsByTheUpperCurve) {
  const auto swell = [](double seconds, double percent) {
    EventShape shape = dip(seconds, percent, std::nullopt);
    shape.swell = true;
    return shape;
  };
  const Curve upper = curve_named("itic_upper");
  EXPECT_EQ(words(upper, swell(0.5, 119.7)), "rides through");
  EXPECT_EQ(words(upper, swell(0.5, 120.3)), "trips (above 120 %)");
  EXPECT_EQ(words(upper, swell(0.501, 110.3)), "trips (above 110 %)");
  EXPECT_TRUE(applies_to(upper, swell(0.5, 115)));
  EXPECT_FALSE(applies_to(upper, dip(0.5, 50)));
  EXPECT_FALSE(applies_to(curve_named("itic"), swell(0.5, 115)));
  EXPECT_EQ(verdict_of(curve_named("itic"), swell(0.5, 115)).outcome, Outcome::not_covered);
}

TEST(Verdict, IsTooCloseToTellWithinTheUncertainty) {
  const Curve itic = curve_named("itic");
  EXPECT_EQ(words(itic, dip(0.3, 69.9)), "too close to tell (the limit lies within 0.2 % of the voltage)");
  EXPECT_EQ(words(itic, dip(0.3, 70.1)), "too close to tell (the limit lies within 0.2 % of the voltage)");
  EXPECT_EQ(words(itic, dip(0.3, 69.7)), "trips (below 70 %)");
  EventShape near = dip(0.51, 75);
  near.terms.cycle_seconds = 0.02;
  EXPECT_EQ(words(itic, near), "too close to tell (a limit lies within a cycle of the duration)") << "0.49 to 0.53 s";
  near.terms.percent = 60;
  EXPECT_EQ(words(itic, near), "trips (below 80 %)") << "the dip is below both steps";
  EventShape ending = dip(0.99, 85);
  ending.terms.cycle_seconds = 0.02;
  EXPECT_EQ(verdict_of(curve_named("semi_f47"), ending).outcome, Outcome::too_close) << "it may be longer than 1 s";
}

TEST(Verdict, OfADipWithoutAnEndNeedsAStepThatLastsForEver) {
  EventShape lasting = dip(0.3, 60);
  lasting.terms.seconds.reset();
  EXPECT_EQ(words(curve_named("itic"), lasting), "trips (below 70 %)");
  EXPECT_EQ(words(curve_named("semi_f47"), lasting), "not covered (duration not known)");
  lasting.terms.percent = 85;
  EXPECT_EQ(words(curve_named("itic"), lasting), "not covered (duration not known)");
}

TEST(Verdict, LeavesInterruptionsToATestOfTheirOwn) {
  EventShape interruption = dip(0.3, 0, three);
  interruption.interruption = true;
  EXPECT_EQ(words(curve_named("iec_class_3"), interruption), "not covered (interruptions have a test of their own)");
  EXPECT_EQ(words(curve_named("itic"), interruption), "trips (below 70 %)");
  interruption.terms = event(0.02, 0);
  EXPECT_EQ(words(curve_named("iec_class_3"), interruption), "rides through") << "a dip of one cycle to 0 % is a test";
}

TEST(Verdict, WithoutATypeNeedsAllTypesToAgree) {
  const Curve curve = curve_named("ieee_1668");
  EXPECT_EQ(words(curve, dip(0.15, 40, std::nullopt)), "trips (below 50 %)");
  EXPECT_EQ(words(curve, dip(0.15, 85, std::nullopt)), "rides through");
  EXPECT_EQ(words(curve, dip(0.15, 60, std::nullopt)),
            "not covered (the curve depends on the dip's type, which is not known)");
}

TEST(VerdictByStep, JudgesTheTimeBelowEachStep) {
  // As a whole the dip has 45 % for 0.9 s. It has 45 % only for 0.15 s, and 85 % for the rest.
  EventShape steps = dip(0.9, 45);
  steps.pieces = {{0.15, 45}, {0.75, 85}};
  const Curve class_3 = curve_named("iec_class_3");
  EXPECT_EQ(words(class_3, steps), "trips (below 80 %)");
  EXPECT_EQ(words_of(*verdict_by_steps(class_3, steps)), "rides through");
  EXPECT_EQ(words_of(*verdict_by_steps(curve_named("semi_f47"), steps)), "trips (150 ms below 50 %)");
  steps.pieces = {{0.25, 45}, {0.65, 85}};
  EXPECT_EQ(words_of(*verdict_by_steps(class_3, steps)), "trips (250 ms below 70 %)") << "45 % is allowed for 0.2 s";
}

TEST(VerdictByStep, AddsPiecesBelowTheSameStep) {
  EventShape twice = dip(0.5, 55);
  twice.pieces = {{0.15, 55}, {0.2, 95}, {0.15, 55}};
  EXPECT_EQ(words_of(*verdict_by_steps(curve_named("semi_f47"), twice)), "trips (300 ms below 70 %)");
  twice.pieces = {{0.08, 55}, {0.34, 95}, {0.08, 55}};
  EXPECT_EQ(words_of(*verdict_by_steps(curve_named("semi_f47"), twice)), "rides through");
}

TEST(VerdictByStep, DoesNotCoverADipThatIsLongerThanTheCurve) {
  EventShape late = dip(3, 75);
  late.pieces = {{0.1, 75}, {2.9, 85}};
  EXPECT_EQ(words_of(*verdict_by_steps(curve_named("semi_f47"), late)), "not covered (longer than 1 s)");
  late.pieces = {{0.3, 40}, {2.7, 85}};
  EXPECT_EQ(words_of(*verdict_by_steps(curve_named("semi_f47"), late)), "trips (300 ms below 50 %)");
}

TEST(VerdictByStep, IsTooCloseToTellWithinTheUncertainty) {
  EventShape near = dip(0.9, 45);
  near.terms.cycle_seconds = 0.02;
  near.pieces = {{0.19, 45}, {0.71, 85}};
  EXPECT_EQ(verdict_by_steps(curve_named("iec_class_3"), near)->outcome, Outcome::too_close);
  near.pieces = {{0.17, 45}, {0.73, 85}};
  EXPECT_EQ(verdict_by_steps(curve_named("iec_class_3"), near)->outcome, Outcome::rides_through);
}

TEST(VerdictByStep, NeedsSeveralSegmentsAndADuration) {
  EventShape single = dip(0.3, 50);
  single.pieces = {{0.3, 50}};
  EXPECT_FALSE(verdict_by_steps(curve_named("itic"), single));
  EventShape lasting = dip(0.9, 45);
  lasting.pieces = {{0.15, 45}, {0.75, 85}};
  lasting.terms.seconds.reset();
  EXPECT_FALSE(verdict_by_steps(curve_named("itic"), lasting));
}

TEST(Severity, DividesTheDepthByThatOfTheCurve) {
  // IEEE 1564: with SEMI F47, 0.05 to 0.2 s count twice, to 0.5 s 1/0.3 times and to 1 s five times.
  const Curve semi_f47 = curve_named("semi_f47");
  EXPECT_NEAR(*severity_of(semi_f47, dip(0.1, 40)), 1.2, 1e-12);
  EXPECT_NEAR(*severity_of(semi_f47, dip(0.3, 70)), 1, 1e-12);
  EXPECT_NEAR(*severity_of(semi_f47, dip(0.8, 90)), 0.5, 1e-12);
  EXPECT_NEAR(*severity_of(curve_named("itic"), dip(0.02, 40)), 0.6, 1e-12) << "the curve is at 0 %";
  EXPECT_NEAR(*severity_of(curve_named("ieee_1668"), dip(0.15, 60, three)), 2, 1e-12) << "80 % at 0.15 s for type III";
}

TEST(Severity, IsMissingWhereTheCurveDoesNotCoverTheDip) {
  const Curve semi_f47 = curve_named("semi_f47");
  EXPECT_FALSE(severity_of(semi_f47, dip(1.01, 40)));
  EXPECT_FALSE(severity_of(semi_f47, dip(0.04, 40)));
  EXPECT_FALSE(severity_of(semi_f47, dip(0.1, 40, three)));
  EXPECT_FALSE(severity_of(curve_named("ieee_1668"), dip(0.1, 40, std::nullopt)));
  EventShape lasting = dip(0.1, 40);
  lasting.terms.seconds.reset();
  EXPECT_FALSE(severity_of(curve_named("itic"), lasting));
  Curve full = curve_named("itic");
  full.steps = {{1, 100}};
  EXPECT_FALSE(severity_of(full, dip(0.1, 40))) << "the curve has no depth";
}

TEST(Outcomes, HaveCodesAndWords) {
  EXPECT_EQ(outcome_code(Outcome::rides_through), "rides_through");
  EXPECT_EQ(outcome_code(Outcome::trips), "trips");
  EXPECT_EQ(outcome_code(Outcome::not_covered), "not_covered");
  EXPECT_EQ(outcome_code(Outcome::too_close), "too_close_to_tell");
  EXPECT_STREQ(outcome_words(Outcome::too_close), "too close to tell");
}

}  // namespace
