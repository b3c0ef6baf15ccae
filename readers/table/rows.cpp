#include "readers/table/rows.h"

#include <optional>

#include "readers/record.h"

namespace readers {

namespace {

/// Returns the separator of a table, judged by one of its lines. Characters that are not the separator may occur in
/// names or in decimal numbers, above all the comma, so the comma is considered last.
char separator_in(std::string_view line) {
  bool in_quotes = false;
  bool semicolon = false;
  for (const char c : line) {
    if (c == '"') in_quotes = !in_quotes;
    if (in_quotes) continue;
    if (c == '\t') return '\t';
    if (c == ';') semicolon = true;
  }
  return semicolon ? ';' : ',';
}

/// Returns whether a line may hold data, which is so if its first character after signs and separators is a digit.
bool starts_with_number(std::string_view line) {
  const std::size_t first = line.find_first_not_of(" \t\"+-.,;");
  return first != line.npos && line[first] >= '0' && line[first] <= '9';
}

}  // namespace

Rows::Rows(const std::string& file, Lines lines, char separator) : file_(file), lines_(lines), separator_(separator) {
  csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI);
  csv_set_delim(&parser_, static_cast<unsigned char>(separator));
}

Rows::~Rows() {
  csv_free(&parser_);
}

const Row* Rows::next() {
  row_.cells.clear();
  while (const auto line = lines_.next()) {
    if (line->find('"') == line->npos) {
      if (trimmed(*line).empty()) continue;
      split(*line);
    } else if (!parse(*line)) {
      continue;
    }
    row_.line = lines_.number();
    return &row_;
  }
  return nullptr;
}

void Rows::split(std::string_view line) {
  for (;;) {
    const std::size_t end = line.find(separator_);
    row_.cells.push_back(trimmed(line.substr(0, end)));
    if (end == line.npos) return;
    line.remove_prefix(end + 1);
  }
}

/// Splits a row that contains quotation marks; a quoted cell may extend over several lines. Returns false if the row
/// has no cells.
bool Rows::parse(std::string_view line) {
  row_complete_ = false;
  quoted_.clear();
  feed(line);
  feed("\n");
  while (!row_complete_) {
    const auto more = lines_.next();
    if (!more) {
      check(csv_fini(&parser_, on_cell, on_row_end, this) == 0);
      break;
    }
    feed(*more);
    feed("\n");
  }
  for (const std::string& cell : quoted_) row_.cells.push_back(trimmed(cell));
  return !row_.cells.empty();
}

void Rows::feed(std::string_view text) {
  check(csv_parse(&parser_, text.data(), text.size(), on_cell, on_row_end, this) == text.size());
}

void Rows::check(bool accepted) const {
  if (failure_) std::rethrow_exception(failure_);
  if (accepted) return;
  throw ReadError(file_, line_place(lines_.number()), "a quotation mark is unpaired or in the middle of a cell",
                  "enclose each cell that needs quotation marks in a pair of them");
}

// The C code that calls these functions must not see an exception, so it is stored and rethrown once that code has
// returned.
void Rows::on_cell(void* cell, std::size_t size, void* self_pointer) noexcept {
  auto* self = static_cast<Rows*>(self_pointer);
  try {
    self->quoted_.emplace_back(static_cast<const char*>(cell), size);
  } catch (...) {
    self->failure_ = std::current_exception();
  }
}

void Rows::on_row_end(int /*end*/, void* self) noexcept {
  static_cast<Rows*>(self)->row_complete_ = true;
}

char skip_to_table(Lines& lines) {
  std::optional<char> stated;
  for (Lines ahead = lines;; lines = ahead) {
    const auto line = ahead.next();
    if (!line) return ',';
    const auto text = trimmed(*line);
    if (text.size() == 5 && lower_case(text.substr(0, 4)) == "sep=") {
      stated = text[4];
      continue;
    }
    if (!text.empty() && text[0] != '#') break;
  }
  if (stated) return *stated;
  constexpr int most_preamble = 200;
  Lines ahead = lines;
  std::string_view first;
  for (int i = 0; i < most_preamble; i++) {
    const auto line = ahead.next();
    if (!line) break;
    if (i == 0) first = *line;
    if (starts_with_number(*line) && line->find_first_of(",;\t") != line->npos) return separator_in(*line);
  }
  return separator_in(first);
}

}  // namespace readers
