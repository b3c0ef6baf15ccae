// archive_columns: prints the columns of a store as tables for the page on archives.
#include <fmt/format.h>

#include <cstdio>
#include <string>

#include "archive/tables.h"

namespace {

/// Prints the columns that a view has besides those that identify its rows.
void print(const char* view, const archive::Table& table, std::size_t first) {
  for (std::size_t i = first; i < table.columns.size(); i++) {
    fmt::print("| {} | `{}` | {} |\n", i == first ? fmt::format("`{}`", view) : "", table.columns[i].name,
               table.columns[i].meaning);
  }
}

}  // namespace

int main() {
  fmt::print("| view | column | meaning |\n|---|---|---|\n");
  print("records", archive::analyses_table(), 1);
  print("events", archive::events_table(), 1);
  print("segments", archive::segments_table(), 1);
  print("refusals", archive::refusals_table(), 1);
}
