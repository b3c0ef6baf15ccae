// Tests the forms of COMTRADE data other than text and 16-bit binary in two files, and the peculiarities of some
// devices.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "readers/comtrade/comtrade.h"
#include "tests/readers/scratch_folder.h"

namespace readers {
namespace {

using namespace std::string_literals;

using Samples = std::vector<double>;
using Strings = std::vector<std::string>;

std::string little_endian(std::uint32_t value, int bytes) {
  std::string text;
  for (int i = 0; i < bytes; i++) text += static_cast<char>(value >> (8 * i) & 0xFFU);
  return text;
}

std::string row32(std::uint32_t number, const std::vector<std::uint32_t>& words) {
  std::string row = little_endian(number, 4) + little_endian(number * 1000, 4);
  for (const std::uint32_t word : words) row += little_endian(word, 4);
  return row;
}

/// A configuration of revision 2013 in which Ua is scaled by 0.5 and offset by 10, and Ub is scaled by 2.
std::string cfg_of(const std::string& type, const std::string& end = "", const std::string& tail = "1\n") {
  return "Station,Recorder,2013\n2,2A,0D\n1,Ua,A,,V,0.5,10,0,-32767,32767,1,1,P\n2,Ub,B,,V,2,0,0,-32767,32767,1,1,P\n"
         "50\n1\n1000," +
         (end.empty() ? "3" : end) + "\n31/12/1998,23:59:59.000000\n31/12/1998,23:59:59.001000\n" + type + "\n" + tail;
}

class ComtradeForms : public testing::Test {
 protected:
  Record read(const std::string& cfg, const std::string& dat, const OpenOptions& options = {}) {
    folder.write("r.dat", dat);
    return read_comtrade(folder.write("r.cfg", cfg), options);
  }
  std::string refusal(const std::string& cfg, const std::string& dat) {
    return refusal_of([&] { read(cfg, dat); });
  }
  ScratchFolder folder;
};

// --- 32-bit data -----------------------------------------------------------------------------------------------------

TEST_F(ComtradeForms, ReadBinary32) {
  const Record record = read(cfg_of("BINARY32"), row32(1, {1, 0xFFFFFFFEU}) + row32(2, {0x7FFFFFFFU, 0x80000001U}) +
                                                     row32(3, {0x80000000U, 70000}));
  EXPECT_EQ(record.format, "COMTRADE 2013 BINARY32");
  EXPECT_EQ(record.channels[0].samples[0], 10.5);
  EXPECT_EQ(record.channels[0].samples[1], 0.5 * 2147483647 + 10);
  EXPECT_TRUE(std::isnan(record.channels[0].samples[2])) << "0x80000000 marks a missing value";
  EXPECT_EQ(record.channels[1].samples, (Samples{-4, -2.0 * 2147483647, 140000}));
  EXPECT_TRUE(record.notes.empty());
}

TEST_F(ComtradeForms, ReadFloat32) {
  const auto bits = [](float value) { return std::bit_cast<std::uint32_t>(value); };
  const float inf = std::numeric_limits<float>::infinity();
  const Record record =
      read(cfg_of("float32"), row32(1, {bits(1.5F), bits(-0.25F)}) + row32(2, {bits(std::nanf("")), bits(1e30F)}) +
                                  row32(3, {bits(inf), bits(0)}));
  EXPECT_EQ(record.format, "COMTRADE 2013 FLOAT32");
  EXPECT_EQ(record.channels[0].samples[0], 10.75);
  EXPECT_TRUE(std::isnan(record.channels[0].samples[1]));
  EXPECT_TRUE(std::isnan(record.channels[0].samples[2]));
  EXPECT_EQ(record.channels[1].samples, (Samples{-0.5, 2.0 * 1e30F, 0}));
}

TEST_F(ComtradeForms, TakeTheLargestFloat32ForAMissingValue) {
  const auto bits = [](float value) { return std::bit_cast<std::uint32_t>(value); };
  const float most = std::numeric_limits<float>::max();
  const Record record = read(cfg_of("FLOAT32"), row32(1, {bits(most), bits(-most)}) + row32(2, {bits(1), bits(2)}) +
                                                    row32(3, {bits(3), bits(4)}));
  EXPECT_TRUE(std::isnan(record.channels[0].samples[0]));
  EXPECT_TRUE(std::isnan(record.channels[1].samples[0]));
  EXPECT_EQ(record.channels[1].samples[1], 4);
}

TEST_F(ComtradeForms, StepOverDigitalWordsBehind32BitValues) {
  std::string cfg = cfg_of("BINARY32", "2");
  cfg.replace(cfg.find("2,2A,0D"), 7, "19,2A,17D");
  std::string digitals;
  for (int i = 1; i <= 17; i++) digitals += fmt::format("{},D,,,0\n", i);
  cfg.insert(cfg.find("50\n"), digitals);
  const std::string words = "\xA5\xA5\xA5\xA5";
  const Record record = read(cfg, row32(1, {2, 3}) + words + row32(2, {4, 5}) + words);
  EXPECT_EQ(record.channels[1].samples, (Samples{6, 10}));
}

// --- wanted channels -------------------------------------------------------------------------------------------------

TEST_F(ComtradeForms, GiveSamplesOfWantedChannelsOnly) {
  OpenOptions options;
  Strings shown;
  options.wanted = [&](const Record& record) {
    for (const Channel& channel : record.channels) shown.push_back(channel.name);
    return std::vector<bool>{false, true};
  };
  const Record text = read(cfg_of("ASCII"), "1,0,x,2\n2,1000,3,4\n3,2000,5,6\n", options);
  EXPECT_EQ(shown, (Strings{"Ua", "Ub"}));
  EXPECT_TRUE(text.channels[0].samples.empty());
  EXPECT_EQ(text.channels[1].samples, (Samples{4, 8, 12}));
  EXPECT_EQ(text.length(), 3U);
  const Record binary = read(cfg_of("BINARY32", "1"), row32(1, {1, 7}), options);
  EXPECT_TRUE(binary.channels[0].samples.empty());
  EXPECT_EQ(binary.channels[1].samples, Samples{14});
}

// --- missing values --------------------------------------------------------------------------------------------------

TEST_F(ComtradeForms, SayAScaleFactorOfZero) {
  std::string cfg = cfg_of("ASCII");
  const std::string scale = ",0.5,10,0,";
  ASSERT_NE(cfg.find(scale), cfg.npos);
  cfg.replace(cfg.find(scale), scale.size(), ",0,10,0,");
  const Record record = read(cfg, "1,0,1,2\n2,1000,3,4\n3,2000,5,6\n");
  EXPECT_TRUE(record.channels[0].zero_scale);
  EXPECT_FALSE(record.channels[1].zero_scale);
  EXPECT_EQ(
      record.notes.front(),
      "Line 3 of the configuration file: the scale factor of analog channel 1 of 2 is 0, which makes all its values "
      "10.");
}

TEST_F(ComtradeForms, Take99999ForAValueWhereTheStatedRangeGoesFurther) {
  std::string cfg = cfg_of("ASCII");
  cfg.replace(cfg.find("-32767,32767"), 12, "-9999999,9999999");
  const Record record = read(cfg, "1,0,99999,99999\n2,1000,1,1\n3,2000,1,1\n");
  EXPECT_EQ(record.channels[0].samples[0], 0.5 * 99999 + 10);
  EXPECT_TRUE(std::isnan(record.channels[1].samples[0]));
}

// --- time ------------------------------------------------------------------------------------------------------------

TEST_F(ComtradeForms, ScaleTimeStampsByTheirFactor) {
  std::string cfg = cfg_of("ASCII", "3", "0.5\n");
  cfg.replace(cfg.find("1\n1000,3"), 8, "0\n0,3");
  EXPECT_EQ(read(cfg, "1,0,1,1\n2,1000,1,1\n3,2000,1,1\n").rates[0].rate, 2000);
}

TEST_F(ComtradeForms, CountTimeStampsInNanosecondsWhereTheStartIsSoWritten) {
  std::string cfg = cfg_of("ASCII");
  cfg.replace(cfg.find("1\n1000,3"), 8, "0\n0,3");
  cfg.replace(cfg.find("59.000000"), 9, "59.000000000");
  EXPECT_EQ(read(cfg, "1,0,1,1\n2,100000,1,1\n3,200000,1,1\n").rates[0].rate, 10000);
}

TEST_F(ComtradeForms, TellWhereTheTriggerLies) {
  EXPECT_NEAR(read(cfg_of("ASCII"), "1,0,1,1\n2,1000,1,1\n3,2000,1,1\n").trigger.value(), 0.001, 1e-9);
  std::string cfg = cfg_of("ASCII");
  cfg.replace(cfg.find("59.001000"), 9, "59.500000");
  EXPECT_FALSE(read(cfg, "1,0,1,1\n2,1000,1,1\n3,2000,1,1\n").trigger.has_value())
      << "the trigger is after the end of the record";
}

TEST_F(ComtradeForms, KeepTheTimeZone) {
  const char* rows = "1,0,1,1\n2,1000,1,1\n3,2000,1,1\n";
  EXPECT_EQ(read(cfg_of("ASCII", "3", "1\n+5h30,+5h30\nB,3\n"), rows).time_zone, "+5h30");
  EXPECT_EQ(read(cfg_of("ASCII"), rows).time_zone, "");
}

TEST_F(ComtradeForms, SayWhenTheTimeFactorSaysNothing) {
  const Record record = read(cfg_of("ASCII", "3", "x\n"), "1,0,1,1\n2,1000,1,1\n3,2000,1,1\n");
  EXPECT_EQ(record.notes, Strings{"Line 11 of the configuration file: the time stamp factor 'x' is not usable; 1 is "
                                  "used."});
}

/// Returns rows of 16-bit data with the given stamps; there are more rows than the reader processes at once.
std::string rows_stamped(const std::vector<std::uint32_t>& stamps) {
  std::string rows;
  std::uint32_t number = 0;
  for (const std::uint32_t stamp : stamps) {
    number++;
    rows += little_endian(number, 4) + little_endian(stamp, 4) + little_endian(number % 7, 2) + little_endian(3, 2);
  }
  return rows;
}

std::vector<std::uint32_t> even_stamps(std::size_t count, std::uint32_t first = 0) {
  std::vector<std::uint32_t> stamps;
  for (std::uint32_t i = 0; i < count; i++) stamps.push_back(first + 1000 * i);
  return stamps;
}

TEST_F(ComtradeForms, HaveBinaryTimeStampsThatAgree) {
  for (const std::uint32_t first : {0U, 5U, 0xFFFFFFFFU - 300000U}) {  // the last of these wraps around at 32 bits
    const Record record = read(cfg_of("BINARY", "500"), rows_stamped(even_stamps(500, first)));
    ASSERT_EQ(record.rates.size(), 1U) << first;
    EXPECT_EQ(record.rates[0].rate, 1000) << first;
    EXPECT_EQ(record.channels[0].samples[499], 10 + 0.5 * (500 % 7));
    EXPECT_EQ(record.notes, Strings{}) << first;
  }
}

TEST_F(ComtradeForms, HaveBinaryTimeStampsThatJumpAnywhere) {
  for (const std::size_t at : {1U, 100U, 128U, 200U, 256U, 499U}) {
    auto stamps = even_stamps(500);
    for (std::size_t i = at; i < 500; i++) stamps[i] += 2000000;
    const Record record = read(cfg_of("BINARY", "500"), rows_stamped(stamps));
    ASSERT_EQ(record.rates.size(), 2U) << at;
    EXPECT_EQ(record.rates[0].end, at);
    EXPECT_FALSE(record.rates[1].follows);
    EXPECT_NEAR(record.rates[1].start, 2 + 0.001 * static_cast<double>(at), 1e-9);
    EXPECT_EQ(
        record.notes,
        Strings{fmt::format("The time stamps jump forward by 2 s at sample {}; the record is split there.", at + 1)});
  }
}

TEST_F(ComtradeForms, MayHaveNoBinaryTimeStamps) {
  const Record record = read(cfg_of("BINARY", "300"), rows_stamped(std::vector<std::uint32_t>(300, 0xFFFFFFFFU)));
  ASSERT_EQ(record.rates.size(), 1U);
  EXPECT_EQ(record.rates[0].rate, 1000);
  EXPECT_EQ(record.notes, Strings{});
}

TEST_F(ComtradeForms, AreReadWholeAcrossThePiecesOfALongFile) {
  const std::size_t count = 50000;  // 600000 bytes
  const Record record = read(cfg_of("BINARY", std::to_string(count)), rows_stamped(even_stamps(count)));
  ASSERT_EQ(record.length(), count);
  for (std::size_t i = 0; i < count; i++) {
    ASSERT_EQ(record.channels[0].samples[i], 10 + 0.5 * static_cast<double>((i + 1) % 7)) << i;
  }
  EXPECT_EQ(record.notes, Strings{});
}

// --- channels --------------------------------------------------------------------------------------------------------

TEST_F(ComtradeForms, KeepTheSkew) {
  std::string cfg = cfg_of("ASCII");
  cfg.replace(cfg.find("0.5,10,0,"), 9, "-0.5,10,-6.5,");
  cfg.replace(cfg.find("2,0,0,"), 6, "2,0,,");
  const Record record = read(cfg, "1,0,1,1\n2,1000,1,1\n3,2000,1,1\n");
  EXPECT_EQ(record.channels[0].skew, -6.5e-6);
  EXPECT_EQ(record.channels[0].samples[0], 9.5);
  EXPECT_EQ(record.channels[1].skew, 0) << "an empty field means no skew";
}

TEST_F(ComtradeForms, LeaveOutAnEmptyFieldTooMany) {
  std::string cfg = cfg_of("ASCII");
  cfg.replace(cfg.find("A,,V,0.5"), 8, "A,,,V,0.5");
  cfg.replace(cfg.find("B,,V,2"), 6, "B,,,V,2");
  const Record record = read(cfg, "1,0,1,1\n2,1000,1,1\n3,2000,1,1\n");
  EXPECT_EQ(record.channels[0].unit, "V");
  EXPECT_EQ(record.channels[0].samples[0], 10.5);
  EXPECT_EQ(record.channels[1].samples[0], 2);
  EXPECT_EQ(record.notes, Strings{"Line 3 of the configuration file: an extra empty field before the unit was "
                                  "ignored."});
}

TEST_F(ComtradeForms, ReadNamesInTheirCharacterSet) {
  std::string cfg = cfg_of("ASCII");
  cfg.replace(cfg.find("Ua"), 2, "\xC4\xB8\xCF\xDF\xB5\xE7\xD1\xB9Ua");
  const char* rows = "1,0,1,1\n2,1000,1,1\n3,2000,1,1\n";
  const Record record = read(cfg, rows);
  EXPECT_EQ(record.channels[0].name, "母线电压Ua");
  EXPECT_EQ(record.notes, Strings{"The text is not UTF-8; it was read as GBK (override with --charset)."});
  OpenOptions options;
  options.charset = "CP1251";
  EXPECT_EQ(read(cfg, rows, options).channels[0].name, "ДёПЯµзС№Ua");
  EXPECT_TRUE(read(cfg, rows, options).notes.empty());
}

TEST_F(ComtradeForms, ReadAConfigurationInSixteenBitText) {
  std::string cfg = "\xFF\xFE";
  for (const char c : cfg_of("ASCII")) cfg += {c, '\0'};
  EXPECT_EQ(read(cfg, "1,0,1,1\n2,1000,1,1\n3,2000,1,1\n").channels[0].name, "Ua");
}

TEST_F(ComtradeForms, ReadBlanksAsFixedWidthDevicesWriteThem) {
  const Record record =
      read(cfg_of("ASCII"), "    1,     0,   -3 ,  4\r\n    2,  1000, +5,  1e1 \r\n    3,  2000, 7., .5");
  EXPECT_EQ(record.channels[0].samples, (Samples{8.5, 12.5, 13.5}));
  EXPECT_EQ(record.channels[1].samples, (Samples{8, 20, 1}));
}

TEST_F(ComtradeForms, RoundNumbersOfTextAsTheyShould) {
  const Record record = read(cfg_of("ASCII"), "1,0,1,0.1\n2,1000,1,123456789012.345\n3,2000,1,-0.30000000000000004\n");
  EXPECT_EQ(record.channels[1].samples, (Samples{2 * 0.1, 2 * 123456789012.345, 2 * -0.30000000000000004}));
}

// --- single files ----------------------------------------------------------------------------------------------------

std::string single_file(const std::string& cfg, const std::string& announcement, const std::string& data) {
  return "--- file type: CFG ---\n" + cfg + "--- file type: INF ---\n\n--- file type: HDR ---\n\n" + announcement +
         "\n" + data;
}

TEST(SingleFile, HoldsTextData) {
  const Record record = read_single_comtrade(
      "r.cff", single_file(cfg_of("ASCII"), "--- file type: DAT ASCII ---", "1,0,1,2\n2,1000,3,4\n3,2000,5,6\n"));
  EXPECT_EQ(record.channels[1].samples, (Samples{4, 8, 12}));
  EXPECT_EQ(record.format, "COMTRADE 2013 ASCII");
}

TEST(SingleFile, HoldsAsManyBytesAsItsAnnouncementSays) {
  const std::string data = row32(1, {1, 2}) + row32(2, {3, 4}) + row32(3, {5, 6});
  const Record record = read_single_comtrade(
      "r.cff", single_file(cfg_of("BINARY32"), "--- file type: DAT BINARY32: 48 ---", data + "\r\n"));
  EXPECT_EQ(record.channels[1].samples, (Samples{4, 8, 12}));
  EXPECT_TRUE(record.notes.empty());
}

TEST(SingleFile, MayHoldBinaryDataInBase64) {
  // The base64 text encodes 01000000 e8030000 02000000 03000000, so the first stamp is 1000.
  const Record record = read_single_comtrade(
      "r.cff",
      single_file(cfg_of("BINARY32", "1"), "--- file type: DAT BINARY32 ---", "AQAAAOgDAAAC\r\nAAAAAwAAAA==\r\n"));
  EXPECT_EQ(record.channels[0].samples, Samples{11});
  EXPECT_EQ(record.channels[1].samples, Samples{6});
  EXPECT_EQ(record.format, "COMTRADE 2013 BINARY32 (base64)");
}

TEST(SingleFile, MayStateTheLengthOfItsTextInBase64OrOfWhatItStandsFor) {
  const std::string text = "AQAAAOgDAAAC\r\nAAAAAwAAAA==\r\n";
  for (const std::string behind : {"", "--- file type: HDR ---\r\nremarks\r\n"}) {
    for (const std::string length : {"16", "26", "28"}) {
      const std::string announced = "--- file type: DAT BINARY32: " + length + " ---";
      const Record record =
          read_single_comtrade("r.cff", single_file(cfg_of("BINARY32", "1"), announced, text + behind));
      EXPECT_EQ(record.channels[0].samples, Samples{11}) << length;
      EXPECT_EQ(record.channels[1].samples, Samples{6}) << length;
      EXPECT_EQ(record.notes.size(), 0U) << length;
    }
  }
}

TEST(SingleFile, SaysWhatItsStatedLengthLeavesOut) {
  const std::string announced = "--- file type: DAT ASCII: 10 ---";
  const Record record =
      read_single_comtrade("r.cff", single_file(cfg_of("ASCII", "1"), announced, "1,0,1,2\r\n\r\n2,1000,3,4\r\n"));
  EXPECT_EQ(record.length(), 1U);
  EXPECT_EQ(record.notes.front(),
            "The data section continues for 12 bytes past its stated length of 10; these bytes were ignored.");
}

TEST(SingleFile, MayAnnounceItsSectionsInOtherWays) {
  const std::string data = "1,0,1,2\n2,1000,3,4\n3,2000,5,6\n";
  for (const auto& [first, last] : std::vector<std::pair<std::string, std::string>>{
           {"--- file type  CFG ---", "-- file type  DAT ---"},
           {"--- FILE TYPE:CFG---", "---File Type: DAT ASCII: 33---"},
           {"\xEF\xBB\xBF--- file type: CFG ---\r", "--- file type: DAT ASCII ---\r"}}) {
    const std::string content = first + "\n" + cfg_of("ASCII") + last + "\n" + data;
    EXPECT_TRUE(is_single_comtrade(content)) << first;
    EXPECT_EQ(read_single_comtrade("r.cff", content).length(), 3U) << first;
  }
}

TEST(SingleFile, IsRefusedWithoutItsSections) {
  EXPECT_EQ(
      refusal_of([] { read_single_comtrade("r.cff", "hello\n"); }),
      "r.cff: has no sections (\"--- file type: CFG ---\"); a single-file COMTRADE record holds its configuration and "
      "its data in such sections");
  EXPECT_EQ(refusal_of([] { read_single_comtrade("r.cff", "--- file type: CFG ---\n" + cfg_of("ASCII")); }),
            "r.cff: has no data section (\"--- file type: DAT ASCII ---\"); a single-file COMTRADE record holds its "
            "configuration and its data in such sections");
}

}  // namespace
}  // namespace readers
