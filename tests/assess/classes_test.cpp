// The cells and classes of events, with the limits of each table worked out by hand.
#include "assess/classes.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "tests/assess/event.h"

namespace {

using assess::DipKind;
using assess::EventTerms;
using tests::event;

TEST(En50160, HasACellForEachRangeOfResidualVoltageAndDuration) {
  const double longest[] = {0.2, 0.5, 1, 5, 60};
  const std::tuple<char, double, double> rows[] = {
      {'A', 89.9, 80}, {'B', 79.9, 70}, {'C', 69.9, 40}, {'D', 39.9, 5}, {'X', 4.9, 0}};
  for (int column = 0; column < 5; column++) {
    const double above_the_last = column == 0 ? 0.01 : longest[column - 1] + 0.001;
    for (const auto& [letter, highest, lowest] : rows) {
      const std::string cell = {letter, static_cast<char>('1' + column)};
      for (const double percent : {highest, lowest}) {
        EXPECT_EQ(assess::en50160_cell(event(longest[column], percent)), cell) << percent;
        EXPECT_EQ(assess::en50160_cell(event(above_the_last, percent)), cell) << percent;
      }
    }
  }
}

TEST(En50160, HasNoCellOutsideItsTable) {
  EXPECT_EQ(assess::en50160_cell(event(0.0099, 50)), "");
  EXPECT_EQ(assess::en50160_cell(event(60.1, 50)), "");
  EXPECT_EQ(assess::en50160_cell(event(0.1, 90)), "");
  EventTerms lasting = event(1, 50);
  lasting.seconds.reset();
  EXPECT_EQ(assess::en50160_cell(lasting), "");
}

TEST(En50160, KnowsWhenALimitOfACellIsNear) {
  const auto near = [](double seconds, double percent) {
    EventTerms terms = event(seconds, percent);
    terms.cycle_seconds = 0.02;
    return assess::is_near_cell_limit(terms);
  };
  EXPECT_FALSE(near(0.3, 60));
  EXPECT_TRUE(near(0.3, 69.9)) << "70 % is within 0.2 %";
  EXPECT_FALSE(near(0.3, 69.7));
  EXPECT_TRUE(near(0.3, 89.9)) << "the limit of the table itself";
  EXPECT_TRUE(near(0.215, 60)) << "0.2 s is within a cycle";
  EXPECT_FALSE(near(0.225, 60));
  EXPECT_FALSE(near(0.3, 95)) << "outside of the table there is no cell";
}

TEST(En50160, HasACellForEachRangeOfASwell) {
  EXPECT_EQ(assess::en50160_swell_cell(event(0.01, 120)), "S1");
  EXPECT_EQ(assess::en50160_swell_cell(event(0.5, 119.9)), "T1");
  EXPECT_EQ(assess::en50160_swell_cell(event(0.501, 110.1)), "T2");
  EXPECT_EQ(assess::en50160_swell_cell(event(5, 150)), "S2");
  EXPECT_EQ(assess::en50160_swell_cell(event(5.01, 120)), "S3");
  EXPECT_EQ(assess::en50160_swell_cell(event(60, 115)), "T3");
  EXPECT_EQ(assess::en50160_swell_cell(event(60.1, 115)), "");
  EXPECT_EQ(assess::en50160_swell_cell(event(0.0099, 115)), "");
  EXPECT_EQ(assess::en50160_swell_cell(event(1, 110)), "");
  EventTerms lasting = event(1, 115);
  lasting.seconds.reset();
  EXPECT_EQ(assess::en50160_swell_cell(lasting), "");
}

TEST(Unipede, HasACellForEachRangeOfDepthAndDuration) {
  const std::tuple<const char*, double, double> rows[] = {
      {"10 to 30 %", 90, 70.1}, {"30 to 60 %", 70, 40.1}, {"60 to 100 %", 40, 1}, {"100 %", 0.9, 0}};
  const std::tuple<const char*, double, double> columns[] = {
      {"10 to 100 ms", 0.01, 0.099}, {"100 to 500 ms", 0.1, 0.499}, {"0.5 to 1 s", 0.5, 0.999},
      {"1 to 3 s", 1, 2.99},         {"3 to 20 s", 3, 19.9},        {"20 to 60 s", 20, 59.9}};
  for (const auto& [depth, highest, lowest] : rows) {
    for (const auto& [duration, shortest, longest] : columns) {
      const std::string cell = std::string(depth) + " for " + duration;
      EXPECT_EQ(assess::unipede_cell(event(shortest, highest)), cell);
      EXPECT_EQ(assess::unipede_cell(event(longest, lowest)), cell);
    }
  }
}

TEST(Unipede, HasNoCellOutsideItsTable) {
  EXPECT_EQ(assess::unipede_cell(event(0.0099, 50)), "");
  EXPECT_EQ(assess::unipede_cell(event(60, 50)), "");
  EXPECT_EQ(assess::unipede_cell(event(1, 90.1)), "");
  EventTerms lasting = event(1, 50);
  lasting.seconds.reset();
  EXPECT_EQ(assess::unipede_cell(lasting), "");
}

/// The class of an event at 50 Hz, at which 30 cycles last 0.6 s.
std::string class_of(double seconds, double percent, bool swell = false) {
  EventTerms terms = event(seconds, percent);
  terms.cycle_seconds = 0.02;
  return assess::ieee1159_class(terms, swell);
}

TEST(Ieee1159, DividesSagsByDuration) {
  EXPECT_EQ(class_of(0.0099, 50), "");
  EXPECT_EQ(class_of(0.01, 50), "instantaneous sag");
  EXPECT_EQ(class_of(0.6, 50), "instantaneous sag");
  EXPECT_EQ(class_of(0.601, 50), "momentary sag");
  EXPECT_EQ(class_of(3, 50), "momentary sag");
  EXPECT_EQ(class_of(3.01, 50), "temporary sag");
  EXPECT_EQ(class_of(60, 50), "temporary sag");
  EXPECT_EQ(class_of(60.1, 50), "undervoltage");
}

TEST(Ieee1159, DividesSwellsByDuration) {
  EXPECT_EQ(class_of(0.6, 120, true), "instantaneous swell");
  EXPECT_EQ(class_of(0.601, 120, true), "momentary swell");
  EXPECT_EQ(class_of(3.01, 120, true), "temporary swell");
  EXPECT_EQ(class_of(60.1, 120, true), "overvoltage");
}

TEST(Ieee1159, KnowsInterruptionsByTheirResidualVoltage) {
  EXPECT_EQ(class_of(0.1, 10), "instantaneous sag");
  EXPECT_EQ(class_of(0.1, 9.9), "momentary interruption") << "no interruption is instantaneous";
  EXPECT_EQ(class_of(3, 0), "momentary interruption");
  EXPECT_EQ(class_of(3.01, 0), "temporary interruption");
  EXPECT_EQ(class_of(60.1, 0), "sustained interruption");
}

TEST(Ieee1159, NeedsADurationOrMoreThanAMinute) {
  EventTerms lasting = event(59, 50);
  lasting.seconds.reset();
  EXPECT_EQ(assess::ieee1159_class(lasting, false), "");
  lasting.least_seconds = 61;
  EXPECT_EQ(assess::ieee1159_class(lasting, false), "undervoltage");
}

TEST(C4_110, HasATypeForEachLetter) {
  for (const char letter : {'B', 'D', 'F'}) EXPECT_EQ(assess::kind_of(letter), DipKind::one_voltage) << letter;
  for (const char letter : {'C', 'E', 'G'}) EXPECT_EQ(assess::kind_of(letter), DipKind::two_voltages) << letter;
  EXPECT_EQ(assess::kind_of('A'), DipKind::three_voltages);
  EXPECT_FALSE(assess::kind_of('H'));
  EXPECT_STREQ(assess::kind_numeral(DipKind::one_voltage), "I");
  EXPECT_STREQ(assess::kind_numeral(DipKind::two_voltages), "II");
  EXPECT_STREQ(assess::kind_numeral(DipKind::three_voltages), "III");
}

}  // namespace
