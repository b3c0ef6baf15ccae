// Records whose rates and time stamps contradict each other.
#include "readers/time_base.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include "readers/comtrade/comtrade.h"
#include "readers/table/csv.h"
#include "scratch_folder.h"

namespace readers {
namespace {

constexpr double volts = 300;

/// The rows of a record: when each was sampled, and the phase of the voltage at that time.
struct Rows {
  std::vector<double> seconds;
  std::vector<double> radians;
};

/// Rows of a recorder that samples 256 times per cycle while the line frequency, about 49.8 Hz, wanders so that the
/// steps are from 77.99 to 79.01 us.
Rows locked_rows(std::size_t count) {
  Rows rows;
  double time = 0;
  for (std::size_t i = 0; i < count; i++) {
    const double turn = 2 * std::numbers::pi * static_cast<double>(i);
    rows.seconds.push_back(time);
    rows.radians.push_back(turn / 256);
    time += 78.5e-6 + 0.51e-6 * std::sin(turn / static_cast<double>(count));
  }
  return rows;
}

Rows even_rows(std::size_t count, double rate, double frequency) {
  Rows rows;
  for (std::size_t i = 0; i < count; i++) {
    rows.seconds.push_back(static_cast<double>(i) / rate);
    rows.radians.push_back(2 * std::numbers::pi * frequency * rows.seconds.back());
  }
  return rows;
}

std::string csv_text(const Rows& rows, const std::string& time_heading, double scale, int decimals) {
  std::string text = time_heading + ",Ua_V\n";
  for (std::size_t i = 0; i < rows.seconds.size(); i++) {
    text += fmt::format("{:.{}f},{:.5f}\n", rows.seconds[i] * scale, decimals, volts * std::sin(rows.radians[i]));
  }
  return text;
}

class TimeBase : public testing::Test {
 protected:
  /// Returns the record with the given stated rate and with stamps in microseconds.
  Record comtrade(const Rows& rows, double rate, bool binary, const std::string& multiplier = "1",
                  const OpenOptions& options = {}) {
    std::string data;
    const auto append = [&](long long value, int bytes) {
      for (int i = 0; i < bytes; i++) data += static_cast<char>(value >> (8 * i) & 0xFF);
    };
    for (std::size_t i = 0; i < rows.seconds.size(); i++) {
      const long long number = static_cast<long long>(i) + 1;
      const long long stamp = std::llround(rows.seconds[i] * 1e6);
      const long long stored = std::llround(100 * volts * std::sin(rows.radians[i]));
      if (binary) {
        append(number, 4);
        append(stamp, 4);
        append(stored, 2);
      } else {
        data += fmt::format("{},{},{}\n", number, stamp, stored);
      }
    }
    folder_.write("r.dat", data);
    const std::string config =
        folder_.write("r.cfg", fmt::format("S,D,1999\n1,1A,0D\n1,Ua,A,,V,0.01,0,0,-32767,32767,1,1,P\n50\n1\n{},{}\n"
                                           "01/01/2020,00:00:00.000000\n01/01/2020,00:00:00.000000\n{}\n{}\n",
                                           rate, rows.seconds.size(), binary ? "BINARY" : "ASCII", multiplier));
    return read_comtrade(config, options);
  }

