// dipx convert, and the stretch of a record that --from and --to choose.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "readers/open_record.h"
#include "tests/command/dipx_command.h"
#include "tests/command/made_record.h"
#include "tests/core/working_folder.h"

namespace {

using nlohmann::json;
using tests::dipx;
using Record = tests::MadeRecord;

class Convert : public testing::Test {
 protected:
  static std::string converted(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"convert"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const auto result = dipx(all);
    EXPECT_EQ(result.status, 0) << result.err;
    return result.out;
  }

  /// Writes a record of whole numbers with a missing value and a digital channel that changes twice.
  static void write_whole_numbers(const std::string& type, const std::string& data) {
    std::ofstream("r.cfg") << "North,Feeder,1999\n3,2A,1D\n1,Ua,A,,kV,0.1,0.3,0,-32767,32767,110,0.1,S\n"
                              "2,\"x\" y,,,kA,0.07,-5,0,-32767,32767,1,1,P\n1,Breaker,,,0\n50\n1\n1000,4\n"
                              "08/01/2014,12:30:06.250000\n08/01/2014,12:30:06.252000\n"
                           << type << "\n1\n";
    std::ofstream("r.dat") << data;
  }

  static constexpr const char* rows = "1,0,10,-7,0\n2,1000,-20,99999,1\n3,2000,30,9,1\n4,3000,40,11,0\n";

  static void expect_equal_samples(const std::string& file) {
    const auto source = readers::open_record("r.cfg");
    const auto copy = readers::open_record(file);
    ASSERT_EQ(copy.channels.size(), source.channels.size()) << file;
    for (std::size_t c = 0; c < copy.channels.size(); c++) {
      ASSERT_EQ(copy.channels[c].samples.size(), source.channels[c].samples.size()) << file;
      for (std::size_t i = 0; i < copy.channels[c].samples.size(); i++) {
        const double before = source.channels[c].samples[i];
        const double after = copy.channels[c].samples[i];
        EXPECT_TRUE(before == after || (std::isnan(before) && std::isnan(after))) << file << " " << c << " " << i;
      }
      EXPECT_EQ(copy.channels[c].name, source.channels[c].name) << file;
      EXPECT_EQ(copy.channels[c].unit, source.channels[c].unit) << file;
    }
    EXPECT_EQ(copy.rates[0].rate, source.rates[0].rate) << file;
  }

