// Tests which voltages of a record dipx analyse uses: channels, sets, parts, voltages between phases, standard input.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <numbers>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "synth/pqdif_file.h"
#include "tests/command/analyse_fixture.h"

namespace {

using nlohmann::json;
using tests::dipx;
using tests::expect_course;
using Record = tests::MadeRecord;
using Words = std::vector<std::string>;

class Choice : public tests::Analysing {
 protected:
  /// Makes a table with the voltages of two records next to each other: Ua to Uc and Va to Vc.
  static void write_sets(const std::string& file, const Record& u, const Record& v, double rate = 6400) {
    const auto first = u.made();
    const auto second = v.made();
    std::ofstream out(file);
    out << "t_s,Ua,Ub,Uc,Va,Vb,Vc\n" << std::setprecision(12);
    for (std::size_t i = 0; i < first.length(); i++) {
      out << static_cast<double>(i) / rate;
      for (const auto* record : {&first, &second}) {
        for (const auto& channel : record->channels) out << ',' << channel.samples[i];
      }
      out << '\n';
    }
  }
  static std::vector<json> documents(const std::string& lines) {
    std::vector<json> all;
    std::istringstream in(lines);
    for (std::string line; std::getline(in, line);) all.push_back(json::parse(line));
    return all;
  }
  static bool has_note(const json& document, const std::string& text) {
    return document["notes"].dump().find(text) != std::string::npos;
  }
};

// --- channels --------------------------------------------------------------------------------------------------------

TEST_F(Choice, OfChannelsIsTheUsers) {
  Record(230, 1).lower("B", 0.4, 0.5, 115).write_csv("record.csv");
  for (const char* names : {"Uc,Ua,Ub", "3,1,2", "uc,ua,ub"}) {
    const auto found = analysed({"--channels", names});
    EXPECT_EQ(found["voltages"][2]["name"], "Ub") << names;
    EXPECT_EQ(found["voltages"][2]["phase"], "C") << names;
    EXPECT_NEAR(found["events"][0]["lowest_urms_half"][2]["percent"], 50, 0.01) << names;
  }
  const auto unknown = dipx({"analyse", "record.csv", "--channels", "Ua,Ub,Ux"});
  EXPECT_EQ(unknown.status, 1);
  EXPECT_EQ(unknown.out, "");
  EXPECT_NE(unknown.err.find("Ux"), std::string::npos);
  for (const char* wrong : {"1,1,2", "1,2,3,1"}) {
    const auto result = dipx({"analyse", "record.csv", "--channels", wrong});
    EXPECT_EQ(result.status, 1) << wrong;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
  }
}

TEST_F(Choice, OfNoChannelIsRefused) {
  Record(230, 0.4).write_csv("record.csv");
  for (const char* nothing : {"", "  "}) {
    expect_refused({"--channels", nothing}, 1, "--channels: the value is empty\nRun with --help for more information.");
  }
  expect_refused({"--channels="}, 1, "--channels: 1 required A,B,C missing\nRun with --help for more information.");
}

TEST_F(Choice, OfOneOrTwoVoltagesOmitsFiguresThatNeedThree) {
  Record(230, 1).lower("AB", 0.4, 0.5, 115).write_csv("record.csv");
  for (const auto& [channels, count] : {std::pair("Ub", 1U), {"Ub,Ua", 2U}}) {
    const auto found = analysed({"--channels", channels});
    ASSERT_EQ(found["events"].size(), 1U);
    const auto& course = found["events"][0]["course"];
    expect_course(course, 0.4, 0.5);
    const auto& segment = course["segments"][0];
    EXPECT_EQ(found["voltages"][0]["name"], "Ub");
    for (std::size_t phase = 0; phase < 3; phase++) {
      EXPECT_EQ(segment["voltage"][phase].is_null(), phase >= count) << channels << " " << phase;
      EXPECT_EQ(found["voltages"][phase].is_null(), phase >= count) << channels << " " << phase;
    }
    EXPECT_NEAR(segment["voltage"][0]["percent_of_before"], 50, 0.2);
    EXPECT_TRUE(segment["type"].is_null());
    EXPECT_TRUE(segment["category"].is_null());
    EXPECT_TRUE(segment["sequences"].is_null());
    const auto shown = dipx({"analyse", "record.csv", "--channels", channels});
    EXPECT_NE(shown.out.find("Types and sequences of dips need three voltages and are not shown."), std::string::npos);
  }
}

TEST_F(Choice, OfTheOnlyVoltageOfAFile) {
  const auto record = Record(230, 1).lower("A", 0.4, 0.5, 115).made();
  std::ofstream out("one.csv");
  out << "t_s,Ua\n" << std::setprecision(12);
  for (std::size_t i = 0; i < record.length(); i++) {
    out << static_cast<double>(i) / 6400 << ',' << record.channels[0].samples[i] << '\n';
  }
  out.close();
  for (const Words& options : {Words{}, {"--channels", "1"}, {"--set", "all"}, {"--part", "all"}}) {
    const auto found = analysed(options, "one.csv");
    ASSERT_EQ(found["events"].size(), 1U);
    expect_course(found["events"][0]["course"], 0.4, 0.5);
  }
  expect_refused({"--set", "2"}, 1, "dipx: one.csv: there is no set 2 of voltages; leave out --set", "one.csv");
}

TEST_F(Choice, OfADeadPhaseIsReported) {
  const auto found = analysed(Record(230, 1).lower("C", 0, 1, 0).lower("A", 0.4, 0.5, 115), {"--channels", "1,2,3"});
  EXPECT_NEAR(found["voltages"][2]["usual_rms_v"], 0, 1e-6);
  const auto& events = found["events"];
  EXPECT_TRUE(std::any_of(events.begin(), events.end(), [](const auto& event) {
    return event["kind"] == "dip" && event["phases"].template get<std::string>().find('A') != std::string::npos &&
           event["extreme"]["percent"].is_number();
  })) << events;
}

// --- voltages between phases -----------------------------------------------------------------------------------------

TEST_F(Choice, OfVoltagesBetweenPhasesComputesThem) {
  Record(230, 1).lower("A", 0.4, 0.6, 115).write_csv("record.csv");
  const auto found = analysed({"--line-to-line"});
  EXPECT_TRUE(found["line_to_line"]);
  EXPECT_TRUE(has_note(found, "The voltages between phases were computed from the phase voltages."));
  EXPECT_EQ(found["voltages"][0]["phase"], "AB");
  EXPECT_EQ(found["voltages"][2]["computed_from"], (json{3, 1}));
  EXPECT_NEAR(found["voltages"][0]["usual_rms_v"], 230 * std::numbers::sqrt3, 0.01);
  // |1/2 - a^2| and |a - 1/2| are both sqrt(7) / 2; between B and C nothing changes.
  const auto& segment = found["events"][0]["course"]["segments"][0];
  const double lowered = 100 * std::sqrt(7.0) / 2 / std::numbers::sqrt3;
  EXPECT_NEAR(segment["voltage"][0]["percent_of_before"], lowered, 0.1);
  EXPECT_NEAR(segment["voltage"][1]["percent_of_before"], 100, 0.1);
  EXPECT_NEAR(segment["voltage"][2]["percent_of_before"], lowered, 0.1);
}

TEST_F(Choice, OfNamedChannelsTreatsThemAsLineToLineOnRequest) {
  Record(400, 1).lower("A", 0.4, 0.6, 200).write_csv("record.csv");
  EXPECT_FALSE(analysed({"--channels", "1,2,3"})["line_to_line"]);
  EXPECT_TRUE(analysed({"--channels", "1,2,3", "--line-to-line"})["line_to_line"]);
}

// --- sets ------------------------------------------------------------------------------------------------------------

TEST_F(Choice, OfSetsIsTheOneWithTheWorstEventAndNamesTheOthers) {
  write_sets("record.csv", Record(230, 1).lower("ABC", 0.4, 0.5, 115), Record(10000, 1).lower("A", 0.6, 0.7, 3000));
  const auto found = analysed({});
  EXPECT_EQ(found["voltages"][0]["name"], "Va");
  EXPECT_NEAR(found["events"][0]["extreme"]["percent"], 30, 0.01);
  EXPECT_TRUE(has_note(found,
                       "The record holds 2 sets of voltages; this is set 2, which has the worst event (--set "
                       "chooses another, dipx info lists them)."))
      << found["notes"];
  EXPECT_TRUE(has_note(found, "Other sets have events, too: set 1 has a dip to 50.0 %.")) << found["notes"];
  EXPECT_EQ(analysed({"--set", "1"})["voltages"][0]["name"], "Ua");
  expect_refused({"--set", "3"}, 1,
                 "dipx: record.csv: there is no set 3 of three phase voltages, only 2; dipx info lists what there is");
}

TEST_F(Choice, OfAllSetsPrintsOneDocumentALineAndOneHeading) {
  write_sets("record.csv", Record(230, 1).lower("ABC", 0.4, 0.5, 115), Record(10000, 1).lower("A", 0.6, 0.7, 3000));
  const auto lines = dipx({"analyse", "record.csv", "--set", "all", "--json"});
  EXPECT_EQ(lines.status, 0);
  EXPECT_EQ(lines.err, "");
  const auto found = documents(lines.out);
  ASSERT_EQ(found.size(), 2U);
  EXPECT_EQ(found[0]["voltages"][0]["name"], "Ua");
  EXPECT_EQ(found[1]["voltages"][0]["name"], "Va");
  EXPECT_EQ(found[0]["events"], analysed({"--set", "1"})["events"]);
  EXPECT_EQ(found[1]["events"], analysed({"--set", "2"})["events"]);
  const auto table = dipx({"analyse", "record.csv", "--set", "all", "--csv"}).out;
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 3) << table;
  EXPECT_EQ(table.find("file,start_time,"), 0U);
  EXPECT_EQ(table.find("file,start_time,", 1), std::string::npos);
  const auto quiet = dipx({"analyse", "record.csv", "--set", "all", "-q"}).out;
  EXPECT_EQ(std::count(quiet.begin(), quiet.end(), '\n'), 2) << quiet;
}

