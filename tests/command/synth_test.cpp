// Tests dipx synth: the records that a user can make, and the messages if one cannot be made.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <nlohmann/json.hpp>
#include <set>

#include "synth/dip_description.h"
#include "synth/pqdif_file.h"
#include "synth/record_file.h"
#include "tests/command/dipx_command.h"
#include "tests/command/piped_analysis.h"
#include "tests/core/working_folder.h"

namespace {

using nlohmann::json;
using synth::ComtradeData;
using synth::DipDescription;
using tests::bytes_of;
using tests::dipx;
using tests::joined;
using tests::piped;
using tests::piped_analysis;
using tests::Words;

readers::Record record_of(const DipDescription& dip) {
  return synth::record_of(synth::waveform_of(dip));
}

class Synth : public testing::Test {
 protected:
  /// Returns the output of `dipx synth`, which must succeed.
  static std::string printed(const Words& options) {
    const auto result = dipx(joined({"synth"}, options));
    EXPECT_EQ(result.status, 0) << testing::PrintToString(options);
    EXPECT_EQ(result.err, "") << testing::PrintToString(options);
    return result.out;
  }

  /// The names of all files in the test's folder.
  [[nodiscard]] std::set<std::string> files() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }

  tests::WorkingFolder folder;
};

// --- where the record goes -------------------------------------------------------------------------------------------

TEST_F(Synth, PrintsATableByDefault) {
  const std::string table = synth::csv_of(record_of({}));
  EXPECT_EQ(printed({}), table);
  EXPECT_EQ(printed({"-o", "-"}), table);
  EXPECT_EQ(printed({"--format", "csv"}), table);
  EXPECT_EQ(files(), std::set<std::string>{});
}

TEST_F(Synth, PrintsASingleComtradeFileOnRequest) {
  EXPECT_EQ(printed({"--format", "cff"}), synth::single_comtrade_of(record_of({}), ComtradeData::ascii));
  EXPECT_EQ(printed({"--format", "cff", "--binary"}), synth::single_comtrade_of(record_of({}), ComtradeData::binary));
}

TEST_F(Synth, WritesTheFormatThatTheNameShows) {
  EXPECT_EQ(printed({"-o", "dip.csv"}), "");
  EXPECT_EQ(bytes_of("dip.csv"), synth::csv_of(record_of({})));
  EXPECT_EQ(printed({"--output", "dip.CFF"}), "");
  EXPECT_EQ(bytes_of("dip.CFF"), synth::single_comtrade_of(record_of({}), ComtradeData::ascii));
  EXPECT_EQ(printed({"-o", "b.cff", "--binary"}), "");
  EXPECT_EQ(bytes_of("b.cff"), synth::single_comtrade_of(record_of({}), ComtradeData::binary));
  EXPECT_EQ(printed({"-o", "dip.pqd"}), "");
  EXPECT_EQ(bytes_of("dip.pqd"), synth::pqdif_of(record_of({})));
  EXPECT_EQ(files(), (std::set<std::string>{"dip.csv", "dip.CFF", "b.cff", "dip.pqd"}));
}

TEST_F(Synth, WritesAPairOfFilesForTheNameOfAConfiguration) {
  EXPECT_EQ(printed({"-o", "dip.cfg"}), "");
  EXPECT_EQ(files(), (std::set<std::string>{"dip.cfg", "dip.dat"}));
  const auto text = synth::comtrade_of(record_of({}), ComtradeData::ascii);
  EXPECT_EQ(bytes_of("dip.cfg"), text.config);
  EXPECT_EQ(bytes_of("dip.dat"), text.data);
  EXPECT_EQ(printed({"-o", "dip.cfg", "--binary"}), "");
  EXPECT_EQ(files(), (std::set<std::string>{"dip.cfg", "dip.dat"})) << "replaced";
  const auto binary = synth::comtrade_of(record_of({}), ComtradeData::binary);
  EXPECT_EQ(bytes_of("dip.cfg"), binary.config);
  EXPECT_EQ(bytes_of("dip.dat"), binary.data);
}

TEST_F(Synth, WritesTheChosenFormatIfTheNameShowsNone) {
  printed({"-o", "table.txt", "--format", "csv"});
  EXPECT_EQ(bytes_of("table.txt"), synth::csv_of(record_of({})));
  printed({"-o", "record", "--format", "cff"});
  EXPECT_EQ(bytes_of("record"), synth::single_comtrade_of(record_of({}), ComtradeData::ascii));
  printed({"-o", "dip.cfg", "--format", "cfg"});
  EXPECT_EQ(files(), (std::set<std::string>{"table.txt", "record", "dip.cfg", "dip.dat"}));
}

