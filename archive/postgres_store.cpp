#include "archive/postgres_store.h"

#include <fmt/format.h>
#include <libpq-fe.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string_view>
#include <utility>

#include "archive/store_error.h"
#include "readers/text.h"

namespace archive {

namespace {

constexpr const char* schema_table = "dipx_schema";

/// Returns a URL without its password, for messages.
std::string without_password(const std::string& url) {
  const std::size_t begin = url.find("://") + 3;
  const std::size_t at = url.find('@', begin);
  const std::size_t colon = url.find(':', begin);
  if (at == std::string::npos || colon == std::string::npos || colon > at || url.find('/', begin) < at) return url;
  return url.substr(0, colon) + url.substr(at);
}

/// The server keeps only valid UTF-8, but the name of a file may hold any bytes.
std::string stored_text(const std::string& text) {
  return readers::is_utf8(text) ? text : readers::inert(text);
}

/// Returns a value in the text format of COPY.
std::string copied(const Value& value) {
  if (const auto* whole = std::get_if<std::int64_t>(&value)) return fmt::format("{}", *whole);
  if (const auto* number = std::get_if<double>(&value)) return fmt::format("{}", *number);
  const auto* text = std::get_if<std::string>(&value);
  if (text == nullptr) return "\\N";
  std::string escaped;
  for (const char character : stored_text(*text)) {
    switch (character) {
      case '\\':
        escaped += "\\\\";
        break;
      case '\n':
        escaped += "\\n";
        break;
      case '\r':
        escaped += "\\r";
        break;
      case '\t':
        escaped += "\\t";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

using Result = std::unique_ptr<PGresult, void (*)(PGresult*)>;

class PostgresStore : public Store {
 public:
  PostgresStore(const std::string& url, StoreUse use)
      : name_(without_password(url)), connection_(PQconnectdb(url.c_str()), PQfinish) {
    if (!connection_) throw std::bad_alloc();
    if (PQstatus(connection_.get()) != CONNECTION_OK) fail("check the URL and that the server is running");
    PQsetNoticeProcessor(
        connection_.get(), [](void*, const char*) {}, nullptr);
    run("SET client_encoding = 'UTF8'");
    const int version = version_of_schema();
    if (use == StoreUse::read) {
      if (version != 0) return;
      throw StoreError(name_, "holds no results of dipx", "fill it with dipx archive add");
    }
    if (version != schema_version) make_schema();
  }

  void write(const std::vector<StoredUnit>& units) override {
    constexpr int most_tries = 10;
    for (int tries = 1;; tries++) {
      try {
        write_once(units);
        return;
      } catch (const Deadlock&) {
        run("ROLLBACK");
        if (tries == most_tries) throw;
      } catch (const StoreError&) {
        // If the connection is lost, the server rolls back by itself.
        if (PQstatus(connection_.get()) == CONNECTION_OK) run("ROLLBACK");
        throw;
      }
    }
  }

  void query(const std::string& sql, const Row& values, const std::function<void(const Row&)>& take) override {
    const Result result = run(sql, values);
    const int columns = PQnfields(result.get());
    Row row(static_cast<std::size_t>(columns));
    for (int i = 0; i < PQntuples(result.get()); i++) {
      for (int column = 0; column < columns; column++) {
        row[static_cast<std::size_t>(column)] = value_at(result.get(), i, column);
      }
      take(row);
    }
  }

  [[nodiscard]] const std::string& name() const override { return name_; }

 private:
  /// Two runs wait for each other's rows. The server has ended one of them, which can be repeated.
  class Deadlock : public StoreError {
    using StoreError::StoreError;
  };

  [[noreturn]] void fail(const char* cure) const {
    const std::string message = PQerrorMessage(connection_.get());
    // The server's message may have several lines, of which the first gives the cause.
    throw StoreError(name_, std::string(readers::trimmed(message.substr(0, message.find('\n')))), cure);
  }

  void check(const Result& result) const {
    const ExecStatusType status = PQresultStatus(result.get());
    if (status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK || status == PGRES_COPY_IN) return;
    const char* state = PQresultErrorField(result.get(), PG_DIAG_SQLSTATE);
    if (state != nullptr && (std::string_view(state) == "40P01" || std::string_view(state) == "40001")) {
      throw Deadlock(name_, "is being written by other runs", "run the command again");
    }
    if (PQstatus(connection_.get()) != CONNECTION_OK) {
      fail("check the server, then run the command again; everything stored so far is kept");
    }
    fail("check the database and its permissions");
  }

  Result run(const std::string& sql, const Row& values = {}) {
    std::vector<std::string> texts;
    for (const Value& value : values) {
      const auto* text = std::get_if<std::string>(&value);
      texts.push_back(text == nullptr ? copied(value) : stored_text(*text));
    }
    std::vector<const char*> pointers;
    for (std::size_t i = 0; i < values.size(); i++) {
      pointers.push_back(std::holds_alternative<std::monostate>(values[i]) ? nullptr : texts[i].c_str());
    }
    Result result(PQexecParams(connection_.get(), sql.c_str(), static_cast<int>(pointers.size()), nullptr,
                               pointers.data(), nullptr, nullptr, 0),
                  PQclear);
    check(result);
    return result;
  }

  static Value value_at(const PGresult* result, int row, int column) {
    if (PQgetisnull(result, row, column) != 0) return {};
    const std::string text = PQgetvalue(result, row, column);
    // The types of whole numbers and of numbers, by the numbers that the server gives them.
    switch (PQftype(result, column)) {
      case 20:
      case 21:
      case 23:
        return static_cast<std::int64_t>(std::strtoll(text.c_str(), nullptr, 10));
      case 700:
      case 701:
      case 1700:
        return readers::parse_number(text).value_or(0);
      default:
        return text;
    }
  }

  /// Returns the version of the schema; 0 if there is none. Throws StoreError for versions that this dipx does not
  /// know.
  int version_of_schema() {
    bool found = false;
    query(fmt::format("SELECT to_regclass('{}') IS NOT NULL", schema_table), {},
          [&](const Row& row) { found = text_of(row[0]) == "t"; });
    if (!found) return 0;
    std::int64_t version = 0;
    query(fmt::format("SELECT version FROM {}", schema_table), {}, [&](const Row& row) { version = whole_of(row[0]); });
    check_schema(name_, version);
    return static_cast<int>(version);
  }

  /// Makes the schema, or brings an older one up to date.
  void make_schema() {
    run("BEGIN");
    constexpr const char* lock = "SELECT pg_advisory_xact_lock(1684631672)";  // "dipx" as four bytes
    run(lock);
    // Another run may have done so while this one was waiting for the lock.
    const int version = version_of_schema();
    if (version == 0) {
      for (const std::string& statement : schema_statements()) run(statement);
      run(fmt::format("CREATE TABLE {} (version BIGINT NOT NULL)", schema_table));
      run(fmt::format("INSERT INTO {} VALUES ({})", schema_table, schema_version));
    } else if (version != schema_version) {
      for (const std::string& statement : migration_statements(version)) run(statement);
      run(fmt::format("UPDATE {} SET version = {}", schema_table, schema_version));
    }
    run("COMMIT");
  }

  void write_once(const std::vector<StoredUnit>& units) {
    run("BEGIN");
    for (const StoredUnit& unit : units) {
      for (const std::string& analysis : unit.replaced) remove(analysis);
    }
    for (const Table* table : all_tables()) insert(*table, units);
    // The latest unit about a file knows its present stamp.
    std::map<std::string, std::string> stamps;
    for (const StoredUnit& unit : units) {
      if (!unit.path.empty()) stamps[unit.path] = unit.stamp;
    }
    for (const auto& [path, stamp] : stamps) {
      run(fmt::format("DELETE FROM {} WHERE path = $1 AND stamp <> $2", files_table().name), {path, stamp});
    }
    for (const StoredUnit& unit : units) {
      for (const Row& event : unit.announced) run(deletion_of_pending(), event);
    }
    run("COMMIT");
  }

  void remove(const std::string& analysis) {
    for (const Table* table : tables_of_analyses()) {
      run(fmt::format("DELETE FROM {} WHERE analysis = $1", table->name), {analysis});
    }
  }

  /// Copies the rows of a table into a temporary one, and from there those that are new.
  void insert(const Table& table, const std::vector<StoredUnit>& units) {
    // One statement cannot insert the same key twice, so that the row that counts is chosen here.
    std::map<Row, const Row*> chosen;
    for (const StoredUnit& unit : units) {
      for (const TableRows& part : unit.tables) {
        if (part.table != &table) continue;
        for (const Row& row : part.rows) {
          const Row key(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(table.key));
          if (replaces_rows(table)) {
            chosen[key] = &row;
          } else {
            chosen.emplace(key, &row);
          }
        }
      }
    }
    if (chosen.empty()) return;
    const std::string staging = fmt::format("staging_{}", table.name);
    run(fmt::format("CREATE TEMP TABLE IF NOT EXISTS {} (LIKE {}) ON COMMIT DELETE ROWS", staging, table.name));
    copy(staging, chosen);
    run(insertion_from(staging, table));
  }

  void copy(const std::string& staging, const std::map<Row, const Row*>& rows) {
    // PQexecParams cannot begin a copy.
    const Result result(PQexec(connection_.get(), fmt::format("COPY {} FROM STDIN", staging).c_str()), PQclear);
    check(result);
    std::string text;
    for (const auto& [key, row] : rows) {
      for (std::size_t i = 0; i < row->size(); i++) text += (i == 0 ? "" : "\t") + copied((*row)[i]);
      text += '\n';
    }
    PQputCopyData(connection_.get(), text.data(), static_cast<int>(text.size()));
    PQputCopyEnd(connection_.get(), nullptr);
    while (const Result end{PQgetResult(connection_.get()), PQclear}) check(end);
  }

  static std::string insertion_from(const std::string& staging, const Table& table) {
    std::string key;
    std::string updates;
    for (std::size_t i = 0; i < table.columns.size(); i++) {
      const std::string column = table.columns[i].name;
      if (i < table.key) {
        key += (key.empty() ? "" : ", ") + column;
      } else {
        updates += fmt::format("{0}{1} = EXCLUDED.{1}", updates.empty() ? "" : ", ", column);
      }
    }
    // Runs that insert in the same order rarely wait for each other.
    return fmt::format("INSERT INTO {} SELECT * FROM {} ORDER BY {} ON CONFLICT ({}) DO {}", table.name, staging, key,
                       key, replaces_rows(table) ? "UPDATE SET " + updates : "NOTHING");
  }

  std::string name_;
  std::unique_ptr<PGconn, void (*)(PGconn*)> connection_;
};

}  // namespace

std::unique_ptr<Store> open_postgres_store(const std::string& url, StoreUse use) {
  return std::make_unique<PostgresStore>(url, use);
}

}  // namespace archive
