#include "archive/pending_events.h"

#include <fmt/ranges.h>

#include "archive/export.h"

namespace archive {

namespace {

std::string value_text(const Value& value) {
  if (const auto number = number_of(value)) return fmt::format("{}", *number);
  return text_of(value);
}

}  // namespace

void add_pending(std::vector<TableRows>& tables) {
  const std::size_t key = pending_table().key;
  TableRows pending{&pending_table(), {}};
  for (const TableRows& one : tables) {
    if (one.table != &events_table()) continue;
    for (const Row& row : one.rows) {
      pending.rows.emplace_back(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(key));
    }
  }
  if (!pending.rows.empty()) tables.push_back(std::move(pending));
}

std::vector<PendingEvent> pending_events(Store& store, std::size_t most) {
  const std::size_t key = pending_table().key;
  const std::vector<std::string> columns = exported_columns(ExportedView::events);
  const std::string query = fmt::format(
      "SELECT p.analysis, p.part, p.set_number, p.number, e.{} FROM pending_events p "
      "JOIN stored_analyses a ON a.analysis = p.analysis "
      "JOIN events e ON e.sha256 = a.sha256 AND e.parameters = a.parameters AND e.version = a.version "
      "AND e.part = p.part AND e.set_number = p.set_number AND e.number = p.number "
      "ORDER BY p.analysis, p.part, p.set_number, p.number LIMIT {}",
      fmt::join(columns, ", e."), most);
  std::vector<PendingEvent> events;
  store.query(query, {}, [&](const Row& row) {
    const auto begin = row.begin() + static_cast<std::ptrdiff_t>(key);
    PendingEvent event{{row.begin(), begin}, json_object(columns, {begin, row.end()}), {}};
    for (std::size_t i = 0; i < columns.size(); i++) event.columns.emplace_back(columns[i], value_text(row[key + i]));
    events.push_back(std::move(event));
  });
  return events;
}

void forget_pending(Store& store, const PendingEvent& event) {
  StoredUnit unit;
  unit.announced = {event.key};
  store.write({unit});
}

}  // namespace archive