// --- every option reaches the record ---------------------------------------------------------------------------------

struct OptionCase {
  const char* name;
  Words options;
  std::function<void(DipDescription&)> describe;
};

void PrintTo(const OptionCase& option, std::ostream* out) {
  *out << option.name;
}

class SynthOption : public Synth, public testing::WithParamInterface<OptionCase> {};

TEST_P(SynthOption, MakesTheRecordThatItDescribes) {
  DipDescription dip;
  GetParam().describe(dip);
  const std::string record = printed(GetParam().options);
  EXPECT_EQ(record, synth::csv_of(record_of(dip)));
  EXPECT_NE(record, synth::csv_of(record_of({})));
}

INSTANTIATE_TEST_SUITE_P(
    Options, SynthOption,
    testing::Values(OptionCase{"Depth", {"--depth", "70"}, [](auto& dip) { dip.depths = {70}; }},
                    OptionCase{"Depths",
                               {"--depth", "30,60"},
                               [](auto& dip) {
                                 dip.depths = {30, 60};
                               }},
                    OptionCase{"DepthsApart",
                               {"--depth", "30", "60"},
                               [](auto& dip) {
                                 dip.depths = {30, 60};
                               }},
                    OptionCase{"Duration", {"--duration=0.123"}, [](auto& dip) { dip.durations = {0.123}; }},
                    OptionCase{"Durations",
                               {"--duration", "0.1,0.05,0.2"},
                               [](auto& dip) {
                                 dip.durations = {0.1, 0.05, 0.2};
                               }},
                    OptionCase{"Phases", {"--phases", "CA"}, [](auto& dip) { dip.phases = "CA"; }},
                    OptionCase{"PhasesOfSteps",
                               {"--phases", "A,AB", "--depth", "30,60"},
                               [](auto& dip) {
                                 dip.phases = "A,AB";
                                 dip.depths = {30, 60};
                               }},
                    OptionCase{"PhasesTogether", {"--phases", "a-b"}, [](auto& dip) { dip.phases = "A-B"; }},
                    OptionCase{"Jump", {"--jump", "-30"}, [](auto& dip) { dip.jumps = {-30}; }},
                    OptionCase{"Jumps",
                               {"--jump", "10,-30"},
                               [](auto& dip) {
                                 dip.jumps = {10, -30};
                               }},
                    OptionCase{"Start", {"--start", "0.2501"}, [](auto& dip) { dip.start = 0.2501; }},
                    OptionCase{"Fall", {"--fall", "0.05"}, [](auto& dip) { dip.fall = 0.05; }},
                    OptionCase{"Recovery", {"--recovery", "0.05"}, [](auto& dip) { dip.recovery = 0.05; }},
                    OptionCase{
                        "PointOnWave", {"--point-on-wave", "242.28"}, [](auto& dip) { dip.point_on_wave = 242.28; }},
                    OptionCase{"Voltage", {"--voltage", "63508.5"}, [](auto& dip) { dip.volts = 63508.5; }},
                    OptionCase{"Frequency", {"--frequency", "60"}, [](auto& dip) { dip.frequency = 60; }},
                    OptionCase{"Deviation", {"--deviation", "-0.07"}, [](auto& dip) { dip.deviation = -0.07; }},
                    OptionCase{"Harmonic",
                               {"--harmonics", "5:4"},
                               [](auto& dip) {
                                 dip.harmonics = {{5, 0.04}};
                               }},
                    OptionCase{"Harmonics",
                               {"--harmonics", "5:4,7:2.5"},
                               [](auto& dip) {
                                 dip.harmonics = {{5, 0.04}, {7, 0.025}};
                               }},
                    OptionCase{"Noise", {"--noise", "0.5"}, [](auto& dip) { dip.noise = 0.5; }},
                    OptionCase{"NoiseAndSeed",
                               {"--noise", "0.5", "--seed", "4294967295"},
                               [](auto& dip) {
                                 dip.noise = 0.5;
                                 dip.seed = 4294967295;
                               }},
                    OptionCase{"Rate", {"--rate", "1600"}, [](auto& dip) { dip.rate = 1600; }},
                    OptionCase{"Length", {"--length", "0.55"}, [](auto& dip) { dip.length = 0.55; }}),
    [](const auto& option) { return option.param.name; });

