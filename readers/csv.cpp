#include "readers/csv.h"

#include <csv.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <exception>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "readers/charset.h"
#include "readers/text.h"

namespace readers {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::string line_place(std::size_t line) {
  return "line " + std::to_string(line);
}

// --- splitting into cells --------------------------------------------------------------------------------------------

struct Row {
  std::size_t line = 0;
  std::vector<std::string> cells;
};

/// Splits a table into rows of cells, one at a time. Blank lines are passed over.
class Rows {
 public:
  Rows(const std::string& file, Lines lines, char separator) : file_(file), lines_(lines) {
    csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI);
    csv_set_delim(&parser_, static_cast<unsigned char>(separator));
  }
  ~Rows() { csv_free(&parser_); }
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;

  std::optional<Row> next() {
    row_ = {};
    row_complete_ = false;
    // Lines go in one by one, so that a row's line is known; a quoted cell may go on over several.
    while (!row_complete_) {
      const auto line = lines_.next();
      if (!line) {
        check(csv_fini(&parser_, on_cell, on_row_end, this) == 0);
        break;
      }
      feed(*line);
      feed("\n");
    }
    if (!row_complete_) return std::nullopt;
    row_.line = lines_.number();
    return std::move(row_);
  }

 private:
  void feed(std::string_view text) {
    check(csv_parse(&parser_, text.data(), text.size(), on_cell, on_row_end, this) == text.size());
  }

  void check(bool accepted) const {
    if (failure_) std::rethrow_exception(failure_);
    if (accepted) return;
    throw ReadError(file_, line_place(lines_.number()), "a quotation mark stands alone or in the middle of a cell",
                    "put cells that need quotation marks in a pair of them");
  }

  // The C code that calls these must not see an exception: it is kept, and thrown again behind it.
  static void on_cell(void* cell, std::size_t size, void* self_pointer) noexcept {
    auto* self = static_cast<Rows*>(self_pointer);
    try {
      self->row_.cells.emplace_back(static_cast<const char*>(cell), size);
    } catch (...) {
      self->failure_ = std::current_exception();
    }
  }
  static void on_row_end(int, void* self) noexcept { static_cast<Rows*>(self)->row_complete_ = true; }

  const std::string& file_;
  Lines lines_;
  csv_parser parser_{};
  Row row_;
  bool row_complete_ = false;
  std::exception_ptr failure_;
};

/// The separator of a table, by a line of it: what is no separator may well stand in names or decimal numbers, the
/// comma first of all.
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

/// Steps over blank lines and remarks in front of the table; `lines` then gives its first line, which is returned.
std::string_view skip_to_table(Lines& lines) {
  for (Lines ahead = lines;; lines = ahead) {
    const auto line = ahead.next();
    if (!line) return {};
    if (const auto text = trimmed(*line); !text.empty() && text[0] != '#') return *line;
  }
}

// --- column names ----------------------------------------------------------------------------------------------------

struct Heading {
  std::string name;
  std::string unit;
};

/// Whether `word` behind `name` is a unit. "A" may as well be phase A, as in U_A: it is ampere for currents only.
bool is_unit(std::string_view word, std::string_view name) {
  const std::string small_name = lower_case(name);
  const std::string small_word = lower_case(word);
  if (small_word == "a") return small_name.starts_with('i') || small_name.find("curr") != small_name.npos;
  return is_one_of(small_word, {"v", "kv", "mv", "volt", "volts", "ka", "ma", "amp", "amps", "ampere"}) ||
         is_one_of(small_word, {"s", "sec", "ms", "us", "\xC2\xB5s", "hz", "w", "kw", "mw", "%"});
}

