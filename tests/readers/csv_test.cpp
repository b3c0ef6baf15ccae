#include "readers/table/csv.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "readers/text.h"
#include "tests/readers/scratch_folder.h"

namespace readers {
namespace {

using Samples = std::vector<double>;
using Strings = std::vector<std::string>;

Strings names_of(const Record& record) {
  Strings names;
  for (const Channel& channel : record.channels) names.push_back(channel.name);
  return names;
}

Strings units_of(const Record& record) {
  Strings units;
  for (const Channel& channel : record.channels) units.push_back(channel.unit);
  return units;
}

std::string refusal(const std::string& content, double rate = 0) {
  return refusal_of([&] { read_csv("t.csv", content, {rate}); });
}

// --- shape -----------------------------------------------------------------------------------------------------------

TEST(CsvReader, ReadsNamesTimeAndSamples) {
  const Record record = read_csv("t.csv", "t_s,v1_V,v2_V\n0.000,1.5,-2\n0.001,2.5,-3e1\n0.002,+3.5,0\n");
  EXPECT_EQ(record.file, "t.csv");
  EXPECT_EQ(record.format, "CSV");
  EXPECT_EQ(names_of(record), (Strings{"v1", "v2"}));
  EXPECT_EQ(units_of(record), (Strings{"V", "V"}));
  EXPECT_EQ(record.channels[0].samples, (Samples{1.5, 2.5, 3.5}));
  EXPECT_EQ(record.channels[1].samples, (Samples{-2, -30, 0}));
  EXPECT_EQ(record.channels[0].phase, "");
  EXPECT_EQ(record.line_frequency, 0);
  ASSERT_EQ(record.rates.size(), 1U);
  EXPECT_EQ(record.rates[0].rate, 1000);
  EXPECT_EQ(record.rates[0].end, 3U);
  EXPECT_TRUE(record.notes.empty());
}

TEST(CsvReader, DetectsTheSeparator) {
  for (const char* content : {"t,Ua,Ub\n0,1,2\n1,3,4\n", "t;Ua;Ub\n0;1;2\n1;3;4\n", "t\tUa\tUb\n0\t1\t2\n1\t3\t4\n"}) {
    const Record record = read_csv("t.csv", content);
    EXPECT_EQ(names_of(record), (Strings{"Ua", "Ub"})) << content;
    EXPECT_EQ(record.channels[1].samples, (Samples{2, 4})) << content;
  }
}

TEST(CsvReader, LooksForTheSeparatorOutsideQuotes) {
  const Record record = read_csv("t.csv", "\"t\",\"Ua; first\",\"Ub, \"\"second\"\"\"\n\"0\",\"1\",2\n1,3,4\n");
  EXPECT_EQ(names_of(record), (Strings{"Ua; first", "Ub, \"second\""}));
  EXPECT_EQ(record.channels[0].samples, (Samples{1, 3}));
}

TEST(CsvReader, KeepsEmptyCellsBetweenTabs) {
  const Record record = read_csv("t.csv", "Ua\tUb\tUc\n\t2\t\n4\t\t6\n", {1000});
  EXPECT_TRUE(std::isnan(record.channels[0].samples[0]));
  EXPECT_EQ(record.channels[1].samples[0], 2);
  EXPECT_TRUE(std::isnan(record.channels[2].samples[0]));
  EXPECT_EQ(record.channels[2].samples[1], 6);
}

TEST(CsvReader, AcceptsAllEndsOfLinesAndBlankLines) {
  for (const char* content : {"Ua,Ub\r\n1,2\r\n3,4\r\n", "Ua,Ub\r1,2\r3,4", "\nUa,Ub\n\n1,2\n\n\n3,4\n\n",
                              "\xEF\xBB\xBFUa,Ub\n1,2\n3,4\n\x1A"}) {
    const Record record = read_csv("t.csv", content, {50});
    EXPECT_EQ(names_of(record), (Strings{"Ua", "Ub"})) << content;
    EXPECT_EQ(record.channels[1].samples, (Samples{2, 4})) << content;
  }
}

TEST(CsvReader, SkipsRemarksInFront) {
  const Record record = read_csv("t.csv", "# made by hand; 3 kV\n  # second\n\nUa,Ub\n1,2\n", {50});
  EXPECT_EQ(names_of(record), (Strings{"Ua", "Ub"}));
  EXPECT_NE(refusal("# one\nUa,Ub\n1,2\n3,x\n", 50).find("line 4: "), std::string::npos);
}

TEST(CsvReader, NamesColumnsByTheirPlaceWhenNothingElseDoes) {
  EXPECT_EQ(names_of(read_csv("t.csv", "1,2,3\n4,5,7\n", {50})), (Strings{"column 1", "column 2", "column 3"}));
  EXPECT_EQ(names_of(read_csv("t.csv", "t,Ua,,Uc\n0,1,2,3\n1,4,5,6\n")), (Strings{"Ua", "column 3", "Uc"}));
}

TEST(CsvReader, LeavesOutTheBlankColumnBehindALastSeparator) {
  EXPECT_EQ(names_of(read_csv("t.csv", "t,Ua,Ub,\n0,1,2,\n1,4,5,\n")), (Strings{"Ua", "Ub"}));
}

TEST(CsvReader, MakesNamesInert) {
  EXPECT_EQ(names_of(read_csv("t.csv",
                              "\xD3U\x1B"
                              "a,Ub\n1,2\n",
                              {50})),
            (Strings{"\xC3\x93Ua", "Ub"}));
}

TEST(CsvReader, GivesMissingValuesAsNaN) {
  const Record record = read_csv("t.csv", "Ua,Ub\n,nan\nNaN, \n1,2\n", {50});
  for (const Channel& channel : record.channels) {
    EXPECT_TRUE(std::isnan(channel.samples[0]));
    EXPECT_TRUE(std::isnan(channel.samples[1]));
    EXPECT_FALSE(std::isnan(channel.samples[2]));
  }
}

// --- units -----------------------------------------------------------------------------------------------------------

TEST(CsvReader, TakesUnitsFromNames) {
  const Record record =
      read_csv("t.csv", "v1_V,Ua [kV],Ub (V),Uc/mV,phase_A_voltage,Ia_A,f [Hz],x [furlong]\n1,2,3,4,5,6,7,8\n", {50});
  EXPECT_EQ(names_of(record), (Strings{"v1", "Ua", "Ub", "Uc", "phase_A_voltage", "Ia", "f", "x"}));
  EXPECT_EQ(units_of(record), (Strings{"V", "kV", "V", "mV", "", "A", "Hz", "furlong"}));
}

TEST(CsvReader, ReadsCellsSeparatedByBlanks) {
  for (const char* text : {"t Ua Ub\n0 1.5 -2\n0.001 3 4e1\n", "  t   Ua   Ub \r\n  0   1.5  -2 \r\n0.001  3  40\r\n",
                           "# exported\nt Ua Ub\n0 1,5 -2\n0,001 3 40\n"}) {
    const Record record = read_csv("t.txt", text, {});
    EXPECT_EQ(names_of(record), (Strings{"Ua", "Ub"})) << text;
    ASSERT_EQ(record.channels.size(), 2U) << text;
    EXPECT_EQ(record.channels[0].samples, (std::vector<double>{1.5, 3})) << text;
    EXPECT_EQ(record.channels[1].samples, (std::vector<double>{-2, 40})) << text;
    EXPECT_DOUBLE_EQ(record.rates.at(0).rate, 1000) << text;
  }
  // Blanks after commas and within time stamps separate nothing.
  EXPECT_EQ(read_csv("t.csv", "t, U a, U b\n0, 1, 2\n0.001, 3, 4\n", {}).channels.size(), 2U);
  EXPECT_EQ(read_csv("t.csv", "t,U a\n2020-01-01 12:00:00.000,1\n2020-01-01 12:00:00.001,3\n", {}).channels.size(), 1U);
}

TEST(CsvReader, KnowsUnitsInAllLettersAndPlaces) {
  const std::vector<std::pair<std::string, std::string>> headings = {{"U (kV)", "kV"},
                                                                     {"U_mv", "mv"},
                                                                     {"U [volts]", "volts"},
                                                                     {"U/Volt", "Volt"},
                                                                     {"I (kA)", "kA"},
                                                                     {"I_ma", "ma"},
                                                                     {"I [amps]", "amps"},
                                                                     {"I/ampere", "ampere"},
                                                                     {"U [В]", "В"},
                                                                     {"U (кВ)", "кВ"},
                                                                     {"I [А]", "А"},
                                                                     {"P (kW)", "kW"},
                                                                     {"f_Hz", "Hz"},
                                                                     {"load [%]", "%"},
                                                                     {"Current_A", "A"},
                                                                     {"U [ V ]", "V"},
                                                                     {"U (V", ""},
                                                                     {"U V]", ""},
                                                                     {"[V]", ""},
                                                                     {"U []", ""},
                                                                     {"phase (A)", ""},
                                                                     {"U_x", ""},
                                                                     {"U/", ""},
                                                                     {"_V", ""}};
  for (const auto& [heading, unit] : headings) {
    const Record record = read_csv("t.csv", "Ub_V," + heading + "\n1,2\n", {50});
    ASSERT_EQ(record.channels.size(), 2U) << heading;
    EXPECT_EQ(record.channels[1].unit, unit) << heading;
    if (!unit.empty()) continue;
    EXPECT_EQ(record.channels[1].name, heading) << "the whole heading is the name";
  }
}

TEST(CsvReader, TakesARowForUnitsOnlyIfAllItsCellsAreSome) {
  const auto names_with = [](const std::string& row) {
    return names_of(read_csv("t.csv", "Time,Ua,Ub\n" + row + "\n0,1,2\n0.001,3,4\n"));
  };
  const Strings above = {"Ua", "Ub"};
  EXPECT_EQ(names_with("s,V,V"), above);
  EXPECT_EQ(names_with("s,(V),"), above) << "a channel may have no unit";
  EXPECT_EQ(names_of(read_csv("t.csv", "Time,Ua,Ub\nhh:mm:ss.sss,V,-\n10:00:00.000,1,2\n10:00:00.001,3,4\n")), above);
  EXPECT_EQ(names_with("t,V,north"), (Strings{"V", "north"})) << "other words are names";
}

TEST(CsvReader, TakesUnitsFromNamesOfCurrents) {
  const Record record = read_csv("t.csv", "Ia_A,3I0_A,Line 1 IL2 (A),bay_Ib_A,V in_A\n1,2,3,4,5\n", {50});
  EXPECT_EQ(names_of(record), (Strings{"Ia", "3I0", "Line 1 IL2", "bay_Ib", "V in_A"}));
}

TEST(CsvReader, DoesNotTakeAPhaseForAUnit) {
  const Record record = read_csv("t.csv", "U_A,U (A),v_Ug_A,U [a],Ua_SUB_A_VT2\n1,2,3,4,5\n", {50});
  EXPECT_EQ(names_of(record), (Strings{"U_A", "U (A)", "v_Ug_A", "U [a]", "Ua_SUB_A_VT2"}));
  EXPECT_EQ(units_of(record), (Strings{"", "", "", "", ""}));
}

// --- time ------------------------------------------------------------------------------------------------------------

TEST(CsvReader, FindsTheTimeByItsName) {
  const std::vector<std::pair<std::string, double>> headings = {
      {"t", 10},
      {"T", 10},
      {"t_s", 10},
      {"time", 10},
      {"Time (s)", 10},
      {"timestamp", 10},
      {"time_s", 10},
      {"Zeit", 10},
      {"Zeit [s]", 10},
      {"t_ms", 10000},
      {"time [ms]", 10000},
      {"Zeit/ms", 10000},
      {"time_us", 1e7},
      {"t [\xC2\xB5s]", 1e7},
      {"Time (\xCE\xBCs)", 1e7},
      {"Time (seconds)", 10},
      {"Время (мс)", 10000},
      {"\"Время, с\"", 10},
      {"Zeit in ms", 10000},
      {"time us", 1e7},
  };
  for (const auto& [heading, rate] : headings) {
    const Record record = read_csv("t.csv", heading + ",Ua\n0,1\n0.1,2\n0.2,3\n");
    EXPECT_EQ(record.rates[0].rate, rate) << heading;
    EXPECT_EQ(names_of(record), Strings{"Ua"}) << heading;
  }
}

TEST(CsvReader, FindsTheTimeInAnyColumn) {
  const Record record = read_csv("t.csv", "Ua,t_ms\n5,0\n6,0.5\n");
  EXPECT_EQ(record.rates[0].rate, 2000);
  EXPECT_EQ(record.channels[0].samples, (Samples{5, 6}));
}

TEST(CsvReader, FindsTheTimeWithoutNames) {
  const Record record = read_csv("t.csv", "0.00,1,2,3\n0.02,4,5,7\n0.04,8,9,10\n");
  EXPECT_EQ(record.rates[0].rate, 50);
  EXPECT_EQ(names_of(record), (Strings{"column 2", "column 3", "column 4"}));
}

TEST(CsvReader, TakesNoColumnForTheTimeWithoutNamesUnlessItRisesEvenly) {
  EXPECT_EQ(read_csv("t.csv", "0.000,1,2,3\n0.020,4,5,7\n0.050,8,9,10\n", {50}).channels.size(), 4U);
  EXPECT_EQ(read_csv("t.csv", "0.04,1,2,3\n0.02,4,5,7\n0.00,8,9,10\n", {50}).channels.size(), 4U);
  EXPECT_EQ(read_csv("t.csv", "0.00,1,2\n0.02,4,5\n0.04,8,9\n", {50}).channels.size(), 3U);
}

TEST(CsvReader, LeavesOutAColumnThatCountsTheSamples) {
  const Record record = read_csv("t.csv", "1,10,20,30\n2,11,21,31\n3,12,22,32\n", {4000});
  EXPECT_EQ(record.rates[0].rate, 4000);
  EXPECT_EQ(names_of(record), (Strings{"column 2", "column 3", "column 4"}));
  EXPECT_EQ(record.notes, Strings{"The first column counts the samples and was left out."});
}

TEST(CsvReader, TakesTheGivenRateWithoutTimes) {
  EXPECT_EQ(read_csv("t.csv", "Ua,Ub\n1,2\n3,4\n", {12800}).rates[0].rate, 12800);
}

TEST(CsvReader, AsksForTheRateWithoutTimes) {
  const std::string expected =
      "t.csv: no column holds the time, so the sampling rate is not known; give it with --rate (samples per second)";
  EXPECT_EQ(refusal("Ua,Ub\n1,2\n3,4\n"), expected);
  EXPECT_EQ(refusal("Ua,Ub\n1,2\n3,4\n", -5), expected);
}

TEST(CsvReader, PrefersAGivenRateToTheTimesAndSaysSo) {
  const Record record = read_csv("t.csv", "t,Ua\n0,1\n0.001,2\n", {500});
  EXPECT_EQ(record.rates[0].rate, 500);
  EXPECT_EQ(record.notes, Strings{"The given rate of 500 samples per second is used; the file gives 1000."});
  EXPECT_TRUE(read_csv("t.csv", "t,Ua\n0,1\n0.001,2\n", {1000}).notes.empty());
}

TEST(CsvReader, RoundsARateNextToAWholeNumber) {
  EXPECT_EQ(read_csv("t.csv", "t,Ua\n0,1\n0.00015625,2\n0.0003125,3\n").rates[0].rate, 6400);
  EXPECT_EQ(read_csv("t.csv", "t,Ua\n0.0000,1\n0.0003,2\n0.0007,3\n0.0010,4\n").rates[0].rate, 3000);
  EXPECT_NEAR(read_csv("t.csv", "t,Ua\n0,1\n0.000999,2\n").rates[0].rate, 1001.001, 1e-3);
}

/// The start and the zone of a table whose first two rows have these stamps.
Strings start_of(const std::string& first, const std::string& second, const std::string& heading = "time,Ua") {
  const Record record = read_csv("t.csv", heading + "\n" + first + ",1\n" + second + ",2\n", {1000});
  return {record.start_time, record.time_zone};
}

TEST(CsvReader, KeepsTheDateTimeAndZoneOfTheFirstRow) {
  EXPECT_EQ(start_of("2026-11-21T10:00:00.000Z", "2026-11-21T10:00:00.001Z"),
            (Strings{"2026-11-21 10:00:00.000", "+00:00"}));
  EXPECT_EQ(start_of("2026-11-21 10:00:09.5+05:30", "2026-11-21 10:00:09.501+05:30"),
            (Strings{"2026-11-21 10:00:09.5", "+05:30"}));
  EXPECT_EQ(start_of("21.11.2026 1:00:00.000 PM", "21.11.2026 1:00:00.001 PM"),
            (Strings{"21.11.2026 13:00:00.000", ""}));
  EXPECT_EQ(start_of("21.11.2026,23:59:59", "22.11.2026,00:00:00", "Date,Time,Ua"),
            (Strings{"21.11.2026 23:59:59", ""}));
}

TEST(CsvReader, HasNoStartWithoutADateOrWithoutHours) {
  EXPECT_EQ(start_of("10:00:00.000", "10:00:00.001"), (Strings{"", ""}));
  EXPECT_EQ(start_of("00:00.000", "00:00.001"), (Strings{"", ""}));
  EXPECT_EQ(start_of("0", "0.001"), (Strings{"", ""}));
}

TEST(CsvReader, ReadsHoursBeforeAZoneWithMinutes) {
  const Record record =
      read_csv("t.csv", "time,Ua\n2026-11-21 10:00:00.000+05:30,1\n2026-11-21 10:00:00.001+05:30,2\n");
  EXPECT_EQ(record.rates[0].rate, 1000);
  EXPECT_TRUE(record.notes.empty()) << record.notes[0];
}

TEST(CsvReader, AllowsForTheRoundingOfWrittenTimes) {
  std::string fixed = "t,Ua\n";
  std::string shortest = "t,Ua\n";
  std::string six_digits = "t,Ua\n";
  char number[64];
  for (int i = 0; i < 20000; i++) {
    const double time = i / 6400.0;
    std::snprintf(number, sizeof number, "%.5f,1\n", time);
    fixed += number;
    std::snprintf(number, sizeof number, "%.17g,1\n", time);
    shortest += number;
    std::snprintf(number, sizeof number, "%g,1\n", time);
    six_digits += number;
  }
  EXPECT_EQ(read_csv("t.csv", fixed).rates[0].rate, 6400);
  EXPECT_EQ(read_csv("t.csv", shortest).rates[0].rate, 6400);
  EXPECT_EQ(read_csv("t.csv", six_digits).rates[0].rate, 6400);
}

TEST(CsvReader, AllowsForTimesWrittenMoreCoarselyThanTheyStep) {
  std::string table = "t_ms,Ua\n";
  for (int i = 0; i < 6400; i++) table += fmt::format("{},1\n", i * 1000 / 6400);
  EXPECT_NEAR(read_csv("t.csv", table).rates[0].rate, 6400, 7);
}

TEST(CsvReader, TakesExponentsThatNoIntHolds) {
  for (const char* zero : {"0e-3200171434797366", "0.0e99999999999999999999"}) {
    const Record record = read_csv("t.csv", std::string("t,Ua\n") + zero + ",1\n0.001,2\n0.002,3\n");
    EXPECT_EQ(record.rates[0].rate, 1000) << zero;
  }
}

TEST(CsvReader, CutsNamesThatAreTooLong) {
  std::string name = "Ua";
  while (name.size() < 32768) name += "_A";
  const Record record = read_csv("t.csv", "t," + name + "_kV,Ub [" + std::string(300, 'u') + "]\n0,1,2\n0.001,3,4\n");
  EXPECT_EQ(names_of(record), (Strings{name.substr(0, 256), "Ub"}));
  EXPECT_EQ(units_of(record), (Strings{"kV", std::string(256, 'u')}));
  EXPECT_EQ(record.notes,
            Strings{"The text of column 2 has 32768 characters and was cut to 256; 1 more text was cut too."});
}

TEST(CsvReader, RefusesARateThatNoRecorderHas) {
  for (const int exponent : {-9, -10, -17, -25, -300, -307}) {
    std::string table = "t [s],Ua [V]\n";
    for (int i = 0; i < 400; i++) table += fmt::format("{}e{},{}\n", i, exponent, i % 7);
    const std::string refused = refusal(table);
    EXPECT_TRUE(refused.starts_with("t.csv: the times give a sampling rate of ")) << exponent << ": " << refused;
    EXPECT_TRUE(
        refused.ends_with("samples per second, more than any recorder takes (at most 1e+08); check the unit of "
                          "the column of times (s, ms or us)"))
        << exponent << ": " << refused;
  }
  EXPECT_EQ(read_csv("t.csv", "t,Ua\n0e-8,1\n1e-8,2\n2e-8,3\n").rates[0].rate, 1e8);
}

TEST(CsvReader, RefusesATableThatLastsMoreThanACentury) {
  for (const int exponent : {10, 21, 300, 307}) {
    std::string table = "t [s],Ua [V]\n";
    for (int i = 0; i < 9; i++) table += fmt::format("{}e{},{}\n", i, exponent, i % 7);
    const std::string refused = refusal(table);
    EXPECT_TRUE(refused.starts_with("t.csv: the times give a sampling rate of ")) << exponent << ": " << refused;
    EXPECT_TRUE(
        refused.ends_with("samples per second, at which the record lasts more than a century; check the unit of "
                          "the column of times (s, ms or us)"))
        << exponent << ": " << refused;
  }
  EXPECT_EQ(read_csv("t.csv", "t,Ua\n0,1\n1e9,2\n2e9,3\n").rates[0].rate, 1e-9);
}

TEST(CsvReader, RefusesAGivenRateThatNoRecorderHas) {
  for (const double rate : {1.01e8, 1e22, 1e300}) {
    EXPECT_EQ(refusal("Ua\n1\n2\n", rate),
              fmt::format("t.csv: the given sampling rate is {} samples per second, more than any recorder takes (at "
                          "most 1e+08); give the actual rate with --rate",
                          number_text(rate)));
  }
  EXPECT_EQ(refusal("Ua\n1\n2\n", 1e-300),
            "t.csv: the given sampling rate is 1e-300 samples per second, at which the record lasts more than a "
            "century; give the actual rate with --rate");
  const double nan = std::nan("");
  for (const double none : {0.0, -1.0, -1e300, nan, HUGE_VAL}) {
    EXPECT_EQ(refusal("Ua\n1\n2\n", none),
              "t.csv: no column holds the time, so the sampling rate is not known; give it with --rate (samples per "
              "second)")
        << none;
  }
}

TEST(CsvReader, NamesTheLineWhereTheTimeJumps) {
  EXPECT_EQ(refusal("t,Ua\n0.000,1\n0.001,2\n0.002,3\n0.003,4\n1.000,5\n1.001,6\n"),
            "t.csv: line 6: the time jumps from 0.003 to 1, unlike the steps elsewhere; cut the table there, because "
            "samples must follow one another at one rate");
  EXPECT_EQ(refusal("t,Ua\n0.00000,1\n0.00100,2\n0.00200,3\n0.00310,4\n0.00410,5\n").substr(0, 15), "t.csv: line 5: ");
}

TEST(CsvReader, FindsALostRowWhateverTheRestOfTheTimesIs) {
  std::string table = "t,Ua\n";
  for (int i = 0; i < 1000; i++) {
    if (i != 700) table += fmt::format("{:.6f},1\n", 0.00015625 * i);  // the times have six decimals
  }
  EXPECT_EQ(refusal(table).substr(0, 17), "t.csv: line 702: ");
}

TEST(CsvReader, RefusesTimesThatDoNotRise) {
  EXPECT_EQ(refusal("t,Ua\n0,1\n0,2\n0,3\n"), "t.csv: line 3: the time does not increase; correct the column of times");
  EXPECT_EQ(refusal("t,Ua\n2,1\n1,2\n0,3\n"), "t.csv: line 3: the time does not increase; correct the column of times");
}

TEST(CsvReader, RefusesTimesThatAreNoNumbers) {
  for (const std::string time : {"12:00:01", "", "nan", "inf"}) {
    EXPECT_EQ(refusal("t,Ua\n0,1\n" + time + ",2\n"),
              "t.csv: line 3: '" + time +
                  "' in column 1 is not a time; give the time as a number of seconds or milliseconds, or as time "
                  "stamps throughout");
  }
}

TEST(CsvReader, RefusesATimeInOtherUnits) {
  EXPECT_EQ(refusal("time [h],Ua\n0,1\n1,2\n"),
            "t.csv: line 1: the time unit 'h' is not supported; give the time in "
            "seconds (s), ms or us");
}

TEST(CsvReader, RefusesASingleTime) {
  EXPECT_EQ(refusal("t,Ua\n0,1\n"),
            "t.csv: line 2: the sampling rate cannot be derived from a single row; give it with --rate "
            "(samples per second)");
}

// --- refusals --------------------------------------------------------------------------------------------------------

TEST(CsvReader, RefusesARowWithAnotherNumberOfCells) {
  EXPECT_EQ(refusal("Ua,Ub\n1,2\n3,4,5\n6,7\n", 50),
            "t.csv: line 3: the row has 3 cells instead of 2; correct or remove the row");
  EXPECT_EQ(refusal("Ua,Ub\n1,2\n3", 50), "t.csv: line 3: the row has 1 cells instead of 2; correct or remove the row");
}

TEST(CsvReader, LeavesOutColumnsOfTextAndSaysSo) {
  const Record record = read_csv("t.csv", "t,Ua,state\n0,1,closed\n0.001,2,open\n0.002,3,\n");
  EXPECT_EQ(names_of(record), Strings{"Ua"});
  EXPECT_EQ(record.notes, Strings{"Column 3 'state' holds text and was left out."});
  EXPECT_EQ(refusal("t,Ua,state\n0,1,closed2\n", 50),
            "t.csv: line 2: 'closed2' in column 3 is not a number; correct the cell or leave it empty");
}

TEST(CsvReader, NeedsColumnsOfSamples) {
  EXPECT_EQ(refusal("t_s\n0\n0.001\n"), "t.csv: has no column of samples; choose a table with a column per channel");
  EXPECT_EQ(refusal("Ua,Ub\n"), "t.csv: has no rows of numbers; choose a table of samples");
  EXPECT_EQ(refusal(""), "t.csv: has no rows of numbers; choose a table of samples");
}

TEST(CsvReader, RefusesMoreThanTwoHundredRemarksInFront) {
  std::string remarks;
  for (int i = 0; i < 300; i++) remarks += "a remark,of the instrument\n";
  EXPECT_EQ(refusal(remarks + "t,Ua\n0,1\n0.001,2\n"), "t.csv: has no rows of numbers; choose a table of samples");
}

TEST(CsvReader, UsesAGivenRateWhateverTheTimesAre) {
  for (const char* table : {"t,Ua\n0,1\n", "t,Ua\n0,1\n0,2\n", "t,Ua\n0,1\n0.001,2\n0.002,3\n0.009,4\n0.010,5\n"}) {
    const Record record = read_csv("t.csv", table, {4000});
    ASSERT_EQ(record.rates.size(), 1U) << table;
    EXPECT_EQ(record.rates[0].rate, 4000) << table;
  }
}

TEST(CsvReader, RefusesACellThatIsNoNumber) {
  EXPECT_EQ(refusal("Ua,Ub\n1,2\n3,4 V\n", 50),
            "t.csv: line 3: '4 V' in column 2 is not a number; correct the cell or leave it empty");
  EXPECT_EQ(refusal("1,2\n3,x\n", 50),
            "t.csv: line 2: 'x' in column 2 is not a number; correct the cell or leave it empty");
  EXPECT_EQ(refusal("1,x\n3,4\n", 50),
            "t.csv: line 1: 'x' in column 2 is not a number; correct the cell or leave it empty");
}

TEST(CsvReader, CountsLinesInsideQuotedCells) {
  EXPECT_EQ(refusal("\"Ua\nleft\",Ub\n1,2\n3,x\n", 50).substr(0, 15), "t.csv: line 4: ");
}

// --- tables from spreadsheets and instruments ------------------------------------------------------------------------

TEST(CsvReader, ReadsDecimalCommasAndSaysSo) {
  const Strings said = {"Numbers are read with a decimal comma."};
  for (const char* content : {"t;Ua\n0,000;1,5\n0,001;-2,5\n", "t\tUa\n0,000\t1,5\n0,001\t-2,5\n",
                              "t,Ua\n\"0,000\",\"1,5\"\n\"0,001\",\"-2,5\"\n"}) {
    const Record record = read_csv("t.csv", content);
    EXPECT_EQ(record.rates[0].rate, 1000) << content;
    EXPECT_EQ(record.channels[0].samples, (Samples{1.5, -2.5})) << content;
    EXPECT_EQ(record.notes, said) << content;
  }
  EXPECT_EQ(read_csv("t.csv", "1,5;2\n3;4\n", {50}).channels[0].samples, (Samples{1.5, 3}));
}

TEST(CsvReader, FindsALostRowAmongTimesWithDecimalCommas) {
  EXPECT_EQ(refusal("t;Ua\n0,0000;1\n0,0010;2\n0,0020;3\n0,0040;4\n0,0050;5\n0,0060;6\n").substr(0, 15),
            "t.csv: line 5: ");
}

TEST(CsvReader, RefusesDecimalCommasAmongDecimalPoints) {
  EXPECT_EQ(refusal("Ua;Ub\n1.5;2\n3;4,5\n", 50),
            "t.csv: line 3: '4,5' in column 2 has a decimal comma where line 2 has a point; use the same decimal "
            "sign in all numbers");
  EXPECT_EQ(refusal("Ua;Ub\n1,5;2\n3;4.5\n", 50),
            "t.csv: line 3: '4.5' in column 2 has a decimal point where line 2 has a comma; use the same decimal "
            "sign in all numbers");
  EXPECT_EQ(refusal("Ua;Ub\n1;2\n1.234,5;2\n", 50),
            "t.csv: line 3: '1.234,5' in column 1 is not a number; correct the cell or leave it empty");
}

TEST(CsvReader, ReadsARowOfUnits) {
  const Record record = read_csv("t.csv", "Time;Ua;Ub;Ia\n(ms);[kV];V;A\n0;1;2;3\n0,5;4;5;6\n");
  EXPECT_EQ(record.rates[0].rate, 2000);
  EXPECT_EQ(names_of(record), (Strings{"Ua", "Ub", "Ia"}));
  EXPECT_EQ(units_of(record), (Strings{"kV", "V", "A"}));
}

TEST(CsvReader, PassesOverRemarksInFrontOfTheTable) {
  const Record record =
      read_csv("t.csv", "Model,X-1\nRecord Length,2,Points\n\nTime,CH1,CH2\ns,V,V\n0.000,1,2\n0.001,3,4\n");
  EXPECT_EQ(names_of(record), (Strings{"CH1", "CH2"}));
  EXPECT_EQ(units_of(record), (Strings{"V", "V"}));
  EXPECT_EQ(record.notes, Strings{"The 2 lines before the table were skipped."});
  EXPECT_EQ(read_csv("t.csv", "Export of today\n0.000,1,2,3\n0.001,3,4,5\n").notes,
            (Strings{"The line before the table was skipped.", "The first column is read as the time."}));
}

TEST(CsvReader, ReadsTheSeparatorThatASpreadsheetStates) {
  EXPECT_EQ(names_of(read_csv("t.csv", "sep=|\nt|Ua\n0|1\n1|2\n")), Strings{"Ua"});
}

TEST(CsvReader, ReadsTimeStamps) {
  const std::vector<std::pair<std::string, std::string>> ways = {
      {"10:00:00.000", "10:00:00.001"},
      {"2026-11-21 10:00:00.000000", "2026-11-21 10:00:00.001000"},
      {"2026-11-21T10:00:00.000Z", "2026-11-21T10:00:00.001Z"},
      {"2026-11-21T10:00:00.000+01:00", "2026-11-21T10:00:00.001+01:00"},
      {"21.11.2026 23:59:59.9995", "22.11.2026 00:00:00.0005"}};
  for (const auto& [first, second] : ways) {
    EXPECT_EQ(read_csv("t.csv", "Time,Ua\n" + first + ",1\n" + second + ",2\n").rates[0].rate, 1000) << first;
  }
  EXPECT_EQ(read_csv("t.csv", "Zeit;Ua\n10:00:00,000;1,5\n10:00:00,001;2\n").rates[0].rate, 1000);
}

TEST(CsvReader, ReadsTimeStampsOfTwelveHours) {
  const auto rate = [](const std::string& first, const std::string& second) {
    return read_csv("t.csv", "t,Ua\n" + first + ",1\n" + second + ",2\n").rates[0].rate;
  };
  EXPECT_EQ(rate("11/21/2026 11:59:59.999 AM", "11/21/2026 12:00:00.000 PM"), 1000);
  EXPECT_EQ(rate("11/21/2026 12:59:59.999 am", "11/21/2026 1:00:00.000 a.m."), 1000);
  EXPECT_EQ(rate("11/21/2026 11:59:59.999 PM", "11/22/2026 12:00:00.000 AM"), 1000);
  EXPECT_EQ(refusal("t,Ua\n1:00:00.0 PM,1\n13:00:00.1 PM,2\n").substr(0, 22), "t.csv: line 3: '13:00:");
}

TEST(CsvReader, TakesTimesWithoutHoursForMinutesAndSecondsAndSaysSo) {
  const Record record = read_csv("t.csv", "t,Ua\n59:59.998,1\n59:59.999,2\n00:00.000,3\n");
  EXPECT_EQ(record.rates[0].rate, 1000);
  EXPECT_EQ(record.notes, Strings{"The times are read as minutes and seconds."});
}

TEST(CsvReader, SeesThatDaysAreMissing) {
  const std::string refused = "t.csv: line 4: the time jumps from 36000.001 to 122400.00";
  for (const std::string separator : {" ", ","}) {
    const std::string table = (separator == "," ? "Date,Time,Ua\n" : "t,Ua\n") + std::string("2026-11-21") + separator +
                              "10:00:00.000,1\n2026-11-21" + separator + "10:00:00.001,2\n2026-11-22" + separator +
                              "10:00:00.002,3\n2026-11-22" + separator + "10:00:00.003,4\n";
    EXPECT_TRUE(refusal(table).starts_with(refused)) << refusal(table);
  }
  EXPECT_TRUE(refusal("t,Ua\n2026-11-21 23:59:59.9,1\n2026-11-21 00:00:00.0,2\n").find("does not increase") !=
              std::string::npos)
      << "a step back over midnight on the same date";
}

TEST(CsvReader, NamesTheRateThatRoundedTimesMake) {
  std::string table = "t,Ua\n";
  for (int i = 0; i < 30; i++) table += "10:00:00.0" + std::string(1, static_cast<char>('0' + i * 5 / 16)) + ",1\n";
  const Record record = read_csv("t.csv", table);
  EXPECT_NEAR(record.rates[0].rate, 29 / 0.09, 1e-6);
  EXPECT_EQ(record.notes, Strings{"The times are rounded to 0.01 s; taken together they give a sampling rate of "
                                  "322.222 samples per second."});
}

TEST(CsvReader, ReadsTimeStampsWithoutAName) {
  const Record record = read_csv("t.csv", "10:00:00.000,1\n10:00:00.001,2\n");
  EXPECT_EQ(record.rates[0].rate, 1000);
  EXPECT_EQ(names_of(record), Strings{"column 2"});
}

TEST(CsvReader, LeavesOutDatesAndText) {
  const Record record =
      read_csv("t.csv", "Date,Time,State,Ua\n21.11.2026,10:00:00.000,ok,1\n21.11.2026,10:00:00.001,bad,2\n");
  EXPECT_EQ(names_of(record), Strings{"Ua"});
  EXPECT_EQ(record.rates[0].rate, 1000);
  EXPECT_EQ(record.notes, Strings{"Column 3 'State' holds text and was left out."});
}

TEST(CsvReader, RefusesABrokenTimeStamp) {
  EXPECT_EQ(refusal("t,Ua\n10:00:00.0,1\n10:00,2\n"),
            "t.csv: line 3: '10:00' in column 1 is not a time stamp; write it like those before it, for example "
            "10:00:00.000156");
}

TEST(CsvReader, FindsARowThatIsMissingBetweenTimeStamps) {
  EXPECT_EQ(refusal("t,Ua\n10:00:00.0000,1\n10:00:00.0010,2\n10:00:00.0020,3\n10:00:00.0040,4\n10:00:00.0050,5\n")
                .substr(0, 15),
            "t.csv: line 5: ");
}

TEST(CsvReader, RefusesStrayQuotationMarks) {
  const std::string rest =
      "a quotation mark is unpaired or in the middle of a cell; enclose each cell that needs quotation marks in a "
      "pair of them";
  EXPECT_EQ(refusal("Ua,Ub\n1,2\"3\n", 50), "t.csv: line 2: " + rest);
  EXPECT_EQ(refusal("Ua,Ub\n1,\"2\n3,4\n", 50), "t.csv: line 3: " + rest);
}

TEST(CsvReader, RefusesATableWithoutRowsOrChannels) {
  const std::string no_rows = "t.csv: has no rows of numbers; choose a table of samples";
  EXPECT_EQ(refusal("", 50), no_rows);
  EXPECT_EQ(refusal("# nothing\n", 50), no_rows);
  EXPECT_EQ(refusal("t,Ua,Ub\n", 50), no_rows);
  EXPECT_EQ(refusal("t\n0\n1\n"), "t.csv: has no column of samples; choose a table with a column per channel");
}

// --- character sets --------------------------------------------------------------------------------------------------

TEST(CsvReader, ReadsSixteenBitTextAsSpreadsheetsSaveIt) {
  std::string content = "\xFF\xFE";
  for (const char c : std::string("t\tUa\r\n0\t1\r\n0.5\t2\r\n")) content += {c, '\0'};
  const Record record = read_csv("t.tsv", content);
  EXPECT_EQ(names_of(record), Strings{"Ua"});
  EXPECT_EQ(record.channels[0].samples, (Samples{1, 2}));
}

}  // namespace
}  // namespace readers
