// Tests when a file in a watched folder counts as complete, with times that the tests choose.
#include "archive/inbox.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/core/working_folder.h"

namespace {

namespace fs = std::filesystem;

class InboxTest : public testing::Test {
 protected:
  InboxTest() { fs::create_directory("in"); }

  static void append(const std::string& file, const std::string& bytes = "x") {
    std::ofstream(file, std::ios::app) << bytes;
  }
  static archive::Inbox::Time at(double seconds) {
    using Clock = std::chrono::steady_clock;
    return Clock::time_point(std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds)));
  }
  /// Searches, and returns the files that are complete at this time, a pair as "a.cfg+a.dat".
  std::vector<std::string> complete(double seconds, std::size_t most = 100) {
    EXPECT_TRUE(inbox_.search(at(seconds)).empty());
    std::vector<std::string> names;
    for (const auto& file : inbox_.take_complete(at(seconds), most)) {
      names.push_back(file.data.empty() ? file.path : file.path + "+" + file.data);
    }
    return names;
  }
  using Names = std::vector<std::string>;

  tests::WorkingFolder folder;
  archive::Inbox inbox_{"in", 5};
};

TEST_F(InboxTest, GivesAFileOnceAfterItHasStoppedGrowing) {
  append("in/a.csv");
  EXPECT_EQ(complete(0), Names());
  append("in/a.csv");
  EXPECT_EQ(complete(4), Names());  // it has grown since the last look
  EXPECT_EQ(inbox_.next_look(at(4)), at(9));
  EXPECT_EQ(complete(8.9), Names());
  EXPECT_EQ(inbox_.waiting(), 1U);
  EXPECT_EQ(inbox_.first_waiting(1), Names{"in/a.csv"});
  EXPECT_EQ(inbox_.first_waiting(0), Names());
  EXPECT_EQ(complete(9), Names{"in/a.csv"});
  EXPECT_EQ(inbox_.waiting(), 0U);
  EXPECT_EQ(inbox_.next_look(at(9)), std::nullopt);
  EXPECT_EQ(complete(100), Names());
}

TEST_F(InboxTest, GivesAFileAgainWhenItHasChanged) {
  append("in/a.csv");
  complete(0);
  EXPECT_EQ(complete(5), Names{"in/a.csv"});
  append("in/a.csv");
  EXPECT_EQ(complete(10), Names());
  EXPECT_EQ(complete(15), Names{"in/a.csv"});
  fs::remove("in/a.csv");
  EXPECT_EQ(complete(20), Names());
  append("in/a.csv", "xx");  // another file of the same name
  complete(21);
  EXPECT_EQ(complete(26), Names{"in/a.csv"});
}

TEST_F(InboxTest, WaitsForBothFilesOfAPair) {
  append("in/a.cfg");
  complete(0);
  EXPECT_EQ(complete(1000), Names());
  EXPECT_EQ(inbox_.next_look(at(1000)), std::nullopt);
  append("in/a.dat", "");  // a transfer has begun
  EXPECT_EQ(complete(1001), Names());
  EXPECT_EQ(complete(1010), Names());
  append("in/a.dat");
  EXPECT_EQ(complete(1011), Names());
  EXPECT_EQ(complete(1016), Names{"in/a.cfg+in/a.dat"});
  // The other order.
  append("in/b.dat");
  EXPECT_EQ(complete(1017), Names());
  append("in/b.cfg");
  complete(1030);
  EXPECT_EQ(complete(1035), Names{"in/b.cfg+in/b.dat"});
}

TEST_F(InboxTest, LeavesUnfinishedTransfersAlone) {
  for (const char* name : {"a.csv.part", "b.csv.filepart", ".c.csv.Xy12", "d.CSV.TMP"}) {
    append(std::string("in/") + name);
  }
  complete(0);
  EXPECT_EQ(complete(10), Names());
  fs::rename("in/a.csv.part", "in/a.csv");
  complete(11);
  EXPECT_EQ(complete(16), Names{"in/a.csv"});
}

TEST_F(InboxTest, GivesManyFilesInPortions) {
  for (const char* name : {"in/a.csv", "in/b.csv", "in/c.csv"}) append(name);
  complete(0);
  EXPECT_EQ(complete(5, 2), (Names{"in/a.csv", "in/b.csv"}));
  EXPECT_EQ(inbox_.next_look(at(5)), at(5));
  EXPECT_EQ(complete(5, 2), Names{"in/c.csv"});
}

TEST_F(InboxTest, SurvivesAFolderThatComesAndGoes) {
  append("in/a.csv");
  complete(0);
  EXPECT_EQ(complete(5), Names{"in/a.csv"});
  fs::rename("in", "away");
  EXPECT_EQ(inbox_.search(at(6)).size(), 1U);
  fs::rename("away", "in");
  append("in/b.csv");
  complete(7);
  // The file that was given before is not given again.
  EXPECT_EQ(complete(12), Names{"in/b.csv"});
}

}  // namespace
