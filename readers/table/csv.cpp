#include "readers/table/csv.h"

#include <csv.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <exception>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "readers/charset.h"
#include "readers/text.h"
#include "readers/time_stamps.h"

namespace readers {
namespace {

std::string line_place(std::size_t line) {
  return "line " + std::to_string(line);
}

// --- splitting into cells --------------------------------------------------------------------------------------------

struct Row {
  std::size_t line = 0;
  std::vector<std::string_view> cells;  ///< trimmed; valid until the next row is asked for
};

/// Splits a table into rows of cells, one at a time. Blank lines are passed over.
class Rows {
 public:
  Rows(const std::string& file, Lines lines, char separator) : file_(file), lines_(lines), separator_(separator) {
    csv_init(&parser_, CSV_STRICT | CSV_STRICT_FINI);
    csv_set_delim(&parser_, static_cast<unsigned char>(separator));
  }
  ~Rows() { csv_free(&parser_); }
  Rows(const Rows&) = delete;
  Rows& operator=(const Rows&) = delete;

  /// Nothing when the table is used up.
  const Row* next() {
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

 private:
  void split(std::string_view line) {
    for (;;) {
      const std::size_t end = line.find(separator_);
      row_.cells.push_back(trimmed(line.substr(0, end)));
      if (end == line.npos) return;
      line.remove_prefix(end + 1);
    }
  }

  /// A row with quotation marks; a quoted cell may go on over several lines. False for one without cells.
  bool parse(std::string_view line) {
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
      self->quoted_.emplace_back(static_cast<const char*>(cell), size);
    } catch (...) {
      self->failure_ = std::current_exception();
    }
  }
  static void on_row_end(int, void* self) noexcept { static_cast<Rows*>(self)->row_complete_ = true; }