/// Takes a name and its unit apart.
Heading heading_of(std::string_view cell) {
  const std::string text = inert(trimmed(cell));
  const std::string_view all = text;
  std::size_t start = 0;
  std::string_view unit;
  if (all.ends_with(']') || all.ends_with(')')) {
    start = all.rfind(all.back() == ']' ? '[' : '(');
    if (start != all.npos) unit = trimmed(all.substr(start + 1, all.size() - start - 2));
  } else {
    start = all.find_last_of("_/");
    if (start != all.npos) unit = all.substr(start + 1);
  }
  const std::string_view name = trimmed(all.substr(0, start));
  // Square brackets hold units, known here or not, unless it is the letter of a phase.
  const bool certain = all.ends_with(']') && !is_one_of(lower_case(unit), {"a", "b", "c"});
  if (unit.empty() || name.empty() || (!certain && !is_unit(unit, name))) return {text, ""};
  return {std::string(name), std::string(unit)};
}

bool names_time(const Heading& heading) {
  const std::string name = lower_case(heading.name);
  return is_one_of(name, {"t", "time", "timestamp", "time_stamp", "time stamp"}) || name.starts_with("zeit");
}

/// Seconds in one unit of the time column; seconds when the name has none.
std::optional<double> seconds_per(const std::string& unit) {
  const std::string small = lower_case(unit);
  if (is_one_of(small, {"", "s", "sec"})) return 1;
  if (small == "ms") return 1e-3;
  if (is_one_of(small, {"us", "\xC2\xB5s"})) return 1e-6;
  return std::nullopt;
}

// --- times -----------------------------------------------------------------------------------------------------------

/// How finely the numbers of a column are written. One number does not tell, as trailing zeros may be left out.
class WrittenDigits {
 public:
  void take(std::string_view number) {
    int significant = 0;
    int decimals = 0;
    bool behind_point = false;
    std::size_t i = 0;
    for (; i < number.size() && number[i] != 'e' && number[i] != 'E'; ++i) {
      const char c = number[i];
      if (c == '.') behind_point = true;
      if (c < '0' || c > '9') continue;
      if (significant > 0 || c != '0') ++significant;
      if (behind_point) ++decimals;
    }
    if (i < number.size()) decimals -= static_cast<int>(parse_number(number.substr(i + 1)).value_or(0));
    significant_ = std::max(significant_, significant);
    decimals_ = any_ ? std::max(decimals_, decimals) : decimals;
    any_ = true;
  }

  /// By how much a column's number may have been rounded when it was written.
  [[nodiscard]] double rounding(double number) const {
    const double by_decimals = std::pow(10.0, -decimals_);
    if (number == 0) return by_decimals / 2;
    const double by_significant = std::pow(10.0, std::floor(std::log10(std::abs(number))) + 1 - significant_);
    return std::max(by_decimals, by_significant) / 2;
  }

 private:
  bool any_ = false;
  int significant_ = 0;
  int decimals_ = 0;
};

struct Times {
  std::vector<double> values;
  WrittenDigits digits;
};

/// How far the step from one time of the column to the next may be off the real one.
double step_tolerance(const Times& times, double step, double from, double to) {
  constexpr double kRelative = 1e-3;
  const double rounding = times.digits.rounding(from) + times.digits.rounding(to);
  return kRelative * std::abs(step) + (1 + kRelative) * rounding;
}

/// The step from time to time as it is nearly everywhere. The mean alone would be spoilt by a jump, the median is as
/// coarse as the times are written: the mean of all that are near the median is neither.
double usual_step(const Times& times, const std::vector<double>& steps) {
  std::vector<double> sorted = steps;
  const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
  std::nth_element(sorted.begin(), middle, sorted.end());
  const auto [first, last] = std::minmax_element(times.values.begin(), times.values.end());
  const double near = 2 * step_tolerance(times, *middle, *first, *last);
  double sum = 0;
  double count = 0;
  for (const double step : steps) {
    if (std::abs(step - *middle) > near) continue;
    sum += step;
    ++count;
  }
  return sum / count;
}

