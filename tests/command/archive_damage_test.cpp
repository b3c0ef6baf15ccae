// Tests that a damaged database costs a clear message at most.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>

#include "archive/sqlite.h"
#include "tests/command/archive_fixture.h"

namespace {

namespace fs = std::filesystem;

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
  }

  static void expect_all_clear(const std::string& what) {
    expect_readers_clear(what);
    fs::remove("m.db");
    expect_clear({"merge", "m.db", "d.db"}, what);
    expect_clear({"add", "d.db", "rec"}, what);
  }

  std::string whole_;
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
    archive::Sqlite("d.db", archive::Sqlite::Use::write).run("DROP TABLE " + name);
    expect_all_clear("no table " + name);
  }
}

TEST_F(ArchiveDamage, OfAnyValueIsToldOrHarmless) {
  for (const archive::Table* table : archive::all_tables()) {
    for (const auto& column : table->columns) {
      for (const char* value : {"NULL", "9e999", "'t' || char(27, 91, 50, 74, 10)"}) {
        const std::string set = std::string(column.name) + " = " + value;
        write(whole_);
        {
          archive::Sqlite database("d.db", archive::Sqlite::Use::write);
          try {
            database.run("UPDATE OR IGNORE " + std::string(table->name) + " SET " + set);
          } catch (const std::exception&) {
            continue;  // The table itself keeps such a value out.
          }
        }
        expect_readers_clear(set);
      }
    }
  }
}

TEST_F(ArchiveDamage, OfTheWrongKindOfFileIsTold) {
  write(std::string(8192, 'x'));
  expect_all_clear("a text");
  write("");
  fs::remove("d.db");
  fs::create_directory("d.db");
  expect_all_clear("a folder");
}

}  // namespace