  const std::string& file_;
  Lines lines_;
  char separator_;
  csv_parser parser_{};
  Row row_;
  std::vector<std::string> quoted_;
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

/// Whether a line may be one of data: its first sign is one of a number.
bool starts_with_number(std::string_view line) {
  const std::size_t first = line.find_first_not_of(" \t\"+-.,;");
  return first != line.npos && line[first] >= '0' && line[first] <= '9';
}

/// Steps over blank lines and remarks in front of the table; `lines` then gives its first line. Returns the table's
/// separator: what the line "sep=;" of a spreadsheet says, otherwise by the first line that looks like data.
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

// --- column names ----------------------------------------------------------------------------------------------------

struct Heading {
  std::string name;
  std::string unit;
};

/// Seconds in one unit of the time column; seconds when the name has none.
std::optional<double> seconds_per(const std::string& unit) {
  const std::string small = lower_case(unit);
  if (is_one_of(small, {"", "s", "sec", "secs", "second", "seconds", "sekunden", "с", "сек"})) return 1;
  if (is_one_of(small, {"ms", "msec", "millisecond", "milliseconds", "millisekunden", "мс"})) return 1e-3;
  // The sign of micro is written as such or as the Greek letter.
  if (is_one_of(small, {"us", "usec", "\xC2\xB5s", "\xCE\xBCs", "microsecond", "microseconds", "мкс"})) return 1e-6;
  return std::nullopt;
}

/// Whether `word` behind `name` is a unit. "A" may as well be phase A, as in U_A: it is ampere for currents only.
bool is_unit(std::string_view word, std::string_view name) {
  const std::string small_name = lower_case(name);
  const std::string small_word = lower_case(word);
  if (small_word == "a") return small_name.starts_with('i') || small_name.find("curr") != small_name.npos;
  return is_one_of(small_word, {"v", "kv", "mv", "volt", "volts", "ka", "ma", "amp", "amps", "ampere"}) ||
         is_one_of(small_word, {"В", "в", "кВ", "кв", "мВ", "А", "кА", "hz", "w", "kw", "mw", "%"}) ||
         (!word.empty() && seconds_per(std::string(word)).has_value());
}

bool names_time(const Heading& heading) {
  const std::string name = lower_case(heading.name);
  return is_one_of(name, {"t", "time", "timestamp", "time_stamp", "time stamp", "datetime", "date time", "date/time",
                          "date_time", "Время", "время", "时间"}) ||
         name.starts_with("zeit");
}

/// Of times the unit may also follow as a word: "Zeit in ms", "Time, ms".
Heading time_heading_of(const std::string& text) {
  const std::size_t start = text.find_last_of(" ,");
  if (start == text.npos || !seconds_per(text.substr(start + 1))) return {text, ""};
  std::string_view name = text;
  name = name.substr(0, start);
  while (name.ends_with(' ') || name.ends_with(',')) name.remove_suffix(1);
  if (name.ends_with(" in")) name.remove_suffix(3);
  const Heading heading{std::string(trimmed(name)), text.substr(start + 1)};
  return names_time(heading) ? heading : Heading{text, ""};
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
  if (unit.empty() || name.empty() || (!certain && !is_unit(unit, name))) return time_heading_of(text);
  return {std::string(name), std::string(unit)};
}

bool names_date(const Heading& heading) {
  return is_one_of(lower_case(heading.name), {"date", "datum", "Дата", "дата", "日期"});
}

/// The unit that a cell of a unit row gives: "V", "[V]", "(V)".
std::string bare_unit(std::string_view cell) {
  const bool bracketed =
      cell.size() > 2 && ((cell.front() == '[' && cell.back() == ']') || (cell.front() == '(' && cell.back() == ')'));
  return inert(trimmed(bracketed ? cell.substr(1, cell.size() - 2) : cell));
}

// --- times -----------------------------------------------------------------------------------------------------------

/// std::pow takes long, and is asked for each row.
double power_of_ten(int exponent) {
  constexpr int largest = 40;
  static const auto powers = [] {
    std::array<double, 2 * largest + 1> list;
    for (int i = -largest; i <= largest; i++) list[static_cast<std::size_t>(i + largest)] = std::pow(10.0, i);
    return list;
  }();
  return powers[static_cast<std::size_t>(std::clamp(exponent, -largest, largest) + largest)];
}

/// How finely the numbers of a column are written. One number does not tell, as trailing zeros may be left out.
class WrittenDigits {
 public:
  void take(std::string_view number) {
    int significant = 0;
    int decimals = 0;
    bool behind_point = false;
    std::size_t i = 0;
    for (; i < number.size() && number[i] != 'e' && number[i] != 'E'; i++) {
      const char c = number[i];
      if (c == '.' || c == ',') behind_point = true;
      if (c < '0' || c > '9') continue;
      if (significant > 0 || c != '0') significant++;
      if (behind_point) decimals++;
    }
    if (i < number.size()) decimals -= exponent_in(number.substr(i + 1));
    significant_ = std::max(significant_, significant);
    decimals_ = any_ ? std::max(decimals_, decimals) : decimals;
    any_ = true;
  }

  /// The same for a number of which only the decimals are known; it has all digits before the point.
  void take_decimals(int decimals) {
    constexpr int all = 17;
    significant_ = all;
    decimals_ = any_ ? std::max(decimals_, decimals) : decimals;
    any_ = true;
  }

  /// By how much any number of the column may have been rounded at least.
  [[nodiscard]] double least_rounding() const { return power_of_ten(-decimals_) / 2; }

  /// By how much a column's number may have been rounded when it was written.
  [[nodiscard]] double rounding(double number) const {
    const double by_decimals = power_of_ten(-decimals_);
    if (number == 0) return by_decimals / 2;
    const int before_point = static_cast<int>(std::floor(std::log10(std::abs(number)))) + 1;
    return std::max(by_decimals, power_of_ten(before_point - significant_)) / 2;
  }

 private:
  /// As far as it makes a difference: none is too large to be written.
  static int exponent_in(std::string_view text) {
    constexpr double largest = 1000;
    return static_cast<int>(std::fmax(-largest, std::fmin(parse_number(text).value_or(0), largest)));
  }

