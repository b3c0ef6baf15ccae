// Writes records and reads them back; they must agree to the digits or steps that the format has.
#include "synth/record_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "readers/comtrade/comtrade.h"
#include "readers/table/csv.h"
#include "synth/dip_description.h"
#include "tests/readers/scratch_folder.h"

namespace synth {
namespace {

using namespace std::string_literals;
using Samples = std::vector<double>;

constexpr double ascii_steps = 99998;
constexpr double binary_steps = 32767;

readers::Channel channel_of(const std::string& name, const std::string& phase, const std::string& unit,
                            const Samples& samples) {
  readers::Channel channel;
  channel.name = name;
  channel.phase = phase;
  channel.unit = unit;
  channel.samples = samples;
  return channel;
}

readers::Record record_with(const std::vector<readers::Channel>& channels, double rate) {
  readers::Record record;
  record.station = "Station";
  record.device = "Device";
  record.line_frequency = 50;
  record.channels = channels;
  record.rates = {{rate, record.length()}};
  return record;
}

/// Returns a dip with noise and harmonics, so that its values need all their digits.
readers::Record rich_record() {
  DipDescription dip;
  dip.phases = "CA";
  dip.point_on_wave = 33;
  dip.noise = 1;
  dip.harmonics = {{5, 0.04}};
  return record_of(waveform_of(dip));
}

double peak_of(const Samples& samples) {
  double peak = 0;
  for (const double sample : samples) peak = std::max(peak, std::abs(sample));
  return peak;
}

double largest_difference(const Samples& a, const Samples& b) {
  double largest = 0;
  for (std::size_t i = 0; i < a.size(); i++) largest = std::max(largest, std::abs(a[i] - b[i]));
  return largest;
}

// --- CSV -------------------------------------------------------------------------------------------------------------

TEST(CsvFile, IsATableOfTimesAndChannels) {
  const auto record = record_with(
      {channel_of("Ua", "A", "V", {0, 1.5, -325.269119}), channel_of("Ib", "B", "kA", {1e-12, 123456789.25, -0.1})},
      6400);
  EXPECT_EQ(csv_of(record),
            "t_s,Ua_V,Ib_kA\n"
            "0.000000000,0,1e-12\n"
            "0.000156250,1.5,123456789\n"
            "0.000312500,-325.269119,-0.1\n");
}

TEST(CsvFile, ComesBackToNineDigits) {
  const auto record = rich_record();
  const auto back = readers::read_csv("r.csv", csv_of(record));
  ASSERT_EQ(back.channels.size(), 3U);
  EXPECT_TRUE(back.notes.empty());
  EXPECT_EQ(back.line_frequency, 0) << "a table does not state the line frequency";
  for (std::size_t x = 0; x < 3; x++) {
    EXPECT_EQ(back.channels[x].name, record.channels[x].name);
    EXPECT_EQ(back.channels[x].unit, "V");
    const auto& samples = record.channels[x].samples;
    ASSERT_EQ(back.channels[x].samples.size(), samples.size());
    for (std::size_t i = 0; i < samples.size(); i++) {
      EXPECT_NEAR(back.channels[x].samples[i] / samples[i], 1, 5.1e-9) << "ABC"[x] << i;
    }
  }
}

TEST(CsvFile, BringsFiguresOfNineDigitsBackBitForBit) {
  const Samples samples = {0, 230, -325.269119, 0.000123456789, 1.5e-300, 4e8, -0.1, 1e9};
  const auto back = readers::read_csv("r.csv", csv_of(record_with({channel_of("Ua", "A", "V", samples)}, 1000)));
  EXPECT_EQ(back.channels[0].samples, samples);
}

class WholeRates : public testing::TestWithParam<double> {};

TEST_P(WholeRates, ComeBackExactlyFromTheTimesOfATable) {
  const auto record = record_with({channel_of("Ua", "A", "V", Samples(1000, 1.0))}, GetParam());
  const auto back = readers::read_csv("r.csv", csv_of(record));
  ASSERT_EQ(back.rates.size(), 1U);
  EXPECT_EQ(back.rates[0].rate, GetParam());
  EXPECT_EQ(back.rates[0].end, 1000U);
}

INSTANTIATE_TEST_SUITE_P(Hertz, WholeRates, testing::Values(100, 1600, 3000, 6400, 7680, 12345, 44100, 1000000));

TEST(CsvFile, BringsOtherRatesBackToNineDigits) {
  const auto back =
      readers::read_csv("r.csv", csv_of(record_with({channel_of("Ua", "A", "V", Samples(1000, 1.0))}, 1234.5)));
  EXPECT_NEAR(back.rates[0].rate, 1234.5, 1234.5e-9 * 2);
}

// --- written COMTRADE files ------------------------------------------------------------------------------------------

/// Returns a record with peaks of 24.9995 V and 99.998 A, for which one step of the text format is 0.25 mV and 1 mA.
readers::Record small_record() {
  auto record = record_with(
      {channel_of("Ua", "A", "V", {24.9995, -24.9995, 0.1}), channel_of("Ib", "B", "A", {0, 99.998, -1.0006})}, 6400);
  record.line_frequency = 60;
  return record;
}

TEST(ComtradePair, IsAConfigurationAndNumberedRowsOfSteps) {
  const auto pair = comtrade_of(small_record(), ComtradeData::ascii);
  EXPECT_EQ(pair.config,
            "Station,Device,1999\r\n"
            "2,2A,0D\r\n"
            "1,Ua,A,,V,0.00025,0,0,-99998,99998,1,1,P\r\n"
            "2,Ib,B,,A,0.001,0,0,-99998,99998,1,1,P\r\n"
            "60\r\n"
            "1\r\n"
            "6400,3\r\n"
            "01/01/2000,00:00:00.000000\r\n"
            "01/01/2000,00:00:00.000000\r\n"
            "ASCII\r\n"
            "1\r\n");
  EXPECT_EQ(pair.data,
            "1,0,99998,0\r\n"
            "2,156,-99998,99998\r\n"
            "3,313,400,-1001\r\n");
}

TEST(ComtradePair, HoldsSixteenBitStepsWhenBinary) {
  const auto record = record_with(
      {channel_of("Ua", "A", "V", {32767, -32767, 258}), channel_of("Ub", "B", "V", {0, -1, 16383.5})}, 1000);
  const auto pair = comtrade_of(record, ComtradeData::binary);
  EXPECT_NE(pair.config.find("1,Ua,A,,V,1,0,0,-32767,32767,1,1,P\r\n"), std::string::npos) << pair.config;
  EXPECT_NE(pair.config.find("2,Ub,B,,V,0.5,0,0,-32767,32767,1,1,P\r\n"), std::string::npos);
  EXPECT_NE(pair.config.find("\r\nBINARY\r\n"), std::string::npos);
  EXPECT_EQ(pair.data,
            "\x01\0\0\0\0\0\0\0\xFF\x7F\0\0"
            "\x02\0\0\0\xE8\x03\0\0\x01\x80\xFE\xFF"
            "\x03\0\0\0\xD0\x07\0\0\x02\x01\xFF\x7F"s);
}

TEST(SingleComtrade, HoldsTheFourSectionsOf2013) {
  const auto record = record_with({channel_of("Ua", "A", "V", {99998, -1})}, 1000);
  EXPECT_EQ(single_comtrade_of(record, ComtradeData::ascii),
            "--- file type: CFG ---\r\n"
            "Station,Device,2013\r\n"
            "1,1A,0D\r\n"
            "1,Ua,A,,V,1,0,0,-99998,99998,1,1,P\r\n"
            "50\r\n"
            "1\r\n"
            "1000,2\r\n"
            "01/01/2000,00:00:00.000000\r\n"
            "01/01/2000,00:00:00.000000\r\n"
            "ASCII\r\n"
            "1\r\n"
            "0,0\r\n"
            "0,0\r\n"
            "--- file type: INF ---\r\n"
            "\r\n"
            "--- file type: HDR ---\r\n"
            "\r\n"
            "--- file type: DAT ASCII ---\r\n"
            "1,0,99998\r\n"
            "2,1000,-1\r\n");
}

TEST(SingleComtrade, StatesTheLengthOfBinaryData) {
  const auto record = record_with({channel_of("Ua", "A", "V", {32767, 1, 2})}, 1000);
  const auto text = single_comtrade_of(record, ComtradeData::binary);
  const auto pair = comtrade_of(record, ComtradeData::binary);
  EXPECT_EQ(pair.data.size(), 30U) << "three rows of 4 + 4 + 2 bytes";
  EXPECT_TRUE(text.ends_with("\r\n--- file type: DAT BINARY: 30 ---\r\n" + pair.data)) << text;
}

// --- COMTRADE files that are read back -------------------------------------------------------------------------------

struct ComtradeCase {
  const char* name;
  ComtradeData data;
  bool single;
  double steps;  // number of steps on either side of zero
};

void PrintTo(const ComtradeCase& comtrade, std::ostream* out) {
  *out << comtrade.name;
}

class Comtrade : public testing::TestWithParam<ComtradeCase> {
 protected:
  readers::Record back(const readers::Record& record) {
    if (GetParam().single) return readers::read_single_comtrade("r.cff", single_comtrade_of(record, GetParam().data));
    const auto pair = comtrade_of(record, GetParam().data);
    folder.write("r.dat", pair.data);
    return readers::read_comtrade(folder.write("r.cfg", pair.config));
  }
  static double steps() { return GetParam().steps; }