TEST_F(Choice, OfAllSetsReportsThoseSetsThatCannotBeAnalysed) {
  write_sets("record.csv", Record(230, 1).lower("ABC", 0.4, 0.5, 115), Record(10000, 1));
  const auto one = dipx({"analyse", "record.csv", "--set", "all", "--nominal", "230", "--json"});
  EXPECT_EQ(one.status, 0);
  EXPECT_EQ(documents(one.out).size(), 1U);
  EXPECT_TRUE(one.err.starts_with("dipx: set 2: record.csv: ")) << one.err;
  EXPECT_EQ(std::count(one.err.begin(), one.err.end(), '\n'), 1) << one.err;
  const auto none = dipx({"analyse", "record.csv", "--set", "all", "--nominal", "50", "--json"});
  EXPECT_EQ(none.status, 3);
  EXPECT_EQ(none.out, "");
}

TEST_F(Choice, OfAllPartsReportsThosePartsThatCannotBeAnalysed) {
  // The piece before a gap of more than 25 cycles is too short for an analysis.
  Record(230, 2).write_csv_without("record.csv", "ABC", 0.03, 0.7);
  const auto parts = dipx({"analyse", "record.csv", "--part", "all", "--json"});
  EXPECT_EQ(documents(parts.out).size(), 1U);
  EXPECT_TRUE(parts.err.starts_with("dipx: part 1: record.csv: ")) << parts.err;
  const auto both = dipx({"analyse", "record.csv", "--set", "all", "--part", "all", "--json"});
  EXPECT_TRUE(both.err.starts_with("dipx: set 1, part 1: record.csv: ")) << both.err;
}