  bool any_ = false;
  int significant_ = 0;
  int decimals_ = 0;
};

struct Times {
  const std::vector<double>& values;
  const WrittenDigits& digits;
};

/// Whether a time is written without hours. Without a fraction the same would be hours and minutes.
bool is_minutes_and_seconds(std::string_view time) {
  return std::count(time.begin(), time.end(), ':') == 1 && time.find('.', time.find(':')) != time.npos;
}

/// Takes "AM" or "PM" off the end of a time; nothing where there is none.
std::optional<bool> take_afternoon(std::string& time) {
  const std::string small = lower_case(time);
  for (const bool afternoon : {false, true}) {
    for (const std::string_view mark : {afternoon ? "pm" : "am", afternoon ? "p.m." : "a.m."}) {
      if (!small.ends_with(mark)) continue;
      time.resize(time.size() - mark.size());
      time = trimmed(time);
      return afternoon;
    }
  }
  return std::nullopt;
}

/// A time stamp such as "2026-11-21 10:00:00.000156", "21.11.2026 10:00:00,5", "10:00:00.5Z" or "10:00:00.5 PM", and
/// as spreadsheets show it when left to themselves "00:00.5", minutes and seconds. What goes over midnight is put right
/// later.
std::optional<WrittenTime> parse_time_stamp(std::string_view cell) {
  const std::size_t colon = cell.find(':');
  if (colon == cell.npos) return std::nullopt;
  const std::size_t before = cell.find_last_of(" T", colon);
  std::string time(cell.substr(before == cell.npos ? 0 : before + 1));
  const auto afternoon = take_afternoon(time);
  if (time.ends_with('Z')) time.pop_back();
  if (const std::size_t zone = time.find_first_of("+-"); zone != time.npos) time.resize(zone);
  std::replace(time.begin(), time.end(), ',', '.');
  if (is_minutes_and_seconds(time)) time.insert(0, "0:");
  const std::string_view date = before == cell.npos ? std::string_view() : cell.substr(0, before);
  auto written = parse_time(date, time);
  if (!written || !afternoon) return written;
  constexpr double seconds_per_hour = 3600;
  if (written->seconds_of_day >= 13 * seconds_per_hour || written->seconds_of_day < seconds_per_hour)
    return std::nullopt;
  if (written->seconds_of_day >= 12 * seconds_per_hour) written->seconds_of_day -= 12 * seconds_per_hour;
  if (*afternoon) written->seconds_of_day += 12 * seconds_per_hour;
  return written;
}

constexpr double relative_step = 1e-3;

/// How far the step from one time of the column to the next may be off the real one.
double step_tolerance(const Times& times, double step, double from, double to) {
  const double rounding = times.digits.rounding(from) + times.digits.rounding(to);
  return relative_step * std::abs(step) + (1 + relative_step) * rounding;
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
    count++;
  }
  return sum / count;
}

/// Where the step from one time to the next is another than elsewhere, as the index of the later one.
std::optional<std::size_t> first_jump(const Times& times) {
  const std::vector<double>& values = times.values;
  if (values.size() < 2) return std::nullopt;
  std::vector<double> steps(values.size() - 1);
  for (std::size_t i = 0; i < steps.size(); i++) steps[i] = values[i + 1] - values[i];
  const double usual = usual_step(times, steps);
  const double surely = relative_step * std::abs(usual) + 2 * times.digits.least_rounding();
  for (std::size_t i = 0; i < steps.size(); i++) {
    if (std::abs(steps[i] - usual) <= surely) continue;
    const bool right = std::abs(steps[i] - usual) <= step_tolerance(times, usual, values[i], values[i + 1]);
    if (!right) return i + 1;
  }
  return std::nullopt;
}

double mean_step(const std::vector<double>& times) {
  return (times.back() - times.front()) / static_cast<double>(times.size() - 1);
}

/// Whether times are written so coarsely that one step from time to time does not tell the rate.
bool has_uneven_steps(const std::vector<double>& times) {
  constexpr double uneven = 0.01;
  const double mean = mean_step(times);
  for (std::size_t i = 1; i < times.size(); i++) {
    if (std::abs(times[i] - times[i - 1] - mean) > uneven * mean) return true;
  }
  return false;
}

/// Digits of the times keep a rate from coming out whole; next to a whole one that is what is meant.
double rate_of_step(double seconds) {
  constexpr double near_whole = 1e-4;
  const double rate = 1 / seconds;
  const double whole = std::round(rate);
  return std::abs(rate - whole) <= near_whole * rate ? whole : rate;
}

// --- the table -------------------------------------------------------------------------------------------------------

/// A row that may be of the table's head, kept while it is not known where the data begin.
struct HeadRow {
  std::size_t line = 0;
  std::vector<std::string> cells;
};

class TableReader {
 public:
  TableReader(const std::string& file, std::string_view content) : file_(file), lines_(without_file_marks(content)) {
    separator_ = skip_to_table(lines_);
  }

