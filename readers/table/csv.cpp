#include "readers/table/csv.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "readers/charset.h"
#include "readers/line_rate.h"
#include "readers/names.h"
#include "readers/plausible.h"
#include "readers/table/headings.h"
#include "readers/table/rows.h"
#include "readers/table/written_times.h"
#include "readers/text.h"
#include "readers/time_base.h"

namespace readers {

namespace {

/// A row that may belong to the table's heading; it is kept until the start of the data is found.
struct HeadRow {
  std::size_t line = 0;
  std::vector<std::string> cells;
};

/// The line of each row. Nearly all rows are in the line after the previous one, so only the others are stored.
class RowLines {
 public:
  void push_back(std::size_t line) {
    if (runs_.empty() || line != last_ + 1) runs_.push_back({size_, line});
    last_ = line;
    size_++;
  }
  [[nodiscard]] std::size_t size() const { return size_; }
  [[nodiscard]] bool empty() const { return size_ == 0; }
  [[nodiscard]] std::size_t front() const { return runs_.front().line; }
  std::size_t operator[](std::size_t row) const {
    const auto after =
        std::upper_bound(runs_.begin(), runs_.end(), row, [](std::size_t at, const Run& run) { return at < run.row; });
    return after[-1].line + (row - after[-1].row);
  }

 private:
  struct Run {
    std::size_t row = 0;
    std::size_t line = 0;
  };
  std::vector<Run> runs_;
  std::size_t last_ = 0;  ///< the line of the last row
  std::size_t size_ = 0;
};

class TableReader {
 public:
  /// `held` holds the content, if it may be released as it is read.
  TableReader(const std::string& file, std::string_view content, FileText* held)
      : file_(file), lines_(without_file_marks(content)), held_(held) {
    separator_ = skip_to_table(lines_);
  }

  Record read(double sampling_rate) {
    read_rows();
    if (row_lines_.empty()) throw ReadError(file_, "", "has no rows of numbers", "choose a table of samples");
    if (!named_ && !time_column_) find_time_without_name();
    Record record;
    record.file = file_;
    record.format = "CSV";
    record.rates = {{0, row_lines_.size()}};
    for (std::size_t i = 0; i < headings_.size(); i++) {
      if (i == time_column_ || i == counter_column_ || is_text_[i] || is_blank(i)) continue;
      Channel& channel = record.channels.emplace_back();
      channel.name = headings_[i].name.empty() ? fmt::format("column {}", i + 1) : headings_[i].name;
      channel.unit = headings_[i].unit;
      channel.samples = std::move(columns_[i]);
    }
    if (record.channels.empty()) {
      throw ReadError(file_, "", "has no column of samples", "choose a table with a column per channel");
    }
    if (comma_line_ != 0) notes_.emplace_back("Numbers are read with a decimal comma.");
    set_times(record, sampling_rate);
    return record;
  }

 private:
  // The value in a cell.
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
    all_numbers_ = !time_stamps_ && std::find(is_text_.begin(), is_text_.end(), true) == is_text_.end();
    reserve(rows, *row);
    add_row(*row);
    std::vector<PlainCell> cells(columns);
    for (;;) {
      const char* position = rows.position();
      if (may_be_plain() && rows.next_plain(cells)) {
        add_plain_row(rows, cells, position);
      } else if ((row = rows.next()) != nullptr) {
        add_row(*row);
      } else {
        return;
      }
      if (held_ != nullptr) held_->release_before(position);
    }
  }

  /// Returns whether all cells of the next row may be numbers with a decimal point.
  [[nodiscard]] bool may_be_plain() const { return all_numbers_ && comma_line_ == 0; }

  /// Does the same as add_row for a row of plain numbers. `begin` is where the row begins.
  void add_plain_row(const Rows& rows, const std::vector<PlainCell>& cells, const char* begin) {
    for (std::size_t i = 0; i < cells.size(); i++) columns_[i].push_back(cells[i].number);
    const std::string_view text(begin, static_cast<std::size_t>(rows.position() - begin));
    if (point_line_ == 0 && text.find('.') != text.npos) point_line_ = rows.line();
    if (time_column_ || !named_) {
      const PlainCell& time = cells[time_column_.value_or(0)];
      time.has_exponent ? time_digits_.take(time.text) : time_digits_.take_plain(time.text);
    }
    row_lines_.push_back(rows.line());
  }

