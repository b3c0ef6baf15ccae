// Splits the headings of a table's columns into name and unit.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace readers {

struct Heading {
  std::string name;
  std::string unit;
};

/// Splits a heading into its name and its unit.
Heading heading_of(std::string_view cell);

/// Returns the seconds in one unit of the time column; a heading without a unit means seconds. Returns nothing for an
/// unknown unit.
std::optional<double> seconds_per(const std::string& unit);

/// Returns whether `word` after `name` is a unit. "A" may also be phase A, as in U_A, so it counts as ampere for
/// currents only.
bool is_unit(std::string_view word, std::string_view name);

/// Returns the unit in a cell of a row of units: "V", "[V]", "(V)".
std::string bare_unit(std::string_view cell);

bool names_time(const Heading& heading);
bool names_date(const Heading& heading);

}  // namespace readers