/// Where the step from one time to the next is another than elsewhere, as the index of the later one.
std::optional<std::size_t> first_jump(const Times& times) {
  const std::vector<double>& values = times.values;
  if (values.size() < 2) return std::nullopt;
  std::vector<double> steps(values.size() - 1);
  for (std::size_t i = 0; i < steps.size(); ++i) steps[i] = values[i + 1] - values[i];
  const double usual = usual_step(times, steps);
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const bool right = std::abs(steps[i] - usual) <= step_tolerance(times, usual, values[i], values[i + 1]);
    if (!right) return i + 1;
  }
  return std::nullopt;
}

double mean_step(const std::vector<double>& times) {
  return (times.back() - times.front()) / static_cast<double>(times.size() - 1);
}

/// Digits of the times keep a rate from coming out whole; next to a whole one that is what is meant.
double rate_of_step(double seconds) {
  constexpr double kNear = 1e-4;
  const double rate = 1 / seconds;
  const double whole = std::round(rate);
  return std::abs(rate - whole) <= kNear * rate ? whole : rate;
}

// --- the table -------------------------------------------------------------------------------------------------------

class TableReader {
 public:
  TableReader(const std::string& file, std::string_view content) : file_(file), lines_(without_file_marks(content)) {
    separator_ = separator_in(skip_to_table(lines_));
  }

  Record read(double sampling_rate) {
    read_rows();
    if (row_lines_.empty()) throw ReadError(file_, "", "has no rows of numbers", "choose a table of samples");
    if (!named_) find_time_without_name();
    Record record;
    record.file = file_;
    record.format = "CSV";
    record.rates = {{rate(sampling_rate), row_lines_.size()}};
    for (std::size_t i = 0; i < headings_.size(); ++i) {
      if (i == time_column_ || i == counter_column_ || is_blank(i)) continue;
      Channel& channel = record.channels.emplace_back();
      channel.name = headings_[i].name.empty() ? "column " + std::to_string(i + 1) : headings_[i].name;
      channel.unit = headings_[i].unit;
      channel.samples = std::move(columns_[i]);
    }
    if (record.channels.empty()) {
      throw ReadError(file_, "", "has no column of samples", "choose a table with a column per channel");
    }
    record.notes = std::move(notes_);
    return record;
  }

 private:
  void read_rows() {
    Rows rows(file_, lines_, separator_);
    auto row = rows.next();
    if (!row) return;
    headings_.resize(row->cells.size());
    columns_.resize(row->cells.size());
    if (is_heading(*row)) {
      named_ = true;
      read_headings(*row);
      row = rows.next();
    }
    for (; row; row = rows.next()) add_row(*row);
  }

  /// A row of names, by the first cell that holds anything: data have a number there.
  static bool is_heading(const Row& row) {
    const auto cell = std::find_if(row.cells.begin(), row.cells.end(), [](const auto& c) { return !c.empty(); });
    if (cell == row.cells.end() || parse_number(*cell)) return false;
    return !has_decimal_comma(*cell);
  }