  /// Reserves memory for as many rows as there would be if all were as long as the first.
  void reserve(const Rows& rows, const Row& first) {
    std::size_t row_bytes = 0;
    for (const std::string_view cell : first.cells) row_bytes += cell.size() + 1;
    const std::size_t count = 1 + rows.bytes_left() / std::max<std::size_t>(1, row_bytes);
    for (std::size_t i = 0; i < columns_.size(); i++) {
      if (!is_text_[i]) columns_[i].reserve(count);
    }
  }

  /// Returns whether a row precedes the data, judged by its first non-empty cell: in data it is a number or a time.
  static bool is_head(const Row& row) {
    const auto cell = std::find_if(row.cells.begin(), row.cells.end(), [](const auto& c) { return !c.empty(); });
    return cell == row.cells.end() || !(cell_of(*cell).number || parse_time_stamp(*cell) || looks_like_date(*cell));
  }

  /// Returns whether a cell has digits separated by hyphens, slashes or points, as in a column of dates next to one of
  /// times.
  static bool looks_like_date(std::string_view cell) {
    return cell.size() >= 8 && cell.find_first_not_of("0123456789-/.") == cell.npos &&
           std::count_if(cell.begin(), cell.end(), [](char c) { return c == '-' || c == '/' || c == '.'; }) == 2;
  }

  /// Reads names and units from the last rows before the data that have as many cells as the data; the remarks that
  /// instruments write above them have other shapes.
  void read_head(const std::vector<HeadRow>& head, const Row* data) {
    if (head.empty()) return;
    std::size_t names = head.size() - 1;
    if (data != nullptr && head[names].cells.size() != columns_.size()) {
      if (head[names].cells.size() < 2) {
        note_remarks(head.size());
        return;
      }
      refuse_cells(*data, head[names].cells.size());
    }
    std::optional<std::size_t> units;
    if (names > 0 && head[names - 1].cells.size() == columns_.size() && is_unit_row(head[names])) units = names--;
    named_ = true;
    note_remarks(names);
    Names texts;
    for (std::size_t i = 0; i < columns_.size(); i++) {
      headings_[i] = heading_of(head[names].cells[i]);
      if (units) {
        headings_[i].name = inert(trimmed(head[names].cells[i]));
        headings_[i].unit = bare_unit(head[*units].cells[i]);
      }
      const std::string what = fmt::format("column {}", i + 1);
      headings_[i] = {texts.read(headings_[i].name, what), texts.read(headings_[i].unit, what)};
      if (time_column_ || !names_time(headings_[i])) continue;
      time_column_ = i;
      time_line_ = head[units.value_or(names)].line;
    }
    if (const std::string cut = texts.note(); !cut.empty()) notes_.push_back(cut);
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
    notes_.push_back(rows == 1 ? "The line before the table was skipped."
                               : fmt::format("The {} lines before the table were skipped.", rows));
  }