  Record read(double sampling_rate) {
    read_rows();
    if (row_lines_.empty()) throw ReadError(file_, "", "has no rows of numbers", "choose a table of samples");
    if (!named_ && !time_column_) find_time_without_name();
    Record record;
    record.file = file_;
    record.format = "CSV";
    record.rates = {{rate(sampling_rate), row_lines_.size()}};
    for (std::size_t i = 0; i < headings_.size(); i++) {
      if (i == time_column_ || i == counter_column_ || is_text_[i] || is_blank(i)) continue;
      Channel& channel = record.channels.emplace_back();
      channel.name = headings_[i].name.empty() ? "column " + std::to_string(i + 1) : headings_[i].name;
      channel.unit = headings_[i].unit;
      channel.samples = std::move(columns_[i]);
    }
    if (record.channels.empty()) {
      throw ReadError(file_, "", "has no column of samples", "choose a table with a column per channel");
    }
    if (comma_line_ != 0) notes_.emplace_back("Numbers are read with a decimal comma.");
    record.notes = std::move(notes_);
    return record;
  }

 private:
  // What a cell holds.
  struct Cell {
    std::optional<double> number;
    bool comma = false;  ///< written with a decimal comma
  };

  static Cell cell_of(std::string_view text) {
    if (const auto number = parse_number(text)) return {number, false};
    const std::size_t comma = text.find(',');
    if (comma == text.npos || text.find('.') != text.npos) return {};
    std::string with_point(text);
    with_point[comma] = '.';
    return {parse_number(with_point), true};
  }

  void read_rows() {
    Rows rows(file_, lines_, separator_);
    std::vector<HeadRow> head;
    const Row* row = rows.next();
    while (row != nullptr && is_head(*row)) {
      HeadRow& kept = head.emplace_back();
      kept.line = row->line;
      for (const std::string_view cell : row->cells) kept.cells.emplace_back(cell);
      if (head.size() > most_head) break;
      row = rows.next();
    }
    const std::size_t columns = row != nullptr && head.size() <= most_head ? row->cells.size()
                                : head.empty()                             ? 0
                                                                           : head.back().cells.size();
    headings_.resize(columns);
    columns_.resize(columns);
    is_text_.assign(columns, false);
    read_head(head, row);
    if (row == nullptr || head.size() > most_head) return;
    find_kinds(*row);
    for (; row != nullptr; row = rows.next()) add_row(*row);
  }

  /// A row in front of the data, by the first cell that holds anything: data have a number or a time there.
  static bool is_head(const Row& row) {
    const auto cell = std::find_if(row.cells.begin(), row.cells.end(), [](const auto& c) { return !c.empty(); });
    return cell == row.cells.end() || !(cell_of(*cell).number || parse_time_stamp(*cell) || looks_like_date(*cell));
  }

  /// Digits with hyphens, slashes or points between, as in a column of dates beside one of times.
  static bool looks_like_date(std::string_view cell) {
    return cell.size() >= 8 && cell.find_first_not_of("0123456789-/.") == cell.npos &&
           std::count_if(cell.begin(), cell.end(), [](char c) { return c == '-' || c == '/' || c == '.'; }) == 2;
  }

