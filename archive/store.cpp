#include "archive/store.h"

#include <fmt/format.h>

#include "archive/store_error.h"

namespace archive {

std::size_t StoredUnit::rows() const {
  std::size_t count = announced.size();
  for (const TableRows& one : tables) count += one.rows.size();
  return count;
}

void check_schema(const std::string& store, std::int64_t version) {
  if (version >= oldest_readable_schema && version <= schema_version) return;
  throw StoreError(store,
                   fmt::format("has version {} of the schema, and this dipx needs version {}", version, schema_version),
                   version > schema_version ? "use the newer dipx that has made it" : "add the records to a new store");
}

std::string deletion_of_pending() {
  const Table& table = pending_table();
  std::string condition;
  for (std::size_t i = 0; i < table.key; i++) {
    condition += fmt::format("{}{} = ${}", i == 0 ? "" : " AND ", table.columns[i].name, i + 1);
  }
  return fmt::format("DELETE FROM {} WHERE {}", table.name, condition);
}

bool replaces_rows(const Table& table) {
  return &table == &files_table() || &table == &parameters_table();
}

}  // namespace archive