TEST_F(Choice, OfAllSetsOrPartsDrawsNothing) {
  Record(230, 0.4).write_csv("record.csv");
  const std::string complaint =
      "dipx: --svg, --pdf, --png, --html, --report and --certificate show one set and part; choose them by number, not all";
  expect_refused({"--set", "all", "--svg", "x.svg"}, 1, complaint);
  expect_refused({"--part", "all", "--report", "x.txt"}, 1, complaint);
  EXPECT_FALSE(std::filesystem::exists("x.svg"));
  EXPECT_FALSE(std::filesystem::exists("x.txt"));
}

TEST_F(Choice, OfSetsAndPartsIsANumberOrAll) {
  Record(230, 0.4).write_csv("record.csv");
  for (const char* option : {"--set", "--part"}) {
    for (const char* wrong : {"0", "-1", "x", "1.5", "ALL"}) {
      expect_refused({std::string(option) + "=" + wrong}, 1,
                     std::string(option) + ": '" + wrong +
                         "' is neither a whole number from 1 on nor 'all'\nRun with --help for more information.");
    }
  }
  expect_refused({"--set", "all", "--channels", "1,2,3"}, 1,
                 "--channels excludes --set\nRun with --help for more information.");
}

// --- parts -----------------------------------------------------------------------------------------------------------