TEST_F(Synth, MakesTheSameBytesForTheSameSeed) {
  const Words noisy = {"--noise", "1", "--seed", "5", "--length", "0.1"};
  EXPECT_EQ(printed(noisy), printed(noisy));
  EXPECT_NE(printed(noisy), printed({"--noise", "1", "--seed", "6", "--length", "0.1"}));
  EXPECT_EQ(printed({"--seed", "5"}), printed({"--seed", "6"})) << "without noise";
}

// --- limits ----------------------------------------------------------------------------------------------------------

struct LimitCase {
  const char* name;
  const char* option;
  const char* lowest;
  const char* highest;
  const char* too_low;
  const char* too_high;
  const char* range;
  Words more;  // further options that keep the record short
};

void PrintTo(const LimitCase& limit, std::ostream* out) {
  *out << limit.name;
}

class SynthLimit : public Synth, public testing::WithParamInterface<LimitCase> {
 protected:
  static tests::CommandResult made_with(const char* value) {
    return dipx(joined({"synth", "-o", "dip.csv", std::string(GetParam().option) + "=" + value}, GetParam().more));
  }
};

TEST_P(SynthLimit, IsKeptFromBothSides) {
  for (const char* value : {GetParam().lowest, GetParam().highest}) {
    const auto result = made_with(value);
    EXPECT_EQ(result.status, 0) << value;
    EXPECT_EQ(result.err, "") << value;
  }
  std::filesystem::remove("dip.csv");
  for (const char* value : {GetParam().too_low, GetParam().too_high, "nan", "inf", "x", "1x"}) {
    const auto result = made_with(value);
    EXPECT_EQ(result.status, 1) << value;
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.err, std::string(GetParam().option) + ": '" + value + "' is not a " + GetParam().range +
                              "\nRun with --help for more information.\n");
  }
  EXPECT_EQ(files(), std::set<std::string>{});
}

const Words brief = {"--length", "0.01"};

INSTANTIATE_TEST_SUITE_P(
    Limits, SynthLimit,
    testing::Values(
        LimitCase{"Depth", "--depth", "0", "100", "-0.001", "100.001", "number from 0 to 100", {}},
        LimitCase{"Duration", "--duration", "0", "100000", "-1", "100001", "number from 0 to 100000", brief},
        LimitCase{"Jump", "--jump", "-360", "360", "-360.1", "360.1", "number from -360 to 360", brief},
        LimitCase{"Start", "--start", "0", "100000", "-0.1", "1e6", "number from 0 to 100000", brief},
        LimitCase{"Fall", "--fall", "0", "100000", "-0.1", "1e6", "number from 0 to 100000", brief},
        LimitCase{"Recovery", "--recovery", "0", "100000", "-0.1", "1e6", "number from 0 to 100000", brief},
        LimitCase{"PointOnWave", "--point-on-wave", "-360", "360", "-361", "361", "number from -360 to 360", brief},
        LimitCase{"Voltage", "--voltage", "0.000001", "1e9", "0", "1.1e9", "number from 1e-06 to 1000000000", brief},
        LimitCase{"Frequency", "--frequency", "10", "100", "9.99", "100.1", "number from 10 to 100", brief},
        LimitCase{"Deviation", "--deviation", "-5", "5", "-5.1", "5.1", "number from -5 to 5", brief},
        LimitCase{"Noise", "--noise", "0", "100", "-1", "100.1", "number from 0 to 100", brief},
        LimitCase{"Seed", "--seed", "0", "4294967295", "-1", "4294967296", "whole number from 0 to 4294967295", brief},
        LimitCase{"Rate",
                  "--rate",
                  "100",
                  "1000000",
                  "99.9",
                  "1000001",
                  "number from 100 to 1000000",
                  {"--frequency", "10", "--length", "0.1"}}),
    [](const auto& limit) { return limit.param.name; });

TEST_F(Synth, AcceptsLengthsFromAMillisecondOn) {
  // 1.6 samples are two: the heading and two rows.
  const std::string table = printed({"--length", "0.001", "--rate", "1600"});
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 3) << table;
}

TEST_F(Synth, AcceptsHarmonicsFromTheSecondToTheThousandth) {
  for (const char* harmonics : {"2:0", "1000:1000", "2:1,1000:1"}) {
    EXPECT_NE(printed({"--harmonics", harmonics, "--rate", "200000", "--length", "0.001"}), "") << harmonics;
  }
}

// --- what cannot be --------------------------------------------------------------------------------------------------

struct BadCase {
  const char* name;
  Words options;
  std::string complaint;
};

