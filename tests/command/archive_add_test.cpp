// Tests how dipx archive add finds records, and what it stores of them.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/command/archive_fixture.h"

namespace {

namespace fs = std::filesystem;

using ArchiveAdd = tests::Archiving;

void write(const std::string& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary) << bytes;
}

TEST_F(ArchiveAdd, TakesPairsOnceAndPassesOverOtherFiles) {
  make_records(3);
  make_records(2, "rec/inner");  // the same content as two of the others
  tests::MadeRecord(230, 0.4, 1600).lower("B", 0.1, 0.25, 120).write_csv("rec/table.csv");
  write("rec/notes.md", "Dear all, this is not a record.\nYours, me\n");
  write("rec/r1.hdr", "remarks");
  write("rec/.hidden.csv", "t,Ua\n");
  const auto summary = add("events.db", {"rec"});
  EXPECT_EQ(number_in(summary, "records analysed"), 4);
  EXPECT_EQ(number_in(summary, "known already"), 2);
  EXPECT_EQ(number_in(summary, "not records"), 1);
  EXPECT_EQ(number_in(summary, "refused"), 0);
  EXPECT_EQ(number_in(summary, "events"), 4);
  EXPECT_EQ(count("events.db", "records"), 4);
  EXPECT_EQ(count("events.db", "events WHERE kind = 'dip'"), 4);
}

TEST_F(ArchiveAdd, StoresTheFiguresThatAnalysePrints) {
  tests::MadeRecord(230, 0.4, 6400).lower("A", 0.1, 0.25, 100).lower("A", 0.2, 0.25, 150).write_csv("record.csv");
  add("events.db", {"record.csv"});
  const auto document = nlohmann::json::parse(tests::dipx({"analyse", "--json", "record.csv"}).out);
  const auto& event = document["events"][0];
  const auto stored = rows("events.db",
                           "SELECT start_s, end_s, extreme_v, extreme_percent, reference_v, en50160_cell, segments, "
                           "phases FROM events");
  ASSERT_EQ(stored.size(), 1U);
  EXPECT_EQ(stored[0][0], archive::Value(event["start"]["time_s"].get<double>()));
  EXPECT_EQ(stored[0][1], archive::Value(event["end"]["time_s"].get<double>()));
  EXPECT_EQ(stored[0][2], archive::Value(event["extreme"]["voltage_v"].get<double>()));
  EXPECT_EQ(stored[0][3], archive::Value(event["extreme"]["percent"].get<double>()));
  EXPECT_EQ(stored[0][4], archive::Value(event["reference"]["voltage_v"].get<double>()));
  EXPECT_EQ(stored[0][5], archive::Value(event["en50160_cell"].get<std::string>()));
  EXPECT_EQ(stored[0][6], archive::whole(event["course"]["segments"].size()));
  EXPECT_EQ(stored[0][7], archive::Value(std::string("A")));
  const auto segments = rows("events.db", "SELECT voltage_a_v, start_s FROM segments ORDER BY number");
  ASSERT_EQ(segments.size(), event["course"]["segments"].size());
  for (std::size_t i = 0; i < segments.size(); i++) {
    const auto& segment = event["course"]["segments"][i];
    EXPECT_EQ(segments[i][0], archive::Value(segment["voltage"][0]["voltage_v"].get<double>()));
    EXPECT_EQ(segments[i][1], archive::Value(segment["start_s"].get<double>()));
  }
}

TEST_F(ArchiveAdd, AnalysesNothingTwice) {
  make_records(5);
  add("events.db", {"rec"});
  const auto before = content("events.db");
  const auto second = add("events.db", {"rec"});
  EXPECT_EQ(number_in(second, "records analysed"), 0);
  EXPECT_EQ(number_in(second, "known already"), 5);
  EXPECT_EQ(content("events.db"), before);
  // A file with another name or another time has the same content.
  fs::rename("rec/r1.cfg", "rec/other.cfg");
  fs::rename("rec/r1.dat", "rec/other.dat");
  fs::last_write_time("rec/r2.dat", fs::file_time_type::clock::now() + std::chrono::hours(1));
  const auto third = add("events.db", {"rec"});
  EXPECT_EQ(number_in(third, "records analysed"), 0);
  EXPECT_EQ(number_in(third, "known already"), 5);
  EXPECT_EQ(count("events.db", "events"), 5);
}

