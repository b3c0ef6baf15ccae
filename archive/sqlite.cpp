#include "archive/sqlite.h"

#include <sqlite3.h>

#include <chrono>
#include <thread>

#include "archive/store_error.h"

namespace archive {

namespace {

/// So long a connection waits while others write.
constexpr auto patience = std::chrono::seconds(60);

/// What a user can do about a file that SQLite would have to write to.
const char* cure_of_unwritable(int code, Sqlite::Use use) {
  if (use == Sqlite::Use::write) return "check the permission to write the file and its folder";
  if (code == SQLITE_READONLY_ROLLBACK || code == SQLITE_READONLY_RECOVERY) {
    return "run dipx archive add with it once, which undoes what an interrupted program has left unfinished";
  }
  return "copy it to a folder to which you can write, because SQLite keeps a file beside it while it is read";
}

/// What a user can do about an error of SQLite.
const char* cure_of(int code, Sqlite::Use use) {
  switch (code & 0xFF) {
    case SQLITE_FULL:
      return "free some space and run the command again; everything stored so far is kept";
    case SQLITE_IOERR:
      return "check the disk and its free space, then run the command again; everything stored so far is kept";
    case SQLITE_READONLY:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return cure_of_unwritable(code, use);
    case SQLITE_CANTOPEN:
      return "check the path and the permission to read and write the file and its folder";
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
      return "another program is writing to it; run the command again later";
    case SQLITE_NOTADB:
      return cure_of_other_file;
    case SQLITE_CORRUPT:
    case SQLITE_ERROR:  // The statements are right, so the tables and views are not.
      return "restore it from a backup, or add the records to a new file";
    default:
      return "check the file and its folder";
  }
}

void bind(sqlite3_stmt* statement, int index, const Value& value) {
  if (const auto* whole = std::get_if<std::int64_t>(&value)) {
    sqlite3_bind_int64(statement, index, *whole);
  } else if (const auto* number = std::get_if<double>(&value)) {
    sqlite3_bind_double(statement, index, *number);
  } else if (const auto* text = std::get_if<std::string>(&value)) {
    sqlite3_bind_text64(statement, index, text->data(), text->size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  } else {
    sqlite3_bind_null(statement, index);
  }
}

Value column_of(sqlite3_stmt* statement, int column) {
  switch (sqlite3_column_type(statement, column)) {
    case SQLITE_INTEGER:
      return static_cast<std::int64_t>(sqlite3_column_int64(statement, column));
    case SQLITE_FLOAT:
      return sqlite3_column_double(statement, column);
    case SQLITE_NULL:
      return {};
    default: {
      const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
      const auto size = static_cast<std::size_t>(sqlite3_column_bytes(statement, column));
      return bytes == nullptr ? std::string() : std::string(bytes, size);
    }
  }
}

}  // namespace

void SqliteStatement::Finalise::operator()(sqlite3_stmt* statement) const {
  sqlite3_finalize(statement);
}

void SqliteStatement::run(const Row& values, const std::function<void(const Row&)>& take) {
  sqlite3_stmt* statement = statement_.get();
  // A statement that is not reset would keep its lock on the file, even if `take` throws.
  const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> reset(statement, sqlite3_reset);
  for (std::size_t i = 0; i < values.size(); i++) bind(statement, static_cast<int>(i) + 1, values[i]);
  const int columns = sqlite3_column_count(statement);
  Row row(static_cast<std::size_t>(columns));
  for (;;) {
    const int code = sqlite3_step(statement);
    if (code == SQLITE_DONE) return;
    if (code != SQLITE_ROW) database_->fail(code);
    if (!take) continue;
    for (int column = 0; column < columns; column++) {
      row[static_cast<std::size_t>(column)] = column_of(statement, column);
    }
    take(row);
  }
}

void Sqlite::Close::operator()(sqlite3* handle) const {
  sqlite3_close(handle);
}

Sqlite::Sqlite(const std::string& file, Use use) : file_(file), use_(use) {
  sqlite3* handle = nullptr;
  const int flags = use == Use::read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
  const int code = sqlite3_open_v2(file.c_str(), &handle, flags, nullptr);
  handle_.reset(handle);
  if (handle == nullptr) throw std::bad_alloc();
  if (code != SQLITE_OK) fail(code);
  sqlite3_extended_result_codes(handle, 1);
  sqlite3_busy_timeout(handle, static_cast<int>(std::chrono::milliseconds(patience).count()));
}

void Sqlite::fail(int code) const {
  throw StoreError(file_, sqlite3_errmsg(handle_.get()), cure_of(code, use_));
}

SqliteStatement Sqlite::prepare(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  const int code = sqlite3_prepare_v3(handle_.get(), sql.c_str(), static_cast<int>(sql.size()) + 1,
                                      SQLITE_PREPARE_PERSISTENT, &statement, nullptr);
  if (code != SQLITE_OK) fail(code);
  return {*this, statement};
}

void Sqlite::run(const std::string& sql, const Row& values, const std::function<void(const Row&)>& take) {
  prepare(sql).run(values, take);
}

Value Sqlite::value(const std::string& sql, const Row& values) {
  Value first;
  bool found = false;
  run(sql, values, [&](const Row& row) {
    if (!found && !row.empty()) first = row.front();
    found = true;
  });
  return first;
}

void Sqlite::use_log() {
  // SQLite does not wait here if two connections want the log at the same time, because both hold a lock already.
  const auto end = std::chrono::steady_clock::now() + patience;
  int code = SQLITE_OK;
  for (;;) {
    code = sqlite3_exec(handle_.get(), "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
    if ((code & 0xFF) != SQLITE_BUSY || std::chrono::steady_clock::now() > end) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  if (code != SQLITE_OK) fail(code);
}

SqliteTransaction::SqliteTransaction(Sqlite& database) : database_(database) {
  database_.run("BEGIN IMMEDIATE");
}

SqliteTransaction::~SqliteTransaction() {
  if (!open_) return;
  try {
    database_.run("ROLLBACK");
  } catch (const StoreError&) {
    // After some errors SQLite has rolled back already, and says so with another error.
  }
}

void SqliteTransaction::commit() {
  database_.run("COMMIT");
  open_ = false;
}

}  // namespace archive
