// Runs dipx archive on a folder of made records.
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "archive/open_store.h"
#include "tests/command/dipx_command.h"
#include "tests/command/made_record.h"
#include "tests/core/working_folder.h"

namespace tests {

class Archiving : public testing::Test {
 protected:
  /// Makes pairs rec/r1.cfg and so on, each with one dip of its own depth in phase A.
  static void make_records(int count, const std::string& in = "rec") {
    std::filesystem::create_directories(in);
    for (int i = 1; i <= count; i++) {
      MadeRecord(230, 0.4, 1600).lower("A", 0.1, 0.25, volts_of(i)).write_comtrade(fmt::format("{}/r{}", in, i));
    }
  }
  static double volts_of(int record) { return 20 + 0.4 * record; }

  static CommandResult archive(std::vector<std::string> arguments, const std::string& input = "/dev/null") {
    arguments.insert(arguments.begin(), "archive");
    return dipx(arguments, input);
  }

  /// Adds paths to a database; the run must succeed without a message. Returns the summary.
  static std::string add(const std::string& store, std::vector<std::string> more) {
    more.insert(more.begin(), {"add", store, "--jobs", "2"});
    const auto result = archive(more);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err, "");
    return result.out;
  }

  /// The number after a word at the beginning of a line of the summary.
  static int number_in(const std::string& summary, const std::string& line) {
    const std::size_t at = summary.find(line);
    return at == std::string::npos ? -1 : std::stoi(summary.substr(at + line.size()));
  }

  static std::vector<archive::Row> rows(const std::string& store, const std::string& sql) {
    std::vector<archive::Row> all;
    archive::open_store(store, archive::StoreUse::read)->query(sql, {}, [&](const archive::Row& row) {
      all.push_back(row);
    });
    return all;
  }
  static std::int64_t count(const std::string& store, const std::string& from) {
    return archive::whole_of(rows(store, "SELECT count(*) FROM " + from).at(0).at(0));
  }

  /// Everything about records that a database has, in an order of its own.
  static std::vector<archive::Row> content(const std::string& store) {
    std::vector<archive::Row> all;
    for (const archive::Table* table : archive::all_tables()) {
      if (table == &archive::parameters_table()) continue;  // it has the date of the latest run
      std::string key;
      for (std::size_t i = 0; i < table->key; i++) key += (i == 0 ? "" : ", ") + std::string(table->columns[i].name);
      for (auto& row : rows(store, fmt::format("SELECT * FROM {} ORDER BY {}", table->name, key))) {
        all.push_back(std::move(row));
      }
    }
    return all;
  }

  WorkingFolder folder;
};

}  // namespace tests