  void read_headings(const Row& row) {
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
      headings_[i] = heading_of(row.cells[i]);
      if (time_column_ || !names_time(headings_[i])) continue;
      time_column_ = i;
      if (!seconds_per(headings_[i].unit)) {
        throw ReadError(file_, line_place(row.line), "the time is in " + cited(headings_[i].unit),
                        "give it in seconds (s), ms or us");
      }
    }
  }

  void add_row(const Row& row) {
    if (row.cells.size() != columns_.size()) {
      throw ReadError(file_, line_place(row.line),
                      "the row has " + std::to_string(row.cells.size()) + " cells where " +
                          std::to_string(columns_.size()) + " belong",
                      "correct or remove the row");
    }
    for (std::size_t i = 0; i < columns_.size(); ++i) columns_[i].push_back(number_in(row, i));
    // Without names the first column may turn out to hold the time.
    const std::size_t time = time_column_.value_or(0);
    if (time_column_ || !named_) time_digits_.take(row.cells[time]);
    row_lines_.push_back(row.line);
  }

  static bool has_decimal_comma(std::string cell) {
    const std::size_t comma = cell.find(',');
    if (comma == cell.npos) return false;
    cell[comma] = '.';
    return parse_number(cell).has_value();
  }

  double number_in(const Row& row, std::size_t column) const {
    const std::string& cell = row.cells[column];
    const bool time = column == time_column_;
    if (cell.empty() && !time) return kNaN;
    const auto number = parse_number(cell);
    if (number && (!time || std::isfinite(*number))) return *number;

    const std::string cause = cited(cell) + " in column " + std::to_string(column + 1);
    if (has_decimal_comma(cell)) {
      throw ReadError(file_, line_place(row.line), cause + " has a decimal comma, which is not read",
                      "write numbers with a decimal point");
    }
    throw ReadError(
        file_, line_place(row.line), cause + (time ? " is not a time" : " is not a number"),
        time ? "give the time as a number of seconds or milliseconds" : "correct the cell or leave it empty");
  }

  void find_time_without_name() {
    constexpr std::size_t kTimeAndThreePhases = 4;
    const std::vector<double>& first = columns_.front();
    if (columns_.size() < kTimeAndThreePhases || first.size() < 2) return;
    const bool rises =
        std::adjacent_find(first.begin(), first.end(), [](double a, double b) { return !(a < b); }) == first.end();
    if (!rises || first_jump({first, time_digits_})) return;
    if (mean_step(first) == 1) {
      counter_column_ = 0;
      notes_.push_back("The first column counts the samples and was left out.");
    } else {
      time_column_ = 0;
    }
  }

  double rate(double given) {
    if (!time_column_) {
      if (given > 0 && std::isfinite(given)) return given;
      throw ReadError(file_, "", "no column holds the time, so the sampling rate is not known",
                      "give it with --rate (samples per second)");
    }
    const double in_file = rate_of_times();
    if (given > 0 && std::abs(given - in_file) > 1e-3 * in_file) {
      notes_.push_back("The rate given (" + number_text(given) + " samples per second) was not used, as the times in " +
                       "the table make it " + number_text(in_file) + ".");
    }
    return in_file;
  }

  double rate_of_times() const {
    const Times times{columns_[*time_column_], time_digits_};
    if (times.values.size() < 2) {
      throw ReadError(file_, line_place(row_lines_.front()), "a single row does not tell the sampling rate",
                      "choose a table with more rows");
    }
    if (const auto jump = first_jump(times)) {
      throw ReadError(file_, line_place(row_lines_[*jump]),
                      "the time jumps from " + number_text(times.values[*jump - 1]) + " to " +
                          number_text(times.values[*jump]) + ", unlike the steps elsewhere",
                      "cut the table there: samples must follow at one rate");
    }
    const double step = mean_step(times.values) * *seconds_per(headings_[*time_column_].unit);
    if (!(step > 0)) {
      throw ReadError(file_, line_place(row_lines_[1]), "the time does not rise", "correct the column of times");
    }
    return rate_of_step(step);
  }

  /// A column without name or value, as a separator at the end of every line makes.
  [[nodiscard]] bool is_blank(std::size_t column) const {
    const std::vector<double>& values = columns_[column];
    return headings_[column].name.empty() &&
           std::all_of(values.begin(), values.end(), [](double value) { return std::isnan(value); });
  }

  const std::string& file_;
  Lines lines_;
  char separator_ = ',';
  bool named_ = false;
  std::vector<Heading> headings_;
  std::vector<std::vector<double>> columns_;
  std::optional<std::size_t> time_column_;
  std::optional<std::size_t> counter_column_;
  WrittenDigits time_digits_;
  std::vector<std::size_t> row_lines_;
  std::vector<std::string> notes_;
};

}  // namespace

Record read_csv(const std::string& file, std::string_view content, const OpenOptions& options) {
  const Utf8Text text = to_utf8(content, options.charset);
  Record record = TableReader(file, text.text).read(options.sampling_rate);
  if (const std::string note = note_on_guess(text); !note.empty()) record.notes.push_back(note);
  return record;
}

}  // namespace readers
