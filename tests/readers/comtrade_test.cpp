#include "readers/comtrade/comtrade.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "readers/text.h"
#include "tests/readers/scratch_folder.h"

namespace readers {
namespace {

using Strings = std::vector<std::string>;

constexpr const char* config_of_1991 =
    "Station,Recorder\n"
    "3,2A,1D\n"
    "1,Ua,A,,V,0.5,10,0,-32767,32767\n"
    "2,Ia,A,,A,-2,0,0,-32767,32767\n"
    "1,Trip,0\n"
    "50\n"
    "1\n"
    "1000,3\n"
    "12/31/98,23:59:59.000000\n"
    "12/31/98,23:59:59.500000\n"
    "ASCII\n";

/// A configuration that follows the rules of 1999 and has two analog channels; tests change its parts as needed.
struct Cfg {
  std::string year = "1999";
  std::string counts = "2,2A,0D";
  std::string digital_lines;
  std::string frequency = "50";
  std::string rates = "1\n1000,3\n";
  std::string type = "ASCII";
  std::string tail = "1\n";

  [[nodiscard]] std::string text() const {
    return "Station,Recorder," + year + "\n" + counts +
           "\n"
           "1,Ua,A,Line 1,kV,0.5,10,0,-32767,32767,110,0.1,P\n"
           "2,Ub,B,Line 1,kV,2,0,0,-32767,32767,110,0.1,s\n" +
           digital_lines + frequency + "\n" + rates + "31/12/1998,23:59:59.000000\n31/12/1998,23:59:59.500000\n" +
           type + "\n" + tail;
  }
};

constexpr const char* three_rows = "1,0,1,2\n2,1000,3,4\n3,2000,5,6\n";

std::string little_endian(std::uint32_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; i++) text += static_cast<char>(value >> (8 * i) & 0xFFU);
  return text;
}

/// Returns a row of binary data; `words` are its analog values followed by its digital words.
std::string binary_row(std::uint32_t number, const std::vector<int>& words) {
  std::string row = little_endian(number, 4) + little_endian(number * 1000, 4);
  for (const int word : words) row += little_endian(static_cast<std::uint32_t>(word), 2);
  return row;
}

class ComtradeReader : public testing::Test {
 protected:
  Record read(const std::string& cfg, const std::string& dat) {
    folder.write("r.dat", dat);
    return read_comtrade(folder.write("r.cfg", cfg));
  }

  std::string refusal(const std::string& cfg, const std::string& dat) {
    return refusal_of([&] { read(cfg, dat); });
  }

  [[nodiscard]] std::string in_cfg(const std::string& text) const { return folder.path("r.cfg") + ": " + text; }
  [[nodiscard]] std::string in_dat(const std::string& text) const { return folder.path("r.dat") + ": " + text; }