  tests::WorkingFolder folder;
};

TEST_F(Convert, KeepsWholeNumbersEqual) {
  write_whole_numbers("ASCII", rows);
  EXPECT_EQ(converted({"r.cfg", "-o", "a.cfg"}),
            "a.cfg: COMTRADE 2013 BINARY32, 4 samples of 2 channels, all values are equal to those of the source\n"
            "note: 1 value is missing; the first is sample 2 of channel 2 '\"x\" y'.\n");
  converted({"r.cfg", "-o", "b.cff", "--data", "ascii"});
  converted({"r.cfg", "-o", "c.cff", "--data", "float32"});
  converted({"r.cfg", "-o", "d.csv"});
  for (const char* file : {"a.cfg", "b.cff", "c.cff", "d.csv"}) expect_equal_samples(file);
}

TEST_F(Convert, KeepsWhatIsSaidOfTheRecord) {
  write_whole_numbers("ASCII", rows);
  converted({"r.cfg", "-o", "a.cff"});
  readers::OpenOptions options;
  options.digitals = true;
  const auto copy = readers::open_record("a.cff", options);
  EXPECT_EQ(copy.station, "North");
  EXPECT_EQ(copy.device, "Feeder");
  EXPECT_EQ(copy.start_time, "08/01/2014 12:30:06.250000");
  EXPECT_NEAR(copy.trigger.value_or(0), 0.002, 1e-9);
  EXPECT_EQ(copy.line_frequency, 50);
  EXPECT_EQ(copy.channels[0].phase, "A");
  EXPECT_EQ(copy.channels[0].primary, 110);
  EXPECT_EQ(copy.channels[0].side, 'S');
  ASSERT_EQ(copy.digitals.size(), 1U);
  EXPECT_EQ(copy.digitals[0].name, "Breaker");
  ASSERT_EQ(copy.digitals[0].changes.size(), 2U);
  EXPECT_EQ(copy.digitals[0].changes[0].row, 1U);
  EXPECT_EQ(copy.digitals[0].changes[1].row, 3U);
}

TEST_F(Convert, PrintsHalfAStepForOtherValues) {
  Record(230, 0.2).write_csv("made.csv");
  const auto source = readers::open_record("made.csv");
  double peak = 0;
  for (const double sample : source.channels[0].samples) peak = std::max(peak, std::abs(sample));
  for (const std::string data : {"float32", "binary32", "ascii"}) {
    const std::string out = converted({"made.csv", "-o", "x.cfg", "--data", data});
    EXPECT_NE(out.find("values differ by at most half a step:\n  Ua within "), std::string::npos) << out;
    const double said = std::stod(out.substr(out.find("Ua within ") + 10));
    EXPECT_NEAR(said, data == "float32" ? peak / 16777216 : peak / 2147483645 / 2, 0.06 * said) << data;
    const auto copy = readers::open_record("x.cfg");
    for (std::size_t i = 0; i < source.length(); i++) {
      ASSERT_NEAR(copy.channels[0].samples[i], source.channels[0].samples[i], 1.06 * said) << data;
    }
  }
}

TEST_F(Convert, SaysWhichValuesDoNotFitTheType) {
  std::ofstream("r.csv") << "t_s,Ua [V],I [A]\n0,1,1e300\n0.001,-2,5\n0.002,3,-3.4028234663852886e38\n0.003,4,inf\n";
  EXPECT_EQ(
      converted({"r.csv", "-o", "a.cff", "--data", "float32"}),
      "a.cff: COMTRADE 2013 FLOAT32, 4 samples of 2 channels, all values that are stored are equal to those of "
      "the source\n"
      "note: 3 values of 'I' are too large for FLOAT32 and missing in the file; a table (.csv) holds all values.\n");
  const auto floats = readers::open_record("a.cff");
  EXPECT_EQ(floats.channels[1].samples[1], 5);
  for (const std::size_t row : {0U, 2U, 3U}) EXPECT_TRUE(std::isnan(floats.channels[1].samples[row])) << row;
  const std::string steps = converted({"r.csv", "-o", "b.cff", "--data", "binary32"});
  EXPECT_NE(steps.find("note: 1 value of 'I' is too large for BINARY32 and missing in the file; "), std::string::npos)
      << steps;
  EXPECT_NEAR(readers::open_record("b.cff").channels[1].samples[0], 1e300, 1e291);
  EXPECT_EQ(converted({"r.csv", "-o", "c.csv"}),
            "c.csv: CSV, 4 samples of 2 channels, all values are equal to those of the source\n");
}

TEST_F(Convert, KeepsTheSmallestValuesWithinTheHalfStepThatItPrints) {
  // A step of the peak divided by 2^31 would be zero, and floats end at 1.4e-45.
  std::ofstream("r.csv") << "t_s,Ua [V],Z [V]\n0,1e-305,0\n0.001,-4e-306,0\n0.002,1e-300,0\n0.003,0,0\n";
  for (const std::string data : {"float32", "binary32", "ascii"}) {
    const std::string out = converted({"r.csv", "-o", "x.cff", "--data", data});
    const std::size_t at = out.find("Ua within ");
    ASSERT_NE(at, std::string::npos) << out;
    EXPECT_EQ(out.find("Z within"), std::string::npos) << "zeros are stored exactly";
    const double said = std::strtod(out.c_str() + at + 10, nullptr);
    EXPECT_EQ(said, data == "float32" ? 7e-46 : 1.1e-308);
    const auto copy = readers::open_record("x.cff");
    const std::vector<double> source = {1e-305, -4e-306, 1e-300, 0};
    for (std::size_t i = 0; i < source.size(); i++) {
      EXPECT_NEAR(copy.channels[0].samples[i], source[i], 1.06 * said) << data << " " << i;
      EXPECT_EQ(copy.channels[1].samples[i], 0) << data;
    }
  }
}

TEST_F(Convert, AcceptsTheRatesThatCanBeRead) {
  write_whole_numbers("ASCII", rows);
  const auto result = dipx({"convert", "r.cfg", "-o", "x.cfg", "--rate", "2e8"});
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.err.find("'2e8' is not a number from 1 to 100000000"), std::string::npos) << result.err;
}

