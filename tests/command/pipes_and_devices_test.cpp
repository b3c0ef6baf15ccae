// The command on inputs that are not files: pipes with a name, and devices.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "tests/command/dipx_command.h"
#include "tests/command/synth_record.h"
#include "tests/core/working_folder.h"

namespace {

using tests::bytes_of;
using tests::dipx;

class PipesAndDevices : public testing::Test {
 protected:
  /// Runs a line of the shell with dipx as the command, which is ended after ten seconds.
  static int shell(const std::string& line) {
    const std::string command = "dipx() { timeout 10 '" DIPX_COMMAND "' \"$@\"; }; " + line;
    const int state = std::system(command.c_str());
    return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
  }

  tests::WorkingFolder folder;
};

TEST_F(PipesAndDevices, RecordsArriveThroughNamedPipes) {
  ASSERT_EQ(dipx({"synth", "-o", "dip.cfg"}).status, 0);
  ASSERT_EQ(dipx({"synth", "-o", "dip.csv"}).status, 0);
  ASSERT_EQ(dipx({"synth", "-o", "dip.cff"}).status, 0);
  for (const std::string file : {"dip.cfg", "dip.dat", "dip.csv", "dip.cff"}) {
    const std::string whole = dipx({"analyse", file, "-q"}).out;
    ASSERT_NE(whole, "") << file;
    ASSERT_EQ(shell("mv " + file + " kept && mkfifo " + file), 0);
    EXPECT_EQ(shell("(timeout 10 cat kept > " + file + ") & dipx analyse -q " + file + " >out"), 0) << file;
    EXPECT_EQ(bytes_of("out"), whole) << file;
    ASSERT_EQ(shell("mv kept " + file), 0);
  }
}

TEST_F(PipesAndDevices, APartnerMayBeANamedPipe) {
  ASSERT_EQ(dipx({"synth", "-o", "dip.cfg"}).status, 0);
  const std::string whole = dipx({"analyse", "dip.cfg", "-q"}).out;
  ASSERT_EQ(shell("mv dip.dat kept && mkfifo dip.dat"), 0);
  EXPECT_EQ(shell("(timeout 10 cat kept > dip.dat) & dipx analyse -q dip.cfg >out"), 0);
  EXPECT_EQ(bytes_of("out"), whole);
}

TEST_F(PipesAndDevices, EndlessDevicesAreRefused) {
  for (const std::string device : {"/dev/zero", "/dev/urandom", "/dev/full"}) {
    EXPECT_EQ(shell("dipx analyse " + device + " 2>err"), 2) << device;
    EXPECT_EQ(bytes_of("err"),
              "dipx: " + device + ": is a device, not a record; name a file, or - for a pipe to standard input\n");
    EXPECT_EQ(shell("dipx info - <" + device + " 2>err"), 2) << device;
    EXPECT_EQ(bytes_of("err"),
              "dipx: standard input: is a device, not a record; name a file, or - for a pipe to standard input\n");
  }
  ASSERT_EQ(dipx({"synth", "-o", "dip.cfg"}).status, 0);
  ASSERT_EQ(shell("ln -sf /dev/zero dip.dat"), 0);
  EXPECT_EQ(shell("dipx analyse dip.cfg 2>err"), 2);
  EXPECT_EQ(bytes_of("err"),
            "dipx: dip.dat: is a device, not a record; name a file, or - for a pipe to standard input\n");
}

TEST_F(PipesAndDevices, EndlessOptionsAreRefused) {
  EXPECT_EQ(shell("dipx analyse record.csv --options /dev/zero 2>err"), 1);
  EXPECT_EQ(bytes_of("err"), "dipx: /dev/zero: is longer than 1048576 bytes; name a file with one option in a line\n");
}

TEST_F(PipesAndDevices, AnEmptyDeviceIsAnEmptyFile) {
  EXPECT_EQ(shell("dipx analyse /dev/null 2>err"), 2);
  EXPECT_NE(bytes_of("err").find("is not a supported kind of record"), std::string::npos) << bytes_of("err");
}

}  // namespace