  ScratchFolder folder;
};

using Samples = std::vector<double>;

// --- valid records ---------------------------------------------------------------------------------------------------

TEST_F(ComtradeReader, ReadsRevision1991) {
  const Record record = read(config_of_1991, "1,0,2,-3,0\n2,1000,4,5,1\n3,2000,-6,0,1\n");
  EXPECT_EQ(record.file, folder.path("r.cfg"));
  EXPECT_EQ(record.format, "COMTRADE 1991 ASCII");
  EXPECT_EQ(record.station, "Station");
  EXPECT_EQ(record.device, "Recorder");
  EXPECT_EQ(record.start_time, "12/31/98 23:59:59.000000");
  EXPECT_EQ(record.trigger_time, "12/31/98 23:59:59.500000");
  EXPECT_EQ(record.line_frequency, 50);
  ASSERT_EQ(record.rates.size(), 1U);
  EXPECT_EQ(record.rates[0].rate, 1000);
  EXPECT_EQ(record.rates[0].end, 3U);
  ASSERT_EQ(record.channels.size(), 2U);
  EXPECT_EQ(record.channels[0].name, "Ua");
  EXPECT_EQ(record.channels[0].phase, "A");
  EXPECT_EQ(record.channels[0].unit, "V");
  EXPECT_EQ(record.channels[0].samples, (Samples{11, 12, 7}));
  EXPECT_EQ(record.channels[0].side, 0);
  EXPECT_EQ(record.channels[0].primary, 1);
  EXPECT_EQ(record.channels[1].samples, (Samples{6, -10, 0}));
  EXPECT_TRUE(record.notes.empty());
}

TEST_F(ComtradeReader, ReadsRevision1999WithTransformerRatio) {
  const Record record = read(Cfg{}.text(), three_rows);
  EXPECT_EQ(record.format, "COMTRADE 1999 ASCII");
  ASSERT_EQ(record.channels.size(), 2U);
  EXPECT_EQ(record.channels[0].samples, (Samples{10.5, 11.5, 12.5}));
  EXPECT_EQ(record.channels[0].primary, 110);
  EXPECT_EQ(record.channels[0].secondary, 0.1);
  EXPECT_EQ(record.channels[0].side, 'P');
  EXPECT_EQ(record.channels[1].samples, (Samples{4, 8, 12}));
  EXPECT_EQ(record.channels[1].side, 'S');
  EXPECT_TRUE(record.notes.empty());
}

TEST_F(ComtradeReader, ReadsRevision2013WithAndWithoutTimeZoneLines) {
  for (const char* tail : {"1\n+5h30,+5h30\nB,3\n", "1\n", ""}) {
    Cfg cfg;
    cfg.year = "2013";
    cfg.tail = tail;
    const Record record = read(cfg.text(), three_rows);
    EXPECT_EQ(record.format, "COMTRADE 2013 ASCII");
    EXPECT_EQ(record.channels[1].samples, (Samples{4, 8, 12}));
    EXPECT_TRUE(record.notes.empty());
  }
}

TEST_F(ComtradeReader, ReadsUnknownRevisionsAs1999AndSaysSo) {
  for (const std::string year : {"2000", "2001", "0", "1997", "2022"}) {
    Cfg cfg;
    cfg.year = year;
    const Record record = read(cfg.text(), three_rows);
    EXPECT_EQ(record.format, "COMTRADE 1999 ASCII");
    EXPECT_EQ(record.channels[0].samples, (Samples{10.5, 11.5, 12.5}));
    EXPECT_EQ(record.notes, Strings{"Line 1 of the configuration file: revision year '" + year +
                                    "' is unknown; the rules of 1999 are used."});
  }
}

TEST_F(ComtradeReader, ReadsBinaryData) {
  Cfg cfg;
  cfg.type = "BINARY";
  const Record record =
      read(cfg.text(), binary_row(1, {1, -2}) + binary_row(2, {32767, -32767}) + binary_row(3, {0, 258}));
  EXPECT_EQ(record.format, "COMTRADE 1999 BINARY");
  EXPECT_EQ(record.channels[0].samples, (Samples{10.5, 16393.5, 10}));
  EXPECT_EQ(record.channels[1].samples, (Samples{-4, -65534, 516}));
  EXPECT_TRUE(record.notes.empty());
}

TEST_F(ComtradeReader, ReadsBinaryDataOfAllRevisions) {
  const std::string rows = binary_row(1, {2, 0, 1}) + binary_row(2, {4, 0, 1}) + binary_row(3, {6, 0, 1});
  std::string cfg_1991 = config_of_1991;
  cfg_1991.replace(cfg_1991.find("ASCII"), 5, "BINARY");
  EXPECT_EQ(read(cfg_1991, rows).format, "COMTRADE 1991 BINARY");
  EXPECT_EQ(read(cfg_1991, rows).channels[0].samples, (Samples{11, 12, 13}));

  Cfg cfg;
  cfg.year = "2013";
  cfg.counts = "3,2A,1D";
  cfg.digital_lines = "1,Trip,,,0\n";
  cfg.type = "BINARY";
  EXPECT_EQ(read(cfg.text(), rows).format, "COMTRADE 2013 BINARY");
  EXPECT_EQ(read(cfg.text(), rows).channels[0].samples, (Samples{11, 12, 13}));
}

TEST_F(ComtradeReader, StepsOverDigitalWordsOfSixteenChannelsEach) {
  for (const auto& [digitals, words] : std::vector<std::pair<int, std::size_t>>{{1, 1}, {16, 1}, {17, 2}, {33, 3}}) {
    Cfg cfg;
    cfg.type = "BINARY";
    cfg.counts = fmt::format("{},2A,{}D", 2 + digitals, digitals);
    for (int i = 1; i <= digitals; i++) cfg.digital_lines += fmt::format("{},D,,,0\n", i);
    std::string rows;
    for (std::uint32_t n = 1; n <= 3; n++) {
      std::vector<int> row = {static_cast<int>(n), 7};
      row.insert(row.end(), words, 0xA5A5);
      rows += binary_row(n, row);
    }
    const Record record = read(cfg.text(), rows);
    EXPECT_EQ(record.channels[0].samples, (Samples{10.5, 11, 11.5})) << digitals;
    EXPECT_TRUE(record.notes.empty()) << digitals;
  }
}

TEST_F(ComtradeReader, CountsDigitalColumnsOfAsciiData) {
  Cfg cfg;
  cfg.counts = "4,2A,2D";
  cfg.digital_lines = "1,Trip,,,0\n2,Start,,,0\n";
  EXPECT_EQ(read(cfg.text(), "1,0,1,2,0,1\n2,,3,4,0,1\n3,,5,6,1,1\n").channels[1].samples, (Samples{4, 8, 12}));
}

TEST_F(ComtradeReader, ReadsTheTypeOfDataInAnyLetterCase) {
  Cfg cfg;
  cfg.type = "  Ascii ";
  EXPECT_EQ(read(cfg.text(), three_rows).format, "COMTRADE 1999 ASCII");
  cfg.type = "binary";
  cfg.rates = "1\n1000,1\n";
  EXPECT_EQ(read(cfg.text(), binary_row(1, {0, 0})).format, "COMTRADE 1999 BINARY");
}

TEST_F(ComtradeReader, AcceptsWhatOldSystemsLeaveRoundText) {
  Cfg cfg;
  std::string text = "\xEF\xBB\xBF";
  for (const char c : cfg.text()) text += c == '\n' ? "\r\n" : std::string(1, c);
  text.erase(text.size() - 2);
  text += "\x1A";
  const Record record = read(text, "1, 0, 1 , 2\r\n2,1000,\t3,4\r\n3,2000,5,6\x1A");
  EXPECT_EQ(record.station, "Station");
  EXPECT_EQ(record.channels[1].samples, (Samples{4, 8, 12}));
  EXPECT_TRUE(record.notes.empty());
}

TEST_F(ComtradeReader, TrimsBlanksRoundFields) {
  const Record record = read(
      " Station , Recorder , 1999\n 2, 1A , 1D\n 1, Ua  , A ,,V  , 2 , 0 , , 0 , 0, 110.0 , 1 , P \n1,D,,,0\n 50 \n 1 "
      "\n 1000 , 1 \n 1/1/2020 , 0:0:0\n 1/1/2020 , 0:0:1 \n ASCII \n",
      "1,0,21,0\n");
  EXPECT_EQ(record.station, "Station");
  EXPECT_EQ(record.channels[0].name, "Ua");
  EXPECT_EQ(record.channels[0].phase, "A");
  EXPECT_EQ(record.channels[0].unit, "V");
  EXPECT_EQ(record.channels[0].primary, 110);
  EXPECT_EQ(record.channels[0].side, 'P');
  EXPECT_EQ(record.channels[0].samples, Samples{42});
  EXPECT_EQ(record.start_time, "1/1/2020 0:0:0");
}

TEST_F(ComtradeReader, MakesTextInert) {
  const Record record = read(
      "Sta\xD3tion\x1B,R\x07,1999\n1,1A,0D\n1,U\xC1"
      "a,\xFF,,V\x01,1,0,0,0,0,1,1,P\n50\n1\n1000,1\n\x02"
      "d,t\nd,t\nASCII\n",
      "1,0,1\n");
  EXPECT_EQ(record.station, "Sta\xC3\x93tion");
  EXPECT_EQ(record.device, "R");
  EXPECT_EQ(record.channels[0].name,
            "U\xC3\x81"
            "a");
  EXPECT_EQ(record.channels[0].phase, "\xC3\xBF");
  EXPECT_EQ(record.channels[0].unit, "V");
  EXPECT_EQ(record.start_time, "d t");
}

TEST_F(ComtradeReader, ReadsDecimalsAndExponentsInAsciiData) {
  Cfg cfg;
  cfg.rates = "1\n1000,1\n";
  EXPECT_EQ(read(cfg.text(), "1,0,2.5e-001,-1.5E+2\n").channels[0].samples, Samples{10.125});
  EXPECT_EQ(read(cfg.text(), "1,0,2.5e-001,-1.5E+2\n").channels[1].samples, Samples{-300});
}

TEST_F(ComtradeReader, AcceptsZeroScale) {
  std::string cfg = Cfg{}.text();
  cfg.replace(cfg.find("0.5,10,"), 7, "0,10,");
  EXPECT_EQ(read(cfg, three_rows).channels[0].samples, (Samples{10, 10, 10}));
}

TEST_F(ComtradeReader, GivesMissingAsciiValuesAsNaN) {
  const Record record = read(Cfg{}.text(), "1,0,99999,2\n2,1000,,4\n3,2000,5,99999\n");
  EXPECT_TRUE(std::isnan(record.channels[0].samples[0]));
  EXPECT_TRUE(std::isnan(record.channels[0].samples[1]));
  EXPECT_EQ(record.channels[0].samples[2], 12.5);
  EXPECT_EQ(record.channels[1].samples[1], 8);
  EXPECT_TRUE(std::isnan(record.channels[1].samples[2]));
}

TEST_F(ComtradeReader, GivesMissingBinaryValuesAsNaN) {
  Cfg cfg;
  cfg.type = "BINARY";
  cfg.rates = "1\n1000,2\n";
  const Record record = read(cfg.text(), binary_row(1, {-32768, 1}) + binary_row(2, {-32767, 1}));
  EXPECT_TRUE(std::isnan(record.channels[0].samples[0]));
  EXPECT_EQ(record.channels[0].samples[1], -16373.5);
}

// --- sampling rates --------------------------------------------------------------------------------------------------

TEST_F(ComtradeReader, ReadsSeveralSamplingRates) {
  Cfg cfg;
  cfg.rates = "2\n1000,1\n20.5,3\n";
  const Record record = read(cfg.text(), three_rows);
  ASSERT_EQ(record.rates.size(), 2U);
  EXPECT_EQ(record.rates[0].rate, 1000);
  EXPECT_EQ(record.rates[0].end, 1U);
  EXPECT_EQ(record.rates[1].rate, 20.5);
  EXPECT_EQ(record.rates[1].end, 3U);
}

TEST_F(ComtradeReader, TakesTheRateFromTheTimeStampsWhenNoneIsStated) {
  Cfg cfg;
  cfg.rates = "0\n0,3\n";
  const Record record = read(cfg.text(), three_rows);
  ASSERT_EQ(record.rates.size(), 1U);
  EXPECT_EQ(record.rates[0].rate, 1000);
  EXPECT_EQ(record.rates[0].end, 3U);
  EXPECT_EQ(record.start_time, "31/12/1998 23:59:59.000000");
  EXPECT_EQ(record.notes, Strings{"The file states no sampling rate; the time stamps give 1000 samples per second."});
}

TEST_F(ComtradeReader, ReadsFewerSamplesThanDeclaredAndSaysSo) {
  Cfg cfg;
  cfg.rates = "3\n1000,2\n500,5\n100,2147483648\n";
  const Record record = read(cfg.text(), three_rows);
  ASSERT_EQ(record.rates.size(), 2U);
  EXPECT_EQ(record.rates[1].rate, 500);
  EXPECT_EQ(record.rates[1].end, 3U);
  EXPECT_EQ(record.notes, Strings{"The configuration declares 2147483648 samples, but the data hold 3."});
}

TEST_F(ComtradeReader, ReadsMoreSamplesThanDeclaredAtTheLastRate) {
  Cfg cfg;
  cfg.rates = "2\n1000,1\n500,2\n";
  const Record record = read(cfg.text(), three_rows);
  EXPECT_EQ(record.length(), 3U);
  ASSERT_EQ(record.rates.size(), 2U);
  EXPECT_EQ(record.rates[1].rate, 500);
  EXPECT_EQ(record.rates[1].end, 3U);
  EXPECT_EQ(record.notes, Strings{"The configuration declares 2 samples, but the data hold 3."});
}

TEST_F(ComtradeReader, RefusesRatesThatRunBackwards) {
  Cfg cfg;
  cfg.rates = "2\n1000,3\n500,2\n";
  EXPECT_EQ(refusal(cfg.text(), three_rows),
            in_cfg("line 8: this sampling rate ends at sample 2, but the previous one ends at sample 3; correct the "
                   "line; last samples are counted from the start of the record"));
}

TEST_F(ComtradeReader, RefusesRatesThatAreNone) {
  Cfg cfg;
  cfg.rates = "1\n-1000,3\n";
  EXPECT_EQ(refusal(cfg.text(), three_rows), in_cfg("line 7: sampling rate 1 of 1 is negative; correct the line"));
  cfg.rates = "1\nfast,3\n";
  EXPECT_EQ(refusal(cfg.text(), three_rows),
            in_cfg("line 7: sampling rate 1 of 1: 'fast' is not a number; correct the line"));
  cfg.rates = "1\n1000\n";
  EXPECT_EQ(refusal(cfg.text(), three_rows),
            in_cfg("line 7: sampling rate 1 of 1 needs a rate and the number of its last sample; correct the line"));
  cfg.rates = "1\n1000,2.5\n";
  EXPECT_EQ(refusal(cfg.text(), three_rows),
            in_cfg("line 7: sampling rate 1 of 1: the last sample '2.5' is not a sample number; correct the line"));
  cfg.rates = "one\n1000,3\n";
  EXPECT_EQ(refusal(cfg.text(), three_rows),
            in_cfg("line 6: 'one' is not a number of sampling rates; correct the line"));
}

TEST_F(ComtradeReader, TakesNoMemoryForClaimedRates) {
  Cfg cfg;
  cfg.rates = "4000000000\n1000,3\n";
  EXPECT_EQ(refusal(cfg.text(), three_rows),
            in_cfg("line 8: sampling rate 2 of 4000000000: '31/12/1998' is not a number; correct the line"));
}

// --- unusual but readable files --------------------------------------------------------------------------------------

TEST_F(ComtradeReader, NotesALineFrequencyThatSaysNothing) {
  for (const std::string frequency : {"0", "unknown", "", "-50", "0.4", "1e9", "nan"}) {
    Cfg cfg;
    cfg.frequency = frequency;
    const Record record = read(cfg.text(), three_rows);
    EXPECT_EQ(record.line_frequency, 0);
    EXPECT_EQ(record.notes, Strings{"Line 5 of the configuration file: the line frequency '" + frequency +
                                    "' is not usable and was ignored."});
  }
}

TEST_F(ComtradeReader, NotesATotalThatIsNotTheSum) {
  Cfg cfg;
  cfg.counts = "7,2A,0D";
  EXPECT_EQ(
      read(cfg.text(), three_rows).notes,
      Strings{"Line 2 of the configuration file: the total '7' is not the sum of 2 analog and 0 digital channels, "
              "which are used."});
}

TEST_F(ComtradeReader, DropsATornLastLineAndSaysSo) {
  const Record record = read(Cfg{}.text(), "1,0,1,2\n2,1000,3,4\n3,2000,5");
  EXPECT_EQ(record.length(), 2U);
  EXPECT_EQ(record.notes,
            (Strings{"The last line of the data file (line 3) is incomplete and was dropped: the row has 3 fields "
                     "instead of 4.",
                     "The configuration declares 3 samples, but the data hold 2."}));
}

TEST_F(ComtradeReader, AcceptsACommaAtTheEndOfRows) {
  EXPECT_EQ(read(Cfg{}.text(), "1,0,1,2,\n2,1000,3,4,\n3,2000,5,6,\n").length(), 3U);
}

TEST_F(ComtradeReader, NotesMissingRowsOfAsciiData) {
  EXPECT_EQ(read(Cfg{}.text(), "1,0,1,2\n5,4000,3,4\n9,8000,5,6\n").notes,
            Strings{"Sample numbers in the data file jump from 1 to 5 at line 2; rows may be missing."});
}

TEST_F(ComtradeReader, DropsATornBinaryRowAndSaysSo) {
  Cfg cfg;
  cfg.type = "BINARY";
  cfg.rates = "1\n1000,1\n";
  const Record record = read(cfg.text(), binary_row(1, {1, 2}) + "torn!");
  EXPECT_EQ(record.length(), 1U);
  EXPECT_EQ(record.notes, Strings{"The data file ends in the middle of a row; the first 5 bytes of that row of 12 "
                                  "bytes were dropped."});
}

TEST_F(ComtradeReader, AcceptsAnEndOfFileMarkBehindBinaryData) {
  Cfg cfg;
  cfg.type = "BINARY";
  cfg.rates = "1\n1000,1\n";
  EXPECT_TRUE(read(cfg.text(), binary_row(1, {1, 2}) + "\x1A").notes.empty());
}

// --- sample numbers of binary data -----------------------------------------------------------------------------------

TEST_F(ComtradeReader, RefusesBinaryDataWithAJumpInSampleNumbers) {
  Cfg cfg;
  cfg.type = "BINARY";
  std::string rows;
  for (std::uint32_t n = 1; n <= 12; n++) rows += binary_row(n, {1, 2});
  EXPECT_EQ(refusal(cfg.text(), rows + binary_row(900, {1, 2})),
            in_dat("row 13 (byte 144): sample number jumps from 12 to 900: the data are damaged, perhaps by an "
                   "end-of-line conversion; copy the file again in binary mode, and make sure that the .cfg file "
                   "belongs to it"));
}

TEST_F(ComtradeReader, FindsWhatAnEndOfLineConversionDidToBinaryData) {
  Cfg cfg;
  cfg.type = "BINARY";
  std::string rows;
  for (std::uint32_t n = 1; n <= 20; n++) rows += binary_row(n, {1, 2});
  rows.insert(rows.find('\n'), 1, '\r');  // row 10, because its number is a line feed
  EXPECT_NE(refusal(cfg.text(), rows).find("row 10 (byte 108): sample number jumps from 9 to 2573"), std::string::npos);
}

TEST_F(ComtradeReader, AcceptsSampleNumbersThatStartAnywhereOrAreAllZero) {
  Cfg cfg;
  cfg.type = "BINARY";
  cfg.rates = "1\n1000,2\n";
  EXPECT_TRUE(read(cfg.text(), binary_row(700, {1, 2}) + binary_row(701, {1, 2})).notes.empty());
  EXPECT_TRUE(read(cfg.text(), binary_row(0, {1, 2}) + binary_row(0, {1, 2})).notes.empty());
}

TEST_F(ComtradeReader, AcceptsSampleNumbersThatOverflow) {
  Cfg cfg;
  cfg.type = "BINARY";
  EXPECT_TRUE(
      read(cfg.text(), binary_row(0xFFFFFFFFU, {1, 2}) + binary_row(0, {1, 2}) + binary_row(1, {1, 2})).notes.empty());
}

TEST_F(ComtradeReader, NotesSampleNumbersThatStartAgain) {
  Cfg cfg;
  cfg.type = "BINARY";
  cfg.rates = "2\n1000,2\n500,3\n";
  EXPECT_EQ(read(cfg.text(), binary_row(1, {1, 2}) + binary_row(2, {1, 2}) + binary_row(1, {1, 2})).notes,
            Strings{"Sample numbers in the data file start again at 1 in row 3."});
}

// --- refusals --------------------------------------------------------------------------------------------------------

TEST_F(ComtradeReader, NamesTheLineOfAMissingChannel) {
  const std::string cfg = "Station,Recorder,1999\n999999,999999A,0D\n1,Ua,A,,V,1,0,0,0,0,1,1,P\n";
  EXPECT_EQ(refusal(cfg, three_rows),
            in_cfg("line 4: the file ends where analog channel 2 of 999999 should be; get the complete configuration "
                   "file"));
}

TEST_F(ComtradeReader, NamesTheLineOfAMissingDigitalChannel) {
  const std::string cfg = "S,R,1999\n4294967296,1A,4294967295D\n1,Ua,A,,V,1,0,0,0,0,1,1,P\n1,D,,,0\n";
  EXPECT_EQ(refusal(cfg, three_rows), in_cfg("line 5: the file ends where digital channel 2 of 4294967295 should be; "
                                             "get the complete configuration file"));
}

TEST_F(ComtradeReader, RefusesAConfigurationThatEndsEarly) {
  const std::string whole = Cfg{}.text();
  const std::vector<std::string> parts = {
      "the numbers of channels",      "analog channel 1 of 2",        "analog channel 2 of 2",
      "the line frequency",           "the number of sampling rates", "sampling rate 1 of 1",
      "the time of the first sample", "the time of the trigger",      "the type of the data file"};
  std::size_t end = 0;
  for (std::size_t i = 0; i < parts.size(); i++) {
    end = whole.find('\n', end) + 1;
    EXPECT_EQ(refusal(whole.substr(0, end), three_rows),
              in_cfg(fmt::format("line {}: the file ends where {} should be; get the complete configuration file",
                                 i + 2, parts[i])));
  }
  EXPECT_EQ(refusal("", three_rows),
            in_cfg("line 1: the file ends where the station name should be; get the complete configuration file"));
}

TEST_F(ComtradeReader, RefusesAFileThatIsNoConfiguration) {
  EXPECT_EQ(refusal("Dear reader,\nhello\n", three_rows),
            in_cfg("line 2: the line should give the total, analog and digital numbers of channels but starts with "
                   "'hello'; make sure that this is a COMTRADE configuration file with a line such as 6,4A,2D"));
  EXPECT_EQ(refusal("S,R,1999\n6,4,2\n", three_rows),
            in_cfg("line 2: '4' is not a count of analog (A) channels; make sure that this is a COMTRADE configuration "
                   "file with a line such as 6,4A,2D"));
  EXPECT_EQ(refusal("S,R,1999\n6,4A,-2D\n", three_rows),
            in_cfg("line 2: '-2D' is not a count of digital (D) channels; make sure that this is a COMTRADE "
                   "configuration file with a line such as 6,4A,2D"));
}

TEST_F(ComtradeReader, RefusesARecordWithoutAnalogChannels) {
  EXPECT_EQ(refusal("S,R,1999\n0,0A,0D\n", three_rows),
            in_cfg("line 2: the record has no analog channels; choose a record with voltages"));
}

TEST_F(ComtradeReader, RefusesAChannelLineThatIsTooShort) {
  EXPECT_EQ(refusal("S,R,1999\n2,1A,1D\n1,Ua,A,,V,1,0\n", three_rows),
            in_cfg("line 3: analog channel 1 of 1 has 7 fields but needs at least 10; correct the line"));
}

TEST_F(ComtradeReader, RefusesAScaleThatIsNoNumber) {
  EXPECT_EQ(refusal("S,R,1999\n1,1A,0D\n1,Ua,A,,V,one,0,0,0,0\n", three_rows),
            in_cfg("line 3: analog channel 1 of 1: the scale factor 'one' is not a number; correct the line"));
  EXPECT_EQ(refusal("S,R,1999\n1,1A,0D\n1,Ua,A,,V,1,none,0,0,0\n", three_rows),
            in_cfg("line 3: analog channel 1 of 1: the offset 'none' is not a number; correct the line"));
}

TEST_F(ComtradeReader, LeavesAChannelWithoutValuesIfItsScaleIsNotFinite) {
  for (const std::string scale : {"inf,0", "1,nan", "1.#INF,0", "-1.#IND,0"}) {
    const Record record = read("S,R,1999\n2,2A,0D\n1,Ua,A,,V,1,0,0,0,0\n2,X,,,A," + scale +
                                   ",0,0,0\n50\n1\n1000,2\n01/01/2020,00:00:00\n01/01/2020,00:00:00\nASCII\n1\n",
                               "1,0,10,1\n2,1000,20,2\n");
    EXPECT_EQ(record.channels[0].samples, (std::vector<double>{10, 20})) << scale;
    EXPECT_TRUE(std::isnan(record.channels[1].samples[0])) << scale;
    ASSERT_EQ(record.notes.size(), 1U) << scale;
    EXPECT_NE(record.notes[0].find("so the channel has no values"), std::string::npos) << record.notes[0];
  }
}

TEST_F(ComtradeReader, RefusesOtherTypesOfData) {
  Cfg cfg;
  cfg.type = "ZIP";
  EXPECT_EQ(refusal(cfg.text(), three_rows),
            in_cfg("line 10: 'ZIP' is not a data type; correct the line to the actual data type: ASCII, BINARY, "
                   "BINARY32 or FLOAT32"));
}

TEST_F(ComtradeReader, RefusesTextWhereBinaryDataBelong) {
  for (const std::string type : {"BINARY", "BINARY32", "FLOAT32"}) {
    Cfg cfg;
    cfg.type = type;
    EXPECT_EQ(refusal(cfg.text(), three_rows),
              in_dat("byte 0: the data are text, but the .cfg file states " + type +
                     "; correct the data type in the .cfg file to ASCII, and make sure that it belongs to this file"));
  }
}

TEST_F(ComtradeReader, RefusesAnAsciiRowWithAnotherNumberOfFields) {
  EXPECT_EQ(refusal(Cfg{}.text(), "1,0,1,2\n2,1000,3\n3,2000,5,6\n"),
            in_dat("line 2: the row has 3 fields instead of 4; correct the line, and make sure that the .cfg file "
                   "belongs to this file"));
}

TEST_F(ComtradeReader, RefusesAnAsciiValueThatIsNoNumber) {
  EXPECT_EQ(refusal(Cfg{}.text(), "1,0,1,2\n2,1000,3,4.4.4\n3,2000,5,6\n"),
            in_dat("line 2: '4.4.4' is not a number (analog channel 2); correct the line, and make sure that the "
                   ".cfg file belongs to this file"));
}

TEST_F(ComtradeReader, RefusesARecordWithoutSamples) {
  const std::string expected = in_dat("holds no samples; get the data file again, or choose another record");
  EXPECT_EQ(refusal(Cfg{}.text(), ""), expected);
  EXPECT_EQ(refusal(Cfg{}.text(), "\r\n\x1A"), expected);
  EXPECT_EQ(refusal(Cfg{}.text(), "1,0,"), expected);
  Cfg cfg;
  cfg.type = "BINARY";
  EXPECT_EQ(refusal(cfg.text(), "short"), expected);
}

// --- numbers that no recorder writes ---------------------------------------------------------------------------------

TEST_F(ComtradeReader, RefusesARateThatNoRecorderHas) {
  Cfg cfg;
  for (const std::string rate : {"100000001", "1e9", "2.5e9", "1e22", "1e300", "1.7976931348623157e308"}) {
    cfg.rates = "1\n" + rate + ",3\n";
    EXPECT_EQ(refusal(cfg.text(), three_rows),
              in_cfg("line 7: sampling rate 1 of 1 is " + number_text(*parse_number(rate)) +
                     " samples per second, more than any recorder takes (at most 1e+08); correct the line, or set the "
                     "rate to 0 so that the time stamps decide"));
  }
  cfg.rates = "1\n100000000,3\n";
  EXPECT_EQ(read(cfg.text(), three_rows).rates[0].rate, 1e8);
}

TEST_F(ComtradeReader, RefusesARateThatIsNoRate) {
  Cfg cfg;
  for (const std::string rate : {"nan", "inf", "-inf", "1e999", "", "x"}) {
    cfg.rates = "1\n" + rate + ",3\n";
    EXPECT_EQ(refusal(cfg.text(), three_rows),
              in_cfg("line 7: sampling rate 1 of 1: '" + rate + "' is not a number; correct the line"));
  }
  for (const std::string rate : {"-1", "-1e300", "-1e-300"}) {
    cfg.rates = "1\n" + rate + ",3\n";
    EXPECT_EQ(refusal(cfg.text(), three_rows), in_cfg("line 7: sampling rate 1 of 1 is negative; correct the line"));
  }
}

TEST_F(ComtradeReader, DerivesARateOfZeroFromTheTimeStamps) {
  Cfg cfg;
  cfg.rates = "1\n0,3\n";
  EXPECT_EQ(read(cfg.text(), three_rows).rates[0].rate, 1000);
}

TEST_F(ComtradeReader, RefusesTimeStampsThatGiveARateThatNoRecorderHas) {
  Cfg cfg;
  cfg.rates = "1\n0,3\n";
  cfg.tail = "0.000001\n";
  EXPECT_EQ(refusal(cfg.text(), "1,0,1,2\n2,1,3,4\n3,2,5,6\n"),
            in_cfg("its sampling rate would be 1e+12 samples per second, more than any recorder takes (at most 1e+08); "
                   "state the actual rate in the .cfg file, and check its time stamp factor"));
}

TEST_F(ComtradeReader, RefusesARecordThatLastsMoreThanACentury) {
  Cfg cfg;
  for (const std::string rate : {"9e-10", "1e-300", "5e-324"}) {
    cfg.rates = "1\n" + rate + ",3\n";
    const std::string refused = refusal(cfg.text(), three_rows);
    EXPECT_TRUE(refused.starts_with(in_cfg("the record would last "))) << rate << ": " << refused;
    EXPECT_TRUE(
        refused.ends_with(", more than a century; correct the sampling rate in the .cfg file, and check its "
                          "time stamp factor"))
        << rate << ": " << refused;
  }
  cfg.rates = "1\n1e-9,3\n";  // 3 samples of 1e9 s are less than a century, one more is not
  EXPECT_EQ(read(cfg.text(), three_rows).rates[0].rate, 1e-9);
}

TEST_F(ComtradeReader, IgnoresTimeStampsThatAreMoreThanACenturyAway) {
  const auto rows = [](std::size_t damaged, const std::string& stamp) {
    std::string text;
    for (std::size_t i = 0; i < 100; i++) {
      text += fmt::format("{},{},{},5\n", i + 1, i == damaged ? stamp : std::to_string(1000 * i), i);
    }
    return text;
  };
  Cfg cfg;
  cfg.rates = "1\n1000,100\n";
  for (const std::size_t damaged : {0U, 1U, 40U, 98U, 99U}) {
    for (const std::string stamp : {"1500000000000000000000", "-3155760000100000", "3155760000100000", "inf"}) {
      const Record record = read(cfg.text(), rows(damaged, stamp));
      ASSERT_EQ(record.rates.size(), 1U) << damaged << " " << stamp;
      EXPECT_EQ(record.rates[0].end, 100U);
      EXPECT_EQ(record.notes, Strings{fmt::format("1 time stamp is more than a century away from the others and was "
                                                  "ignored; the first is that of sample {}.",
                                                  damaged + 1)})
          << stamp;
    }
  }
}

TEST_F(ComtradeReader, KeepsRecordsInPartsThatAreNearlyACenturyApart) {
  std::string rows;
  for (int i = 0; i < 100; i++) rows += fmt::format("{},{},1,2\n", i + 1, 1000.0 * i + (i < 50 ? 0 : 3.1e15));
  Cfg cfg;
  cfg.rates = "1\n1000,100\n";
  const Record record = read(cfg.text(), rows);
  ASSERT_EQ(record.rates.size(), 2U);
  EXPECT_NEAR(record.rates[1].start, 3.1e9, 1);
}

TEST_F(ComtradeReader, IgnoresATimeSkewThatNoDeviceHas) {
  for (const std::string skew : {"1000001", "-1e300", "inf"}) {
    std::string cfg = Cfg{}.text();
    cfg.replace(cfg.find("0.5,10,0,"), 9, "0.5,10," + skew + ",");
    const Record record = read(cfg, three_rows);
    EXPECT_EQ(record.channels[0].skew, 0) << skew;
    EXPECT_EQ(record.notes, Strings{"Line 3 of the configuration file: the time skew '" + skew +
                                    "' of analog channel 1 of 2 is not usable and was ignored."});
  }
}

TEST_F(ComtradeReader, IgnoresARatioThatIsNotFinite) {
  for (const std::string ratio : {"inf", "-inf", "nan"}) {
    std::string cfg = Cfg{}.text();
    const std::string usual = ",110,0.1,P";
    ASSERT_NE(cfg.find(usual), cfg.npos);
    cfg.replace(cfg.find(usual), usual.size(), "," + ratio + ",0.1,P");
    const Record record = read(cfg, three_rows);
    EXPECT_EQ(record.channels[0].primary, 1) << ratio;
    EXPECT_EQ(record.channels[0].secondary, 0.1) << ratio;
    EXPECT_EQ(record.notes, Strings{"Line 3 of the configuration file: the primary ratio '" + ratio +
                                    "' of analog channel 1 of 2 is not finite and was ignored."});
  }
}

TEST_F(ComtradeReader, IgnoresATimeStampFactorThatNoProgramWrites) {
  for (const std::string factor : {"1e-320", "1e-10", "1e10", "1e300"}) {
    Cfg cfg;
    cfg.tail = factor + "\n";
    const Record record = read(cfg.text(), three_rows);
    EXPECT_EQ(record.rates[0].rate, 1000);
    EXPECT_EQ(record.notes, Strings{"Line 11 of the configuration file: the time stamp factor '" + factor +
                                    "' is not usable; 1 is used."});
  }
}

TEST_F(ComtradeReader, CutsTextsThatAreTooLong) {
  std::string name = "Ua";
  while (name.size() < 65536) name += "_A";
  std::string station;
  for (int i = 0; i < 300; i++) station += "\xC3\x84";
  std::string cfg = Cfg{}.text();
  cfg.replace(cfg.find("Ua,A,"), 5, name + "," + std::string(300, 'p') + ",");
  cfg.replace(cfg.find("kV"), 2, std::string(257, 'u'));
  cfg.replace(0, 16, station + "," + std::string(1000, 'd'));
  const Record record = read(cfg, three_rows);
  EXPECT_EQ(record.channels[0].name, name.substr(0, 256));
  EXPECT_EQ(record.channels[0].phase, std::string(256, 'p'));
  EXPECT_EQ(record.channels[0].unit, std::string(256, 'u'));
  EXPECT_EQ(record.device, std::string(256, 'd'));
  EXPECT_EQ(record.station, station.substr(0, 512));
  EXPECT_EQ(record.notes,
            Strings{"The text of the station has 300 characters and was cut to 256; 4 more texts were cut too."});
}

TEST_F(ComtradeReader, CutsATimeThatIsTooLong) {
  std::string cfg = Cfg{}.text();
  cfg.replace(cfg.find("31/12"), 2, std::string(300, '3'));
  const Record record = read(cfg, three_rows);
  EXPECT_EQ(record.start_time, std::string(256, '3'));
  EXPECT_EQ(record.notes, Strings{"The text of the time of the first sample has 324 characters and was cut to 256."});
}

// --- the two files ---------------------------------------------------------------------------------------------------

TEST_F(ComtradeReader, FindsThePartnerInAnyLetterCase) {
  const std::string cfg = folder.write("Fault 1.CFG", Cfg{}.text());
  const std::string dat = folder.write("fault 1.Dat", three_rows);
  EXPECT_EQ(read_comtrade(cfg).length(), 3U);
  EXPECT_EQ(read_comtrade(dat).length(), 3U);
  EXPECT_EQ(read_comtrade(dat).file, dat);
}

TEST_F(ComtradeReader, PrefersThePartnerThatIsWrittenAlike) {
  const std::string large = folder.write("R.CFG", Cfg{}.text());
  folder.write("R.DAT", "1,0,1,2\n");
  const std::string small = folder.write("r.cfg", Cfg{}.text());
  folder.write("r.dat", "1,0,1,2\n2,0,3,4\n");
  const std::string mixed = folder.write("r.CFG", Cfg{}.text());
  folder.write("r.DAT", three_rows);
  EXPECT_EQ(read_comtrade(large).length(), 1U);
  EXPECT_EQ(read_comtrade(small).length(), 2U);
  EXPECT_EQ(read_comtrade(mixed).length(), 3U);
}

TEST_F(ComtradeReader, KeepsToTheNameBeforeTheLastDot) {
  folder.write("a.cfg.dat", three_rows);
  folder.write("a.dat", "1,0,1,2\n");
  EXPECT_EQ(read_comtrade(folder.write("a.cfg.cfg", Cfg{}.text())).length(), 3U);
}

TEST_F(ComtradeReader, NamesTheMissingPartner) {
  const std::string cfg = folder.write("alone.cfg", Cfg{}.text());
  EXPECT_EQ(refusal_of([&] { read_comtrade(cfg); }),
            folder.path("alone.dat") + ": there is no such file next to " + cfg +
                " (in upper or lower case), and a record needs both; copy the record's .dat file there");
  const std::string dat = folder.write("lone.dat", three_rows);
  EXPECT_EQ(refusal_of([&] { read_comtrade(dat); }),
            folder.path("lone.cfg") + ": there is no such file next to " + dat +
                " (in upper or lower case), and a record needs both; copy the record's .cfg file there");
}

}  // namespace
}  // namespace readers