  /// Names and units are the last rows in front of the data that have as many cells; instruments write remarks of other
  /// shapes above.
  void read_head(const std::vector<HeadRow>& head, const Row* data) {
    if (head.empty()) return;
    std::size_t names = head.size() - 1;
    if (data != nullptr && head[names].cells.size() != columns_.size()) {
      if (head[names].cells.size() < 2) {
        note_remarks(head.size());
        return;
      }
      throw ReadError(file_, line_place(data->line),
                      "the row has " + std::to_string(data->cells.size()) + " cells where " +
                          std::to_string(head[names].cells.size()) + " belong",
                      "correct or remove the row");
    }
    std::optional<std::size_t> units;
    if (names > 0 && head[names - 1].cells.size() == columns_.size() && is_unit_row(head[names])) units = names--;
    named_ = true;
    note_remarks(names);
    for (std::size_t i = 0; i < columns_.size(); i++) {
      headings_[i] = heading_of(head[names].cells[i]);
      if (units) {
        headings_[i].name = inert(trimmed(head[names].cells[i]));
        headings_[i].unit = bare_unit(head[*units].cells[i]);
      }
      if (time_column_ || !names_time(headings_[i])) continue;
      time_column_ = i;
      time_line_ = head[units.value_or(names)].line;
    }
  }

  static bool is_unit_row(const HeadRow& row) {
    std::size_t units = 0;
    for (const std::string& cell : row.cells) {
      if (cell.empty()) continue;
      const std::string unit = lower_case(bare_unit(cell));
      if (!is_unit(unit, "i") && !is_one_of(unit, {"-", "1", "hh:mm:ss", "hh:mm:ss.sss"})) return false;
      units++;
    }
    return units > 0;
  }

  void note_remarks(std::size_t rows) {
    if (rows == 0) return;
    notes_.push_back(rows == 1 ? "The line in front of the table was passed over."
                               : "The " + std::to_string(rows) + " lines in front of the table were passed over.");
  }

  /// What the columns hold, by the first row of data.
  void find_kinds(const Row& row) {
    if (row.cells.size() != columns_.size()) return;  // refused when the row is taken
    for (std::size_t i = 0; i < row.cells.size(); i++) {
      const std::string_view cell = row.cells[i];
      if (cell.empty() || cell_of(cell).number) continue;
      if (parse_time_stamp(cell) && (!time_column_ || *time_column_ == i)) {
        time_column_ = i;
        time_stamps_ = true;
      } else if (names_date(headings_[i]) || looks_like_date(cell)) {
        is_text_[i] = true;
        if (!date_column_) date_column_ = i;
      } else if (named_ && i != time_column_ && !headings_[i].name.empty() && row.cells.size() > 2 &&
                 cell.find_first_of("0123456789") == cell.npos) {
        is_text_[i] = true;
        notes_.push_back("Column " + std::to_string(i + 1) + " " + cited(headings_[i].name) +
                         " holds text and was left out.");
      }
    }
    if (time_column_ && !time_stamps_ && !seconds_per(headings_[*time_column_].unit)) {
      throw ReadError(file_, line_place(time_line_), "the time is in " + cited(headings_[*time_column_].unit),
                      "give it in seconds (s), ms or us");
    }
  }

  void add_row(const Row& row) {
    if (row.cells.size() != columns_.size()) {
      throw ReadError(file_, line_place(row.line),
                      "the row has " + std::to_string(row.cells.size()) + " cells where " +
                          std::to_string(columns_.size()) + " belong",
                      "correct or remove the row");
    }
    for (std::size_t i = 0; i < columns_.size(); i++) {
      if (!is_text_[i]) columns_[i].push_back(number_in(row, i));
    }
    // Without names the first column may turn out to hold the time.
    const std::size_t time = time_column_.value_or(0);
    if ((time_column_ || !named_) && !time_stamps_) time_digits_.take(row.cells[time]);
    row_lines_.push_back(row.line);
  }

  double number_in(const Row& row, std::size_t column) {
    const std::string_view cell = row.cells[column];
    const bool time = column == time_column_;
    if (time && time_stamps_) return time_of_day(row, column);
    if (cell.empty() && !time) return no_value;
    const Cell read = cell_of(cell);
    if (!read.number || (time && !std::isfinite(*read.number))) {
      throw ReadError(
          file_, line_place(row.line),
          cited(cell) + " in column " + std::to_string(column + 1) + (time ? " is not a time" : " is not a number"),
          time ? "give the time as a number of seconds or milliseconds, or as time stamps throughout"
               : "correct the cell or leave it empty");
    }
    if (read.comma && comma_line_ == 0) comma_line_ = row.line;
    if (!read.comma && point_line_ == 0 && cell.find('.') != cell.npos) point_line_ = row.line;
    if (comma_line_ != 0 && point_line_ != 0) {
      throw ReadError(file_, line_place(row.line),
                      cited(cell) + " in column " + std::to_string(column + 1) + " has a decimal " +
                          (read.comma ? "comma where line " + std::to_string(point_line_) + " has a point"
                                      : "point where line " + std::to_string(comma_line_) + " has a comma"),
                      "write all numbers alike");
    }
    return *read.number;
  }