  ScratchFolder folder;
};

TEST_P(Comtrade, SaysWhatTheRecordIs) {
  const auto record = rich_record();
  const auto read = back(record);
  EXPECT_EQ(read.format, std::string("COMTRADE ") + (GetParam().single ? "2013 " : "1999 ") +
                             (GetParam().data == ComtradeData::ascii ? "ASCII" : "BINARY"));
  EXPECT_EQ(read.station, "dipx");
  EXPECT_EQ(read.device, "synthetic waveform");
  EXPECT_EQ(read.start_time, "01/01/2000 00:00:00.000000");
  EXPECT_EQ(read.trigger_time, read.start_time);
  EXPECT_EQ(read.length(), record.length());
  ASSERT_EQ(read.rates.size(), 1U);
  EXPECT_EQ(read.rates[0].end, record.length());
  ASSERT_EQ(read.channels.size(), 3U);
  for (std::size_t x = 0; x < 3; x++) {
    EXPECT_EQ(read.channels[x].name, record.channels[x].name);
    EXPECT_EQ(read.channels[x].phase, record.channels[x].phase);
    EXPECT_EQ(read.channels[x].unit, "V");
    EXPECT_EQ(read.channels[x].side, 'P');
    EXPECT_EQ(read.channels[x].primary, 1);
    EXPECT_EQ(read.channels[x].secondary, 1);
  }
  EXPECT_TRUE(read.notes.empty());
}

TEST_P(Comtrade, ComesBackWithinHalfAStep) {
  const auto record = rich_record();
  const auto read = back(record);
  for (std::size_t x = 0; x < 3; x++) {
    const auto& samples = record.channels[x].samples;
    const double step = peak_of(samples) / steps();
    const double off = largest_difference(read.channels[x].samples, samples);
    // The step is written with nine digits; over the whole range that adds an error of up to half of 1e-8 of the step
    // times the number of steps.
    EXPECT_LE(off, step * (0.5 + 0.5e-8 * steps()));
    EXPECT_GE(off, step * 0.45) << "among thousands of values some are close to the middle between two steps";
  }
}

TEST_P(Comtrade, BringsWholeStepsBackExactly) {
  Samples samples;
  for (double step = -steps(); step <= steps(); step += 97) samples.push_back(0.25 * step);
  samples.push_back(0.25 * steps());
  EXPECT_EQ(back(record_with({channel_of("Ua", "A", "V", samples)}, 6400)).channels[0].samples, samples);
}

TEST_P(Comtrade, ScalesEachChannelByItsOwnPeak) {
  const double lowest = 1e-6 * steps();
  const double highest = 1e6 * steps();
  const auto read = back(record_with(
      {channel_of("Ua", "A", "V", {lowest, 0, -lowest}), channel_of("Ub", "B", "V", {1, highest, -highest})}, 6400));
  EXPECT_NEAR(read.channels[0].samples[0] / lowest, 1, 1e-15);
  EXPECT_NEAR(read.channels[0].samples[2] / lowest, -1, 1e-15);
  EXPECT_EQ(read.channels[1].samples, (Samples{0, highest, -highest}));
}

TEST_P(Comtrade, TakesNoPeakForAMissingValue) {
  // With these peaks the step, cut to nine digits, is slightly less than the peak over the number of steps.
  for (const double peak : {1.0, 325.2691193, 1.0 / 3, 2.0 / 3, 7.0}) {
    const auto read = back(record_with({channel_of("Ua", "A", "V", {peak, -peak})}, 6400));
    EXPECT_NEAR(read.channels[0].samples[0] / peak, 1, 6e-9);
    EXPECT_NEAR(read.channels[0].samples[1] / peak, -1, 6e-9);
  }
}

TEST_P(Comtrade, BringsADeadChannelBackAsZeros) {
  const auto read = back(record_with({channel_of("Ua", "A", "V", {0, 0, 0})}, 6400));
  EXPECT_EQ(read.channels[0].samples, (Samples{0, 0, 0}));
}

TEST_P(Comtrade, KeepsRateAndLineFrequencyToNineDigits) {
  auto record = record_with({channel_of("Ua", "A", "V", {1, 2})}, 6400);
  for (const double frequency : {50.0, 60.0, 16.7, 59.94, 50.123456}) {
    for (const double rate : {6400.0, 7680.0, 1234.56789, 1e6}) {
      record.line_frequency = frequency;
      record.rates[0].rate = rate;
      EXPECT_EQ(back(record).line_frequency, frequency);
      EXPECT_EQ(back(record).rates[0].rate, rate);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Files, Comtrade,
                         testing::Values(ComtradeCase{"PairOfText", ComtradeData::ascii, false, ascii_steps},
                                         ComtradeCase{"BinaryPair", ComtradeData::binary, false, binary_steps},
                                         ComtradeCase{"SingleOfText", ComtradeData::ascii, true, ascii_steps},
                                         ComtradeCase{"BinarySingle", ComtradeData::binary, true, binary_steps}),
                         [](const auto& comtrade) { return comtrade.param.name; });

TEST(SingleComtrade, IsKnownByItsFirstLine) {
  EXPECT_TRUE(readers::is_single_comtrade(single_comtrade_of(small_record(), ComtradeData::ascii)));
  EXPECT_TRUE(readers::is_single_comtrade(single_comtrade_of(small_record(), ComtradeData::binary)));
  EXPECT_FALSE(readers::is_single_comtrade(csv_of(small_record())));
}

}  // namespace
}  // namespace synth