TEST_F(Convert, WritesChosenChannelsOfAStretch) {
  write_whole_numbers("ASCII", rows);
  converted({"r.cfg", "-o", "a.cfg", "--channels", "2", "--from", "0.001", "--to", "0.003"});
  readers::OpenOptions options;
  options.digitals = true;
  const auto copy = readers::open_record("a.cfg", options);
  ASSERT_EQ(copy.channels.size(), 1U);
  ASSERT_EQ(copy.length(), 2U);
  EXPECT_TRUE(std::isnan(copy.channels[0].samples[0]));
  EXPECT_EQ(copy.channels[0].samples[1], 0.07 * 9 + -5);
  EXPECT_EQ(copy.start_time, "08/01/2014 12:30:06.251000");
  EXPECT_NEAR(copy.trigger.value_or(0), 0.001, 1e-9);
  EXPECT_TRUE(copy.digitals[0].first_state);
  EXPECT_TRUE(copy.digitals[0].changes.empty());
}

TEST_F(Convert, RefusesWhatItCannotWrite) {
  write_whole_numbers("ASCII", rows);
  const auto status_of = [](const std::vector<std::string>& arguments) { return dipx(arguments).status; };
  EXPECT_EQ(status_of({"convert", "r.cfg", "-o", "x.txt"}), 1);
  EXPECT_EQ(status_of({"convert", "r.cfg", "-o", "r.cfg"}), 1);
  EXPECT_EQ(status_of({"convert", "r.cfg", "-o", "x.csv", "--data", "ascii"}), 1);
  EXPECT_EQ(status_of({"convert", "r.cfg", "-o", "x.csv", "--channels", "Ux"}), 1);
  EXPECT_EQ(status_of({"convert", "r.cfg", "-o", "x.csv", "--from", "2"}), 1);
}

TEST_F(Convert, RefusesRecordsThatTheFormatCannotHold) {
  const auto refused = [](const std::vector<std::string>& arguments, int status, const std::string& complaint) {
    std::vector<std::string> all = {"convert"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    const auto result = dipx(all);
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, "dipx: " + complaint + "\n");
  };
  write_whole_numbers("ASCII", "1,,10,-7,0\n2,,-20,9,1\n");
  std::string config = tests::bytes_of("r.cfg");
  config.replace(config.find("1\n1000,4"), 8, "0\n0,4");
  std::ofstream("r.cfg") << config;
  for (const char* output : {"x.cfg", "x.csv"}) {
    refused({"r.cfg", "-o", output}, 3,
            "r.cfg: neither it nor its time stamps give the sampling rate; give it with --rate");
    EXPECT_FALSE(std::ifstream(output)) << output;
  }
  config.replace(config.find("0\n0,4"), 5, "2\n1000,2\n2000,4");
  std::ofstream("r.cfg") << config;
  std::ofstream("r.dat") << "1,,10,-7,0\n2,,-20,9,1\n3,,10,-7,0\n4,,-20,9,1\n";
  refused({"r.cfg", "-o", "x.csv"}, 3,
          "r.cfg: it has 2 parts with their own rates or times, but a table has one rate; choose one part with --from "
          "and --to (dipx info lists them) and channels of one rate with --channels, or write COMTRADE");
  converted({"r.cfg", "-o", "x.cff"});
  const auto copy = readers::open_record("x.cff");
  ASSERT_EQ(copy.rates.size(), 2U);
  EXPECT_EQ(copy.rates[1].rate, 2000);
}

TEST_F(Convert, ATableNeedsOnlyThePartsThatItsChannelsHave) {
  // Recorders that store voltages and currents at different rates leave the others empty.
  std::ofstream("r.cff") << "--- file type: CFG ---\nS,D,2013\n2,2A,0D\n1,UA,,,V,1,0,0,-9,9,1,1,P\n"
                            "2,IA,,,A,1,0,0,-9,9,1,1,P\n50\n2\n1000,2\n500,4\n01/01/2020,00:00:00.000000\n"
                            "01/01/2020,00:00:00.000000\nASCII\n1\n--- file type: DAT ASCII ---\n"
                            "1,0,3,\n2,1000,4,\n3,2000,,5\n4,4000,,6\n";
  for (const auto& [channel, values] : {std::pair("UA", std::array{3.0, 4.0}), {"IA", {5, 6}}}) {
    converted({"r.cff", "-o", "x.csv", "--channels", channel});
    const auto copy = readers::open_record("x.csv");
    ASSERT_EQ(copy.channels.size(), 1U) << channel;
    EXPECT_EQ(copy.channels[0].samples, std::vector(values.begin(), values.end())) << channel;
  }
}

// --- stretches -------------------------------------------------------------------------------------------------------

