// Tests how dipx analyse ends: exit statuses, messages on standard error, and the files that remain.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "sagx/kernels/kernels.h"
#include "tests/command/analyse_fixture.h"

namespace {

using tests::dipx;
using Record = tests::MadeRecord;
using Words = std::vector<std::string>;

constexpr const char* example = DIPX_EXAMPLES "/rte_00.cfg";

class Status : public tests::Analysing {};

// --- events as a status ----------------------------------------------------------------------------------------------

TEST_F(Status, IsTenForTheKindOfEventThatItIsToFailOn) {
  Record(230, 1).lower("A", 0.4, 0.5, 115).write_csv("dip.csv");
  Record(230, 1).lower("A", 0.4, 0.5, 270).write_csv("swell.csv");
  Record(230, 4).lower("ABC", 2, 4, 0.96 * 230).write_csv("change.csv");
  Record(230, 1).write_csv("nothing.csv");
  struct Expected {
    const char* file;
    const char* kind;
    int status;
  };
  for (const auto& [file, kind, status] : {Expected{"dip.csv", "dip", 10},
                                           {"dip.csv", "swell", 0},
                                           {"dip.csv", "event", 10},
                                           {"swell.csv", "dip", 0},
                                           {"swell.csv", "swell", 10},
                                           {"swell.csv", "event", 10},
                                           {"change.csv", "dip", 0},
                                           {"change.csv", "swell", 0},
                                           {"change.csv", "event", 10},
                                           {"nothing.csv", "dip", 0},
                                           {"nothing.csv", "event", 0}}) {
    const auto result = dipx({"analyse", file, "-q", "--fail-on", kind});
    EXPECT_EQ(result.status, status) << file << " " << kind;
    EXPECT_EQ(result.out, dipx({"analyse", file, "-q"}).out) << "what is printed stays the same";
    EXPECT_EQ(result.err, "");
  }
  EXPECT_EQ(dipx({"analyse", "dip.csv", "-q"}).status, 0) << "events are not a failure unless requested";
}

TEST_F(Status, IsTenWhereAnyOfAllPartsHasTheEvent) {
  Record(230, 1).lower("A", 0.4, 0.5, 115).write_csv("dip.csv");
  EXPECT_EQ(dipx({"analyse", "dip.csv", "-q", "--set", "all", "--fail-on", "dip"}).status, 10);
  EXPECT_EQ(dipx({"analyse", "dip.csv", "-q", "--part", "all", "--fail-on", "dip"}).status, 10);
  EXPECT_EQ(dipx({"analyse", "dip.csv", "-q", "--set", "all", "--fail-on", "swell"}).status, 0);
}

// --- records that cannot be analysed ---------------------------------------------------------------------------------

struct RefusedCase {
  const char* name;
  double seconds;
  double rate;
  const char* reason;
};

void PrintTo(const RefusedCase& refused, std::ostream* out) {
  *out << refused.name;
}

class Refused : public tests::Analysing, public testing::WithParamInterface<RefusedCase> {};

TEST_P(Refused, EndsWithStatusThreeAndOneLine) {
  const auto& refused = GetParam();
  Record(230, refused.seconds, refused.rate).write_csv("record.csv");
  expect_refused({"--json"}, 3, std::string("dipx: record.csv: ") + refused.reason);
}

INSTANTIATE_TEST_SUITE_P(
    Records, Refused,
    testing::Values(RefusedCase{"TooSlow", 1, 350,
                                "its 350 Hz are 7 samples per cycle of 50 Hz, too few to show a cycle's shape; use a "
                                "record with at least 8"},
                    RefusedCase{"TooShort", 0.03, 6400,
                                "it holds less than two cycles; use a longer record, or choose other channels"}),
    [](const auto& refused) { return refused.param.name; });

TEST_F(Status, IsTwoWhenTheInputCannotBeRead) {
  const auto missing = dipx({"analyse", "missing.cfg"});
  EXPECT_EQ(missing.status, 2);
  EXPECT_EQ(missing.out, "");
  EXPECT_TRUE(missing.err.starts_with("dipx: missing.cfg: ")) << missing.err;
  EXPECT_EQ(std::count(missing.err.begin(), missing.err.end(), '\n'), 1);
  std::ofstream("currents.csv") << "t_s,Ia,Ib,Ic\n0,1,2,3\n0.01,1,2,3\n0.02,1,2,3\n0.03,1,2,3\n";
  EXPECT_EQ(dipx({"analyse", "currents.csv"}).status, 2);
}

TEST_F(Status, IsOneOnWrongUse) {
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                    {"analyse"},
                                                    {"analyse", example, "--nonsense"},
                                                    {"nonsense"},
                                                    {"analyse", example, "--rate", "0"},
                                                    {"analyse", example, "--frequency", "x"}}) {
    const auto result = dipx(arguments);
    EXPECT_EQ(result.status, 1) << testing::PrintToString(arguments);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err, "");
  }
}

TEST_F(Status, ShowsHelpAndVersion) {
  const auto help = dipx({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("analyse"), std::string::npos);
  const auto more = dipx({"analyse", "--help"});
  for (const char* option : {"--channels", "--json", "--report", "--trace", "--rate", "--frequency", "Exit status"}) {
    EXPECT_NE(more.out.find(option), std::string::npos) << option;
  }
  const auto set = std::string(sagx::kernels().instruction_set);
  EXPECT_EQ(dipx({"--version"}).out, "dipx " DIPX_VERSION " (instruction set: " + set + ")\n");
}

TEST_F(Status, WritesNoFileUnlessRequested) {
  EXPECT_EQ(dipx({"analyse", example}).status, 0);
  EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
  EXPECT_EQ(dipx({"analyse", example, "--report", "report.txt"}).status, 0);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1);
}

TEST_F(Status, SaysWhenItsOutputCannotBeWritten) {
  const auto result = dipx({"analyse", example}, "/dev/null", "/dev/full");
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.err,
            "dipx: standard output: No space left on device; free some space, or name a file on another disk\n");
}

TEST_F(Status, IsOneForAnEventThatIsNotThere) {
  Record(230, 1).lower("A", 0.4, 0.5, 115).write_csv("record.csv");
  expect_refused({"--svg", "figure.svg", "--event", "2"}, 1, "dipx: there is no event 2 to draw; the record holds 1");
  EXPECT_FALSE(std::filesystem::exists("figure.svg"));
  EXPECT_EQ(dipx({"analyse", "record.csv", "--svg", "figure.svg", "--event", "1"}).status, 0);
  EXPECT_TRUE(std::filesystem::exists("figure.svg"));
}

}  // namespace
