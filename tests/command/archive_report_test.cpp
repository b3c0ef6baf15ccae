// Tests dipx archive report as a command.
#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "tests/command/archive_fixture.h"

namespace {

using ArchiveReport = tests::Archiving;

TEST_F(ArchiveReport, CountsTheDipsOfRecords) {
  make_records(30);
  add("events.db", {"rec"});
  // All records begin at the same moment, so that only --window 0 counts each dip.
  const auto result = archive({"report", "events.db", "--window", "0", "--json"});
  EXPECT_EQ(result.status, 0) << result.err;
  const auto report = nlohmann::json::parse(result.out);
  EXPECT_EQ(report["all"]["records"], 30);
  EXPECT_EQ(report["all"]["dips"], 30);
  // The residual voltage of record i is 20 + 0.4 i volts of 230, so that 22.8 V and less is below 10 %.
  EXPECT_EQ(report["all"]["dips_below_percent"]["10"], 7);
  EXPECT_EQ(report["all"]["dips_below_percent"]["50"], 30);
  const auto one = nlohmann::json::parse(archive({"report", "events.db", "--json"}).out);
  EXPECT_EQ(one["all"]["dips"], 1);
  EXPECT_EQ(one["worst_dips"][0]["events_merged"], 30);
}

TEST_F(ArchiveReport, LinksToThePagesThatAreNextToTheRecords) {
  make_records(2, "rec of 1");
  add("events.db", {"rec of 1"});
  std::ofstream("rec of 1/r2.html") << "a page";
  std::filesystem::create_directory("out");
  const auto result = archive({"report", "events.db", "--window", "0", "--html", "out/report.html"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "");
  const std::string page = tests::bytes_of("out/report.html");
  EXPECT_NE(page.find("href=\"../rec%20of%201/r2.html\""), std::string::npos);
  EXPECT_EQ(page.find("r1.html"), std::string::npos);
  EXPECT_EQ(archive({"report", "events.db", "--html", "out/report.html", "--no-clobber"}).status, 4);
  EXPECT_EQ(archive({"report", "events.db", "--json", "--csv"}).status, 1);
  EXPECT_TRUE(archive({"report", "events.db", "--csv"}).out.starts_with("site,records,"));
}

TEST_F(ArchiveReport, RefusesDatesThatAreNone) {
  make_records(1);
  add("events.db", {"rec"});
  for (const char* date : {"2024-13-01", "2023-02-29", "yesterday", "2024-1-1"}) {
    const auto result = archive({"report", "events.db", "--from", date});
    EXPECT_EQ(result.status, 1) << date;
    EXPECT_NE(result.err.find("is not a date; use a form such as 2024-12-31"), std::string::npos) << result.err;
  }
  EXPECT_EQ(archive({"report", "events.db", "--from", "2024-02-01", "--to", "2024-01-01"}).status, 1);
  EXPECT_EQ(archive({"report", "missing.db"}).status, 4);
}

}  // namespace
