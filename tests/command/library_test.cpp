// Tests the embedded library's results, report and lines in the command.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "dipx_dll.h"
#include "readers/open_record.h"
#include "tests/command/analyse_fixture.h"
#include "tests/core/printed_lines.h"

namespace {

using nlohmann::json;
using tests::bytes_of;
using tests::dipx;
using Record = tests::MadeRecord;
using Words = std::vector<std::string>;

constexpr const char* example = DIPX_EXAMPLES "/rte_00.cfg";

class Library : public tests::Analysing {};

// --- results ---------------------------------------------------------------------------------------------------------

TEST_F(Library, ShowsItsOwnResultsInPlaceOfTheEvents) {
  const Record record = Record(230, 1).lower("B", 0.4, 0.5, 115);
  EXPECT_FALSE(analysed(record).contains("library"));
  const auto found = analysed({"--library"});
  EXPECT_FALSE(found.contains("events"));
  const auto& library = found["library"];
  EXPECT_TRUE(library["refusal"].is_null());
  EXPECT_NEAR(library["nominal_v"], 230, 0.01);
  EXPECT_NEAR(library["threshold_v"], 207, 0.01);
  ASSERT_EQ(library["dips"].size(), 1U);
  const auto& dip = library["dips"][0];
  EXPECT_EQ(dip["outcome"], "analysed");
  EXPECT_NEAR(dip["start"]["time_s"], 0.4, 0.01);
  EXPECT_NEAR(dip["end"]["time_s"], 0.5, 0.02);
  ASSERT_EQ(dip["segments"].size(), 1U);
  EXPECT_NEAR(dip["segments"][0]["residual_v"][1], 115, 0.2);
  EXPECT_EQ(dip["segments"][0]["category"]["code"], 5);
  EXPECT_EQ(dip["segments"][0]["phases_below_threshold"], "B");
  const auto shown = text(record, {"--library"});
  EXPECT_NE(shown.find("\nresults of the embedded library\n"), std::string::npos) << shown;
  EXPECT_NE(shown.find("\n1 dip\n"), std::string::npos) << shown;
  EXPECT_EQ(shown.find("\n1 event\n"), std::string::npos) << shown;
}

TEST_F(Library, AcceptsARecordOf50To400VoltUnscaled) {
  for (const double volts : {51.0, 57.7, 230.0, 399.0}) {
    EXPECT_EQ(analysed(Record(volts, 0.4), {"--library"})["library"]["factor"], 1.0) << volts;
  }
}

TEST_F(Library, ReceivesOtherLevelsScaledAndItsResultsAreScaledBack) {
  for (const double volts : {0.001, 49.0, 401.0, 400000.0}) {
    const auto found = analysed(Record(volts, 1).lower("A", 0.4, 0.5, 0.3 * volts), {"--library"})["library"];
    EXPECT_NEAR(found["factor"].get<double>() * volts, 57.735, 0.001) << volts;
    EXPECT_NEAR(found["nominal_v"].get<double>() / volts, 1, 1e-4) << volts;
    EXPECT_NEAR(found["threshold_v"].get<double>() / volts, 0.9, 1e-4) << volts;
    ASSERT_EQ(found["dips"].size(), 1U) << volts;
    EXPECT_NEAR(found["dips"][0]["segments"][0]["residual_v"][0].get<double>() / volts, 0.3, 1e-3) << volts;
  }
}

TEST_F(Library, ReportsTheRecordsThatItRefuses) {
  Record(230, 1, 400).lower("A", 0.4, 0.5, 115).write_csv("eight.csv");
  const std::string rate = "it takes 32 to 128 samples per cycle, and the record has 8";
  EXPECT_EQ(analysed({"--library"}, "eight.csv")["library"], (json{{"refusal", rate}}));
  const auto shown = dipx({"analyse", "eight.csv", "--library"});
  EXPECT_EQ(shown.status, 0);
  EXPECT_NE(shown.out.find("  The embedded library does not take this record: it takes "), std::string::npos)
      << shown.out;
  Record(230, 1).lower("A", 0.4, 0.5, 115).write_csv("record.csv");
  EXPECT_EQ(analysed({"--library", "--channels", "1"})["library"],
            (json{{"refusal", "it takes three voltages, and fewer were chosen"}}));
}

TEST_F(Library, PrintsALineForEachOfItsDips) {
  Record(230, 2).lower("A", 0.5, 0.6, 115).lower("B", 1.2, 1.3, 50).write_csv("record.csv");
  const auto lines = dipx({"analyse", "record.csv", "--library", "-q"});
  EXPECT_EQ(lines.status, 0);
  EXPECT_EQ(std::count(lines.out.begin(), lines.out.end(), '\n'), 2) << lines.out;
  EXPECT_TRUE(lines.out.starts_with("record.csv: library, dip 1   0.5")) << lines.out;
  EXPECT_NE(lines.out.find("\nrecord.csv: library, dip 2   1.2"), std::string::npos) << lines.out;
}

TEST_F(Library, HasNoTable) {
  Record(230, 1).write_csv("record.csv");
  expect_refused({"--library", "--csv"}, 1,
                 "dipx: --csv has no columns for the library's results; use --json or -q, or leave out --library");
}

TEST_F(Library, FailsOnItsOwnDips) {
  // The library uses the first two cycles as the nominal voltage. 193 V are 93 % of their 208 V, which is not a dip,
  // but 84 % of the declared 230 V.
  Record(230, 1).lower("ABC", 0, 0.1, 208).lower("A", 0.6, 0.7, 193).write_csv("shallow.csv");
  const Words rules = {"--nominal", "230", "--fail-on", "dip", "-q"};
  const auto status = [&](const std::string& file, bool library) {
    Words words = {"analyse", file};
    words.insert(words.end(), rules.begin(), rules.end());
    if (library) words.emplace_back("--library");
    return dipx(words).status;
  };
  EXPECT_EQ(status("shallow.csv", false), 10);
  EXPECT_EQ(status("shallow.csv", true), 0);
  Record(230, 1).lower("A", 0.4, 0.5, 115).write_csv("record.csv");
  EXPECT_EQ(status("record.csv", true), 10);
  Record(230, 1).lower("A", 0.4, 1, 115).write_csv("unfinished.csv");
  EXPECT_EQ(status("unfinished.csv", true), 10);
  for (const std::string kind : {"swell", "event"}) {
    expect_refused({"--library", "--fail-on", kind}, 1,
                   "dipx: --fail-on " + kind +
                       " cannot be used with --library, which finds only dips; use --fail-on dip, or leave out "
                       "--library");
  }
}

TEST_F(Library, MakesNoReportOfARecordThatItDoesNotTake) {
  Record(230, 1, 400).write_csv("record.csv");
  expect_refused({"--report", "report.txt"}, 3,
                 "dipx: record.csv: the library cannot make its report: it takes 32 to 128 samples per cycle, and the "
                 "record has 8; leave out --report");
  EXPECT_FALSE(std::filesystem::exists("report.txt"));
}

// --- its report ------------------------------------------------------------------------------------------------------

/// Returns the report without its elapsed milliseconds, which are the first figure that ends in "ms".
std::string without_time(std::string report) {
  const auto end = report.find("ms\r\n");
  EXPECT_NE(end, std::string::npos) << report;
  const auto begin = report.find_last_not_of("0123456789", end - 1) + 1;
  return report.erase(begin, end - begin);
}

TEST_F(Library, WritesItsReportByteForByte) {
  Record(230, 2).lower("A", 0.5, 0.6, 100).lower("BC", 1.2, 1.4, 150).write_comtrade("record");
  EXPECT_EQ(dipx({"analyse", "record.cfg", "--report", "report.txt"}).status, 0);

  const auto record = readers::open_record("record.cfg");
  const auto host = std::make_unique<dipx_data_struct>();
  std::size_t channel = 0;
  for (float* samples : {host->smp_va, host->smp_vb, host->smp_vc}) {
    const auto& volts = record.channels[channel++].samples;
    std::transform(volts.begin(), volts.end(), samples, [](double value) { return static_cast<float>(value); });
  }
  host->smp_rate = 128;
  host->smp_len = static_cast<int>(record.length());
  tests::printed_by([&] { dipx_fun(host.get()); });
  EXPECT_EQ(host->evt_num, 2);
  EXPECT_EQ(without_time(bytes_of("report.txt")), without_time(bytes_of("dipx_result.txt")));
  EXPECT_NE(bytes_of("report.txt"), "");
}

TEST_F(Library, SaysWhenTheReportCannotBeWritten) {
  const auto result = dipx({"analyse", example, "--report", "no-such-folder/report.txt"});
  EXPECT_EQ(result.status, 4);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err,
            "dipx: no-such-folder/report.txt: No such file or directory; make its folder first, or name another one\n");
  std::filesystem::create_directory("report.txt");
  EXPECT_EQ(dipx({"analyse", example, "--report", "report.txt"}).status, 4);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << "no draft remains";
}

TEST_F(Library, KeepsAnOldReportWhenTheRecordIsRefused) {
  std::ofstream("report.txt") << "old";
  EXPECT_EQ(dipx({"analyse", "missing.cfg", "--report", "report.txt"}).status, 2);
  EXPECT_EQ(bytes_of("report.txt"), "old");
}

TEST_F(Library, WritesAReportToADeviceInPlace) {
  EXPECT_EQ(dipx({"analyse", example, "--report", "/dev/full"}).status, 4);
  EXPECT_EQ(dipx({"analyse", example, "--report", "/dev/null"}).status, 0);
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
}

// --- its lines -------------------------------------------------------------------------------------------------------

TEST_F(Library, ShowsItsLinesOnStandardErrorOnRequest) {
  const auto traced = dipx({"analyse", example, "--json", "--library", "--trace"});
  EXPECT_NE(traced.err.find("[GUARD] smp=128, n=21000, need(n>=2*smp)=256\n"), std::string::npos);
  EXPECT_NE(traced.err.find("pos = "), std::string::npos);
  EXPECT_EQ(traced.out, dipx({"analyse", example, "--json", "--library"}).out);
  EXPECT_EQ(dipx({"analyse", example, "--json", "--library"}).err, "");
}

}  // namespace
