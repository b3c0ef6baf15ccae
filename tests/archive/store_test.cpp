// Tests what a store guarantees about the rows of a record.
#include "archive/store.h"

#include <gtest/gtest.h>

#include "archive/open_store.h"
#include "archive/pending_events.h"
#include "archive/sqlite.h"
#include "archive/store_error.h"
#include "tests/core/working_folder.h"

namespace {

using archive::Row;
using archive::Value;

Row padded(Row row, const archive::Table& table) {
  row.resize(table.columns.size());
  return row;
}

/// A record with one event of this kind.
archive::StoredUnit unit_of(const std::string& analysis, const std::string& kind) {
  archive::StoredUnit unit;
  unit.tables.push_back({&archive::analyses_table(),
                         {padded({analysis, "hash of " + analysis, std::string("p"), std::string("1"),
                                  std::string("analysed"), std::string("file")},
                                 archive::analyses_table())}});
  unit.tables.push_back(
      {&archive::events_table(),
       {padded({analysis, archive::whole(1), archive::whole(1), archive::whole(1), kind}, archive::events_table())}});
  return unit;
}

class StoreTest : public testing::Test {
 protected:
  static std::vector<std::string> kinds(archive::Store& store) {
    std::vector<std::string> all;
    store.query("SELECT kind FROM events ORDER BY sha256", {},
                [&](const Row& row) { all.push_back(archive::text_of(row[0])); });
    return all;
  }
  tests::WorkingFolder folder;
};

TEST_F(StoreTest, LeavesRowsThatExistAsTheyAre) {
  const auto store = archive::open_store("a.db", archive::StoreUse::write);
  store->write({unit_of("a", "dip")});
  store->write({unit_of("a", "swell"), unit_of("b", "swell")});
  EXPECT_EQ(kinds(*store), (std::vector<std::string>{"dip", "swell"}));
}

TEST_F(StoreTest, ReplacesARecordWhenAsked) {
  const auto store = archive::open_store("a.db", archive::StoreUse::write);
  store->write({unit_of("a", "dip")});
  auto unit = unit_of("a", "swell");
  unit.replaced = {"a"};
  store->write({unit});
  EXPECT_EQ(kinds(*store), (std::vector<std::string>{"swell"}));
}

TEST_F(StoreTest, WritesAllUnitsOrNone) {
  const auto store = archive::open_store("a.db", archive::StoreUse::write);
  archive::StoredUnit bad;  // a row without its key
  bad.tables.push_back({&archive::files_table(), {{Value(), Value(), Value(), Value(), Value()}}});
  EXPECT_THROW(store->write({unit_of("a", "dip"), bad}), archive::StoreError);
  EXPECT_EQ(kinds(*store), std::vector<std::string>());
  store->write({unit_of("a", "dip")});
  EXPECT_EQ(kinds(*store), (std::vector<std::string>{"dip"}));
}

TEST_F(StoreTest, KeepsTheLatestRowAboutAFile) {
  const auto store = archive::open_store("a.db", archive::StoreUse::write);
  const auto unit_for = [](const std::string& stamp, const std::string& member) {
    archive::StoredUnit unit;
    unit.path = "/x.zip";
    unit.stamp = stamp;
    unit.tables.push_back({&archive::files_table(), {{unit.path, member, stamp, archive::whole(2), std::string("h")}}});
    return unit;
  };
  store->write({unit_for("old", "a"), unit_for("old", "b"), unit_for("new", "a")});
  std::vector<Row> rows;
  store->query("SELECT member, stamp FROM stored_files", {}, [&](const Row& row) { rows.push_back(row); });
  EXPECT_EQ(rows, (std::vector<Row>{{std::string("a"), std::string("new")}}));
}

TEST_F(StoreTest, HasTheSchemasNumber) {
  archive::open_store("a.db", archive::StoreUse::write);
  archive::Sqlite database("a.db", archive::Sqlite::Use::read);
  EXPECT_EQ(archive::whole_of(database.value("PRAGMA user_version")), archive::schema_version);
  EXPECT_EQ(archive::whole_of(database.value(
                "SELECT count(*) FROM sqlite_master WHERE type = 'view' AND name IN ('records', 'events', 'segments', "
                "'refusals', 'sites')")),
            5);
}

TEST_F(StoreTest, OfAnOlderSchemaIsReadAsItIsAndBroughtUpToDateWhenWritten) {
  archive::open_store("a.db", archive::StoreUse::write)->write({unit_of("a", "dip")});
  const auto version = [] {
    return archive::whole_of(archive::Sqlite("a.db", archive::Sqlite::Use::read).value("PRAGMA user_version"));
  };
  {
    archive::Sqlite older("a.db", archive::Sqlite::Use::write);
    older.run("DROP TABLE pending_events");
    older.run("PRAGMA user_version = 1");
  }
  EXPECT_EQ(kinds(*archive::open_store("a.db", archive::StoreUse::read)), (std::vector<std::string>{"dip"}));
  EXPECT_EQ(version(), 1);
  const auto store = archive::open_store("a.db", archive::StoreUse::write);
  EXPECT_EQ(version(), archive::schema_version);
  EXPECT_EQ(kinds(*store), (std::vector<std::string>{"dip"}));
  EXPECT_TRUE(archive::pending_events(*store, 10).empty());
}

TEST_F(StoreTest, OfAnUnknownSchemaIsRefusedWithTheCure) {
  archive::open_store("a.db", archive::StoreUse::write);
  const auto complaint = [](int version) -> std::string {
    archive::Sqlite("a.db", archive::Sqlite::Use::write).run("PRAGMA user_version = " + std::to_string(version));
    for (const auto use : {archive::StoreUse::read, archive::StoreUse::write}) {
      try {
        archive::open_store("a.db", use);
        return "opened";
      } catch (const archive::StoreError& error) {
        if (use == archive::StoreUse::write) return error.what();
      }
    }
    return {};
  };
  const std::string needed = " of the schema, and this dipx needs version " + std::to_string(archive::schema_version);
  EXPECT_EQ(complaint(99), "a.db: has version 99" + needed + "; use the newer dipx that has made it");
  EXPECT_EQ(complaint(0), "a.db: has version 0" + needed + "; add the records to a new store");
}

TEST_F(StoreTest, KeepsEventsPendingUntilTheyAreForgotten) {
  const auto store = archive::open_store("a.db", archive::StoreUse::write);
  archive::StoredUnit unit = unit_of("a", "dip");
  archive::add_pending(unit.tables);
  store->write({unit, unit_of("b", "swell")});
  const auto pending = archive::pending_events(*store, 10);
  ASSERT_EQ(pending.size(), 1U);
  EXPECT_TRUE(pending[0].json.starts_with(R"({"sha256":"hash of a","part":1,"set_number":1,)")) << pending[0].json;
  EXPECT_TRUE(archive::pending_events(*store, 0).empty());
  archive::forget_pending(*store, pending[0]);
  EXPECT_TRUE(archive::pending_events(*store, 10).empty());
  // An event that no longer exists need not be announced.
  store->write({unit});
  archive::StoredUnit without;
  without.replaced = {"a"};
  store->write({without});
  store->write({unit_of("a", "dip")});
  EXPECT_TRUE(archive::pending_events(*store, 10).empty());
}

TEST_F(StoreTest, IsNotMadeForReading) {
  EXPECT_THROW(archive::open_store("a.db", archive::StoreUse::read), archive::StoreError);
  EXPECT_FALSE(std::filesystem::exists("a.db"));
}

}  // namespace
