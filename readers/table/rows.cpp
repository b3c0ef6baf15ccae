#include "readers/table/rows.h"

#include <optional>

#include "readers/record.h"

namespace readers {

namespace {

constexpr std::string_view blanks = " \t\r";

/// Returns whether a cell is a number, with a decimal point or comma.
bool is_number(std::string_view cell) {
  std::string text(cell);
  const std::size_t comma = text.find(',');
  const bool within = comma != text.npos && comma > 0 && comma + 1 < text.size();
  if (within && text.find('.') == text.npos) text[comma] = '.';
  return parse_number(text).has_value();
}

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

bool is_separated_by_blanks(std::string_view line) {
  std::size_t count = 0;
  for (std::string_view rest = trimmed(line); !rest.empty(); count++) {
    const std::string_view cell = rest.substr(0, rest.find(' '));
    const bool clock = count == 0 && cell.find(':') != cell.npos && cell.find_first_not_of("0123456789:.") == cell.npos;
    if (!clock && !is_number(cell)) return false;
    rest = trimmed(rest.substr(cell.size()));
  }
  return count >= 2;
}

Rows::Rows(const std::string& file, Lines lines, char separator)
    : file_(file),
      lines_(lines),
      separator_(separator),
      may_be_plain_(lines.end_in_line_feeds() && std::string_view(",;\t|:").find(separator) != std::string_view::npos) {
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

bool Rows::next_plain(std::span<PlainCell> cells) {
  const std::string_view rest = lines_.rest();
  if (!may_be_plain_ || rest.empty()) return false;
  const char* after = plain_row(rest.data(), rest.data() + rest.size(), separator_, cells);
  if (after == nullptr) return false;
  lines_.skip_line(after);
  return true;
}

void Rows::split(std::string_view line) {
  if (separator_ == ' ') {
    for (std::size_t at = line.find_first_not_of(blanks); at != line.npos;) {
      const std::size_t end = std::min(line.find_first_of(blanks, at), line.size());
      row_.cells.push_back(line.substr(at, end - at));
      at = line.find_first_not_of(blanks, end);
    }
    return;
  }
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
    if (!starts_with_number(*line)) continue;
    if (line->find_first_of(";\t") == line->npos && is_separated_by_blanks(*line)) return ' ';
    if (line->find_first_of(",;\t") != line->npos) return separator_in(*line);
  }
  return separator_in(first);
}

}  // namespace readers