void PrintTo(const BadCase& bad, std::ostream* out) {
  *out << bad.name;
}

class BadSynth : public Synth, public testing::WithParamInterface<BadCase> {};

TEST_P(BadSynth, IsRefusedWithOptionValueAndRemedyAndTouchesNoFile) {
  for (const char* old : {"dip.csv", "dip.cfg", "dip.dat", "dip.cff"}) std::ofstream(old) << old;
  const auto before = files();
  const auto result = dipx(joined({"synth"}, GetParam().options));
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, GetParam().complaint + "\n");
  EXPECT_EQ(files(), before);
  for (const char* old : {"dip.csv", "dip.cfg", "dip.dat", "dip.cff"}) EXPECT_EQ(bytes_of(old), old);
}

/// Makes the case of an invalid harmonic.
BadCase bad_harmonic(const char* name, const std::string& harmonic) {
  return {name,
          {"--harmonics", harmonic},
          "dipx: --harmonics '" + harmonic +
              "': give an order (2 to 1000) and per cent of the fundamental (0 to 1000), as in 5:4"};
}

INSTANTIATE_TEST_SUITE_P(
    Options, BadSynth,
    testing::Values(
        BadCase{"Phases",
                {"--phases", "AD", "-o", "dip.csv"},
                "dipx: --phases 'AD' does not name phases; give A to ABC, or A-B, B-C or C-A for two phases that "
                "move towards each other"},
        BadCase{"NoPhases",
                {"--phases", "", "-o", "dip.csv"},
                "dipx: --phases '' does not name phases; give A to ABC, or A-B, B-C or C-A for two phases that move "
                "towards each other"},
        BadCase{"ListsThatDoNotFit",
                {"--depth", "10,20", "--duration", "1,2,3", "-o", "dip.csv"},
                "dipx: --depth 10,20: 2 values for 3 steps; give one value for all steps or one for each"},
        BadCase{"FaultsThatDoNotFit",
                {"--phases", "A,AB", "--depth", "10,20,30", "-o", "dip.csv"},
                "dipx: --phases A,AB: 2 faults for 3 steps; give one for all or one for each"},
        BadCase{"OneOfAList",
                {"--depth", "10,200", "-o", "dip.csv"},
                "--depth: '200' is not a number from 0 to 100\nRun with --help for more information."},
        BadCase{"TooDeepForTwoPhases",
                {"--phases", "B-C", "--depth", "51", "-o", "dip.cfg"},
                "dipx: --depth 51: two phases that move towards each other fall by a half at most; give up to 50, or "
                "choose phases that shrink"},
        BadCase{"JumpOfTwoPhases",
                {"--phases", "B-C", "--depth", "40", "--jump", "10", "-o", "dip.cff"},
                "dipx: --jump 10: when two phases move towards each other, the jump follows from the depth; leave it "
                "out, or choose phases that shrink"},
        BadCase{"TooManySamples",
                {"--length", "100000", "-o", "dip.csv"},
                "dipx: 100000 s at 6400 samples per second are 640000000 samples, but the limits are 1 and 20000000; "
                "choose another --length or --rate"},
        BadCase{"NoSample",
                {"--length", "0.001", "--rate", "400", "-o", "dip.csv"},
                "dipx: 0.001 s at 400 samples per second are 0 samples, but the limits are 1 and 20000000; choose "
                "another --length or --rate"},
        BadCase{"TooShort",
                {"--length", "0.0009", "-o", "dip.csv"},
                "--length: '0.0009' is not a number from 0.001 to 100000\nRun with --help for more information."},
        BadCase{"RateBelowTheWave",
                {"--rate", "100", "-o", "dip.csv"},
                "dipx: --rate 100: 50 Hz needs more than 100 samples per second; raise the rate"},
        BadCase{
            "HarmonicAboveTheRate",
            {"--harmonics", "5:4,64:2", "-o", "dip.csv"},
            "dipx: --harmonics 64:2: 3200 Hz is not below half of the 6400 samples per second; choose a lower order or "
            "a higher --rate"},
        bad_harmonic("TheFundamental", "1:5"), bad_harmonic("AHarmonicWithoutShare", "5"),
        bad_harmonic("AHarmonicWithTwo", "5:4:3"), bad_harmonic("AHarmonicOfNothing", "5:"),
        bad_harmonic("AHarmonicOfNoNumber", "5:x"), bad_harmonic("ABrokenHarmonic", "5.5:1"),
        bad_harmonic("ANegativeShare", "5:-1"), bad_harmonic("TooLargeAShare", "5:1000.1"),
        bad_harmonic("ShareNaN", "5:nan"), bad_harmonic("TooHighAnOrder", "1001:1"),
        bad_harmonic("AnOrderPastAnInt", "4294967301:4"),
        BadCase{"ANameThatTellsNoFormat",
                {"-o", "dip.txt"},
                "dipx: --output 'dip.txt' does not show the format; use a name that ends in .csv, .cfg (COMTRADE, "
                "two files), .cff "
                "(COMTRADE, one file) or .pqd (PQDIF), or choose with --format"},
        BadCase{"NoName",
                {"-o", ""},
                "dipx: --output '' does not show the format; use a name that ends in .csv, .cfg (COMTRADE, "
                "two files), .cff "
                "(COMTRADE, one file) or .pqd (PQDIF), or choose with --format"},
        BadCase{"AnUnknownFormat",
                {"--format", "pqdif"},
                "--format: pqdif not in {csv,cfg,cff,pqd}\nRun with --help for more information."},
        BadCase{
            "APairOnStandardOutput",
            {"--format", "cfg"},
            "dipx: --format cfg: a COMTRADE pair is two files; name the .cfg file with --output, or choose --format "
            "cff"},
        BadCase{"APairUnderTheNameOfItsData",
                {"--format", "cfg", "-o", "dip.dat"},
                "dipx: --output 'dip.dat': a COMTRADE pair is named by its .cfg file; use a name that ends in .cfg"},
        BadCase{"BinaryCsv",
                {"--binary", "-o", "dip.csv"},
                "dipx: --binary is for COMTRADE, not for CSV; add --format cff, or leave it out"},
        BadCase{"BinaryPqdif",
                {"--binary", "-o", "dip.pqd"},
                "dipx: --binary is for COMTRADE, not for PQDIF; add --format cff, or leave it out"},
        BadCase{"BinaryOnStandardOutput",
                {"--binary"},
                "dipx: --binary is for COMTRADE, not for CSV; add --format cff, or leave it out"},
        BadCase{"NoValue",
                {"-o", "dip.csv", "--noise"},
                "--noise: 1 required PERCENT missing\nRun with --help for more information."},
        BadCase{
            "AnUnknownOption",
            {"-o", "dip.csv", "--depht=5"},
            "dipx: --depht is not an option of dipx synth; did you mean --depth? dipx synth --help lists all options"},
        BadCase{"AStrayWord",
                {"-o", "dip.csv", "stray"},
                "The following argument was not expected: stray\nRun with --help for more information."}),
    [](const auto& bad) { return bad.param.name; });

