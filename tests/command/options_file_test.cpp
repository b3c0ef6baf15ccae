// Tests options from a file: how lines are read, which options take precedence, and the messages for wrong lines.
#include "command/options_file.h"

#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "command/command_line.h"
#include "tests/command/analyse_fixture.h"

namespace {

using tests::dipx;
using Record = tests::MadeRecord;
using Words = std::vector<std::string>;

class OptionsFile : public tests::Analysing {
 protected:
  static void write(const std::string& file, const std::string& text) { std::ofstream(file) << text; }

  /// Returns the arguments with those of "rules.txt" inserted in their place.
  static Words read(const std::string& text,
                    const Words& arguments = {"dipx", "analyse", "r", "--options", "rules.txt"}) {
    write("rules.txt", text);
    CLI::App app;
    command::Answers answers;
    command::add_command_line(app, answers);
    return command::with_options_file(arguments, *app.get_subcommand("analyse"));
  }
  static std::string complaint(const std::string& text) {
    try {
      read(text);
    } catch (const command::OptionsFileError& error) {
      return error.what();
    }
    return "";
  }
};

TEST_F(OptionsFile, AcceptsBlanksAndEqualSigns) {
  const Words expected = {"dipx", "analyse", "r", "--dip-threshold=85", "--line-to-line", "--nominal=20kV:line"};
  EXPECT_EQ(read("dip-threshold 85\nline-to-line\nnominal 20kV:line\n"), expected);
  EXPECT_EQ(read("dip-threshold=85\nline-to-line\nnominal=20kV:line"), expected) << "without a last line end";
  EXPECT_EQ(read("  dip-threshold \t=  85 \r\nline-to-line \r\n\tnominal  20kV:line\r\n"), expected);
  EXPECT_EQ(read("--dip-threshold 85\n--line-to-line\n--nominal=20kV:line\n"), expected);
}

TEST_F(OptionsFile, LeavesCommentsAndEmptyLinesOut) {
  EXPECT_EQ(read("# house rules\n\n   \n# dip-threshold 70\ndip-threshold 85 # per cent\njson#\n"),
            (Words{"dipx", "analyse", "r", "--dip-threshold=85", "--json"}));
  EXPECT_EQ(read(""), (Words{"dipx", "analyse", "r"}));
}

TEST_F(OptionsFile, GivesWayToTheCommandLine) {
  const std::string rules = "dip-threshold 85\nswell-threshold 115\n";
  const Words after = {"dipx", "analyse", "--options", "rules.txt", "--dip-threshold", "80"};
  EXPECT_EQ(read(rules, after), (Words{"dipx", "analyse", "--swell-threshold=115", "--dip-threshold", "80"}));
  const Words before = {"dipx", "analyse", "--dip-threshold=80", "--options=rules.txt", "r"};
  EXPECT_EQ(read(rules, before), (Words{"dipx", "analyse", "--dip-threshold=80", "--swell-threshold=115", "r"}));
}

TEST_F(OptionsFile, NamesFileAndLineOfAnError) {
  EXPECT_EQ(complaint("json\nbogus 3\n"),
            "rules.txt: line 2: there is no option 'bogus'; dipx analyse --help lists them");
  EXPECT_EQ(complaint("# rules\n\ndip-threshold\n"), "rules.txt: line 3: dip-threshold needs a value");
  EXPECT_EQ(complaint("dip-threshold =\n"), "rules.txt: line 1: dip-threshold needs a value");
  EXPECT_EQ(complaint("json yes\n"), "rules.txt: line 1: json takes no value; remove it");
  EXPECT_EQ(complaint("options other.txt\n"),
            "rules.txt: line 1: there is no option 'options'; dipx analyse --help lists them");
  EXPECT_EQ(complaint("help\n"), "rules.txt: line 1: there is no option 'help'; dipx analyse --help lists them");
  EXPECT_EQ(complaint("q\n"), "rules.txt: line 1: there is no option 'q'; dipx analyse --help lists them");
}

TEST_F(OptionsFile, RulesAnAnalysis) {
  Record(230, 1).lower("A", 0.4, 0.5, 0.87 * 230).write_csv("record.csv");
  write("rules.txt", "dip-threshold = 86  # ours\nrvc-threshold 0\n");
  const auto ruled = analysed({"--options", "rules.txt"});
  EXPECT_EQ(ruled["parameters"]["dip_threshold_percent"], 86);
  EXPECT_EQ(ruled["parameters"]["rvc_threshold_percent"], 0);
  EXPECT_EQ(ruled["events"].size(), 0U);
  const auto overruled = analysed({"--options", "rules.txt", "--dip-threshold", "90"});
  EXPECT_EQ(overruled["parameters"]["dip_threshold_percent"], 90);
  EXPECT_EQ(overruled["parameters"]["rvc_threshold_percent"], 0);
  EXPECT_EQ(overruled["events"].size(), 1U);
}

TEST_F(OptionsFile, IsForAnalysesOnly) {
  const std::string rules = "dip-threshold 85\n";
  EXPECT_EQ(read(rules, {"dipx", "analyze", "--options", "rules.txt", "r"}),
            (Words{"dipx", "analyze", "--dip-threshold=85", "r"}));
  for (const Words& others : {Words{"dipx", "synth", "--options", "rules.txt"},
                              {"dipx", "info", "analyse", "--options=rules.txt"},
                              {"dipx", "--options", "rules.txt"}}) {
    EXPECT_EQ(read(rules, others), others);
  }
  Record(230, 0.4).write_csv("record.csv");
  for (const Words& others :
       {Words{"info", "record.csv", "--options", "rules.txt"}, {"synth", "--options=rules.txt"}}) {
    const auto result = dipx(others);
    EXPECT_EQ(result.status, 1) << others[0];
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find("--options"), std::string::npos) << result.err;
  }
}

