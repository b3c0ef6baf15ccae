// Tests how time stamps and sample numbers reveal rows that are lost from the data or written twice.
#include "readers/comtrade/lost_rows.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "readers/comtrade/comtrade.h"
#include "tests/readers/scratch_folder.h"

namespace readers {
namespace {

using Strings = std::vector<std::string>;

enum class Form { ascii, binary };

/// A record of one channel at 1000 Hz whose value in every row is the row's number, so that each row can be recognised.
struct Rows {
  Form form = Form::ascii;
  bool stamped = true;
  std::string rate = "1000";
  std::string start = "31/12/1998,23:59:59.000000";
  std::size_t declared = 100;
  std::function<double(std::size_t)> stamp = [](std::size_t row) { return 1000.0 * static_cast<double>(row - 1); };
  std::function<std::size_t(std::size_t)> number = [](std::size_t row) { return row; };
  std::vector<std::size_t> kept = {};

  Rows() {
    for (std::size_t row = 1; row <= 100; row++) kept.push_back(row);
  }

  [[nodiscard]] Rows without(std::size_t first, std::size_t last) const {
    Rows rows = *this;
    std::erase_if(rows.kept, [&](std::size_t row) { return row >= first && row <= last; });
    return rows;
  }

  [[nodiscard]] std::string config() const {
    std::string text = "Station,Recorder,1999\n1,1A,0D\n1,Ua,A,,V,1,0,0,-32767,32767,1,1,P\n50\n";
    text += rate == "0" ? "0\n" : "1\n";
    for (const std::string& line : {fmt::format("{},{}", rate, declared), start, start}) text.append(line).append("\n");
    return text.append(form == Form::ascii ? "ASCII\n1\n" : "BINARY\n1\n");
  }

  [[nodiscard]] std::string data() const {
    std::string text;
    for (const std::size_t row : kept) text += form == Form::ascii ? ascii_row(row) : binary_row(row);
    return text;
  }

 private:
  [[nodiscard]] std::string ascii_row(std::size_t row) const {
    const std::string at = stamped ? std::to_string(std::lround(stamp(row))) : "";
    return fmt::format("{},{},{}\n", number(row), at, row);
  }

  [[nodiscard]] std::string binary_row(std::size_t row) const {
    const auto little_endian = [](std::uint32_t value, int bytes) {
      std::string text;
      for (int i = 0; i < bytes; i++) text += static_cast<char>(value >> (8 * i) & 0xFFU);
      return text;
    };
    return little_endian(static_cast<std::uint32_t>(number(row)), 4) +
           little_endian(stamped ? static_cast<std::uint32_t>(std::lround(stamp(row))) : 0xFFFFFFFFU, 4) +
           little_endian(static_cast<std::uint32_t>(row), 2);
  }
};

class LostRows : public testing::Test {
 protected:
  Record read(const Rows& rows) {
    folder.write("r.dat", rows.data());
    return read_comtrade(folder.write("r.cfg", rows.config()));
  }

  /// Expects a hundred samples that equal their own numbers, except that those from `first` to `last` have no values.
  static void expect_hole(const Record& record, std::size_t first, std::size_t last) {
    ASSERT_EQ(record.rates.size(), 1U);
    ASSERT_EQ(record.length(), 100U);
    const std::vector<double>& samples = record.channels[0].samples;
    ASSERT_EQ(samples.size(), 100U);
    for (std::size_t i = 1; i <= 100; i++) {
      if (i >= first && i <= last) {
        EXPECT_TRUE(std::isnan(samples[i - 1])) << i;
      } else {
        EXPECT_EQ(samples[i - 1], static_cast<double>(i));
      }
    }
  }

