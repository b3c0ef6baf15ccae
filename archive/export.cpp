#include "archive/export.h"

#include <fmt/ranges.h>

#include <nlohmann/json.hpp>
#include <vector>

#include "outputs/csv.h"

namespace archive {

namespace {

using Json = nlohmann::ordered_json;

std::string csv_value(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return outputs::csv_field(*text);
  if (const auto* whole = std::get_if<std::int64_t>(&value)) return fmt::format("{}", *whole);
  if (const auto* number = std::get_if<double>(&value)) return fmt::format("{}", *number);
  return {};
}

std::string csv_line(const Row& row) {
  std::string line;
  for (std::size_t i = 0; i < row.size(); i++) line += (i == 0 ? "" : ",") + csv_value(row[i]);
  return line + "\n";
}

Json json_value(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* whole = std::get_if<std::int64_t>(&value)) return *whole;
  if (const auto* number = std::get_if<double>(&value)) return *number;
  return nullptr;
}

}  // namespace

std::vector<std::string> exported_columns(ExportedView view) {
  const bool events = view == ExportedView::events;
  std::vector<std::string> columns = {"sha256", "part", "set_number", "parameters", "version"};
  if (!events) columns.emplace_back("event");
  for (const char* name : {"number", "site", "file"}) columns.emplace_back(name);
  if (events) columns.insert(columns.end(), {"station", "device"});
  const Table& table = events ? events_table() : segments_table();
  for (std::size_t i = table.key; i < table.columns.size(); i++) columns.emplace_back(table.columns[i].name);
  return columns;
}

std::string json_object(const std::vector<std::string>& columns, const Row& row) {
  Json object;
  for (std::size_t i = 0; i < row.size(); i++) object[columns[i]] = json_value(row[i]);
  return object.dump(-1, ' ', false, Json::error_handler_t::replace);
}

void export_rows(Store& store, ExportedView view, ExportFormat format,
                 const std::function<void(const std::string&)>& take) {
  const std::vector<std::string> columns = exported_columns(view);
  const bool events = view == ExportedView::events;
  const std::string query =
      fmt::format("SELECT {} FROM {} ORDER BY sha256, parameters, version, part, set_number, {}",
                  fmt::join(columns, ", "), events ? "events" : "segments", events ? "number" : "event, number");
  if (format == ExportFormat::csv) take(fmt::format("{}\n", fmt::join(columns, ",")));
  store.query(query, {}, [&](const Row& row) {
    take(format == ExportFormat::csv ? csv_line(row) : json_object(columns, row) + "\n");
  });
}

}  // namespace archive
