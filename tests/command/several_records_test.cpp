// Tests dipx analyse with several records and folders.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/command/dipx_command.h"
#include "tests/command/made_record.h"
#include "tests/core/working_folder.h"

namespace {

class SeveralRecords : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::create_directories("rec/inner");
    for (const char* stem : {"rec/a", "rec/b", "rec/inner/c"}) {
      tests::MadeRecord(230, 0.4, 1600).lower("A", 0.1, 0.25, 100).write_comtrade(stem);
    }
  }
  static auto lines(const std::string& text) { return std::count(text.begin(), text.end(), '\n'); }

  tests::WorkingFolder folder;
};

TEST_F(SeveralRecords, HaveOneTableWithOneHeading) {
  const auto all = tests::dipx({"analyse", "--csv", "rec"});
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(all.err, "");
  std::string joined;
  for (const char* file : {"rec/a.cfg", "rec/b.cfg", "rec/inner/c.cfg"}) {
    const std::string one = tests::dipx({"analyse", "--csv", file}).out;
    joined += joined.empty() ? one : one.substr(one.find('\n') + 1);
  }
  EXPECT_EQ(all.out, joined);
  EXPECT_EQ(tests::dipx({"analyse", "--csv", "rec/a.cfg", "rec/b.dat", "rec/inner"}).out, joined);
}

TEST_F(SeveralRecords, AreFoundByASinglePattern) {
  const auto all = tests::dipx({"analyse", "--csv", "rec/*.cfg"});
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(all.out, tests::dipx({"analyse", "--csv", "rec/a.cfg", "rec/b.cfg"}).out);
}

TEST_F(SeveralRecords, AreNotLookedForIfAFileHasThePatternAsItsName) {
  std::filesystem::copy("rec/a.cfg", "rec/?.cfg");
  std::filesystem::copy("rec/a.dat", "rec/?.dat");
  EXPECT_EQ(lines(tests::dipx({"analyse", "-q", "rec/?.cfg"}).out), 1);
}

TEST_F(SeveralRecords, AreDocumentsInLines) {
  const auto all = tests::dipx({"analyse", "--json-lines", "rec"});
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(lines(all.out), 3);
  const auto one = tests::dipx({"analyse", "--json-lines", "rec/a.cfg"});
  EXPECT_EQ(lines(one.out), 1);
  EXPECT_TRUE(all.out.starts_with(one.out));
  EXPECT_EQ(nlohmann::json::parse(one.out), nlohmann::json::parse(tests::dipx({"analyse", "--json", "rec/a.cfg"}).out));
  EXPECT_EQ(tests::dipx({"analyse", "--json-lines", "--csv", "rec"}).status, 1);
}

TEST_F(SeveralRecords, AreShownThoughOneOfThemCannotBeRead) {
  std::ofstream("rec/aa.csv") << "t,Ua\n0,x\n";
  const auto all = tests::dipx({"analyse", "-q", "rec"});
  EXPECT_EQ(all.status, 2);
  EXPECT_EQ(lines(all.out), 3);
  EXPECT_TRUE(all.err.starts_with("dipx: rec/aa.csv: ")) << all.err;
  EXPECT_TRUE(all.err.ends_with("dipx: 1 of 4 records could not be analysed; the others are shown\n")) << all.err;
}

TEST_F(SeveralRecords, MayBeInArchives) {
  ASSERT_EQ(
      std::system("python3 -c \"import zipfile\n"
                  "with zipfile.ZipFile('all.zip', 'w') as z:\n"
                  "  for n in ['rec/a.cfg', 'rec/a.dat', 'rec/b.cfg', 'rec/b.dat', 'rec/a.txt']: z.write(n) if n != "
                  "'rec/a.txt' else z.writestr(n, 'a note')\n\""),
      0);
  const auto all = tests::dipx({"analyse", "-q", "all.zip", "rec/inner"});
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(all.err, "");
  const std::string archived = all.out.substr(0, all.out.find("rec/inner"));
  EXPECT_EQ(lines(archived), 2) << all.out;
  EXPECT_TRUE(archived.starts_with("all.zip:rec/a.cfg: event 1, dip ")) << archived;
  EXPECT_NE(archived.find("\nall.zip:rec/b.cfg: event 1, dip "), std::string::npos) << archived;
}

TEST_F(SeveralRecords, ThatCanBeReadButNotAnalysedGiveAStatusOfTheirOwn) {
  std::ofstream("rec/aa.csv") << "t,Ua\n0,1\n0.001,-1\n0.002,1\n";
  const auto refused = tests::dipx({"analyse", "-q", "rec"});
  EXPECT_EQ(refused.status, 3);
  EXPECT_EQ(lines(refused.out), 3);
  EXPECT_TRUE(refused.err.starts_with("dipx: rec/aa.csv: ")) << refused.err;
  std::ofstream("rec/ab.csv") << "t,Ua\n0,x\n";
  const auto unreadable = tests::dipx({"analyse", "-q", "rec"});
  EXPECT_EQ(unreadable.status, 2) << "one of the two cannot be read";
  EXPECT_EQ(lines(unreadable.out), 3);
  EXPECT_TRUE(unreadable.err.ends_with("dipx: 2 of 5 records could not be analysed; the others are shown\n"))
      << unreadable.err;
}

TEST_F(SeveralRecords, MayHaveSetsThatCannotBeAnalysed) {
  std::ofstream out("r.csv");
  out << "t_s,Ua [V],Ub [V],Uc [V],Va [V],Vb [V],Vc [V]\n";
  for (int i = 0; i < 640; i++) {
    out << i / 1600.0;
    for (int phase = 0; phase < 6; phase++) {
      out << ',';
      const double angle = 2 * 3.14159265358979 * (i / 32.0 - phase % 3 / 3.0);
      // The voltages of the second set end after a cycle.
      if (phase < 3 || i < 32) out << 325 * std::sin(angle);
    }
    out << '\n';
  }
  out.close();
  const auto all = tests::dipx({"analyse", "-q", "r.csv", "--set", "all"});
  EXPECT_EQ(all.status, 0) << all.err;
  EXPECT_EQ(lines(all.out), 1) << all.out;
  EXPECT_TRUE(all.err.starts_with("dipx: set 2: r.csv: ")) << all.err;
  EXPECT_EQ(lines(all.err), 1) << all.err;
  const auto second = tests::dipx({"analyse", "-q", "r.csv", "--set", "2"});
  EXPECT_EQ(second.status, 3);
  EXPECT_EQ("dipx: set 2: " + second.err.substr(6), all.err);
}

TEST_F(SeveralRecords, AreLookedForEventsTogether) {
  EXPECT_EQ(tests::dipx({"analyse", "-q", "rec", "--fail-on", "dip"}).status, 10);
  EXPECT_EQ(tests::dipx({"analyse", "-q", "rec", "--fail-on", "swell"}).status, 0);
}

TEST_F(SeveralRecords, HaveNoFigure) {
  const auto result = tests::dipx({"analyse", "rec", "--svg", "figure.svg"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "dipx: --svg, --pdf, --png, --html, --report and --certificate show one record; name a single file\n");
  EXPECT_FALSE(std::filesystem::exists("figure.svg"));
}

}  // namespace
