#include "archive/sqlite_store.h"

#include <fmt/format.h>

#include <filesystem>
#include <map>
#include <utility>

#include "archive/sqlite.h"
#include "archive/store_error.h"

namespace archive {

namespace {

/// Marks a database as one of dipx, so that it is not mixed up with another program's: "dipx" as four bytes.
constexpr std::int64_t application_id = 0x64697078;

/// Returns the version of the schema that dipx has given to the database, and 0 for an empty one. Throws StoreError if
/// another program has made the database, and for versions that this dipx does not know.
int version_of(Sqlite& database) {
  // All is read from one state, because another process may be making the schema.
  database.run("SAVEPOINT version");
  const auto id = whole_of(database.value("PRAGMA application_id"));
  const auto version = whole_of(database.value("PRAGMA user_version"));
  const auto objects = whole_of(database.value("SELECT count(*) FROM sqlite_master"));
  database.run("RELEASE version");
  if (id == 0 && version == 0 && objects == 0) return 0;
  if (id != application_id) {
    throw StoreError(database.file(), "is a database of another program", cure_of_other_file);
  }
  check_schema(database.file(), version);
  return static_cast<int>(version);
}

/// Makes the schema, or brings an older one up to date.
void make_schema(Sqlite& database) {
  SqliteTransaction transaction(database);
  // Another process may have done so while this one was waiting for the lock.
  const int version = version_of(database);
  if (version == schema_version) return;
  for (const std::string& statement : version == 0 ? schema_statements() : migration_statements(version)) {
    database.run(statement);
  }
  database.run(fmt::format("PRAGMA application_id = {}", application_id));
  database.run(fmt::format("PRAGMA user_version = {}", schema_version));
  transaction.commit();
}

class SqliteStore : public Store {
 public:
  SqliteStore(const std::string& file, StoreUse use)
      : database_(file, use == StoreUse::read ? Sqlite::Use::read : Sqlite::Use::write) {
    const int version = version_of(database_);
    if (use == StoreUse::read) {
      if (version != 0) return;
      throw StoreError(file, "is an empty database", "fill it with dipx archive add");
    }
    database_.use_log();
    database_.run("PRAGMA synchronous = NORMAL");
    if (version != schema_version) make_schema(database_);
  }

  void write(const std::vector<StoredUnit>& units) override {
    SqliteTransaction transaction(database_);
    for (const StoredUnit& unit : units) write(unit);
    transaction.commit();
  }

  void query(const std::string& sql, const Row& values, const std::function<void(const Row&)>& take) override {
    statement(sql).run(values, take);
  }

  [[nodiscard]] const std::string& name() const override { return database_.file(); }

 private:
  void write(const StoredUnit& unit) {
    for (const std::string& analysis : unit.replaced) {
      for (const Table* table : tables_of_analyses()) {
        statement(fmt::format("DELETE FROM {} WHERE analysis = $1", table->name)).run({analysis});
      }
    }
    if (!unit.path.empty()) {
      statement(fmt::format("DELETE FROM {} WHERE path = $1 AND stamp <> $2", files_table().name))
          .run({unit.path, unit.stamp});
    }
    for (const TableRows& part : unit.tables) {
      SqliteStatement& insert = statement(insertion_into(*part.table));
      for (const Row& row : part.rows) insert.run(row);
    }
    for (const Row& event : unit.announced) statement(deletion_of_pending()).run(event);
  }

  static std::string insertion_into(const Table& table) {
    std::string values;
    for (std::size_t i = 1; i <= table.columns.size(); i++) values += fmt::format("{}${}", i == 1 ? "" : ", ", i);
    return fmt::format("INSERT OR {} INTO {} ({}) VALUES ({})", replaces_rows(table) ? "REPLACE" : "IGNORE", table.name,
                       column_names(table), values);
  }

  /// Statements are kept, because the same few are run for every record.
  SqliteStatement& statement(const std::string& sql) {
    const auto known = statements_.find(sql);
    if (known != statements_.end()) return known->second;
    return statements_.emplace(sql, database_.prepare(sql)).first->second;
  }

  Sqlite database_;
  std::map<std::string, SqliteStatement> statements_;
};

}  // namespace

std::unique_ptr<Store> open_sqlite_store(const std::string& file, StoreUse use) {
  std::error_code ignored;
  if (std::filesystem::is_directory(file, ignored)) throw StoreError(file, "is a folder", cure_of_other_file);
  if (use == StoreUse::read && !std::filesystem::exists(file, ignored)) {
    throw StoreError(file, "does not exist", "check the path, or fill a store with dipx archive add");
  }
  return std::make_unique<SqliteStore>(file, use);
}

}  // namespace archive
