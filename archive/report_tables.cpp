#include "archive/report_tables.h"

namespace archive {

namespace {

/// Names the cells by the letter of the row and the number of the column.
std::vector<std::vector<std::string>> lettered(const std::string& letters, std::size_t columns) {
  std::vector<std::vector<std::string>> cells;
  for (const char letter : letters) {
    auto& row = cells.emplace_back();
    for (std::size_t column = 1; column <= columns; column++) row.push_back(letter + std::to_string(column));
  }
  return cells;
}

}  // namespace

std::size_t count_in(const Counts& counts, const std::string& cell) {
  const auto found = counts.find(cell);
  return found == counts.end() ? 0 : found->second;
}

CountTable en50160_dip_table() {
  return {"Dips by EN 50160",
          {"80 to 90 %", "70 to 80 %", "40 to 70 %", "5 to 40 %", "below 5 %"},
          {"to 200 ms", "to 500 ms", "to 1 s", "to 5 s", "to 60 s"},
          lettered("ABCDX", 5)};
}

CountTable en50160_swell_table() {
  return {"Swells by EN 50160", {"from 120 %", "110 to 120 %"}, {"to 500 ms", "to 5 s", "to 60 s"}, lettered("ST", 3)};
}

CountTable unipede_table() {
  CountTable table = {"Dips by UNIPEDE, depth",
                      {"10 to 30 %", "30 to 60 %", "60 to 100 %", "100 %"},
                      {"to 100 ms", "to 500 ms", "to 1 s", "to 3 s", "to 20 s", "to 60 s"},
                      {}};
  const std::vector<std::string> durations = {"10 to 100 ms", "100 to 500 ms", "0.5 to 1 s",
                                              "1 to 3 s",     "3 to 20 s",     "20 to 60 s"};
  for (const std::string& depth : table.rows) {
    auto& row = table.cells.emplace_back();
    for (const std::string& duration : durations) row.push_back(depth + " for " + duration);
  }
  return table;
}

}  // namespace archive