TEST_F(ArchiveAdd, RecognisesTablesWhoseCellsAreSeparatedByBlanks) {
  std::filesystem::create_directory("rec");
  tests::MadeRecord(230, 0.4, 1600).lower("A", 0.1, 0.25, 100).write_csv("rec/table.txt");
  std::string table = tests::bytes_of("rec/table.txt");
  std::replace(table.begin(), table.end(), ',', ' ');
  std::ofstream("rec/table.txt") << table;
  std::ofstream("rec/notes.txt") << "Bay 4 was switched\nat 10:15 in 2 steps\nby hand\n";
  const auto summary = add("events.db", {"rec"});
  EXPECT_EQ(number_in(summary, "records analysed"), 1) << summary;
  EXPECT_EQ(number_in(summary, "not records"), 1) << summary;
  EXPECT_EQ(number_in(summary, "events"), 1) << summary;
}

TEST_F(ArchiveAdd, AnalysesAFileAgainWhenItsContentHasChanged) {
  make_records(1);
  add("events.db", {"rec"});
  tests::MadeRecord(230, 0.4, 1600).lower("B", 0.1, 0.25, 60).write_comtrade("rec/r1");
  EXPECT_EQ(number_in(add("events.db", {"rec"}), "records analysed"), 1);
  EXPECT_EQ(count("events.db", "records"), 2);
  EXPECT_EQ(count("events.db", "stored_files"), 1);
}

TEST_F(ArchiveAdd, TakesARecordInAZipFileForTheSameRecord) {
  make_records(3);
  tests::MadeRecord(230, 0.4, 1600).lower("B", 0.1, 0.25, 120).write_csv("table.csv");
  ASSERT_EQ(std::system("python3 -c \"import zipfile\n"
                        "with zipfile.ZipFile('all.zip', 'w', zipfile.ZIP_DEFLATED) as z:\n"
                        "  for n in ['rec/r1.cfg', 'rec/r1.dat', 'rec/r2.cfg', 'rec/r2.dat', 'table.csv']: z.write(n)\n"
                        "\" && gzip -k table.csv"),
            0);
  const auto first = add("events.db", {"all.zip"});
  EXPECT_EQ(number_in(first, "records analysed"), 3);
  const auto second = add("events.db", {"rec", "table.csv", "table.csv.gz", "all.zip"});
  EXPECT_EQ(number_in(second, "records analysed"), 1);
  EXPECT_EQ(number_in(second, "known already"), 7);
  EXPECT_EQ(count("events.db", "records"), 4);
}

TEST_F(ArchiveAdd, KeepsResultsOfOtherParametersBesideTheOldOnes) {
  make_records(2);
  add("events.db", {"rec"});
  const auto summary = add("events.db", {"rec", "--dip-threshold", "80"});
  EXPECT_EQ(number_in(summary, "records analysed"), 2);
  EXPECT_EQ(count("events.db", "events"), 4);
  EXPECT_EQ(count("events.db", "parameter_sets"), 2);
  EXPECT_EQ(rows("events.db", "SELECT DISTINCT parameters FROM events").size(), 2U);
}

TEST_F(ArchiveAdd, TakesOptionsFromAFile) {
  make_records(2);
  write("rules.txt", "dip-threshold 80\n");
  add("file.db", {"rec", "--options", "rules.txt"});
  add("given.db", {"rec", "--dip-threshold", "80"});
  EXPECT_EQ(content("file.db"), content("given.db"));
  write("rules.txt", "csv\n");
  EXPECT_EQ(archive({"add", "file.db", "rec", "--options", "rules.txt"}).err,
            "dipx: rules.txt: line 1: there is no option 'csv'; dipx archive add --help lists them\n");
}

