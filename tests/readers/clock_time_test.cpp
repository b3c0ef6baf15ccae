// The date and time at a place in a record.
#include "readers/clock_time.h"

#include <gtest/gtest.h>

namespace {

readers::Record record_of(const char* format, const char* start, const char* zone = "") {
  readers::Record record;
  record.format = format;
  record.start_time = start;
  record.time_zone = zone;
  return record;
}

TEST(ClockTime, TakesTheDayFirstFromTheRevisionOf1999On) {
  EXPECT_EQ(readers::iso_time(record_of("COMTRADE 1999 BINARY", "08/01/2014,12:30:06.250000"), 0.5),
            "2014-01-08T12:30:06.750000");
}

TEST(ClockTime, TakesTheMonthFirstInTheRevisionOf1991) {
  EXPECT_EQ(readers::iso_time(record_of("COMTRADE 1991 ASCII", "08/01/94,12:30:06.25"), 0),
            "1994-08-01T12:30:06.250000");
}

TEST(ClockTime, TakesANumberAboveTwelveForTheDay) {
  EXPECT_EQ(readers::iso_time(record_of("COMTRADE 1991 ASCII", "25/01/2009,01:38:41.0008"), 0),
            "2009-01-25T01:38:41.000800");
  EXPECT_EQ(readers::iso_time(record_of("COMTRADE 1999 ASCII", "01/25/2009 01:38:41"), 0),
            "2009-01-25T01:38:41.000000");
}

TEST(ClockTime, CarriesIntoTheNextDayAndBack) {
  const auto record = record_of("CSV", "2023-12-31 23:59:59.5");
  EXPECT_EQ(readers::iso_time(record, 1), "2024-01-01T00:00:00.500000");
  EXPECT_EQ(readers::iso_time(record, -86400), "2023-12-30T23:59:59.500000");
}

TEST(ClockTime, AppendsTheZoneThatTheFileGives) {
  const auto at = [](const char* zone) {
    return readers::iso_time(record_of("COMTRADE 2013 ASCII", "08/01/2014,12:30:06", zone), 0);
  };
  EXPECT_EQ(at("+5h30"), "2014-01-08T12:30:06.000000+05:30");
  EXPECT_EQ(at("-4"), "2014-01-08T12:30:06.000000-04:00");
  EXPECT_EQ(at("0"), "2014-01-08T12:30:06.000000+00:00");
  EXPECT_EQ(at("-0h30"), "2014-01-08T12:30:06.000000-00:30");
  EXPECT_EQ(at("x"), "2014-01-08T12:30:06.000000");
}

TEST(ClockTime, LeavesOutWhatFollowsTheTime) {
  EXPECT_EQ(readers::iso_time(record_of("CSV", "2023-12-31T23:59:58.5Z"), 0), "2023-12-31T23:59:58.500000");
}

TEST(ClockTime, IsEmptyForWhatIsNoDateAndTime) {
  for (const char* text : {"", "12:30:06", "08/01/2014", "99/99/2014,12:30:06", "08/01/2014,25:30:06", "0,0"}) {
    EXPECT_EQ(readers::iso_time(record_of("COMTRADE 1999 ASCII", text), 0), "") << text;
  }
  EXPECT_EQ(readers::iso_time(record_of("CSV", "2023-12-31 23:59:59.5"), 1e21), "");
}

TEST(ClockTime, IsEmptyForYearsOfMoreThanFourDigits) {
  for (const char* text : {"31/12/199899999 23:59:59", "31/12/10000 23:59:59", "31/12/99999999999999999999 23:59:59"}) {
    EXPECT_EQ(readers::iso_time(record_of("COMTRADE 1999 ASCII", text), 0), "") << text;
  }
  const auto last_day = record_of("COMTRADE 1999 ASCII", "31/12/9999 23:59:59");
  EXPECT_EQ(readers::iso_time(last_day, 0), "9999-12-31T23:59:59.000000");
  EXPECT_EQ(readers::iso_time(last_day, 1), "");
}

TEST(ClockTime, SaysWhetherDayAndMonthCouldBeExchanged) {
  EXPECT_TRUE(readers::has_ambiguous_date(record_of("COMTRADE 1999 ASCII", "08/01/2014,12:30:06")));
  EXPECT_FALSE(readers::has_ambiguous_date(record_of("COMTRADE 1999 ASCII", "08/08/2014,12:30:06")));
  EXPECT_FALSE(readers::has_ambiguous_date(record_of("COMTRADE 1999 ASCII", "28/01/2014,12:30:06")));
  EXPECT_FALSE(readers::has_ambiguous_date(record_of("CSV", "2014-01-08 12:30:06")));
}

}  // namespace
