// A store of results: where analyses, their events and the files that were read are kept.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "archive/tables.h"
#include "archive/value.h"

namespace archive {

/// Rows that belong to one table.
struct TableRows {
  const Table* table;
  std::vector<Row> rows;
};

/// Everything about one record that is stored together or not at all.
struct StoredUnit {
  /// Events, segments and refusals of these analyses are removed first, as is the analysis itself; empty: none.
  std::vector<std::string> replaced;
  /// Other rows about this file are removed first if their stamp differs; empty: none.
  std::string path;
  std::string stamp;
  std::vector<TableRows> tables;
  /// Pending events that are removed, by all columns of their table.
  std::vector<Row> announced = {};

  [[nodiscard]] std::size_t rows() const;
};

class Store {
 public:
  Store() = default;
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;
  virtual ~Store() = default;

  /// Writes all units in one transaction. Rows whose key exists already are left as they are, except in the tables of
  /// files and of parameters, where they are replaced. Throws StoreError, in which case nothing was written.
  virtual void write(const std::vector<StoredUnit>& units) = 0;

  /// Runs a query with values for $1, $2 and so on, which must first occur in this order, and calls `take` with each
  /// row. Throws StoreError.
  virtual void query(const std::string& sql, const Row& values, const std::function<void(const Row&)>& take) = 0;

  /// The name by which it was opened, for messages.
  [[nodiscard]] virtual const std::string& name() const = 0;
};

/// What a store is opened for; with `write` it is made if there is none.
enum class StoreUse { read, write };

/// Throws StoreError if this dipx cannot use a schema of this version.
void check_schema(const std::string& store, std::int64_t version);

/// Returns the statement that removes one pending event.
std::string deletion_of_pending();

/// Returns whether rows with the same key replace older ones in this table.
bool replaces_rows(const Table& table);

}  // namespace archive