TEST_F(ArchiveAdd, TakesListsAndPatterns) {
  make_records(12);
  write("list.txt", "rec/r1.cfg\n\nrec/r2.dat\n");
  EXPECT_EQ(number_in(add("a.db", {"-@", "list.txt"}), "records analysed"), 2);
  const auto result = archive({"add", "b.db", "--list", "-"}, "list.txt");
  EXPECT_EQ(number_in(result.out, "records analysed"), 2);
  EXPECT_EQ(number_in(add("c.db", {"rec/r1?.cfg"}), "records analysed"), 3);
  EXPECT_EQ(content("a.db"), content("b.db"));
}

TEST_F(ArchiveAdd, RefusesWhatCannotBeReadAndGivesTheReason) {
  make_records(2);
  write("rec/broken.csv", "t,Ua,Ub,Uc\n0,1,2,x\n");
  write("rec/lonely.cfg", "Station,1,1999\n3,3A,0D\n");
  write("notes.md", "not a record\n");
  const auto summary = add("events.db", {"rec", "notes.md"});
  EXPECT_EQ(number_in(summary, "records analysed"), 2);
  EXPECT_EQ(number_in(summary, "refused"), 3);
  const auto refusals = rows("events.db", "SELECT file, reason, message FROM refusals ORDER BY file");
  ASSERT_EQ(refusals.size(), 3U);
  EXPECT_EQ(archive::text_of(refusals[0][0]), "notes.md");
  EXPECT_EQ(archive::text_of(refusals[1][0]), "rec/broken.csv");
  EXPECT_EQ(archive::text_of(refusals[1][1]), "unreadable");
  EXPECT_TRUE(archive::text_of(refusals[1][2]).starts_with("rec/broken.csv: ")) << archive::text_of(refusals[1][2]);
  EXPECT_TRUE(archive::text_of(refusals[2][2]).starts_with("rec/lonely.cfg: is only one of the two files"))
      << archive::text_of(refusals[2][2]);
  // Refused records are known, too, until they shall be tried again.
  EXPECT_EQ(number_in(add("events.db", {"rec", "notes.md"}), "known already"), 5);
  const auto again = add("events.db", {"rec", "notes.md", "--retry"});
  EXPECT_EQ(number_in(again, "known already"), 2);
  EXPECT_EQ(number_in(again, "refused"), 3);
  EXPECT_EQ(count("events.db", "refusals"), 3);
}

TEST_F(ArchiveAdd, DividesRecordsIntoShardsThatMergeIntoTheWhole) {
  make_records(20);
  add("whole.db", {"rec"});
  int all = 0;
  for (const char* shard : {"1/3", "2/3", "3/3"}) {
    const std::string part = std::string("part") + shard[0] + ".db";
    const auto summary = add(part, {"rec", "--shard", shard});
    const int read = number_in(summary, "records analysed");
    EXPECT_EQ(number_in(summary, "of other shards"), 20 - read);
    EXPECT_GT(read, 0);
    all += read;
    // A second run chooses the same records without reading them.
    EXPECT_EQ(number_in(add(part, {"rec", "--shard", shard}), "known already"), read);
  }
  EXPECT_EQ(all, 20);
  const auto merged = archive({"merge", "merged.db", "part1.db", "part2.db", "part3.db"});
  EXPECT_EQ(merged.status, 0) << merged.err;
  EXPECT_EQ(number_in(merged.out, "records copied"), 20);
  EXPECT_EQ(content("merged.db"), content("whole.db"));
  const auto again = archive({"merge", "merged.db", "part1.db"});
  EXPECT_EQ(number_in(again.out, "records copied"), 0);
  EXPECT_EQ(content("merged.db"), content("whole.db"));
}

