// Tests which files a search finds.
#include "archive/found_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "readers/record.h"
#include "tests/core/working_folder.h"

namespace {

namespace fs = std::filesystem;

class FoundFiles : public testing::Test {
 protected:
  static void make(const std::string& file) {
    if (fs::path(file).has_parent_path()) fs::create_directories(fs::path(file).parent_path());
    std::ofstream(file) << file;
  }
  /// The paths that are found, a pair as "a.cfg+a.dat".
  static std::vector<std::string> found(const std::vector<std::string>& paths) {
    std::vector<std::string> names;
    for (const auto& file : archive::find_files(paths).files) {
      names.push_back(file.data.empty() ? file.path : file.path + "+" + file.data);
    }
    return names;
  }
  using Names = std::vector<std::string>;

  tests::WorkingFolder folder;
};

TEST_F(FoundFiles, ComeFromFoldersInOrderOfTheirNames) {
  for (const char* name : {"in/b.csv", "in/a.pqd", "in/deep/er/c.csv", "in/.hidden", "in/x.hdr"}) make(name);
  EXPECT_EQ(found({"in"}), (Names{"in/a.pqd", "in/b.csv", "in/deep/er/c.csv"}));
}

TEST_F(FoundFiles, ArePairsInAnyLetterCase) {
  for (const char* name : {"in/one.CFG", "in/One.DAT", "in/two.cfg", "in/two.dat", "in/TWO.dat"}) make(name);
  EXPECT_EQ(found({"in"}), (Names{"in/one.CFG+in/One.DAT", "in/two.cfg+in/two.dat"}));
  EXPECT_EQ(found({"in/two.dat"}), (Names{"in/two.cfg+in/two.dat"}));
}

TEST_F(FoundFiles, ComeOnceHoweverOftenTheyAreNamed) {
  make("in/a.csv");
  EXPECT_EQ(found({"in/a.csv", "in", "./in/../in/a.csv", "in/*.csv"}), (Names{"in/a.csv"}));
}

TEST_F(FoundFiles, MatchPatternsOnlyWhereNoFileHasThatName) {
  for (const char* name : {"a[1].csv", "a1.csv"}) make(name);
  EXPECT_EQ(found({"a[1].csv"}), (Names{"a[1].csv"}));
  EXPECT_EQ(found({"a?.csv"}), (Names{"a1.csv"}));
  EXPECT_THROW(found({"b*.csv"}), readers::ReadError);
}

TEST_F(FoundFiles, HaveAStampThatChangesWithEitherFileOfAPair) {
  make("a.cfg");
  make("a.dat");
  const auto file = archive::find_files({"a.cfg"}).files.at(0);
  const auto stamp = archive::stamp_of(file);
  EXPECT_EQ(archive::stamp_of(file), stamp);
  std::ofstream("a.dat") << "longer than before";
  EXPECT_NE(archive::stamp_of(file), stamp);
  fs::remove("a.dat");
  EXPECT_EQ(archive::stamp_of(file), "");
}

}  // namespace
