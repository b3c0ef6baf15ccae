// Names of a table's columns, taken apart into name and unit.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace readers {

struct Heading {
  std::string name;
  std::string unit;
};

/// Takes a name and its unit apart.
Heading heading_of(std::string_view cell);

/// Seconds in one unit of the time column; seconds when the name has none.
std::optional<double> seconds_per(const std::string& unit);

/// Whether `word` behind `name` is a unit. "A" may as well be phase A, as in U_A: it is ampere for currents only.
bool is_unit(std::string_view word, std::string_view name);

/// The unit that a cell of a unit row gives: "V", "[V]", "(V)".
std::string bare_unit(std::string_view cell);

bool names_time(const Heading& heading);
bool names_date(const Heading& heading);

}  // namespace readers
