#include "archive/merge.h"

#include <fmt/format.h>

#include <string>
#include <utility>
#include <vector>

#include "archive/batch.h"

namespace archive {

namespace {

class Merge {
 public:
  Merge(Store& target, Store& source) : target_(target), source_(source), batch_(target) {}

  MergeSummary run() {
    copy_parameters();
    copy_records();
    copy_rows(refusals_table(), "analysis LIKE 'path-%'");
    copy_rows(files_table(), "1 = 1");
    batch_.write();
    return summary_;
  }

 private:
  static std::vector<Row> rows_of(Store& store, const Table& table, const std::string& condition, const Row& values) {
    std::vector<Row> rows;
    store.query(fmt::format("SELECT {} FROM {} WHERE {}", column_names(table), table.name, condition), values,
                [&](const Row& row) { rows.push_back(row); });
    return rows;
  }

  /// The later of two dates of use is kept.
  void copy_parameters() {
    constexpr std::size_t last_used = 3;
    StoredUnit unit;
    TableRows& copied = unit.tables.emplace_back(TableRows{&parameters_table(), {}});
    for (Row& row : rows_of(source_, parameters_table(), "1 = 1", {})) {
      const auto known = rows_of(target_, parameters_table(), "parameters = $1 AND version = $2", {row[0], row[1]});
      if (known.empty() || text_of(known[0][last_used]) < text_of(row[last_used]))
        copied.rows.push_back(std::move(row));
    }
    batch_.add(std::move(unit));
  }

  void copy_records() {
    source_.query(fmt::format("SELECT {} FROM {}", column_names(analyses_table()), analyses_table().name), {},
                  [this](const Row& analysis) { copy_record(analysis); });
  }

  void copy_record(const Row& analysis) {
    const Row key = {analysis.front()};
    if (!rows_of(target_, analyses_table(), "analysis = $1", key).empty()) {
      summary_.known++;
      return;
    }
    StoredUnit unit;
    unit.tables.push_back({&analyses_table(), {analysis}});
    for (const Table* table : {&events_table(), &segments_table(), &refusals_table()}) {
      unit.tables.push_back({table, rows_of(source_, *table, "analysis = $1", key)});
    }
    summary_.records++;
    summary_.events += unit.tables[1].rows.size();
    batch_.add(std::move(unit));
  }

  /// Copies rows that belong to no record.
  void copy_rows(const Table& table, const std::string& condition) {
    source_.query(fmt::format("SELECT {} FROM {} WHERE {}", column_names(table), table.name, condition), {},
                  [&](const Row& row) {
                    StoredUnit unit;
                    unit.tables.push_back({&table, {row}});
                    batch_.add(std::move(unit));
                  });
  }

  Store& target_;
  Store& source_;
  MergeSummary summary_;
  Batch batch_;
};

}  // namespace

MergeSummary merge_store(Store& target, Store& source) {
  return Merge(target, source).run();
}

}  // namespace archive