/// Makes half a second at 6400 Hz and two seconds at 3200 Hz, each with a dip to 60 %, as a COMTRADE pair.
void write_two_rates() {
  const auto fast = Record(230, 0.5, 6400).lower("ABC", 0.2, 0.3, 138).made();
  const auto slow = Record(230, 2, 3200).lower("ABC", 0.5, 0.7, 138).made();
  std::ofstream config("parts.cfg");
  config << "Station,Recorder,1999\n3,3A,0D\n";
  for (int phase = 0; phase < 3; phase++) {
    config << phase + 1 << ",U"
           << "abc"[phase] << ',' << "ABC"[phase] << ",,V,0.01,0,0,-99999,99999,1,1,P\n";
  }
  config << "50\n2\n6400,3200\n3200,9600\n1/1/2020,0:0:0.0\n1/1/2020,0:0:0.0\nASCII\n1\n";
  std::ofstream data("parts.dat");
  std::size_t number = 0;
  for (const auto& [record, start, rate] : {std::tuple(&fast, 0.0, 6400.0), {&slow, 0.5, 3200.0}}) {
    for (std::size_t i = 0; i < record->length(); i++) {
      data << ++number << ',' << std::lround((start + static_cast<double>(i) / rate) * 1e6);
      for (const auto& channel : record->channels) data << ',' << std::lround(channel.samples[i] / 0.01);
      data << '\n';
    }
  }
}

TEST_F(Choice, OfPartsIsANumberOrAll) {
  write_two_rates();
  const auto longest = analysed({}, "parts.cfg");
  EXPECT_EQ(longest["record"]["part"]["number"], 2);
  EXPECT_TRUE(has_note(longest, "The voltage falls below 90 % of its usual level elsewhere too: part 1 to 60.0 %"))
      << longest["notes"];
  expect_course(longest["events"][0]["course"], 1.0, 1.2);
  expect_course(analysed({"--part", "1"}, "parts.cfg")["events"][0]["course"], 0.2, 0.3);
  const auto all = documents(dipx({"analyse", "parts.cfg", "--part", "all", "--json"}).out);
  ASSERT_EQ(all.size(), 2U);
  for (std::size_t part = 0; part < 2; part++) {
    EXPECT_EQ(all[part]["record"]["part"]["number"], part + 1);
    EXPECT_EQ(all[part]["events"], analysed({"--part", std::to_string(part + 1)}, "parts.cfg")["events"]);
  }
  const auto table = dipx({"analyse", "parts.cfg", "--part", "all", "--csv"}).out;
  EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), 3) << table;
  expect_refused({"--part", "3"}, 1, "dipx: parts.cfg: there is no part 3, only 2; dipx info lists them", "parts.cfg");
}

