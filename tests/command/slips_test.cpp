// Tests the usual slips in a command line: those that are understood, and those that are explained.
#include "command/slips.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "command/command_line.h"
#include "tests/core/working_folder.h"

namespace {

using command::slip_in;
using command::with_meant_words;
using Words = std::vector<std::string>;

/// A folder of its own with the file r.csv, in which the test runs.
class Slips : public testing::Test {
 protected:
  Slips() {
    std::ofstream("r.csv") << "t,a\n";
    command::add_command_line(app_, answers_);
  }

  Words meant(const Words& words) { return with_meant_words(words, app_); }

  /// The slip in words that the parser refuses.
  std::string slip(const Words& words) {
    try {
      app_.parse(Words(words.rbegin(), words.rend() - 1));
      return "the parser accepts the words";
    } catch (const CLI::ParseError&) {
      return slip_in(words, app_);
    }
  }

  CLI::App app_;

 private:
  tests::WorkingFolder folder_;  // tests of this fixture run at the same time, so that each has its own
  command::Answers answers_;
};

TEST_F(Slips, AskForHelpByAWord) {
  EXPECT_EQ(meant({"dipx", "help"}), (Words{"dipx", "--help"}));
  EXPECT_EQ(meant({"dipx", "help", "info"}), (Words{"dipx", "info", "--help"}));
}

TEST_F(Slips, AnalyseAFileWithoutACommand) {
  EXPECT_EQ(meant({"dipx", "r.csv", "-q"}), (Words{"dipx", "analyse", "r.csv", "-q"}));
  EXPECT_EQ(meant({"dipx", "-"}), (Words{"dipx", "analyse", "-"}));
  EXPECT_EQ(meant({"dipx", "missing.csv"}), (Words{"dipx", "missing.csv"}));
}

TEST_F(Slips, AreNotSeenInAFileNamedAsACommand) {
  std::ofstream("info") << "x";
  EXPECT_EQ(meant({"dipx", "info", "r.csv"}), (Words{"dipx", "info", "r.csv"}));
}

TEST_F(Slips, JoinANominalVoltageWithItsUnit) {
  EXPECT_EQ(meant({"dipx", "analyse", "--nominal", "90", "kV", "r.csv"}),
            (Words{"dipx", "analyse", "--nominal", "90kV", "r.csv"}));
  EXPECT_EQ(meant({"dipx", "analyse", "--nominal", "90", "r.csv"}),
            (Words{"dipx", "analyse", "--nominal", "90", "r.csv"}));
}

TEST_F(Slips, OfAnUnknownOptionHaveTheNearOnes) {
  EXPECT_EQ(slip({"dipx", "convert", "--frm", "1", "r.csv"}),
            "--frm is not an option of dipx convert; did you mean --from? dipx convert --help lists all options");
  EXPECT_EQ(slip({"dipx", "info", "--zzzzzz", "r.csv"}),
            "--zzzzzz is not an option of dipx info; dipx info --help lists all options");
  EXPECT_EQ(slip({"dipx", "--zzzzzz"}),
            "--zzzzzz is not an option of dipx; begin with a command, as in dipx analyse RECORD");
}

TEST_F(Slips, OfAValueForASwitchSayHowItsTextGetsIntoAFile) {
  EXPECT_EQ(slip({"dipx", "analyse", "r.csv", "--json=x.json"}),
            "--json is a switch and takes no value; send what it prints to a file: --json >x.json");
  EXPECT_EQ(slip({"dipx", "analyse", "r.csv", "--quiet=x"}),
            "--quiet is a switch and takes no value; write --quiet alone");
}

TEST_F(Slips, OfAnOptionThatTookTheRecordSayWhichOne) {
  EXPECT_EQ(slip({"dipx", "analyse", "--svg", "r.csv"}),
            "--svg took r.csv as its own value, and no record is left; write dipx analyse r.csv --svg FILE");
}

TEST_F(Slips, OfAnUnknownCommandHaveTheNearOnes) {
  EXPECT_EQ(slip({"dipx", "anaylse", "r.csv"}),
            "'anaylse' is not a command of dipx; did you mean analyse? dipx --help lists all");
  EXPECT_EQ(slip({"dipx", "missing.csv"}),
            "'missing.csv' is neither a command of dipx nor a file; dipx --help lists the commands");
  EXPECT_EQ(slip({"dipx"}), "a command is missing, as in dipx analyse RECORD; dipx --help lists the commands");
}

TEST_F(Slips, AreNotBlamedForValuesThatBeginWithAMinus) {
  EXPECT_EQ(slip({"dipx", "analyse", "r.csv", "--from", "-1", "--to"}), "");
}

}  // namespace
