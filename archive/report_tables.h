// The rows and columns of the tables in reports.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace archive {

/// How often the cells of a table, the months or the types occur; those that do not occur need no entry.
using Counts = std::map<std::string, std::size_t>;

/// Returns how often a cell occurs.
std::size_t count_in(const Counts& counts, const std::string& cell);

/// A table of counts: the cell of a row and a column has the name `cell`.
struct CountTable {
  std::string title;
  std::vector<std::string> rows;
  std::vector<std::string> columns;
  std::vector<std::vector<std::string>> cells;  ///< by row and column
};

/// The table of dips in EN 50160:2010.
CountTable en50160_dip_table();
/// The table of swells in EN 50160:2010.
CountTable en50160_swell_table();
/// The DISDIP table of UNIPEDE.
CountTable unipede_table();

}  // namespace archive
