#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "readers/comtrade/comtrade.h"
#include "readers/open_record.h"
#include "tests/readers/scratch_folder.h"

namespace readers {
namespace {

using namespace std::string_literals;
using Samples = std::vector<double>;
using Strings = std::vector<std::string>;

constexpr const char* no_sections =
    "r.cff: has no sections (\"--- file type: CFG ---\"); a single-file COMTRADE record holds its configuration and "
    "its data in such sections";
constexpr const char* no_data =
    "r.cff: has no data section (\"--- file type: DAT ASCII ---\"); a single-file COMTRADE record holds its "
    "configuration and its data in such sections";

/// A single-file record of two channels and three rows; tests change its parts as needed.
struct Cff {
  std::string cfg_line = "--- file type: CFG ---\n";
  std::string year = "2013";
  std::string type = "ASCII";
  std::string between = "--- file type: INF ---\n\n--- file type: HDR ---\n\n";
  std::string dat_line = "--- file type: DAT ASCII ---\n";
  std::string data = "1,0,1,2\n2,1000,3,4\n3,2000,5,6\n";

  [[nodiscard]] std::string cfg() const {
    return "Station,Recorder," + year +
           "\n2,2A,0D\n"
           "1,Ua,A,Line 1,kV,0.5,10,0,-32767,32767,110,0.1,P\n"
           "2,Ub,B,Line 1,kV,2,0,0,-32767,32767,110,0.1,S\n"
           "50\n1\n1000,3\n31/12/1998,23:59:59.000000\n31/12/1998,23:59:59.500000\n" +
           type + "\n1\n0,0\n0,0\n";
  }
  [[nodiscard]] std::string text() const { return cfg_line + cfg() + between + dat_line + data; }
};

Record read(const std::string& content) {
  return read_single_comtrade("r.cff", content);
}

std::string refusal(const std::string& content) {
  return refusal_of([&] { read(content); });
}

void expect_whole(const Record& record) {
  ASSERT_EQ(record.channels.size(), 2U);
  EXPECT_EQ(record.channels[0].samples, (Samples{10.5, 11.5, 12.5}));
  EXPECT_EQ(record.channels[1].samples, (Samples{4, 8, 12}));
  EXPECT_EQ(record.notes, Strings{});
}

/// Returns the text with a carriage return before every line feed.
std::string with_crlf(const std::string& text) {
  std::string result;
  for (const char c : text) result += c == '\n' ? "\r\n" : std::string(1, c);
  return result;
}

/// Three rows with the same samples as 16-bit values.
const std::string binary_rows =
    "\x01\0\0\0\0\0\0\0\x01\0\x02\0"
    "\x02\0\0\0\xE8\x03\0\0\x03\0\x04\0"
    "\x03\0\0\0\xD0\x07\0\0\x05\0\x06\0"s;

Cff binary() {
  Cff cff;
  cff.type = "BINARY";
  cff.dat_line = "--- file type: DAT BINARY: 36 ---\n";
  cff.data = binary_rows;
  return cff;
}

// --- valid records ---------------------------------------------------------------------------------------------------

TEST(SingleComtradeReader, IsReadWithAsciiData) {
  const Record record = read(Cff{}.text());
  expect_whole(record);
  EXPECT_EQ(record.file, "r.cff");
  EXPECT_EQ(record.format, "COMTRADE 2013 ASCII");
  EXPECT_EQ(record.station, "Station");
  EXPECT_EQ(record.device, "Recorder");
  EXPECT_EQ(record.start_time, "31/12/1998 23:59:59.000000");
  EXPECT_EQ(record.trigger_time, "31/12/1998 23:59:59.500000");
  EXPECT_EQ(record.line_frequency, 50);
  EXPECT_EQ(record.rates[0].rate, 1000);
  EXPECT_EQ(record.rates[0].end, 3U);
  EXPECT_EQ(record.channels[0].name, "Ua");
  EXPECT_EQ(record.channels[0].unit, "kV");
  EXPECT_EQ(record.channels[0].primary, 110);
  EXPECT_EQ(record.channels[0].side, 'P');
  EXPECT_EQ(record.channels[1].side, 'S');
}

TEST(SingleComtradeReader, IsReadWithBinaryData) {
  const Record record = read(binary().text());
  expect_whole(record);
  EXPECT_EQ(record.format, "COMTRADE 2013 BINARY");
  expect_whole(read(with_crlf(binary().text().substr(0, binary().text().size() - binary_rows.size())) + binary_rows));
}

TEST(SingleComtradeReader, TakesBinaryDataThatLookLikeTextForData) {
  // The words of the second row spell a line feed and the beginning of an announcement.
  Cff cff = binary();
  cff.data =
      "\x01\0\0\0\0\0\0\0\n---"
      "\x02\0\0\0\x0A\0\0\0\n---"
      "\x03\0\0\0\0\0\0\0\r\n\x1A\x1A"s;
  const Record record = read(cff.text());
  EXPECT_EQ(record.channels[0].samples, (Samples{10 + 0.5 * 0x2D0A, 10 + 0.5 * 0x2D0A, 10 + 0.5 * 0x0A0D}));
  EXPECT_EQ(record.channels[1].samples, (Samples{2 * 0x2D2D, 2 * 0x2D2D, 2 * 0x1A1A}));
  EXPECT_EQ(record.notes, Strings{});
}

TEST(SingleComtradeReader, IsReadWhateverItsLinesEndIn) {
  expect_whole(read(with_crlf(Cff{}.text())));
  expect_whole(read("\xEF\xBB\xBF" + with_crlf(Cff{}.text()) + "\x1A"));
  std::string unfinished = Cff{}.text();
  unfinished.pop_back();
  expect_whole(read(unfinished));
}

TEST(SingleComtradeReader, IsReadWhateverTheLettersAndBlanksOfItsAnnouncements) {
  Cff cff;
  cff.cfg_line = "  --- FILE TYPE: cfg ---  \n";
  cff.between = "--- File Type: Inf---\n--- file type:HDR ---\n";
  cff.dat_line = "\t--- File type:   dat ascii   ---\n";
  expect_whole(read(cff.text()));
  cff.dat_line = "--- file type: DAT ---\n";
  expect_whole(read(cff.text()));
}

TEST(SingleComtradeReader, NeedsNoRemarksAndStepsOverThoseThatThereAre) {
  Cff cff;
  cff.between = "";
  expect_whole(read(cff.text()));
  cff.between =
      "--- file type: INF ---\n[Public]\n--- not a section\nfile type: DAT\n--- file type: ---\n"
      "--- file type: HDR ---\nDear reader,\n1,2,3\n";
  expect_whole(read(cff.text()));
}

TEST(SingleComtradeReader, MayHaveItsConfigurationBehindTheRemarks) {
  Cff cff;
  const std::string remarks = "--- file type: HDR ---\nDear reader\n";
  cff.between = "";
  expect_whole(read(remarks + cff.text()));
}

TEST(SingleComtradeReader, IsReadByTheRevisionOfItsConfiguration) {
  Cff cff;
  cff.year = "1999";
  EXPECT_EQ(read(cff.text()).format, "COMTRADE 1999 ASCII");
  expect_whole(read(cff.text()));
}

TEST(SingleComtradeReader, NotesOddities) {
  Cff cff;
  cff.data = "1,0,1,2\n5,4000,3,4\n6,5000,5";
  EXPECT_EQ(read(cff.text()).notes,
            (Strings{"Sample numbers in the data file jump from 1 to 5 at line 2; rows may be missing.",
                     "The last line of the data file (line 3) is incomplete and was dropped: the row has 3 fields "
                     "instead of 4.",
                     "The configuration declares 3 samples, but the data hold 2."}));
}

// --- missing parts ---------------------------------------------------------------------------------------------------

TEST(SingleComtradeReader, IsRefusedWithoutSections) {
  for (const auto& content : {""s, "\n\n"s, Cff{}.cfg(), "t,Ua\n0,1\n"s, "--- file type: CFG\n" + Cff{}.cfg(),
                              "- file type: CFG ---\n" + Cff{}.cfg(), "\xFF\xFE-\0-\0"s}) {
    EXPECT_EQ(refusal(content), no_sections) << content;
  }
}

TEST(SingleComtradeReader, IsRefusedWithoutData) {
  Cff cff;
  cff.dat_line = "";
  EXPECT_EQ(refusal(cff.text()), no_data);
  cff.dat_line = "--- file type: DAT ASCII\n";
  EXPECT_EQ(refusal(cff.text()), no_data);
  EXPECT_EQ(refusal("--- file type: CFG ---"), no_data);
  EXPECT_EQ(refusal("--- file type: HDR ---\nDear reader\n"), no_data);
}

TEST(SingleComtradeReader, IsRefusedWithAnEmptyDataSection) {
  Cff cff;
  const std::string expected =
      "r.cff, DAT section: holds no samples; get the data file again, or choose another record";
  for (const auto* data : {"", "\n\r\n", "\x1A", "1,0,1"}) {
    cff.data = data;
    EXPECT_EQ(refusal(cff.text()), expected);
  }
  cff.dat_line = "--- file type: DAT ASCII ---";
  cff.data = "";
  EXPECT_EQ(refusal(cff.text()), expected) << "the announcement has no line end";
  Cff short_binary = binary();
  short_binary.data.resize(11);
  EXPECT_EQ(refusal(short_binary.text()), expected);
}

TEST(SingleComtradeReader, IsRefusedWithoutAConfiguration) {
  const std::string expected =
      "r.cff, CFG section: line 1: the file ends where the station name should be; get the complete configuration "
      "file";
  Cff cff;
  EXPECT_EQ(refusal(cff.between + cff.dat_line + cff.data), expected);
  EXPECT_EQ(refusal(cff.dat_line + cff.data + cff.cfg_line + cff.cfg()), expected)
      << "a configuration after the data is read as data";
  EXPECT_EQ(refusal(cff.cfg_line + cff.dat_line + cff.data), expected);
}

// --- damaged parts ---------------------------------------------------------------------------------------------------

TEST(SingleComtradeReader, NamesTheLineOfItsConfigurationWhereThatEnds) {
  const Cff cff;
  const std::vector<std::string> parts = {
      "the numbers of channels",      "analog channel 1 of 2",        "analog channel 2 of 2",
      "the line frequency",           "the number of sampling rates", "sampling rate 1 of 1",
      "the time of the first sample", "the time of the trigger",      "the type of the data file"};
  std::size_t end = 0;
  for (std::size_t i = 0; i < parts.size(); i++) {
    end = cff.cfg().find('\n', end) + 1;
    EXPECT_EQ(
        refusal(cff.cfg_line + cff.cfg().substr(0, end) + cff.between + cff.dat_line + cff.data),
        fmt::format("r.cff, CFG section: line {}: the file ends where {} should be; get the complete configuration "
                    "file",
                    i + 2, parts[i]));
  }
}

TEST(SingleComtradeReader, NamesTheLineOfItsSectionThatIsWrong) {
  Cff cff;
  cff.data = "1,0,1,2\n2,1000,3,four\n3,2000,5,6\n";
  EXPECT_EQ(
      refusal(cff.text()),
      "r.cff, DAT section: line 2: 'four' is not a number (analog channel 2); correct the line, and make sure that "
      "the .cfg file belongs to this file");
  cff.type = "BINARY64";
  EXPECT_EQ(
      refusal(cff.text()),
      "r.cff, CFG section: line 10: 'BINARY64' is not a data type; correct the line to the actual data type: ASCII, "
      "BINARY, BINARY32 or FLOAT32");
}

TEST(SingleComtradeReader, IsRefusedWithASectionBehindItsData) {
  Cff cff;
  cff.data += "--- file type: INF ---\nremarks\n";
  EXPECT_EQ(refusal(cff.text()),
            "r.cff, DAT section: line 4: the row has 1 fields instead of 4; correct the line, and make sure that the "
            ".cfg file belongs to this file");
}

TEST(SingleComtradeReader, IsReadAsFarAsItsBinaryDataGo) {
  Cff cff = binary();
  cff.data.resize(29);
  const Record record = read(cff.text());
  EXPECT_EQ(record.channels[0].samples, (Samples{10.5, 11.5}));
  EXPECT_EQ(record.notes, (Strings{"The data file ends in the middle of a row; the first 5 bytes of that row of 12 "
                                   "bytes were dropped.",
                                   "The configuration declares 3 samples, but the data hold 2."}));
}

TEST(SingleComtradeReader, IsRefusedWhereALineEndConversionHasDamagedBinaryData) {
  Cff cff = binary();
  cff.data = with_crlf("\x01\0\0\0\0\0\0\0\x0A\0\x02\0"s + binary_rows.substr(12));
  EXPECT_TRUE(refusal(cff.text()).starts_with("r.cff, DAT section: row 2 (byte 12): sample number jumps from 1 to 512"))
      << refusal(cff.text());
}

// --- distinction from other files ------------------------------------------------------------------------------------

TEST(SingleComtradeReader, IsKnownByItsFirstLine) {
  EXPECT_TRUE(is_single_comtrade(Cff{}.text()));
  EXPECT_TRUE(is_single_comtrade("\xEF\xBB\xBF" + with_crlf(Cff{}.text())));
  EXPECT_TRUE(is_single_comtrade(binary().text()));
  EXPECT_TRUE(is_single_comtrade("--- file type: CFG ---"));
  EXPECT_FALSE(is_single_comtrade(""));
  EXPECT_FALSE(is_single_comtrade("\n" + Cff{}.text()));
  EXPECT_FALSE(is_single_comtrade("--- file type: ---\n"));
  EXPECT_FALSE(is_single_comtrade("--- file type: --\n"));
  EXPECT_FALSE(is_single_comtrade(Cff{}.cfg()));
}

TEST(SingleComtradeReader, IsOpenedByItsExtensionOrItsFirstLine) {
  const ScratchFolder folder;
  for (const char* name : {"r.cff", "R.CFF", "record.txt", "record", "r.csv"}) {
    const std::string path = folder.write(name, Cff{}.text());
    const Record record = open_record(path);
    expect_whole(record);
    EXPECT_EQ(record.file, path);
  }
  expect_whole(open_record(folder.write("b.cff", binary().text())));
}

TEST(SingleComtradeReader, IsOpenedWithItsMissingValuesNoted) {
  const ScratchFolder folder;
  Cff cff;
  cff.data = "1,0,1,2\n2,1000,99999,4\n3,2000,5,6\n";
  EXPECT_EQ(open_record(folder.write("r.cff", cff.text())).notes,
            Strings{"1 value is missing; the first is sample 2 of channel 1 'Ua'."});
}

TEST(SingleComtradeReader, NamesItsFileWhenItIsOpenedInVain) {
  const ScratchFolder folder;
  const std::string path = folder.write("r.cff", "Dear reader,\n");
  EXPECT_EQ(refusal_of([&] { open_record(path); }), path + (no_sections + std::string("r.cff").size()));
}

}  // namespace
}  // namespace readers
