// The way from findings to the assessment: the shape of an event, and the curves that judge it.
#include "analysis/assessment.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/outputs/found_by_hand.h"

namespace {

using assess::DipKind;
using measure::EventKind;
using tests::one_dip_found;

TEST(Assessment, TakesThePiecesOfADipFromItsSegments) {
  const auto analysis = one_dip_found();
  const auto shape = analysis::shape_of(analysis.found.events[0], analysis);
  EXPECT_EQ(shape.terms.percent, 50);
  EXPECT_FALSE(shape.swell);
  EXPECT_FALSE(shape.interruption);
  ASSERT_EQ(shape.pieces.size(), 2U);
  EXPECT_NEAR(shape.pieces[0].seconds, 0.101, 1e-12) << "until the next segment begins";
  EXPECT_NEAR(shape.pieces[0].percent, 50, 1e-12);
  EXPECT_NEAR(shape.pieces[1].seconds, 0.099, 1e-12);
  EXPECT_NEAR(shape.pieces[1].percent, 70, 1e-12);
}

TEST(Assessment, MeasuresPiecesInPerCentOfTheEventsReference) {
  auto analysis = one_dip_found();
  analysis.found.events[0].reference_v = 200;
  EXPECT_NEAR(analysis::shape_of(analysis.found.events[0], analysis).pieces[0].percent, 57.5, 1e-12);
}

TEST(Assessment, HasNoPiecesUnlessAllOfTheDipWasMeasured) {
  auto analysis = one_dip_found();
  auto& dip = analysis.found.events[0];
  dip.course->segments[1].measured = false;
  EXPECT_TRUE(analysis::shape_of(dip, analysis).pieces.empty());
  dip = tests::a_dip();
  dip.course->end_s.reset();
  dip.course->segments[1].end_s.reset();
  EXPECT_TRUE(analysis::shape_of(dip, analysis).pieces.empty());
  dip.course.reset();
  EXPECT_TRUE(analysis::shape_of(dip, analysis).pieces.empty());
}

TEST(Assessment, GivesADipTheTypeOfItsLowestSegment) {
  auto analysis = one_dip_found();
  auto& dip = analysis.found.events[0];
  dip.course->segments[0].type->letter = 'E';
  dip.course->segments[1].type->letter = 'A';
  EXPECT_EQ(analysis::shape_of(dip, analysis).kind, DipKind::two_voltages) << "50 % are lower than 70 %";
  dip.course->segments[1].phases[2].voltage_v.value = 23;
  EXPECT_EQ(analysis::shape_of(dip, analysis).kind, DipKind::three_voltages);
  dip.course->end_s.reset();
  dip.course->segments[1].end_s.reset();
  EXPECT_EQ(analysis::shape_of(dip, analysis).kind, DipKind::three_voltages) << "it may go on beyond the record";
  dip.course->segments[1].type.reset();
  EXPECT_FALSE(analysis::shape_of(dip, analysis).kind) << "fewer than three voltages have no type";
}

TEST(Assessment, FindsAnInterruptionWithinItsDip) {
  auto analysis = one_dip_found();
  measure::Event interruption;
  interruption.kind = EventKind::interruption;
  interruption.start_s = 0.6;
  analysis.found.events.push_back(interruption);
  EXPECT_FALSE(analysis::shape_of(analysis.found.events[0], analysis).interruption) << "it is after the dip";
  analysis.found.events[1].start_s = 0.3;
  EXPECT_TRUE(analysis::shape_of(analysis.found.events[0], analysis).interruption);
}

TEST(Assessment, JudgesDipsAndSwellsByTheirOwnCurves) {
  auto analysis = one_dip_found();
  EXPECT_EQ(analysis::judgements_of(analysis.found.events[0], analysis).size(), 5U);
  measure::Event& event = analysis.found.events[0];
  event.course.reset();
  event.kind = EventKind::swell;
  const auto of_swell = analysis::judgements_of(event, analysis);
  ASSERT_EQ(of_swell.size(), 1U);
  EXPECT_EQ(of_swell[0].curve.code, "itic_upper");
  event.kind = EventKind::interruption;
  EXPECT_TRUE(analysis::judgements_of(event, analysis).empty());
  event.kind = EventKind::rapid_voltage_change;
  EXPECT_TRUE(analysis::judgements_of(event, analysis).empty());
}

TEST(Assessment, DrawsTheCurvesOfResidualVoltageAndDuration) {
  std::vector<std::string> codes;
  for (const auto& curve : analysis::drawn_curves(one_dip_found())) codes.push_back(curve.code);
  EXPECT_EQ(codes, (std::vector<std::string>{"itic", "semi_f47"}));
}

}  // namespace
