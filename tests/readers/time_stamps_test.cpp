#include "readers/time_stamps.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace readers {
namespace {

using Strings = std::vector<std::string>;
using Stamps = std::vector<double>;

constexpr double microseconds = 1e-6;

/// Returns stamps that start at `first` and are `step` apart.
Stamps even(std::size_t count, double step, double first = 0) {
  Stamps stamps;
  for (std::size_t i = 0; i < count; i++) stamps.push_back(std::round(first + step * static_cast<double>(i)));
  return stamps;
}

TimeTable table_of(double rate, const Stamps& stamps) {
  return read_time_stamps({{rate, stamps.size()}}, stamps, microseconds, 0);
}

// --- rates -----------------------------------------------------------------------------------------------------------

TEST(TimeStamps, TellTheRateWhereTheFileDoesNot) {
  const TimeTable table = table_of(0, even(100, 156.25));
  ASSERT_EQ(table.sections.size(), 1U);
  EXPECT_EQ(table.sections[0].rate, 6400) << "although each stamp is rounded to a microsecond";
  EXPECT_EQ(table.notes, Strings{"The file states no sampling rate; the time stamps give 6400 samples per second."});
}

TEST(TimeStamps, TellARateThatIsNotWhole) {
  EXPECT_NEAR(table_of(0, even(1000, 624.0)).sections[0].rate, 1602.564, 0.001);
}

TEST(TimeStamps, MayBeInNanoseconds) {
  const Stamps stamps = even(100, 78125);
  EXPECT_EQ(read_time_stamps({{0, 100}}, stamps, 1e-9, 0).sections[0].rate, 12800);
}

TEST(TimeStamps, MayRunOverTheEndOfSixteenOrThirtyTwoBits) {
  for (const double range : {65536.0, 4294967296.0}) {
    Stamps stamps = even(400, 1000, range - 20000);
    for (double& stamp : stamps) stamp = std::fmod(stamp, range);
    const TimeTable table = table_of(0, stamps);
    ASSERT_EQ(table.sections.size(), 1U) << range;
    EXPECT_EQ(table.sections[0].rate, 1000) << range;
    EXPECT_EQ(table_of(1000, stamps).notes, Strings{}) << range;
  }
}

TEST(TimeStamps, ThatAreMissingLeaveTheRateOpen) {
  const TimeTable table = table_of(0, Stamps(50, no_value));
  EXPECT_EQ(table.sections[0].rate, 0);
  EXPECT_EQ(table.notes, Strings{"The file states no sampling rate, and it cannot be derived from the time stamps."});
  EXPECT_EQ(read_time_stamps({{0, 50}}, Stamps(50, no_value), microseconds, 4000).sections[0].rate, 4000);
}

TEST(TimeStamps, ThatAreMissingDoNotDisturbAStatedRate) {
  const TimeTable table = table_of(1000, Stamps(50, no_value));
  ASSERT_EQ(table.sections.size(), 1U);
  EXPECT_EQ(table.sections[0].rate, 1000);
  EXPECT_EQ(table.notes, Strings{});
}

TEST(TimeStamps, ThatDisagreeWithTheStatedRateLeaveTheDecisionToTheCaller) {
  const TimeTable table = table_of(1000, even(50, 500));
  EXPECT_EQ(table.sections[0].rate, 1000);
  EXPECT_EQ(table.contradicting_rate, 2000);
  EXPECT_EQ(table.contradicted_rate, 1000);
  EXPECT_EQ(table.notes, Strings{});
}

// --- places where time is missing ------------------------------------------------------------------------------------

TEST(TimeStamps, TakeTheRecordApartWhereTimeIsMissing) {
  Stamps stamps = even(100, 1000);
  for (std::size_t i = 40; i < 100; i++) stamps[i] += 2e6;
  const TimeTable table = table_of(1000, stamps);
  ASSERT_EQ(table.sections.size(), 2U);
  EXPECT_EQ(table.sections[0].end, 40U);
  EXPECT_TRUE(table.sections[0].follows);
  EXPECT_EQ(table.sections[1].end, 100U);
  EXPECT_FALSE(table.sections[1].follows);
  EXPECT_NEAR(table.sections[1].start, 2.04, 1e-9);
  EXPECT_EQ(table.notes, Strings{"The time stamps jump forward by 2 s at sample 41; the record is split there."});
}

TEST(TimeStamps, CountThePlacesWhereTimeIsMissing) {
  Stamps stamps = even(100, 1000);
  for (std::size_t i = 40; i < 100; i++) stamps[i] += i < 70 ? 1e5 : 2e5;
  EXPECT_EQ(table_of(1000, stamps).notes,
            Strings{"The time stamps jump forward by 0.1 s at sample 41; the record is split there. There are 1 more "
                    "such places."});
}

TEST(TimeStamps, ThatGoBackAreSaidAndLeaveTheRecordWhole) {
  Stamps stamps = even(100, 1000);
  for (std::size_t i = 40; i < 100; i++) stamps[i] -= 30000;
  const TimeTable table = table_of(1000, stamps);
  EXPECT_EQ(table.sections.size(), 1U);
  EXPECT_EQ(table.notes, Strings{"The time stamps jump back by 0.03 s at sample 41; the samples are assumed to "
                                 "follow one another at the stated rate."});
}

TEST(TimeStamps, ThatAreLateFromSomewhereOnByAPartOfAStepSaySo) {
  Stamps stamps = even(100, 1000);
  stamps[20] += 400;
  EXPECT_EQ(table_of(1000, stamps).notes, Strings{}) << "a single late stamp is not reported";
  for (std::size_t i = 40; i < 100; i++) stamps[i] += 400;
  EXPECT_EQ(
      table_of(1000, stamps).notes,
      Strings{"From sample 41 on, the time stamps are 400 us later than the sampling rate implies; the samples are "
              "assumed to follow one another without a gap."});
}

TEST(TimeStamps, TellWhetherSectionsFollowEachOther) {
  Stamps stamps = even(50, 1000);
  const Stamps second = even(50, 500, 50000);
  const Stamps third = even(50, 1000, 1e6);
  stamps.insert(stamps.end(), second.begin(), second.end());
  stamps.insert(stamps.end(), third.begin(), third.end());
  const TimeTable table = read_time_stamps({{1000, 50}, {2000, 100}, {1000, 150}}, stamps, microseconds, 0);
  ASSERT_EQ(table.sections.size(), 3U);
  EXPECT_TRUE(table.sections[1].follows);
  EXPECT_NEAR(table.sections[1].start, 0.05, 1e-9);
  EXPECT_FALSE(table.sections[2].follows);
  EXPECT_NEAR(table.sections[2].start, 1, 0.002);
}

TEST(TimeStamps, PlaceASectionAfterOthersThatShareTheirTimes) {
  // Two rates over the same 50 ms, twice, 10 s apart.
  Stamps stamps;
  for (const double first : {0.0, 1e7}) {
    const Stamps fast = even(100, 500, first);
    const Stamps slow = even(50, 1000, first);
    stamps.insert(stamps.end(), fast.begin(), fast.end());
    stamps.insert(stamps.end(), slow.begin(), slow.end());
  }
  const TimeTable table =
      read_time_stamps({{2000, 100}, {1000, 150}, {2000, 250}, {1000, 300}}, stamps, microseconds, 0);
  ASSERT_EQ(table.sections.size(), 4U);
  EXPECT_NEAR(table.sections[1].start, 0.05, 1e-9);
  EXPECT_NEAR(table.sections[2].start, 10, 0.002);
}

// --- written times ---------------------------------------------------------------------------------------------------

TEST(WrittenTimes, AreReadToTheNanosecond) {
  const auto time = parse_time("31/12/1998", "23:59:59.123456789");
  ASSERT_TRUE(time.has_value());
  EXPECT_EQ(time->date, "31/12/1998");
  EXPECT_EQ(time->seconds_of_day, 86399.123456789);
  EXPECT_EQ(time->decimals, 9);
  EXPECT_EQ(parse_time("1/1/98", "0:0:7")->decimals, 0);
}

TEST(WrittenTimes, ThatAreNoneAreNothing) {
  for (const char* text : {"", "12:00", "a:b:c", "1:2:-3", "1:2:99", "1:2:nan", "98923:59:59", "24:00:01", "0:60:0"}) {
    EXPECT_FALSE(parse_time("d", text).has_value()) << text;
  }
}

TEST(WrittenTimes, LieApartAcrossMidnightToo) {
  const auto between = [](const char* d1, const char* t1, const char* d2, const char* t2) {
    return seconds_between(*parse_time(d1, t1), *parse_time(d2, t2));
  };
  EXPECT_NEAR(between("1/1/20", "10:00:00", "1/1/20", "10:00:00.25").value(), 0.25, 1e-9);
  EXPECT_NEAR(between("1/1/20", "23:59:59.5", "2/1/20", "0:0:0.5").value(), 1, 1e-9);
  EXPECT_EQ(between("1/1/20", "24:00:00", "2/1/20", "0:0:0"), 0);
  EXPECT_EQ(between("1/1/20", "23:59:60.5", "2/1/20", "0:0:0.25"), 0) << "a leap second";
  EXPECT_FALSE(between("1/1/20", "10:00:00", "1/1/20", "9:00:00").has_value());
  EXPECT_FALSE(between("22/02/2010", "21:41:29", "01/01/1970", "22:00:00").has_value());
}

}  // namespace
}  // namespace readers
