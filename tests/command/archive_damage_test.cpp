// Tests that a damaged database costs a clear message at most.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>

#include "archive/sqlite.h"
#include "tests/command/archive_fixture.h"
#include "tests/command/nobody.h"

namespace {

namespace fs = std::filesystem;

/// Limits the processes that are started during its lifetime, so that a loop without an end or memory without bounds is
/// a failure of the test.
class Limit {
 public:
  Limit(__rlimit_resource resource, rlim_t most) : resource_(resource) {
    getrlimit(resource_, &before_);
    const rlimit limit{std::min(most, before_.rlim_max), before_.rlim_max};
    EXPECT_EQ(setrlimit(resource_, &limit), 0);
  }
  Limit(const Limit&) = delete;
  Limit& operator=(const Limit&) = delete;
  ~Limit() { setrlimit(resource_, &before_); }

 private:
  __rlimit_resource resource_;
  rlimit before_{};
};

class ArchiveDamage : public tests::Archiving {
 protected:
  void SetUp() override {
    make_records(2);
    add("whole.db", {"rec"});
    std::ifstream file("whole.db", std::ios::binary);
    whole_.assign(std::istreambuf_iterator<char>(file), {});
    ASSERT_GT(whole_.size(), 4096U);
  }

  static void write(const std::string& content) {
    fs::remove_all("d.db");
    for (const char* rest : {"d.db-journal", "d.db-wal", "d.db-shm"}) fs::remove(rest);
    std::ofstream("d.db", std::ios::binary) << content;
  }

  static bool has_control_characters(const std::string& text) {
    return std::any_of(text.begin(), text.end(), [](unsigned char character) {
      return (character < ' ' && character != '\n' && character != '\r' && character != '\t') || character == 0x7F;
    });
  }

  /// Runs a command and expects that it works, or ends with messages that each name a file and a cure.
  static void expect_clear(const std::vector<std::string>& arguments, const std::string& what) {
    const auto result = archive(arguments);
    const std::string run = arguments.front() + " with " + what;
    EXPECT_GE(result.status, 0) << run << " ended by a signal";
    EXPECT_LE(result.status, 4) << run;
    EXPECT_EQ(result.status == 0, result.err.empty()) << run << ": " << result.err;
    EXPECT_FALSE(has_control_characters(result.out)) << run << " prints control characters";
    EXPECT_FALSE(has_control_characters(result.err)) << run << ": " << result.err;
    if (result.err.empty()) return;
    const bool named = result.err.find("d.db") != std::string::npos || result.err.find("m.db") != std::string::npos;
    EXPECT_TRUE(named) << run << " names no file: " << result.err;
    EXPECT_NE(result.err.find("; "), std::string::npos) << run << " names no cure: " << result.err;
  }

  static void expect_readers_clear(const std::string& what) {
    expect_clear({"report", "d.db"}, what);
    expect_clear({"export", "d.db"}, what);
    expect_clear({"export", "d.db", "--segments", "--format", "json-lines"}, what);
  }

  /// Expects that a command ends with this message.
  static void expect_told(const std::vector<std::string>& arguments, const std::string& message) {
    const auto result = archive(arguments);
    EXPECT_EQ(result.status, 4) << arguments.front();
    EXPECT_EQ(result.err, "dipx: " + message + "\n") << arguments.front();
  }

  static void change(const std::string& database, const std::string& sql) {
    archive::Sqlite(database, archive::Sqlite::Use::write).run(sql);
  }

  static void expect_all_clear(const std::string& what) {
    expect_readers_clear(what);
    fs::remove("m.db");
    expect_clear({"merge", "m.db", "d.db"}, what);
    expect_clear({"add", "d.db", "rec", "--shard", "1/2"}, what);
    expect_clear({"add", "d.db", "rec", "--retry"}, what);
  }

