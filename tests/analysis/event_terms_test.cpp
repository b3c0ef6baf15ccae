// An event in the field's own terms.
#include "analysis/event_terms.h"

#include <gtest/gtest.h>

#include <optional>

namespace {

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

}  // namespace
