// Splits a text table into rows of cells.
#pragma once

#include <csv.h>

#include <cstddef>
#include <exception>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "readers/table/plain_row.h"
#include "readers/text.h"

namespace readers {

struct Row {
  std::size_t line = 0;
  std::vector<std::string_view> cells;  ///< trimmed; valid until the next row is requested
};

/// Splits a table into rows of cells, one row at a time. Blank lines are skipped.
class Rows {
 public:
  /// `file` is the table's name for messages.
  Rows(const std::string& file, Lines lines, char separator);
  ~Rows();
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;

  /// Returns the next row, or null when no row is left.
  const Row* next();

  /// Reads the next row if it has as many cells as `cells` and all of them are plain numbers. Returns false, without
  /// going past the row, if it has to be read by `next`.
  bool next_plain(std::span<PlainCell> cells);

  /// Returns the line of the row that was read last.
  [[nodiscard]] std::size_t line() const { return lines_.number(); }

  /// Returns where the next row begins, or blank lines before it.
  [[nodiscard]] const char* position() const { return lines_.position(); }
  [[nodiscard]] std::size_t bytes_left() const { return lines_.bytes_left(); }

 private:
  void split(std::string_view line);
  bool parse(std::string_view line);
  void feed(std::string_view text);
  void check(bool accepted) const;
  static void on_cell(void* cell, std::size_t size, void* self_pointer) noexcept;
  static void on_row_end(int end, void* self) noexcept;

  const std::string& file_;
  Lines lines_;
  char separator_;
  bool may_be_plain_;  ///< numbers can be told from separators and line ends by their characters
  csv_parser parser_{};
  Row row_;
  std::vector<std::string> quoted_;
  bool row_complete_ = false;
  std::exception_ptr failure_;
};

/// Returns whether blanks separate the cells of a line of data, so that each of two or more cells is a number, except
/// the first one if it is a time of day. A blank after a comma, or within a time stamp, does not separate cells.
bool is_separated_by_blanks(std::string_view line);

/// Skips blank lines and remarks before the table, after which `lines` gives its first line. Returns the table's
/// separator: the one given by the line "sep=;" of a spreadsheet, or otherwise the one in the first line that looks
/// like data.
char skip_to_table(Lines& lines);

}  // namespace readers
