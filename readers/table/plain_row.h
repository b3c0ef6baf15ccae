// Reads rows that consist of plain numbers, which nearly all rows of a table are, in one pass over their characters.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>
#include <system_error>

#include "platform/float_chars.h"
#include "readers/plain_number.h"

namespace readers {

/// A cell of a plain row.
struct PlainCell {
  double number = 0;
  std::string_view text;
  bool has_exponent = false;  ///< or it has more than 15 digits
};

/// Reads a cell that begins with a digit, a minus sign or a point. Returns the position after it, or null if the cell
/// does not begin with such a number. The number is the one that parse_number finds in the same characters.
inline const char* plain_cell(const char* at, const char* end, PlainCell& cell) {
  const char* after = plain_number(at, end, cell.number);
  cell.has_exponent = after == nullptr || (after < end && (*after == 'e' || *after == 'E'));
  if (!cell.has_exponent) {
    cell.text = {at, static_cast<std::size_t>(after - at)};
    return after;
  }
  const char* first = at < end && *at == '-' ? at + 1 : at;
  const bool numeric = first < end && ((*first >= '0' && *first <= '9') || *first == '.');
  if (!numeric) return nullptr;
  const auto [stop, error] = platform::from_chars(at, end, cell.number);
  if (error != std::errc()) return nullptr;
  cell.text = {at, static_cast<std::size_t>(stop - at)};
  return stop;
}

/// Reads a row of as many cells as `cells` has, with LF or CRLF or the end of the text after it. Blanks may surround
/// the numbers. Returns the position of the next row. Returns null, with cells in any state, if the row has another
/// number of cells or anything in a cell that is not such a number; it then has to be read in the general way.
inline const char* plain_row(const char* at, const char* end, char separator, std::span<PlainCell> cells) {
  const auto skip_blanks = [&] {
    while (at < end && *at == ' ') at++;
  };
  for (std::size_t i = 0; i < cells.size(); i++) {
    skip_blanks();
    at = plain_cell(at, end, cells[i]);
    if (at == nullptr) return nullptr;
    skip_blanks();
    if (i + 1 == cells.size()) break;
    if (at == end || *at != separator) return nullptr;
    at++;
  }
  if (at < end && *at == '\r') at++;
  if (at == end) return at;
  return *at == '\n' ? at + 1 : nullptr;
}

}  // namespace readers