  std::string whole_;
  Limit time_{RLIMIT_CPU, 60};
#ifndef DIPX_SANITIZED
  Limit memory_{RLIMIT_AS, 1U << 30};
#endif
};

TEST_F(ArchiveDamage, OfBytesIsToldOrHarmless) {
  std::mt19937 generator(1);
  for (int round = 0; round < 24; round++) {
    std::string damaged = whole_;
    const std::size_t places = round % 3 == 0 ? 1 : round % 3 == 1 ? 10 : 200;
    for (std::size_t i = 0; i < places; i++) {
      damaged[generator() % damaged.size()] = static_cast<char>(generator() % 256);
    }
    write(damaged);
    expect_all_clear("damage " + std::to_string(round));
  }
}

TEST_F(ArchiveDamage, OfTheFilesEndIsToldOrHarmless) {
  constexpr std::size_t cuts = 12;
  for (std::size_t cut = 0; cut < cuts; cut++) {
    const std::size_t length = whole_.size() * cut / cuts + cut % 3;
    write(whole_.substr(0, length));
    expect_all_clear("the first " + std::to_string(length) + " bytes");
  }
}

TEST_F(ArchiveDamage, OfTheTablesIsToldOrHarmless) {
  for (const archive::Table* table : archive::all_tables()) {
    const std::string name = table->name;
    write(whole_);
    change("d.db", "DROP TABLE " + name);
    expect_all_clear("no table " + name);
    for (const char* column : {table->columns.front().name, table->columns.back().name}) {
      write(whole_);
      archive::Sqlite database("d.db", archive::Sqlite::Use::write);
      // With it, the views keep the old name.
      database.run("PRAGMA legacy_alter_table = ON");
      database.run("ALTER TABLE " + name + " RENAME COLUMN " + column + " TO other");
      expect_all_clear("no column " + name + "." + column);
    }
  }
}

TEST_F(ArchiveDamage, OfTheTablesIsToldWithACure) {
  write(whole_);
  change("d.db", "DROP VIEW events");
  const std::string cure = "; restore it from a backup, or add the records to a new file";
  expect_told({"export", "d.db"}, "d.db: no such table: events" + cure);
  expect_told({"report", "d.db"}, "d.db: no such table: events" + cure);
}

TEST_F(ArchiveDamage, OfAnyValueIsToldOrHarmless) {
  const std::vector<std::string> events = {"export", "d.db"};
  const std::vector<std::string> segments = {"export", "d.db", "--segments", "--format", "json-lines"};
  for (const archive::Table* table : archive::all_tables()) {
    for (const auto& column : table->columns) {
      for (const char* value : {"NULL", "9e999", "'t' || char(27, 91, 50, 74, 10)"}) {
        const std::string set = std::string(column.name) + " = " + value;
        write(whole_);
        try {
          change("d.db", "UPDATE OR IGNORE " + std::string(table->name) + " SET " + set);
        } catch (const std::exception&) {
          continue;  // The table itself keeps such a value out.
        }
        expect_clear({"report", "d.db"}, set);
        expect_clear(table == &archive::segments_table() ? segments : events, set);
      }
    }
  }
}

TEST_F(ArchiveDamage, OfAFilesHashCostsOnlyThatItIsReadAgain) {
  write(whole_);
  change("d.db", "UPDATE stored_files SET sha256 = 'no hash but a text that is long enough for one'");
  const auto summary = add("d.db", {"rec", "--shard", "1/1"});
  EXPECT_EQ(number_in(summary, "known already"), 2) << summary;
  EXPECT_EQ(content("d.db"), content("whole.db"));
  change("d.db", "UPDATE stored_files SET sha256 = 'no hash but a text that is long enough for one'");
  const auto half = add("d.db", {"rec", "--shard", "1/2"});
  EXPECT_EQ(number_in(half, "known already") + number_in(half, "of other shards"), 2) << half;
}

TEST_F(ArchiveDamage, OfAClockEndsTheReport) {
  write(whole_);
  change("d.db", "UPDATE stored_events SET start_clock = '2024-01-01T00:00:nan'");
  const auto report = archive({"report", "d.db"});
  EXPECT_EQ(report.status, 0) << report.err;
  EXPECT_NE(report.out.find("No event has a date"), std::string::npos) << report.out;
}

TEST_F(ArchiveDamage, OfTheNameOfTheParametersLosesNoEvents) {
  write(whole_);
  for (const char* table : {"parameter_sets", "stored_analyses"}) {
    change("d.db", std::string("UPDATE ") + table + " SET parameters = 'p' || char(27)");
  }
  const auto report = archive({"report", "d.db", "--json"});
  EXPECT_EQ(report.status, 0) << report.err;
  EXPECT_NE(report.out.find("\"records\": 2"), std::string::npos) << report.out;
  EXPECT_FALSE(has_control_characters(report.out)) << report.out;
}

TEST_F(ArchiveDamage, OfTheWrongKindOfFileIsTold) {
  write(std::string(8192, 'x'));
  expect_all_clear("a text");
  write("");
  fs::remove("d.db");
  fs::create_directory("d.db");
  expect_all_clear("a folder");
  const std::string message = "d.db: is a folder; name a file that dipx archive add has made, or a new one";
  expect_told({"report", "d.db"}, message);
  expect_told({"add", "d.db", "rec"}, message);
}

TEST_F(ArchiveDamage, ByFilesThatAreLeftBesideItIsToldOrHarmless) {
  for (const char* rest : {"d.db-journal", "d.db-wal", "d.db-shm"}) {
    for (const std::string& content : {std::string(), std::string(5000, 'x'), whole_}) {
      write(whole_);
      std::ofstream(rest, std::ios::binary) << content;
      expect_all_clear(std::string(rest) + " of " + std::to_string(content.size()) + " bytes");
    }
  }
}

TEST_F(ArchiveDamage, ByAnInterruptedProgramIsUndoneByTheNextRunThatWrites) {
  fs::copy_file("whole.db", "e.db");
  {
    archive::Sqlite database("e.db", archive::Sqlite::Use::write);
    database.run("PRAGMA journal_mode = DELETE");
    database.run("PRAGMA cache_size = 1");
    database.run("BEGIN");
    database.run("UPDATE stored_events SET kind = 'swell'");
    // More than the cache holds reaches the file before the transaction ends.
    database.run("UPDATE stored_analyses SET notes = printf('%100000s', 'x')");
    fs::copy_file("e.db", "d.db");
    fs::copy_file("e.db-journal", "d.db-journal");
  }
  expect_told({"export", "d.db"},
              "d.db: attempt to write a readonly database; run dipx archive add with it once, which undoes what an "
              "interrupted program has left unfinished");
  add("d.db", {"rec"});
  EXPECT_EQ(archive({"export", "d.db"}).out, archive({"export", "whole.db"}).out);
}

TEST_F(ArchiveDamage, OfPermissionsIsTold) {
#ifdef DIPX_SANITIZED
  if (getuid() == 0) GTEST_SKIP() << "LeakSanitizer cannot inspect a process that runs as the user \"nobody\"";
#endif
  fs::create_directory("closed");
  fs::copy_file("whole.db", "closed/d.db");
  fs::permissions("closed", fs::perms(0555));
  fs::permissions("closed/d.db", fs::perms(0444));
  fs::permissions(".", fs::perms(0755));
  const tests::Nobody nobody;
  if (faccessat(AT_FDCWD, DIPX_COMMAND, X_OK, AT_EACCESS) != 0) {
    GTEST_SKIP() << "the user \"nobody\" may not run " DIPX_COMMAND;
  }
  const std::string message = "closed/d.db: attempt to write a readonly database; ";
  const std::string cure =
      "copy it to a folder to which you can write, because SQLite keeps a file beside it while it ";
  expect_told({"report", "closed/d.db"}, message + cure + "is read");
  expect_told({"export", "closed/d.db"}, message + cure + "is read");
  expect_told({"add", "closed/d.db", "rec"}, message + "check the permission to write the file and its folder");
  EXPECT_EQ(std::distance(fs::directory_iterator("closed"), {}), 1);
}

TEST_F(ArchiveDamage, ByALimitOnTheSizeOfFilesIsToldAndLeavesTheStoreWhole) {
  add("m.db", {"rec/r1.cfg"});
  fs::copy_file("whole.db", "large.db");
  change("large.db", "UPDATE stored_analyses SET notes = printf('%100000s', 'x')");
  {
    const Limit size(RLIMIT_FSIZE, 40000);  // the index of SQLite's log takes 32 KB
    expect_told({"merge", "m.db", "large.db"},
                "m.db: disk I/O error; check the disk and its free space, then run the command again; everything "
                "stored so far is kept");
  }
  EXPECT_EQ(count("m.db", "events"), 1);
  EXPECT_EQ(archive({"merge", "m.db", "large.db"}).status, 0);
  EXPECT_EQ(archive({"export", "m.db"}).out, archive({"export", "whole.db"}).out);
}

}  // namespace
