// Tests when and where the command shows its progress. A slow standard input makes it wait.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <future>

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

  /// Runs a line of the shell whose command waits for its input until the terminal shows something. Returns what the
  /// terminal shows in all. A machine under load may take long to start the command, so no time is given.
  [[nodiscard]] std::string shown_while_waiting(const std::string& input, const std::string& line) const {
    auto run = std::async(std::launch::async,
                          [&] { shell("(until [ -e awaited ]; do sleep 0.02; done; " + input + ") | " + line); });
    auto shown = terminal.awaited_text();
    std::ofstream("awaited").close();
    run.get();
    return shown + terminal.text();
  }

  tests::WorkingFolder folder;
  tests::Terminal terminal;
};

constexpr const char* line_taken_away = "\r\033[K";

TEST_F(Progress, IsShownOnATerminalAfterASecondAndTakenAway) {
  const auto shown = shown_while_waiting("cat record.csv", "$dipx analyse - -q >out.txt 2>$terminal");
  EXPECT_THAT(shown, testing::ContainsRegex("^\r\033\\[Kreading standard input, [1-9][0-9]* s\r\033\\[K"));
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
  const auto shown = shown_while_waiting("echo nothing", "if $dipx analyse - >out.txt 2>$terminal; then false; fi");
  EXPECT_NE(shown.find("\r\033[Kdipx: standard input: "), std::string::npos) << shown;
}

TEST_F(Progress, KeepsOutOfTheLibrarysLines) {
  shell("(sleep 1.3; cat record.csv) | $dipx analyse - --trace >out.txt 2>$terminal");
  EXPECT_EQ(terminal.text().find("reading"), std::string::npos);
}

}  // namespace