TEST_F(Synth, SaysWhenItsFileCannotBeWritten) {
  const auto result = dipx({"synth", "-o", "no-such-folder/dip.csv"});
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "dipx: no-such-folder/dip.csv: No such file or directory; make its folder first, or name another one\n");
  EXPECT_EQ(dipx({"synth", "-o", "no-such-folder/dip.cfg"}).status, 4);
  EXPECT_EQ(files(), std::set<std::string>{});
  EXPECT_EQ(dipx({"synth", "-o", "/dev/full", "--format", "csv"}).err,
            "dipx: /dev/full: No space left on device; free some space, or name a file on another disk\n");
}

class HalfAPair : public Synth, public testing::WithParamInterface<const char*> {};

TEST_P(HalfAPair, IsNotWrittenWhereAFolderHasTheOthersName) {
  std::filesystem::create_directory(GetParam());
  const auto result = dipx({"synth", "-o", "dip.cfg"});
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.err, std::string("dipx: ") + GetParam() + ": Is a directory; name a file in it\n");
  EXPECT_EQ(files(), std::set<std::string>{GetParam()});
}

INSTANTIATE_TEST_SUITE_P(Names, HalfAPair, testing::Values("dip.cfg", "dip.dat"));

TEST_F(Synth, SaysWhenItsOutputCannotBeWritten) {
  const auto result = dipx({"synth"}, "/dev/null", "/dev/full");
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.err,
            "dipx: standard output: No space left on device; free some space, or name a file on another disk\n");
}

// --- help ------------------------------------------------------------------------------------------------------------