TEST_F(Convert, StretchesLimitTheAnalysisAndKeepTheTimes) {
  Record(230, 1).lower("ABC", 0.2, 0.3, 115).lower("A", 0.6, 0.7, 161).write_csv("r.csv");
  const auto document = json::parse(dipx({"analyse", "r.csv", "--json", "--from", "0.4", "--to", "0.9"}).out);
  ASSERT_EQ(document["events"].size(), 1U);
  EXPECT_NEAR(document["events"][0]["start"]["time_s"], 0.6, 0.011);
  // The dip ends with the first cycle of full voltage.
  EXPECT_NEAR(document["events"][0]["end"]["time_s"], 0.71, 0.0101);
  EXPECT_EQ(document["record"]["part"]["first_sample"], 2560);
  EXPECT_EQ(document["record"]["part"]["samples"], 3200);
  EXPECT_EQ(document["record"]["samples"], 6400);
  EXPECT_EQ(document["record"]["stretch"], (json{{"from_s", 0.4}, {"to_s", 0.9}}));
  const auto info = json::parse(dipx({"info", "r.csv", "--json", "--from", "0.4"}).out);
  EXPECT_EQ(info["parts"][0]["samples"], 3840);
  EXPECT_EQ(info["parts"][0]["start_s"], 0.4);
  EXPECT_EQ(info["record"]["stretch"]["from_s"], 0.4);
}

TEST_F(Convert, WritesTheVoltagesOfALoad) {
  Record(230, 1).lower("A", 0.4, 0.6, 0).write_csv("r.csv");
  const std::string said = converted({"r.csv", "-o", "load.csv", "--through", "Dyn11"});
  EXPECT_NE(said.find("6400 samples of 6 channels, all values are equal to those that were computed\n"),
            std::string::npos)
      << said;
  EXPECT_NE(said.find("note: These are voltages beyond Dyn11, computed from Ua, Ub, Uc as if the ratios were 1.\n"),
            std::string::npos)
      << said;
  const auto source = readers::open_record("r.csv");
  const auto load = readers::open_record("load.csv");
  ASSERT_EQ(load.channels.size(), 6U);
  for (std::size_t i = 0; i < 6400; i += 7) {
    const auto before = [&](std::size_t phase) { return source.channels[phase].samples[i]; };
    const double a = (before(0) - before(1)) / std::sqrt(3.0);
    const double b = (before(1) - before(2)) / std::sqrt(3.0);
    EXPECT_NEAR(load.channels[0].samples[i], a, 1e-9) << i;
    EXPECT_NEAR(load.channels[3].samples[i], a - b, 1e-9) << i;
  }
  const auto document = json::parse(dipx({"analyse", "load.csv", "--channels", "1,2,3", "--json"}).out);
  EXPECT_EQ(document["events"][0]["course"]["segments"][0]["type"]["letter"], "C");
}

TEST_F(Convert, RefusesWhatIsNotATransformer) {
  Record(230, 0.4).write_csv("r.csv");
  const auto result = dipx({"convert", "r.csv", "-o", "load.csv", "--through", "Dyn"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.substr(0, 54), "dipx: --through: 'Dyn' does not end in a clock number ");
}

TEST_F(Convert, StretchesMustHoldSomething) {
  Record(230, 0.4).write_csv("r.csv");
  const auto reversed = dipx({"analyse", "r.csv", "--from", "0.3", "--to", "0.1"});
  EXPECT_EQ(reversed.status, 1);
  EXPECT_EQ(reversed.err, "dipx: --from must be less than --to\n");
  const auto outside = dipx({"info", "r.csv", "--from", "5"});
  EXPECT_EQ(outside.status, 1);
  EXPECT_EQ(outside.err,
            "dipx: r.csv: there are no samples from --from 5 s on; the record lasts from 0 s to 0.4000 "
            "s\n");
}

TEST_F(Convert, InfoListsDigitalChannels) {
  write_whole_numbers("ASCII", rows);
  const std::string text = dipx({"info", "r.cfg"}).out;
  EXPECT_NE(text.find("digital channels\n  1   Breaker: 0, 1 from 0.0010 s, 0 from 0.0030 s\n"), std::string::npos)
      << text;
  EXPECT_NE(text.find("set of the only voltages\n  1   1 Ua: live\n"), std::string::npos) << text;
  const auto document = json::parse(dipx({"info", "r.cfg", "--json"}).out);
  EXPECT_EQ(document["digital_channels"],
            json::parse(R"([{"number": 1, "name": "Breaker", "first_state": 0, "changes": [
              {"sample": 1, "time_s": 0.001, "state": 1}, {"sample": 3, "time_s": 0.003, "state": 0}]}])"));
}

}  // namespace