  ScratchFolder folder;
};

TEST_F(LostRows, BecomeSamplesWithoutValuesByTheTimeStamps) {
  for (const Form form : {Form::ascii, Form::binary}) {
    Rows rows;
    rows.form = form;
    const Record one = read(rows.without(41, 41));
    expect_hole(one, 41, 41);
    EXPECT_EQ(one.notes.back(),
              "According to the time stamps, 1 row is missing in the data at sample 41, which has "
              "no values.");
    const Record three = read(rows.without(41, 43));
    expect_hole(three, 41, 43);
    EXPECT_EQ(three.notes.back(),
              "According to the time stamps, 3 rows are missing in the data at sample 41; these samples have no "
              "values.");
  }
}

TEST_F(LostRows, AreFoundWhereTheRowsThatAreLeftAreNumberedAnew) {
  Rows rows = Rows().without(41, 41);
  rows.number = [](std::size_t row) { return row > 41 ? row - 1 : row; };
  const Record record = read(rows);
  expect_hole(record, 41, 41);
  EXPECT_EQ(record.notes,
            (Strings{"The configuration declares 100 samples, but the data hold 99.",
                     "According to the time stamps, 1 row is missing in the data at sample 41, which has no values."}));
}

TEST_F(LostRows, AreFoundInSeveralPlaces) {
  const Record record = read(Rows().without(20, 20).without(60, 61));
  ASSERT_EQ(record.length(), 100U);
  EXPECT_TRUE(std::isnan(record.channels[0].samples[19]));
  EXPECT_TRUE(std::isnan(record.channels[0].samples[60]));
  EXPECT_EQ(record.channels[0].samples[99], 100);
  EXPECT_EQ(record.notes.back(),
            "According to the time stamps, 3 rows are missing in the data in 2 places, the first at sample 20; these "
            "samples have no values.");
}

TEST_F(LostRows, AreFoundThoughTheDeclarationCountsThoseLeft) {
  Rows rows = Rows().without(41, 41);
  rows.declared = 99;
  expect_hole(read(rows), 41, 41);
}

TEST_F(LostRows, AreFoundByTheirNumbersWhereThereAreNoTimeStamps) {
  for (const Form form : {Form::ascii, Form::binary}) {
    Rows rows;
    rows.form = form;
    rows.stamped = false;
    const Record record = read(rows.without(41, 42));
    expect_hole(record, 41, 42);
    EXPECT_EQ(record.notes.back(),
              "According to the sample numbers, 2 rows are missing in the data at sample 41; these samples have no "
              "values.");
  }
}

TEST_F(LostRows, OfMoreThanACycleTakeTheRecordApartByNumbersToo) {
  for (const bool stamped : {true, false}) {
    Rows rows;
    rows.stamped = stamped;
    const Record record = read(rows.without(31, 60));
    ASSERT_EQ(record.rates.size(), 2U) << stamped;
    EXPECT_EQ(record.rates[0].end, 30U);
    EXPECT_FALSE(record.rates[1].follows);
    EXPECT_NEAR(record.rates[1].start, 0.06, 1e-9);
  }
}

TEST_F(LostRows, AreNoneWhereTheStampsGoOnOverAJumpOfTheNumbers) {
  for (const Form form : {Form::ascii, Form::binary}) {
    Rows rows;
    rows.form = form;
    rows.number = [](std::size_t row) { return row > 40 ? row + 2 : row; };
    const Record record = read(rows);
    expect_hole(record, 0, 0);
    EXPECT_EQ(record.notes.back(),
              "The time stamps continue evenly where the sample numbers jump, so no time is assumed to be missing.");
  }
}

TEST_F(LostRows, AreNoneWhereAStampIsLate) {
  for (const std::size_t late : {2U, 40U, 99U}) {
    Rows rows;
    rows.stamp = [=](std::size_t row) { return 1000.0 * static_cast<double>(row == late ? row : row - 1); };
    const Record record = read(rows);
    expect_hole(record, 0, 0);
    EXPECT_EQ(record.notes, Strings{}) << late;
  }
}

TEST_F(LostRows, AreFoundNearALateStampWhichIsNone) {
  for (const std::size_t late : {25U, 34U, 48U, 60U}) {
    Rows rows;
    rows.stamp = [=](std::size_t row) { return 1000.0 * static_cast<double>(row == late ? row : row - 1); };
    expect_hole(read(rows.without(41, 41)), 41, 41);
  }
}

TEST_F(LostRows, AreNoneWhereStampsAreRoundedCoarsely) {
  // When the stamps are whole milliseconds at 990 Hz, most steps are within one hundredth of the correct step, and one
  // step in a hundred is two milliseconds long.
  Rows rows;
  rows.rate = std::string("990.1");
  rows.stamp = [](std::size_t row) { return 1000 * std::round(static_cast<double>(row - 1) / 0.9901); };
  expect_hole(read(rows), 0, 0);
}

TEST_F(LostRows, MayBeWhereTheRateIsThatOfTheStamps) {
  Rows rows = Rows().without(41, 41);
  rows.rate = std::string("0");
  expect_hole(read(rows), 41, 41);
}

// --- duplicate rows --------------------------------------------------------------------------------------------------

TEST_F(LostRows, ThatAreThereTwiceAreTakenOnce) {
  for (const Form form : {Form::ascii, Form::binary}) {
    for (const bool stamped : {true, false}) {
      Rows rows;
      rows.form = form;
      rows.stamped = stamped;
      rows.kept.insert(rows.kept.begin() + 50, 50);
      const Record record = read(rows);
      expect_hole(record, 0, 0);
      EXPECT_EQ(record.notes, (Strings{"The configuration declares 100 samples, but the data hold 101.",
                                       "Row 51 of the data repeats the row before it and was left out."}))
          << stamped;
    }
  }
}

TEST_F(LostRows, ThatOnlyShareNumberAndTimeAreKeptAndSaid) {
  Rows rows;
  rows.number = [](std::size_t row) { return row > 50 ? row - 1 : row; };
  rows.stamp = [](std::size_t row) { return 1000.0 * static_cast<double>(row > 50 ? row - 2 : row - 1); };
  const Record record = read(rows);
  expect_hole(record, 0, 0);
  EXPECT_EQ(record.notes,
            Strings{"Rows 50 and 51 of the data have the same number and time but different values; both are kept."});
}

// --- numbers of binary data ------------------------------------------------------------------------------------------

TEST_F(LostRows, AreNotWhatOtherWaysToNumberBinaryRowsShow) {
  for (const std::size_t by : {0U, 2U}) {
    Rows rows;
    rows.form = Form::binary;
    rows.number = [=](std::size_t row) { return 7 + by * row; };
    expect_hole(read(rows), 0, 0);
  }
}

// --- units and spans of stamps ---------------------------------------------------------------------------------------

TEST_F(LostRows, AreLookedForInTheUnitThatTheStampsAreIn) {
  for (const std::string rate : {"0", "1000"}) {
    Rows rows;
    rows.rate = rate;
    rows.start += "000";  // the start is in nanoseconds, but the stamps are in microseconds
    const Record record = read(rows);
    ASSERT_EQ(record.rates.size(), 1U);
    EXPECT_EQ(record.rates[0].rate, 1000);
    EXPECT_EQ(record.notes[0],
              "The time stamps are read in units of 1000 ns because they do not fit the record in units of 1 ns, "
              "which the configuration implies.");
  }
}

TEST_F(LostRows, AreNotWhatAClockShowsThatIsOff) {
  for (const Form form : {Form::ascii, Form::binary}) {
    Rows rows;
    rows.form = form;
    rows.stamp = [](std::size_t row) { return 995.0 * static_cast<double>(row - 1); };
    const Record record = read(rows);
    expect_hole(record, 0, 0);
    EXPECT_EQ(record.notes, Strings{"The time stamps give a sampling rate of 1005.025 samples per second, but the "
                                    "file states 1000, which is used."});
  }
}

TEST_F(LostRows, InSeveralPlacesAreCounted) {
  Rows rows;
  rows.kept.clear();
  for (std::size_t row = 1; row <= 100; row++) {
    if (row != 20 && row != 50 && row != 51) rows.kept.push_back(row);
  }
  const Record record = read(rows);
  ASSERT_EQ(record.length(), 100U);
  for (std::size_t row = 1; row <= 100; row++) {
    const bool lost = row == 20 || row == 50 || row == 51;
    EXPECT_EQ(std::isnan(record.channels[0].samples[row - 1]), lost) << row;
  }
  EXPECT_EQ(record.notes.back(),
            "According to the time stamps, 3 rows are missing in the data in 2 places, the first at sample 20; these "
            "samples have no values.");
}

TEST_F(LostRows, MoveTheDigitalChannelsWithThem) {
  Rows rows = Rows().without(41, 43);
  std::string config = rows.config();
  config.replace(config.find("1,1A,0D"), 7, "2,1A,1D");
  config.insert(config.find("50\n"), "1,Breaker,,,0\n");
  std::string data;
  for (const std::size_t row : rows.kept)
    data += fmt::format("{},{},{},{}\n", row, 1000 * (row - 1), row, row >= 60 ? 1 : 0);
  folder.write("r.dat", data);
  OpenOptions options;
  options.digitals = true;
  const Record record = read_comtrade(folder.write("r.cfg", config), options);
  ASSERT_EQ(record.length(), 100U);
  ASSERT_EQ(record.digitals.size(), 1U);
  ASSERT_EQ(record.digitals[0].changes.size(), 1U);
  EXPECT_EQ(record.digitals[0].changes[0].row, 59U) << "the row numbered 60, although 56 rows of the file precede it";
  EXPECT_NEAR(record.digitals[0].changes[0].time, 0.059, 1e-9);
}

TEST_F(LostRows, ThatAreWrittenTwiceAreLeftOutOrKept) {
  Rows rows;
  rows.kept.insert(rows.kept.begin() + 30, {30, 30});
  const Record twice = read(rows);
  EXPECT_EQ(twice.length(), 100U);
  EXPECT_EQ(twice.notes.back(), "Row 31 of the data repeats the row before it and was left out, and so was 1 other.");
}

}  // namespace
}  // namespace readers