  /// Determines from the first row of data what each column holds.
  void find_kinds(const Row& row) {
    if (row.cells.size() != columns_.size()) return;  // add_row refuses such a row
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
        notes_.push_back(fmt::format("Column {} {} holds text and was left out.", i + 1, cited(headings_[i].name)));
      }
    }
    if (time_column_ && !time_stamps_ && !seconds_per(headings_[*time_column_].unit)) {
      throw ReadError(file_, line_place(time_line_),
                      "the time unit " + cited(headings_[*time_column_].unit) + " is not supported",
                      "give the time in seconds (s), ms or us");
    }
  }

  [[noreturn]] void refuse_cells(const Row& row, std::size_t wanted) const {
    throw ReadError(file_, line_place(row.line),
                    fmt::format("the row has {} cells instead of {}", row.cells.size(), wanted),
                    "correct or remove the row");
  }

  static std::string cell_place(const Row& row, std::size_t column) {
    return fmt::format("{} in column {}", cited(row.cells[column]), column + 1);
  }

  void add_row(const Row& row) {
    if (row.cells.size() != columns_.size()) refuse_cells(row, columns_.size());
    for (std::size_t i = 0; i < columns_.size(); i++) {
      if (!is_text_[i]) columns_[i].push_back(number_in(row, i));
    }
    // If the columns have no names, the first one may turn out to hold the time.
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
      throw ReadError(file_, line_place(row.line),
                      fmt::format("{} is not a {}", cell_place(row, column), time ? "time" : "number"),
                      time ? "give the time as a number of seconds or milliseconds, or as time stamps throughout"
                           : "correct the cell or leave it empty");
    }
    if (read.comma && comma_line_ == 0) comma_line_ = row.line;
    if (!read.comma && point_line_ == 0 && cell.find('.') != cell.npos) point_line_ = row.line;
    if (comma_line_ != 0 && point_line_ != 0) {
      const std::string other = read.comma ? fmt::format("comma where {} has a point", line_place(point_line_))
                                           : fmt::format("point where {} has a comma", line_place(comma_line_));
      throw ReadError(file_, line_place(row.line), fmt::format("{} has a decimal {}", cell_place(row, column), other),
                      "use the same decimal sign in all numbers");
    }
    return *read.number;
  }

  double time_of_day(const Row& row, std::size_t column) {
    const auto stamp = parse_time_stamp(row.cells[column]);
    if (!stamp) {
      throw ReadError(file_, line_place(row.line), cell_place(row, column) + " is not a time stamp",
                      "write it like those before it, for example 10:00:00.000156");
    }
    const std::vector<double>& before = columns_[column];
    const WrittenTime& time = stamp->time;
    if (before.empty() && !stamp->has_hours) notes_.emplace_back("The times are read as minutes and seconds.");
    const double cycle = stamp->has_hours ? 86400 : 3600;
    const std::string_view date = date_column_ ? row.cells[*date_column_] : std::string_view(time.date);
    if (before.empty()) {
      start_time_ = date_and_time(*stamp, date);
      time_zone_ = stamp->zone;
    }
    if (!before.empty()) {
      // A step back by half a day or more means midnight, unless the date contradicts it. A new date without such a
      // step is at least one day later. The exact number of days does not matter, because no record has a whole day
      // between two rows.
      const bool back = time.seconds_of_day + days_ * cycle < before.back() - cycle / 2;
      const bool dated = !date.empty() && stamp->has_hours;
      if (dated ? date != date_ : back) days_++;
    }
    date_ = date;
    time_digits_.take_decimals(time.decimals);
    return time.seconds_of_day + days_ * cycle;
  }

  void find_time_without_name() {
    constexpr std::size_t time_and_three_phases = 4;
    const std::vector<double>& first = columns_.front();
    if (columns_.size() < time_and_three_phases || first.size() < 2) return;
    const bool rises =
        std::adjacent_find(first.begin(), first.end(), [](double a, double b) { return !(a < b); }) == first.end();
    const Times times{first, time_digits_};
    if (!rises || (first_jump(times) && !follow_the_line(times))) return;
    if (mean_step(first) == 1) {
      counter_column_ = 0;
      notes_.push_back("The first column counts the samples and was left out.");
    } else {
      time_column_ = 0;
      notes_.push_back("The first column is read as the time.");
    }
  }

  /// Sets the record's rate and gives it the notes of the table.
  void set_times(Record& record, double given) {
    const bool is_given = given > 0 && std::isfinite(given);
    StampedTimes stamped;
    if (is_given) {
      record.rates[0].rate = time_column_ ? rate_of_times(record, false).value_or(0) : 0;
    } else if (!time_column_) {
      throw ReadError(file_, "", "no column holds the time, so the sampling rate is not known",
                      "give it with --rate (samples per second)");
    } else {
      record.rates[0].rate = *rate_of_times(record, true);
      stamped.knots = knots_of(columns_[*time_column_], unit_);
      stamped.rounding = 4 * time_digits_.least_rounding() * unit_;
    }
    check_rate(is_given ? given : record.rates[0].rate, is_given);
    record.notes = std::move(notes_);
    record.start_time = start_time_;
    record.time_zone = time_zone_;
    settle_times(record, stamped, given);
  }

  /// Refuses a rate that no recorder has, and one at which the record would last too long.
  void check_rate(double rate, bool is_given) const {
    const std::string source = is_given ? "the given sampling rate is" : "the times give a sampling rate of";
    const std::string cure =
        is_given ? "give the actual rate with --rate" : "check the unit of the column of times (s, ms or us)";
    if (!(rate <= highest_rate)) {
      throw ReadError(file_, "",
                      fmt::format("{} {} samples per second, more than any recorder takes (at most {})", source,
                                  number_text(rate), number_text(highest_rate)),
                      cure);
    }
    if (!(static_cast<double>(row_lines_.size()) / rate <= longest_time)) {
      throw ReadError(file_, "",
                      fmt::format("{} {} samples per second, at which the record lasts more than a century", source,
                                  number_text(rate)),
                      cure);
    }
  }

  /// Returns the rate that the column of times gives. If it gives none, returns nothing or, if it is `needed`, throws
  /// ReadError.
  std::optional<double> rate_of_times(const Record& record, bool needed) {
    const Times times{columns_[*time_column_], time_digits_};
    if (times.values.size() < 2) {
      if (!needed) return std::nullopt;
      throw ReadError(file_, line_place(row_lines_.front()), "the sampling rate cannot be derived from a single row",
                      "give it with --rate (samples per second)");
    }
    const auto jump = first_jump(times);
    const bool uneven = jump && follow_the_line(times);
    if (jump && !uneven) {
      if (!needed) return std::nullopt;
      throw ReadError(file_, line_place(row_lines_[*jump]),
                      fmt::format("the time jumps from {} to {}, unlike the steps elsewhere",
                                  number_text(times.values[*jump - 1]), number_text(times.values[*jump])),
                      "cut the table there, because samples must follow one another at one rate");
    }
    unit_ = unit_of_times(record, mean_step(times.values));
    const double step = mean_step(times.values) * unit_;
    if (!(step > 0)) {
      if (!needed) return std::nullopt;
      throw ReadError(file_, line_place(row_lines_[1]), "the time does not increase", "correct the column of times");
    }
    const double rate = rate_of_step(step);
    if (!uneven && has_uneven_steps(times.values) && needed) {
      notes_.push_back(fmt::format(
          "The times are rounded to {} s; taken together they give a sampling rate of {} samples per second.",
          number_text(2 * times.digits.least_rounding() * unit_), number_text(std::round(rate * 1e3) / 1e3)));
    }
    return rate;
  }

  /// Returns the seconds in one unit of the times. If they have no unit, they are in seconds unless the samples show
  /// the line only in another unit.
  double unit_of_times(const Record& record, double step) {
    if (time_stamps_) return 1;
    const std::string& stated = headings_[*time_column_].unit;
    if (!stated.empty()) return *seconds_per(stated);
    const double factor = factor_of_times(record, 1 / step);
    if (factor > 1) return 1;
    if (factor < 1) {
      notes_.push_back(fmt::format(
          "The times have no unit and are assumed to be in {}, because only then do the samples show the line frequency "
          "(give the unit in the heading, or the rate with --rate).",
          factor == 1e-3 ? "milliseconds" : "microseconds"));
    }
    return factor;
  }

  /// Returns whether a column has neither name nor values; a separator at the end of every line produces such a column.
  [[nodiscard]] bool is_blank(std::size_t column) const {
    const std::vector<double>& values = columns_[column];
    return headings_[column].name.empty() &&
           std::all_of(values.begin(), values.end(), [](double value) { return std::isnan(value); });
  }

  static constexpr std::size_t most_head = 200;  ///< largest number of rows before the data

  const std::string& file_;
  Lines lines_;
  FileText* held_;
  char separator_ = ',';
  bool named_ = false;
  std::vector<Heading> headings_;
  std::vector<std::vector<double>> columns_;
  std::vector<bool> is_text_;
  std::optional<std::size_t> time_column_;
  std::optional<std::size_t> counter_column_;
  double unit_ = 1;  ///< seconds in one unit of the times
  std::size_t time_line_ = 0;
  bool time_stamps_ = false;
  bool all_numbers_ = false;  ///< no column holds texts or time stamps
  double days_ = 0;           ///< number of midnights passed, or of full hours for times without hours
  std::optional<std::size_t> date_column_;
  std::string date_;        ///< date of the previous row
  std::string start_time_;  ///< date and time of the first row
  std::string time_zone_;
  WrittenDigits time_digits_;
  RowLines row_lines_;
  std::size_t comma_line_ = 0;  ///< first line with a decimal comma; 0: none yet
  std::size_t point_line_ = 0;
  std::vector<std::string> notes_;
};

}  // namespace

Record read_csv(const std::string& file, std::string_view content, const OpenOptions& options, FileText* held) {
  if (is_utf8_already(content, options.charset)) return TableReader(file, content, held).read(options.sampling_rate);
  const Utf8Text text = to_utf8(content, options.charset);
  if (held != nullptr) held->release_before(content.data() + content.size());
  Record record = TableReader(file, text.text, nullptr).read(options.sampling_rate);
  if (const std::string note = note_on_guess(text); !note.empty()) record.notes.push_back(note);
  return record;
}

}  // namespace readers