TEST_F(ArchiveAdd, ExportsTheSameTextForTheSameRecords) {
  make_records(6);
  add("one.db", {"rec/r1.cfg", "rec/r2.cfg", "rec/r3.cfg"});
  add("one.db", {"rec"});
  add("other.db", {"rec"});
  for (const char* format : {"csv", "json-lines"}) {
    const auto one = archive({"export", "one.db", "--format", format});
    EXPECT_EQ(one.status, 0);
    EXPECT_EQ(one.out, archive({"export", "other.db", "--format", format}).out);
    EXPECT_EQ(std::count(one.out.begin(), one.out.end(), '\n'), format == std::string("csv") ? 7 : 6);
  }
  const auto json = archive({"export", "one.db", "--format", "json-lines", "--segments"}).out;
  const auto first = nlohmann::json::parse(json.substr(0, json.find('\n')));
  EXPECT_EQ(first["number"], 1);
  EXPECT_EQ(first["sha256"].get<std::string>().size(), 64U);
  EXPECT_EQ(archive({"export", "one.db", "-o", "out.csv"}).out, "");
  EXPECT_EQ(tests::bytes_of("out.csv"), archive({"export", "one.db"}).out);
}

TEST_F(ArchiveAdd, AnalysesAllPartsWhenAsked) {
  tests::MadeRecord(230, 2, 1600).lower("A", 0.3, 0.5, 100).lower("A", 1.4, 1.6, 150).write_comtrade("gap");
  std::ifstream whole("gap.dat");
  std::ostringstream gap;
  // Without the rows from 0.9 to 1.1 s, which is row 1441 to 1761, the record has two parts.
  for (std::string line; std::getline(whole, line);) {
    const int row = std::stoi(line);
    if (row < 1441 || row > 1761) gap << line << '\n';
  }
  whole.close();
  write("gap.dat", gap.str());
  add("one.db", {"gap.cfg"});
  EXPECT_EQ(count("one.db", "events"), 1);
  add("all.db", {"gap.cfg", "--part", "all"});
  EXPECT_EQ(
      rows("all.db", "SELECT part, number FROM events ORDER BY part"),
      (std::vector<archive::Row>{{archive::whole(1), archive::whole(1)}, {archive::whole(2), archive::whole(1)}}));
  const auto options = rows("all.db", "SELECT options FROM parameter_sets");
  ASSERT_EQ(options.size(), 1U);
  EXPECT_NE(archive::text_of(options[0][0]).find(" part=all "), std::string::npos);
}

TEST_F(ArchiveAdd, RefusesOptionsThatCannotWork) {
  make_records(1);
  const auto refused = [](const std::vector<std::string>& arguments, const std::string& complaint) {
    const auto result = archive(arguments);
    EXPECT_EQ(result.status, 1) << testing::PrintToString(arguments);
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(complaint), std::string::npos) << result.err;
    EXPECT_FALSE(std::filesystem::exists("new.db")) << testing::PrintToString(arguments);
  };
  for (const char* shard : {"1", "0/3", "4/3", "x/3", "1/x", "1/2000000", "/", "1/0"}) {
    refused({"add", "new.db", "rec", "--shard", shard},
            std::string("'") + shard + "' is not a shard; use a form such as 2/3, the second of three");
  }
  for (const char* jobs : {"0", "-1", "x", "2.5", "2000000000"}) {
    refused({"add", "new.db", "rec", std::string("--jobs=") + jobs},
            std::string("'") + jobs + "' is not a whole number from 1 to 1000000000");
  }
  refused({"add", "new.db"}, "dipx: there is no PATH to add; name files or folders, or a list of them with -@");
}

TEST_F(ArchiveAdd, MergesNothingIntoItself) {
  make_records(1);
  add("a.db", {"rec"});
  std::filesystem::create_symlink("a.db", "link.db");
  for (const char* name : {"a.db", "./a.db", "link.db"}) {
    const auto result = archive({"merge", "a.db", name});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err,
              std::string("dipx: ") + name + " is the database into which others are merged; name other databases\n");
  }
  const auto missing = archive({"merge", "a.db", "missing.db"});
  EXPECT_EQ(missing.status, 4);
  EXPECT_EQ(missing.err, "dipx: missing.db: does not exist; check the path, or fill a store with dipx archive add\n");
  EXPECT_EQ(count("a.db", "records"), 1);
}

}  // namespace