TEST_F(Choice, OfObservationsIsTheOneWithTheDip) {
  const auto steady = Record(230, 2, 3200).made();
  auto record = Record(230, 1, 6400).lower("ABC", 0.4, 0.6, 138).made();
  const std::size_t length = record.length();
  for (std::size_t i = 0; i < 3; i++) {
    auto& samples = record.channels[i].samples;
    samples.insert(samples.end(), steady.channels[i].samples.begin(), steady.channels[i].samples.end());
  }
  record.rates = {{6400, length, 3600, false, "event"}, {3200, length + steady.length(), 60, false, "snapshot"}};
  std::ofstream("two.pqd", std::ios::binary) << synth::pqdif_of(record);

  const auto chosen = analysed({}, "two.pqd");
  EXPECT_EQ(chosen["record"]["part"]["number"], 2);
  EXPECT_TRUE(has_note(chosen,
                       "The record falls into 2 parts by observation, sampling rate and gaps; this is part 2 "
                       "(observation 1 'event'), from"))
      << chosen["notes"];
  EXPECT_TRUE(has_note(chosen, "All observations were searched; this is part 2, which has the worst event"))
      << chosen["notes"];
  ASSERT_EQ(chosen["events"].size(), 1U);
  expect_course(chosen["events"][0]["course"], 3540.4, 3540.6);
  const auto all = documents(dipx({"analyse", "two.pqd", "--part", "all", "--json"}).out);
  ASSERT_EQ(all.size(), 2U);
  EXPECT_EQ(all[0]["events"].size(), 0U);
  EXPECT_EQ(all[1]["events"], chosen["events"]);
}

// --- files without rate or frequency ---------------------------------------------------------------------------------

TEST_F(Choice, OfFrequencyIsTheUsersWhereTheFileIsSilent) {
  Record(120, 1, 3840, 60).lower("A", 0.5, 0.6, 60).write_csv("record.csv");
  const auto silent = analysed({});
  EXPECT_EQ(silent["record"]["samples_per_cycle"], 64);
  EXPECT_EQ(silent["notes"], (json{"The file does not state the line frequency; by the waveform it is 60 Hz (override "
                                   "with --frequency)."}));
  const auto told = analysed({"--frequency", "60"});
  EXPECT_EQ(told["events"].size(), 1U);
  EXPECT_EQ(told["notes"].size(), 0U);
}

TEST_F(Choice, OfFiftyHertzIsNoted) {
  const auto found = analysed(Record(230, 0.4));
  ASSERT_EQ(found["notes"].size(), 1U);
  EXPECT_EQ(found["notes"][0],
            "The file does not state the line frequency; 50 Hz is assumed (override with --frequency).");
}

TEST_F(Choice, OfStandardInputReadsCsv) {
  Record(230, 1).lower("B", 0.4, 0.5, 115).write_csv("record.csv");
  const auto piped = dipx({"analyse", "-", "--json"}, "record.csv");
  EXPECT_EQ(piped.status, 0);
  EXPECT_EQ(json::parse(piped.out)["events"], analysed({})["events"]);
  EXPECT_EQ(json::parse(piped.out)["record"]["file"], "standard input");
}

TEST_F(Choice, OfARateIsNeededForCsvWithoutTimes) {
  const auto channels = Record(230, 1).lower("B", 0.4, 0.5, 115).made().channels;
  std::ofstream out("bare.csv");
  for (std::size_t i = 0; i < channels[0].samples.size(); i++) {
    out << channels[0].samples[i] << ";" << channels[1].samples[i] << ";" << channels[2].samples[i] << "\n";
  }
  out.close();
  const auto silent = dipx({"analyse", "bare.csv", "--channels", "1,2,3"});
  EXPECT_EQ(silent.status, 2);
  EXPECT_NE(silent.err.find("--rate"), std::string::npos) << silent.err;
  EXPECT_EQ(analysed({"--rate", "6400", "--channels", "1,2,3"}, "bare.csv")["events"].size(), 1U);
}

}  // namespace