  double time_of_day(const Row& row, std::size_t column) {
    const auto time = parse_time_stamp(row.cells[column]);
    if (!time) {
      throw ReadError(file_, line_place(row.line),
                      cited(row.cells[column]) + " in column " + std::to_string(column + 1) + " is no time stamp",
                      "write it as those before, as in 10:00:00.000156");
    }
    const std::vector<double>& before = columns_[column];
    const std::string_view cell = row.cells[column];
    const bool hours = std::count(cell.begin(), cell.end(), ':') == 2;
    if (before.empty() && !hours) notes_.emplace_back("The times are taken for minutes and seconds.");
    const double cycle = hours ? 86400 : 3600;
    const std::string_view date = date_column_ ? row.cells[*date_column_] : std::string_view(time->date);
    if (!before.empty()) {
      // A step back by half a day or more is midnight, if the date has nothing against it. A new date without such a
      // step is a day later at least, however many: more than any record has between two rows.
      const bool back = time->seconds_of_day + days_ * cycle < before.back() - cycle / 2;
      const bool dated = !date.empty() && hours;
      if (dated ? date != date_ : back) days_++;
    }
    date_ = date;
    time_digits_.take_decimals(time->decimals);
    return time->seconds_of_day + days_ * cycle;
  }

  void find_time_without_name() {
    constexpr std::size_t time_and_three_phases = 4;
    const std::vector<double>& first = columns_.front();
    if (columns_.size() < time_and_three_phases || first.size() < 2) return;
    const bool rises =
        std::adjacent_find(first.begin(), first.end(), [](double a, double b) { return !(a < b); }) == first.end();
    if (!rises || first_jump({first, time_digits_})) return;
    if (mean_step(first) == 1) {
      counter_column_ = 0;
      notes_.push_back("The first column counts the samples and was left out.");
    } else {
      time_column_ = 0;
      notes_.push_back("The first column is taken for the time in seconds.");
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

  double rate_of_times() {
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
    const double unit = time_stamps_ ? 1 : *seconds_per(headings_[*time_column_].unit);
    const double step = mean_step(times.values) * unit;
    if (!(step > 0)) {
      throw ReadError(file_, line_place(row_lines_[1]), "the time does not rise", "correct the column of times");
    }
    const double rate = rate_of_step(step);
    if (has_uneven_steps(times.values)) {
      notes_.push_back("The times are rounded to " + number_text(2 * times.digits.least_rounding() * unit) +
                       " s; all together they make the sampling rate " + number_text(std::round(rate * 1e3) / 1e3) +
                       " samples per second.");
    }
    return rate;
  }

  /// A column without name or value, as a separator at the end of every line makes.
  [[nodiscard]] bool is_blank(std::size_t column) const {
    const std::vector<double>& values = columns_[column];
    return headings_[column].name.empty() &&
           std::all_of(values.begin(), values.end(), [](double value) { return std::isnan(value); });
  }

  static constexpr std::size_t most_head = 200;  ///< rows in front of the data

  const std::string& file_;
  Lines lines_;
  char separator_ = ',';
  bool named_ = false;
  std::vector<Heading> headings_;
  std::vector<std::vector<double>> columns_;
  std::vector<bool> is_text_;
  std::optional<std::size_t> time_column_;
  std::optional<std::size_t> counter_column_;
  std::size_t time_line_ = 0;
  bool time_stamps_ = false;
  double days_ = 0;  ///< or hours, of times without them
  std::optional<std::size_t> date_column_;
  std::string date_;  ///< of the row before
  WrittenDigits time_digits_;
  std::vector<std::size_t> row_lines_;
  std::size_t comma_line_ = 0;  ///< first line with a decimal comma; 0: none yet
  std::size_t point_line_ = 0;
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