TEST_F(OptionsFile, IsJudgedAsTheCommandLineIs) {
  Record(230, 0.4).write_csv("record.csv");
  write("range.txt", "dip-threshold 200\n");
  expect_refused({"--options", "range.txt"}, 1,
                 "--dip-threshold: '200' is not a number from 1 to 100\nRun with --help for more information.");
  write("contradiction.txt", "interruption-threshold 95\n");
  expect_refused({"--options", "contradiction.txt"}, 1,
                 "dipx: --interruption-threshold 95 is not below --dip-threshold 90; an interruption lies within a "
                 "dip");
  write("unknown.txt", "\ndip-treshold 85\n");
  expect_refused({"--options", "unknown.txt"}, 1,
                 "dipx: unknown.txt: line 2: there is no option 'dip-treshold'; dipx analyse --help lists them");
}

TEST_F(OptionsFile, ThatIsNotThereIsNamed) {
  Record(230, 0.4).write_csv("record.csv");
  expect_refused({"--options", "missing.txt"}, 1,
                 "dipx: missing.txt: cannot be opened; check the path and its read permission");
  expect_refused({"--options"}, 1, "--options: 1 required FILE missing\nRun with --help for more information.");
}

TEST_F(OptionsFile, IsAShortFile) {
  Record(230, 0.4).write_csv("record.csv");
  std::filesystem::create_directory("folder");
  std::ofstream("long.txt") << std::string((std::size_t{1} << 20U) + 1, '\n');
  expect_refused({"--options", "folder"}, 1, "dipx: folder: is a folder; name a file with one option in a line");
  expect_refused({"--options=long.txt"}, 1,
                 "dipx: long.txt: is longer than 1048576 bytes; name a file with one option in a line");
  expect_refused({"--curve", "folder"}, 1,
                 "dipx: --curve folder: is a folder; name a file with a voltage-tolerance curve");
  std::ofstream("dips.txt") << "dip-threshold 85\n";
  std::ofstream("more.txt") << "--nominal=230\nfail-on=dip # of any depth\n";
  const auto document = analysed({"--options", "dips.txt", "--options=more.txt"});
  EXPECT_EQ(document["parameters"]["dip_threshold_percent"], 85);
  EXPECT_EQ(document["parameters"]["reference"], "declared") << "as the nominal voltage of the second file implies";
}

}  // namespace
