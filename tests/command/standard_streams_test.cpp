// The command where standard streams are closed, as daemons and schedulers may start it.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/command/synth_record.h"
#include "tests/core/working_folder.h"

namespace {

class ClosedStreams : public testing::Test {
 protected:
  void SetUp() override { tests::write_csv({}, "record.csv"); }

  /// Runs a line of the shell with $dipx as the command and returns its status.
  static int shell(const std::string& line) {
    const int state = std::system(("dipx='" DIPX_COMMAND "'; " + line).c_str());
    return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
  }

  tests::WorkingFolder folder;
};

TEST_F(ClosedStreams, DoNotKeepAnAnalysisFromItsWork) {
  ASSERT_EQ(shell("$dipx analyse record.csv --svg whole.svg >whole.out"), 0);
  for (const std::string closed : {"<&-", ">&-", "2>&-", "<&- >&-", "<&- 2>&-", ">&- 2>&-", "<&- >&- 2>&-"}) {
    EXPECT_EQ(shell("$dipx analyse record.csv --svg figure.svg --report report.txt " + closed), 0) << closed;
    EXPECT_EQ(tests::bytes_of("figure.svg"), tests::bytes_of("whole.svg")) << closed;
    EXPECT_NE(tests::bytes_of("report.txt").find(" = 5120\r\n"), std::string::npos) << closed;
    EXPECT_EQ(shell("rm figure.svg report.txt"), 0);
  }
  EXPECT_EQ(shell("$dipx analyse record.csv <&- 2>&- >out"), 0);
  EXPECT_EQ(tests::bytes_of("out"), tests::bytes_of("whole.out"));
}

TEST_F(ClosedStreams, DoNotMixComplaintsIntoFiles) {
  EXPECT_EQ(shell("$dipx analyse missing.csv >&- 2>err"), 2);
  EXPECT_EQ(tests::bytes_of("err").substr(0, 19), "dipx: missing.csv: ");
  EXPECT_EQ(shell("$dipx analyse missing.csv <&- >out 2>&-"), 2);
  EXPECT_EQ(tests::bytes_of("out"), "");
  EXPECT_EQ(shell("$dipx synth -o made.csv <&- >&- 2>&-"), 0);
  EXPECT_EQ(shell("$dipx synth >made_too.csv"), 0);
  EXPECT_EQ(tests::bytes_of("made.csv"), tests::bytes_of("made_too.csv"));
}

TEST_F(ClosedStreams, AreAnEmptyInput) {
  EXPECT_EQ(shell("$dipx analyse - <&- 2>closed"), 2);
  EXPECT_EQ(shell("$dipx analyse - </dev/null 2>empty"), 2);
  EXPECT_EQ(tests::bytes_of("closed"), tests::bytes_of("empty"));
}

}  // namespace