 private:
  ScratchFolder folder_;
};

/// Checks the samples of a record against the voltage at their own times.
void expect_own_times(const Record& record, const Rows& rows, double tolerance) {
  ASSERT_EQ(record.rates.size(), 1U);
  const std::vector<double>& samples = record.channels[0].samples;
  ASSERT_EQ(samples.size(), record.length());
  std::size_t row = 0;
  for (std::size_t i = 0; i < samples.size(); i++) {
    const double time = static_cast<double>(i) / record.rates[0].rate;
    while (row + 2 < rows.seconds.size() && rows.seconds[row + 1] < time) row++;
    const double part = (time - rows.seconds[row]) / (rows.seconds[row + 1] - rows.seconds[row]);
    const double radians = rows.radians[row] + part * (rows.radians[row + 1] - rows.radians[row]);
    ASSERT_NEAR(samples[i], volts * std::sin(radians), tolerance) << i;
  }
}

// Half a microsecond, to which stamps are rounded, is 300 V * 2 pi 50 Hz * 0.5 us = 0.05 V.
constexpr double rounding_volts = 0.05;

TEST_F(TimeBase, IsThatOfStampsThatFollowTheLine) {
  const Rows rows = locked_rows(12800);
  for (const double stated : {0.0, 12800.0, 6000.0}) {
    for (const bool binary : {false, true}) {
      SCOPED_TRACE(fmt::format("{} {}", stated, binary));
      const Record record = comtrade(rows, stated, binary);
      EXPECT_NEAR(record.rates[0].rate, 1 / 78.5e-6, 1);
      expect_own_times(record, rows, 4 * rounding_volts);
      EXPECT_NE(record.notes.back().find("The time stamps are not evenly spaced"), std::string::npos);
    }
  }
}

TEST(TimeBaseOfTables, IsThatOfTimesThatFollowTheLine) {
  const Rows rows = locked_rows(12800);
  expect_own_times(read_csv("t.csv", csv_text(rows, "t", 1, 8)), rows, rounding_volts);
  expect_own_times(read_csv("t.csv", csv_text(rows, "t_us", 1e6, 2)), rows, rounding_volts);
}

TEST_F(TimeBase, IsTheOneWithWhichTheLineFrequencyIsRight) {
  for (const bool binary : {false, true}) {
    const Record by_stamps = comtrade(even_rows(7312, 7312, 50.03), 7142, binary);
    EXPECT_NEAR(by_stamps.rates[0].rate, 7312, 0.1);
    ASSERT_EQ(by_stamps.notes.size(), 1U);
    EXPECT_NE(by_stamps.notes[0].find("The rate of the stamps is used, because the line frequency is 50.03 Hz"),
              std::string::npos)
        << by_stamps.notes[0];

    Rows slow = even_rows(6400, 6400, 50);
    for (double& time : slow.seconds) time *= 1.03;
    const Record as_stated = comtrade(slow, 6400, binary);
    EXPECT_EQ(as_stated.rates[0].rate, 6400);
    ASSERT_EQ(as_stated.notes.size(), 1U);
    EXPECT_NE(as_stated.notes[0].find("The stated rate is used, because the line frequency is 50.00 Hz"),
              std::string::npos)
        << as_stated.notes[0];
  }
}

TEST_F(TimeBase, StaysTheStatedOneIfTheLineFrequencyDoesNotDecide) {
  Rows rows = even_rows(6400, 6400, 50);
  for (double& time : rows.seconds) time *= 1.003;  // 50.00 or 49.85 Hz
  const Record record = comtrade(rows, 6400, true);
  EXPECT_EQ(record.rates[0].rate, 6400);
  ASSERT_EQ(record.notes.size(), 1U);
  EXPECT_NE(record.notes[0].find("but the file states 6400, which is used."), std::string::npos);
}

TEST_F(TimeBase, IsTheGivenOneInAnyCase) {
  OpenOptions options;
  options.sampling_rate = 7000;
  const Record record = comtrade(even_rows(7312, 7312, 50.03), 7142, true, "1", options);
  EXPECT_EQ(record.rates[0].rate, 7000);
  EXPECT_EQ(record.notes.back(), "The given rate of 7000 samples per second is used; the file gives 7142.");
  EXPECT_EQ(comtrade(locked_rows(12800), 0, false, "1", options).rates[0].rate, 7000);
}

TEST(TimeBaseOfSections, IsNotTheGivenOneIfTheyHaveTheirOwn) {
  const ScratchFolder folder;
  const auto read = [&](const std::string& rates, double given) {
    std::string data;
    for (int i = 1; i <= 8; i++) data += fmt::format("{},,{}\n", i, i % 2);
    folder.write("r.dat", data);
    OpenOptions options;
    options.sampling_rate = given;
    return read_comtrade(
        folder.write("r.cfg", "S,D,1999\n1,1A,0D\n1,Ua,A,,V,1,0,0,-32767,32767,1,1,P\n50\n" + rates +
                                  "01/01/2020,00:00:00.000000\n01/01/2020,00:00:00.000000\nASCII\n1\n"),
        options);
  };
  const Record several = read("2\n1000,4\n4000,8\n", 2000);
  ASSERT_EQ(several.rates.size(), 2U);
  EXPECT_EQ(several.rates[0].rate, 1000);
  EXPECT_EQ(several.rates[1].rate, 4000);
  EXPECT_EQ(several.notes.back(),
            "The given rate (2000 samples per second) was not used, because the record consists of 2 sections of their "
            "own rates and times.");
  // Sections that follow one another at the same rate are one.
  const Record alike = read("2\n1000,4\n1000,8\n", 2000);
  ASSERT_EQ(alike.rates.size(), 1U);
  EXPECT_EQ(alike.rates[0].rate, 2000);
  EXPECT_EQ(alike.rates[0].end, 8U);
  EXPECT_EQ(alike.notes.back(), "The given rate of 2000 samples per second is used; the file gives 1000.");
}

TEST_F(TimeBase, HasTheUnitWithWhichTheLineShows) {
  const Record record = comtrade(even_rows(6400, 6400, 50), 0, false, "1000");
  EXPECT_EQ(record.rates[0].rate, 6400);
  ASSERT_EQ(record.notes.size(), 2U);
  EXPECT_NE(record.notes[0].find("assumed to be in units of 1000 ns rather than 1e+06 ns"), std::string::npos)
      << record.notes[0];
}

TEST(TimeBaseOfTables, HasTheUnitWithWhichTheLineShows) {
  const Rows rows = even_rows(3200, 6400, 50);
  const Record milliseconds = read_csv("t.csv", csv_text(rows, "t", 1e3, 5));
  EXPECT_EQ(milliseconds.rates[0].rate, 6400);
  ASSERT_EQ(milliseconds.notes.size(), 1U);
  EXPECT_NE(milliseconds.notes[0].find("assumed to be in milliseconds"), std::string::npos);
  const Record microseconds = read_csv("t.csv", csv_text(rows, "t", 1e6, 2));
  EXPECT_EQ(microseconds.rates[0].rate, 6400);
  EXPECT_NE(microseconds.notes[0].find("assumed to be in microseconds"), std::string::npos);
  EXPECT_TRUE(read_csv("t.csv", csv_text(rows, "t", 1, 8)).notes.empty());
}

TEST(TimeBaseOfTables, KeepsSecondsIfNoUnitShowsTheLine) {
  std::string text = "t,Ua_V\n";
  for (int i = 0; i < 400; i++) text += fmt::format("{},{}\n", i, i % 7 * i % 11);
  EXPECT_EQ(read_csv("t.csv", text).rates[0].rate, 1);
}

}  // namespace
}  // namespace readers
