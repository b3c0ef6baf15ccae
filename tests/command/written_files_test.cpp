// Files that are there already when the command writes: replaced and mentioned, or kept.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/command/dipx_command.h"
#include "tests/command/synth_record.h"
#include "tests/command/terminal.h"
#include "tests/core/working_folder.h"

namespace {

using tests::bytes_of;
using tests::dipx;

class WrittenFiles : public testing::Test {
 protected:
  void SetUp() override { tests::write_csv({}, "record.csv"); }

  static void write(const std::string& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
  }
  static std::size_t files() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("."), {}));
  }

  tests::WorkingFolder folder;
};

TEST_F(WrittenFiles, AreKeptWithNoClobber) {
  std::vector<std::string> options = {"--svg", "--report"};
#ifdef DIPX_HAS_CAIRO
  options.insert(options.end(), {"--pdf", "--png"});
#endif
  for (const std::string& option : options) {
    write("kept", "kept");
    const auto result = dipx({"analyse", "record.csv", option, "kept", "--no-clobber"});
    EXPECT_EQ(result.status, 4) << option;
    EXPECT_EQ(result.out, "") << option;
    EXPECT_EQ(result.err, "dipx: kept: exists already and --no-clobber keeps it; name another file\n") << option;
    EXPECT_EQ(bytes_of("kept"), "kept") << option;
    EXPECT_EQ(dipx({"analyse", "record.csv", option, "new", "--no-clobber"}).status, 0) << option;
    std::filesystem::remove("new");
  }
  for (const std::string file : {"kept.csv", "kept.cff", "kept.cfg"}) {
    write(file, "kept");
    const auto result = dipx({"synth", "-o", file, "--no-clobber"});
    EXPECT_EQ(result.status, 4) << file;
    EXPECT_EQ(result.err, "dipx: " + file + ": exists already and --no-clobber keeps it; name another file\n");
    EXPECT_EQ(bytes_of(file), "kept") << file;
  }
  EXPECT_FALSE(std::filesystem::exists("kept.dat"));
}

TEST_F(WrittenFiles, AreAllKeptWithNoClobberIfOneIsThere) {
  write("report.txt", "kept");
  const std::size_t before = files();
  EXPECT_EQ(dipx({"analyse", "record.csv", "--svg", "new.svg", "--report", "report.txt", "--no-clobber"}).status, 4);
  write("pair.dat", "kept");
  EXPECT_EQ(dipx({"synth", "-o", "pair.cfg", "--no-clobber"}).status, 4);
  EXPECT_EQ(bytes_of("pair.dat"), "kept");
  EXPECT_EQ(files(), before + 1);
}

TEST_F(WrittenFiles, AreDevicesEvenWithNoClobber) {
  EXPECT_EQ(dipx({"analyse", "record.csv", "--svg", "/dev/null", "--no-clobber"}).status, 0);
  const auto piped = dipx({"synth", "-o", "/dev/stdout", "--format", "csv", "--no-clobber"}, "/dev/null", "/dev/full");
  EXPECT_EQ(piped.status, 4);
  EXPECT_EQ(piped.err, "dipx: /dev/stdout: No space left on device; free some space, or name a file on another disk\n");
}

TEST_F(WrittenFiles, AreMentionedOnATerminalWhenTheyReplaceOthers) {
  const tests::Terminal terminal;
  const auto said = [&](const std::string& arguments) {
    const std::string line = "'" DIPX_COMMAND "' " + arguments + " >out.txt 2>'" + terminal.name() + "'";
    EXPECT_EQ(std::system(line.c_str()), 0) << line;
    return terminal.text();
  };
  EXPECT_EQ(said("analyse record.csv --svg a.svg --report r.txt"), "");
  EXPECT_EQ(said("analyse record.csv --svg a.svg --report r.txt"),
            "dipx: r.txt was overwritten\ndipx: a.svg was overwritten\n");
  EXPECT_EQ(said("synth -o dip.cfg"), "");
  EXPECT_EQ(said("synth -o dip.cfg"), "dipx: dip.dat was overwritten\ndipx: dip.cfg was overwritten\n");
  EXPECT_EQ(said("synth -o /dev/null --format csv"), "");
  EXPECT_EQ(dipx({"synth", "-o", "dip.cfg"}).err, "") << "a log is not a terminal";
}

TEST_F(WrittenFiles, AreWrittenThroughLinksWhoseTargetIsNotThereYet) {
  std::filesystem::create_directory("there");
  std::filesystem::create_symlink("there/figure.svg", "link.svg");
  std::filesystem::create_symlink("link.svg", "link_of_link.svg");
  EXPECT_EQ(dipx({"analyse", "record.csv", "--svg", "link_of_link.svg", "--no-clobber"}).status, 0);
  EXPECT_TRUE(std::filesystem::is_symlink("link.svg"));
  EXPECT_TRUE(std::filesystem::is_symlink("link_of_link.svg"));
  EXPECT_TRUE(bytes_of("there/figure.svg").starts_with("<svg"));
  EXPECT_EQ(dipx({"analyse", "record.csv", "--svg", "link.svg", "--no-clobber"}).status, 4);
}

TEST_F(WrittenFiles, AreNotWrittenWhereLinksLeadNowhere) {
  std::filesystem::create_symlink("no_folder/figure.svg", "link.svg");
  const auto nowhere = dipx({"analyse", "record.csv", "--svg", "link.svg"});
  EXPECT_EQ(nowhere.status, 4);
  EXPECT_EQ(nowhere.err, "dipx: link.svg: No such file or directory; make its folder first, or name another one\n");
  std::filesystem::create_symlink("b.svg", "a.svg");
  std::filesystem::create_symlink("a.svg", "b.svg");
  const auto circle = dipx({"analyse", "record.csv", "--svg", "a.svg"});
  EXPECT_EQ(circle.status, 4);
  EXPECT_EQ(circle.err, "dipx: a.svg: Too many levels of symbolic links\n");
  for (const char* link : {"link.svg", "a.svg", "b.svg"}) EXPECT_TRUE(std::filesystem::is_symlink(link)) << link;
}

TEST_F(WrittenFiles, AreNotTheSameByWayOfALink) {
  std::filesystem::create_symlink("one.svg", "link.svg");
  const auto result = dipx({"analyse", "record.csv", "--svg", "link.svg", "--report", "one.svg"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "dipx: --report and --svg name the same file, link.svg\n");
}

}  // namespace