TEST_F(Synth, HelpsWithEveryOption) {
  EXPECT_NE(dipx({"--help"}).out.find("synth"), std::string::npos);
  const auto help = dipx({"synth", "--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_EQ(help.err, "");
  for (const char* text :
       {"--depth",         "--duration", "--phases",    "--jump",      "--start",     "--fall",     "--recovery",
        "--point-on-wave", "--voltage",  "--frequency", "--deviation", "--harmonics", "--noise",    "--seed",
        "--rate",          "--length",   "-o,--output", "--format",    "--binary",    "Exit status"}) {
    EXPECT_NE(help.out.find(text), std::string::npos) << text;
  }
  EXPECT_EQ(files(), std::set<std::string>{});
}

TEST_F(Synth, RunsTheExamplesOfItsHelp) {
  const std::string help = dipx({"synth", "--help"}).out;
  const std::string command = DIPX_COMMAND;
  int examples = 0;
  for (auto at = help.find("\n  dipx synth"); at != std::string::npos; at = help.find("\n  dipx synth", at)) {
    at += 3;
    std::string line = help.substr(at, help.find('\n', at) - at);
    for (auto name = line.find("dipx "); name != std::string::npos; name = line.find("dipx ", name + command.size())) {
      line.replace(name, 4, command);
    }
    EXPECT_EQ(std::system((line + " > example.out").c_str()), 0) << line;
    examples++;
  }
  EXPECT_EQ(examples, 3);
  EXPECT_EQ(files(), (std::set<std::string>{"dip.csv", "dip.cfg", "dip.dat", "example.out"}));
}

// --- dipx synth | dipx analyse - -------------------------------------------------------------------------------------

void expect_default_dip(const json& analysis) {
  ASSERT_EQ(analysis["events"].size(), 1U);
  const auto& course = analysis["events"][0]["course"];
  EXPECT_NEAR(course["start_s"], 0.3, 0.001);
  EXPECT_NEAR(course["end_s"], 0.5, 0.001);
  ASSERT_EQ(course["segments"].size(), 1U);
  const auto& segment = course["segments"][0];
  EXPECT_EQ(segment["category"]["code"], 9);
  for (std::size_t x = 0; x < 3; x++) {
    EXPECT_NEAR(segment["voltage"][x]["percent_of_before"], 50, 0.1);
    EXPECT_NEAR(segment["phase_jump"][x]["degrees"], 0, 0.5);
  }
}

TEST_F(Synth, CanBePipedIntoTheAnalysis) {
  const auto table = piped_analysis({});
  EXPECT_EQ(table["record"]["format"], "CSV");
  EXPECT_EQ(table["record"]["file"], "standard input");
  expect_default_dip(table);
}

TEST_F(Synth, CanBePipedIntoTheAnalysisAsComtrade) {
  const auto text = piped_analysis({"--format", "cff"});
  EXPECT_EQ(text["record"]["format"], "COMTRADE 2013 ASCII");
  EXPECT_EQ(text["record"]["station"], "dipx");
  EXPECT_EQ(text["notes"], json::array()) << "the line frequency is in the record";
  expect_default_dip(text);
  const auto binary = piped_analysis({"--format", "cff", "--binary"});
  EXPECT_EQ(binary["record"]["format"], "COMTRADE 2013 BINARY");
  expect_default_dip(binary);
}

TEST_F(Synth, StatesTheLineFrequencyOnlyInComtrade) {
  EXPECT_EQ(piped_analysis({"--frequency", "60", "--format", "cff"})["record"]["line_frequency_hz"], 60.0);
  const auto table = piped_analysis({"--frequency", "60", "--rate", "3840"});
  EXPECT_EQ(table["record"]["line_frequency_hz"], 60.0);
  EXPECT_NE(table["notes"], json::array()) << "taken from the waveform, and said so";
  expect_default_dip(piped_analysis({"--frequency", "60", "--rate", "3840"}, {"--frequency", "60"}));
}

TEST_F(Synth, WritesFilesThatTheAnalysisReads) {
  for (const Words& options : {Words{"-o", "dip.csv"},
                               {"-o", "dip.cfg"},
                               {"-o", "dip.cff"},
                               {"-o", "dip.cfg", "--binary"},
                               {"-o", "dip.cff", "--binary"}}) {
    printed(options);
    const auto result = dipx({"analyse", "--json", options[1]});
    EXPECT_EQ(result.status, 0) << result.err;
    expect_default_dip(json::parse(result.out));
  }
}

TEST_F(Synth, FailsInAPipeWithoutMisleadingTheAnalysis) {
  const auto result = piped({"synth", "--depth", "101"}, {"analyse", "-"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("--depth: '101'"), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("dipx: standard input: has no rows of numbers"), std::string::npos) << result.err;
}

}  // namespace
