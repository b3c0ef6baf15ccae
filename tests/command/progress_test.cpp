// What the command says of its progress: to whom, and when. The waiting is that for a slow standard input.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/command/synth_record.h"
#include "tests/command/terminal.h"
#include "tests/core/working_folder.h"

namespace {

class Progress : public testing::Test {
 protected:
  void SetUp() override { tests::write_csv({}, "record.csv"); }

  /// Runs a line of the shell with $dipx as the command and $terminal as the terminal; expects success.
  void shell(const std::string& line) const {
    const std::string words = "dipx='" DIPX_COMMAND "'; terminal='" + terminal.name() + "'; " + line;
    EXPECT_EQ(std::system(words.c_str()), 0) << line;
  }

  tests::WorkingFolder folder;
  tests::Terminal terminal;
};

constexpr const char* line_taken_away = "\r\033[K";

TEST_F(Progress, IsShownOnATerminalAfterASecondAndTakenAway) {
  shell("(sleep 1.7; cat record.csv) | $dipx analyse - -q >out.txt 2>$terminal");
  const auto shown = terminal.text();
  EXPECT_TRUE(shown.starts_with("\r\033[Kreading standard input, 1 s\r\033[K")) << shown;
  EXPECT_TRUE(shown.ends_with(line_taken_away)) << shown;
  EXPECT_TRUE(tests::bytes_of("out.txt").starts_with("standard input: event 1, dip "));
}

TEST_F(Progress, IsNotShownForAQuickRun) {
  shell("$dipx analyse record.csv >out.txt 2>$terminal");
  EXPECT_EQ(terminal.text(), "");
}

TEST_F(Progress, IsNotShownWhereNobodyWaitsAtATerminal) {
  shell("(sleep 1.3; cat record.csv) | $dipx analyse - -q >out.txt 2>err.txt");
  EXPECT_EQ(tests::bytes_of("err.txt"), "");
  shell("(sleep 1.3; cat record.csv) | $dipx analyse - -q 2>$terminal | cat >out.txt");
  EXPECT_EQ(terminal.text(), "");
  EXPECT_NE(tests::bytes_of("out.txt"), "");
}

TEST_F(Progress, IsTakenAwayBeforeAComplaint) {
  shell("! (sleep 1.3; echo nothing) | $dipx analyse - >out.txt 2>$terminal");
  const auto shown = terminal.text();
  EXPECT_NE(shown.find("\r\033[Kdipx: standard input: "), std::string::npos) << shown;
}

TEST_F(Progress, KeepsOutOfTheLibrarysLines) {
  shell("(sleep 1.3; cat record.csv) | $dipx analyse - --trace >out.txt 2>$terminal");
  EXPECT_EQ(terminal.text().find("reading"), std::string::npos);
}

}  // namespace
