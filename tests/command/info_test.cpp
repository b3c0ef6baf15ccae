// Tests dipx info, which lists the contents of a record.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "synth/dip_description.h"
#include "synth/pqdif_file.h"
#include "tests/command/dipx_command.h"
#include "tests/core/working_folder.h"

namespace {

using tests::dipx;

class Info : public testing::Test {
 protected:
  static std::string of(const std::string& file) {
    const auto result = dipx({"info", file});
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  tests::WorkingFolder folder;
};

TEST_F(Info, CountsASingleChannelAsOne) {
  std::ofstream("one.csv") << "time,u\n0,1\n0.001,2\n0.002,3\n";
  EXPECT_NE(of("one.csv").find("\n  3 samples of 1 channel, line"), std::string::npos) << of("one.csv");
}

TEST_F(Info, ListsPartsSetsAndChannels) {
  std::ofstream("r.cfg") << "Station,Recorder,1999\n7,7A,0D\n"
                            "1,Ua,A,,V,1,0,0,-9,9,1,1,P\n2,Ub,B,,V,1,0,0,-9,9,1,1,P\n3,Uc,C,,V,1,0,0,-9,9,1,1,P\n"
                            "4,Va,,,kV,0.5,0,0,-9,9,110000,100,S\n5,Vb,,,kV,1,0,0,-9,9,1,1,S\n"
                            "6,Vc,,,kV,1,0,0,-9,9,1,1,S\n7,Ia,A,,A,1,0,0,-9,9,1,1,P\n"
                            "50\n2\n1000,2\n500,4\n1/1/2020,0:0:0.0\n1/1/2020,0:0:0.003\nASCII\n1\n";
  std::ofstream("r.dat") << "1,0,0,0,0,1,2,3,0\n2,1000,0,0,0,-1,-2,-3,\n3,2000,0,0,0,2,2,3,\n4,4000,0,0,0,1,3,3,\n";
  EXPECT_EQ(of("r.cfg"),
            "r.cfg\n  COMTRADE 1999 ASCII, Station, Recorder\n  begins 1/1/2020 0:0:0.0, trigger 0.0030 s later\n  4 "
            "samples of 7 channels, line frequency 50 Hz\nparts by sampling rate and gaps of set 1\n  1   0.0000 s "
            "to 0.0020 s, 2 samples at 1000 Hz, 20 per cycle\n  2   0.0020 s to 0.0060 s, 2 samples at 500 Hz, 10 "
            "per cycle, trigger\nsets of three phase voltages, live ones first\n  1   4 Va, 5 Vb, 6 Vc: live\n  2   "
            "1 Ua, 2 Ub, 3 Uc: dead\nchannels\n  1   Ua [V], phase A, primary values, transformer 1:1, 0 to 0\n  2   "
            "Ub [V], phase B, primary values, transformer 1:1, 0 to 0\n  3   Uc [V], phase C, primary values, "
            "transformer 1:1, 0 to 0\n  4   Va [kV], secondary values, transformer 110000:100, -0.5 to 1\n  5   Vb "
            "[kV], secondary values, transformer 1:1, -2 to 3\n  6   Vc [kV], secondary values, transformer 1:1, -3 "
            "to 3\n  7   Ia [A], phase A, primary values, transformer 1:1, 0 to 0\nnote: 3 values are missing; the "
            "first is sample 2 of channel 7 'Ia'.\n");
}

TEST_F(Info, PrintsTheSameAsJson) {
  std::ofstream("r.cfg") << "Station,,1999\n4,4A,0D\n"
                            "1,Va,,,kV,0.5,0,0,-9,9,110000,100,S\n2,Vb,,,kV,1,0,0,-9,9,1,1,S\n"
                            "3,Vc,,,kV,1,0,0,-9,9,1,1,S\n4,Ia,A,,A,1,0,0,-9,9,1,1,P\n"
                            "50\n2\n1000,2\n500,4\n1/1/2020,0:0:0.0\n1/1/2020,0:0:0.003\nASCII\n1\n";
  std::ofstream("r.dat") << "1,0,1,2,3,\n2,1000,-1,-2,-3,\n3,2000,2,2,3,\n4,4000,1,3,3,\n";
  const auto result = dipx({"info", "r.cfg", "--json"});
  EXPECT_EQ(result.status, 0) << result.err;
  const auto expected = nlohmann::json::parse(R"({
    "format": "dipx info", "format_version": 1, "dipx_version": ")" DIPX_VERSION R"(",
    "record": {"file": "r.cfg", "format": "COMTRADE 1999 ASCII", "station": "Station", "device": "",
      "start_time": "1/1/2020 0:0:0.0", "time_zone": "", "trigger_s": 0.003, "samples": 4, "line_frequency_hz": 50,
      "stretch": null},
    "parts": [{"number": 1, "start_s": 0, "end_s": 0.002, "samples": 2, "sampling_rate_hz": 1000, "trigger": false,
               "start_time": "2020-01-01T00:00:00.000000", "title": ""},
              {"number": 2, "start_s": 0.002, "end_s": 0.006, "samples": 2, "sampling_rate_hz": 500, "trigger": true,
               "start_time": "2020-01-01T00:00:00.002000", "title": ""}],
    "voltage_sets": [{"number": 1, "live": true, "alternates": true, "rms": false, "voltages_by_name_only": false, "phases_by_order_only": false,
      "channels": [{"channel": 1, "name": "Va"}, {"channel": 2, "name": "Vb"}, {"channel": 3, "name": "Vc"}]}],
    "line_to_line_sets": [],
    "current_sets": [],
    "channels": [
      {"number": 1, "name": "Va", "unit": "kV", "phase": "", "side": "secondary", "transformer_primary": 110000,
       "transformer_secondary": 100, "lowest": -0.5, "highest": 1},
      {"number": 2, "name": "Vb", "unit": "kV", "phase": "", "side": "secondary", "transformer_primary": 1,
       "transformer_secondary": 1, "lowest": -2, "highest": 3},
      {"number": 3, "name": "Vc", "unit": "kV", "phase": "", "side": "secondary", "transformer_primary": 1,
       "transformer_secondary": 1, "lowest": -3, "highest": 3},
      {"number": 4, "name": "Ia", "unit": "A", "phase": "A", "side": "primary", "transformer_primary": 1,
       "transformer_secondary": 1, "lowest": null, "highest": null}],
    "digital_channels": [],
    "notes": ["4 values are missing; the first is sample 1 of channel 4 'Ia'."]})");
  EXPECT_EQ(nlohmann::json::parse(result.out), expected) << result.out;
}

TEST_F(Info, ListsSetsOfCurrents) {
  std::ofstream("r.csv")
      << "t,Ua,Ia_A,Ib_A,Ic_A,3I0_A,M Ia_A,M Ib_A,M Ic_A\n0,1,2,3,4,0,1,1,2\n0.001,-3,-2,-1,1,0,3,2,2\n";
  EXPECT_NE(
      of("r.csv").find("sets of currents\n  1   2 Ia, 3 Ib, 4 Ic, residual current 5 3I0\n  2   6 M Ia, 7 M Ib, 8 "
                       "M Ic: no waveform\nchannels\n"),
      std::string::npos)
      << of("r.csv");
  const auto sets = nlohmann::json::parse(dipx({"info", "r.csv", "--json"}).out)["current_sets"];
  ASSERT_EQ(sets.size(), 2U);
  EXPECT_EQ(sets[0]["channels"][3], (nlohmann::json{{"channel", 5}, {"name", "3I0"}}));
  EXPECT_EQ(sets[0]["trend"], false);
  EXPECT_EQ(sets[1]["trend"], true);
  EXPECT_EQ(sets[1]["channels"].size(), 3U);
}

TEST_F(Info, ListsLineToLineSets) {
  std::ofstream("r.csv") << "t,Uab,Ubc,Uca\n0,1,2,3\n0.001,3,2,1\n0.002,3,1,1\n";
  const auto text = of("r.csv");
  EXPECT_NE(text.find("parts by sampling rate and gaps of set 1\n  1   0.0000 s to 0.0030 s, 3 samples at 1000 Hz\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("sets of line-to-line voltages (--line-to-line)\n  1   1 Uab, 2 Ubc, 3 Uca: live\n"),
            std::string::npos)
      << text;
}

TEST_F(Info, ListsTheObservationsOfAPqdifFile) {
  readers::Record record = synth::record_of(synth::waveform_of({}));
  const std::size_t length = record.length();
  record.rates = {{6400, length / 2, 60, false, "sag"}, {6400, length, 5, false, ""}};
  std::ofstream("r.pqd", std::ios::binary) << synth::pqdif_of(record);
  const auto text = of("r.pqd");
  EXPECT_NE(text.find("parts by sampling rate and gaps of set 1\n"
                      "  1   0.0000 s to 0.4000 s, 2560 samples at 6400 Hz, 128 per cycle, "
                      "2000-01-01T00:00:05.000000, observation 2\n"
                      "  2   55.0000 s to 55.4000 s, 2560 samples at 6400 Hz, 128 per cycle, "
                      "2000-01-01T00:01:00.000000, observation 1 'sag'\n"),
            std::string::npos)
      << text;
}

TEST_F(Info, KeepsHostileTextInert) {
  std::ofstream("r.csv") << "t,\"U\x1B[31ma\",\"U\xE2\x80\xAE"
                            "b\",Uc\n0,1,2,3\n0.001,3,2,1\n";
  const auto text = of("r.csv");
  EXPECT_EQ(text.find('\x1B'), std::string::npos);
  EXPECT_EQ(text.find("\xE2\x80\xAE"), std::string::npos);
  EXPECT_NE(text.find("1   U[31ma []"), std::string::npos) << text;
}

TEST_F(Info, EndsWithStatusTwoWhenTheInputCannotBeRead) {
  const auto result = dipx({"info", "missing.cfg"});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_TRUE(result.err.starts_with("dipx: missing.cfg: cannot be read")) << result.err;
}

}  // namespace
