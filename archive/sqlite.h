// SQLite's C interface in a small class: errors are exceptions, and statements are finalised by their owners.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "archive/value.h"

struct sqlite3;
struct sqlite3_stmt;

namespace archive {

/// What a user can do about a file that is not a store.
inline constexpr const char* cure_of_other_file = "name a file that dipx archive add has made, or a new one";

/// A prepared statement. It must not outlive its database.
class SqliteStatement {
 public:
  /// Runs the statement with these values for $1, $2 and so on, and calls `take` with each row of its result. Throws
  /// StoreError.
  void run(const Row& values, const std::function<void(const Row&)>& take = {});

 private:
  friend class Sqlite;
  struct Finalise {
    void operator()(sqlite3_stmt* statement) const;
  };

  SqliteStatement(class Sqlite& database, sqlite3_stmt* statement) : database_(&database), statement_(statement) {}
  class Sqlite* database_;
  std::unique_ptr<sqlite3_stmt, Finalise> statement_;
};

/// A connection to a database file.
class Sqlite {
 public:
  enum class Use { read, write };

  /// Opens a file; with Use::write it is made if it does not exist. A connection waits up to a minute while another one
  /// writes. Throws StoreError.
  Sqlite(const std::string& file, Use use);

  /// Throws StoreError.
  SqliteStatement prepare(const std::string& sql);

  /// Prepares and runs a statement once. Throws StoreError.
  void run(const std::string& sql, const Row& values = {}, const std::function<void(const Row&)>& take = {});

  /// Returns the first value of the first row; nothing if there is no row. Throws StoreError.
  Value value(const std::string& sql, const Row& values = {});

  /// Lets others read while one connection writes, by a log beside the file. Throws StoreError.
  void use_log();

  [[nodiscard]] const std::string& file() const { return file_; }

 private:
  friend class SqliteStatement;
  struct Close {
    void operator()(sqlite3* handle) const;
  };
  [[noreturn]] void fail(int code) const;

  std::string file_;
  Use use_;
  std::unique_ptr<sqlite3, Close> handle_;
};

/// A transaction, which is rolled back unless it is committed.
class SqliteTransaction {
 public:
  /// Throws StoreError.
  explicit SqliteTransaction(Sqlite& database);
  SqliteTransaction(const SqliteTransaction&) = delete;
  SqliteTransaction& operator=(const SqliteTransaction&) = delete;
  ~SqliteTransaction();

  /// Throws StoreError, in which case nothing of the transaction remains.
  void commit();

 private:
  Sqlite& database_;
  bool open_ = true;
};

}  // namespace archive
