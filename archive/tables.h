// The tables and views of a store, which are the same in every kind of database.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace archive {

/// Number of the schema. A store with a higher number is refused.
inline constexpr int schema_version = 2;
/// The lowest number of a store whose views can be read as they are.
inline constexpr int oldest_readable_schema = 1;

enum class ColumnType { whole, number, text };

struct Column {
  const char* name;
  ColumnType type;
  const char* meaning;  ///< for people who query the store
};

struct Table {
  const char* name;
  std::size_t key;  ///< the first columns, which identify a row
  std::vector<Column> columns;
};

/// One row for each record, set of parameters and version of dipx.
const Table& analyses_table();
/// One row for each event; a row belongs to an analysis.
const Table& events_table();
/// One row for each segment of a dip.
const Table& segments_table();
/// One row for each record, set or part that could not be analysed.
const Table& refusals_table();
/// One row for each record in each file, so that a later run can skip files that have not changed.
const Table& files_table();
/// One row for each set of parameters and version of dipx.
const Table& parameters_table();

/// One row for each event that is not announced yet (pending_events.h).
const Table& pending_table();

/// All of them.
std::vector<const Table*> all_tables();

/// Those whose rows belong to an analysis.
std::vector<const Table*> tables_of_analyses();

/// Returns the statements that make the tables and the views, in SQL that SQLite and PostgreSQL understand.
std::vector<std::string> schema_statements();

/// Returns the statements that bring a store of an older schema up to date.
std::vector<std::string> migration_statements(int from_version);

/// Returns the names of a table's columns, separated by commas.
std::string column_names(const Table& table);

}  // namespace archive
