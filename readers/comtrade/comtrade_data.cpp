// Data files are long, and usually only a few of their channels are needed. Rows are therefore scanned once, and only
// the wanted values are converted to numbers. In text, the fields of other channels are only counted; in binary rows,
// their bytes are skipped.
#include "readers/comtrade/comtrade_data.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <utility>

#include "readers/plain_number.h"
#include "readers/text.h"
#include "readers/time_stamps.h"

namespace readers {
namespace {

using DataType = ComtradeConfig::DataType;

std::vector<std::size_t> indices_of(const std::vector<bool>& wanted) {
  std::vector<std::size_t> indices;
  for (std::size_t i = 0; i < wanted.size(); i++) {
    if (wanted[i]) indices.push_back(i);
  }
  return indices;
}

// --- ASCII -----------------------------------------------------------------------------------------------------------

bool is_digit(char c) {
  return static_cast<unsigned char>(c - '0') < 10;
}

/// Iterates over the fields of a line from left to right.
class Fields {
 public:
  explicit Fields(std::string_view line) : at_(line.data()), end_(line.data() + line.size()) {}

  void skip(std::size_t count) {
    for (; count > 0 && !used_up_; count--) pass(std::find(at_, end_, ','));
  }

  /// Returns the next field as a whole, trimmed.
  std::string_view next() {
    if (used_up_) return {};
    const char* comma = std::find(at_, end_, ',');
    const std::string_view field(at_, static_cast<std::size_t>(comma - at_));
    pass(comma);
    return trimmed(field);
  }

  /// Reads the next field as a number. If it is not a number, the position stays before it.
  bool next_number(double& number) {
    const char* start = at_;
    if (plain_number(number)) return true;
    if (used_up_) return false;
    const auto parsed = parse_number(next());
    if (!parsed) {
      at_ = start;
      used_up_ = false;
    }
    number = parsed.value_or(no_value);
    return parsed.has_value();
  }

  [[nodiscard]] bool used_up() const { return used_up_; }

  [[nodiscard]] std::string_view rest() const { return {at_, static_cast<std::size_t>(end_ - at_)}; }

  /// Returns how many fields are left.
  [[nodiscard]] std::size_t left() const {
    return used_up_ ? 0 : static_cast<std::size_t>(std::count(at_, end_, ',')) + 1;
  }

 private:
  bool plain_number(double& number) {
    const char* at = at_;
    while (at < end_ && (*at == ' ' || *at == '\t')) at++;
    at = readers::plain_number(at, end_, number);
    if (at == nullptr) return false;
    while (at < end_ && (*at == ' ' || *at == '\t')) at++;
    if (at < end_ && *at != ',') return false;
    pass(at);
    return true;
  }

  /// Moves past the comma, or to the end if there is none.
  void pass(const char* comma) {
    used_up_ = comma == end_;
    at_ = used_up_ ? end_ : comma + 1;
  }

  const char* at_;
  const char* end_;
  bool used_up_ = false;  ///< no field is left, not even an empty one
};

/// Returns whether a sample number may come after another. Some programs give every row the same number or none, or
/// restart the numbers with each sampling rate.
bool follows(double number, double before) {
  return number == before + 1 || number == before || number == 1 || std::isnan(number) || std::isnan(before);
}

class AsciiReader {
 public:
  AsciiReader(const std::string& file, const ComtradeConfig& config, const WantedData& wanted)
      : file_(file),
        config_(config),
        wanted_(indices_of(wanted.analogs)),
        want_digitals_(wanted.digitals && config.digitals > 0),
        fields_(2 + config.analogs.size() + config.digitals) {
    data_.samples.resize(config.analogs.size());
    row_.resize(wanted_.size());
  }

  /// `held` holds the content, if it may be released as it is read.
  ComtradeData read(std::string_view content, FileText* held) {
    Lines lines(without_file_marks(content));
    while (const auto line = lines.next()) {
      if (held != nullptr) held->release_before(line->data());
      if (line->empty() || (!is_digit(line->front()) && trimmed(*line).empty())) continue;
      if (data_.rows == 0) reserve(lines, line->size());
      if (const std::string fault = take(*line); !fault.empty()) {
        if (!lines.at_end()) {
          throw ReadError(file_, line_place(lines.number()), fault,
                          "correct the line, and make sure that the .cfg file belongs to this file");
        }
        data_.notes.push_back(fmt::format("The last line of the data file ({}) is incomplete and was dropped: {}.",
                                          line_place(lines.number()), fault));
        break;
      }
      if (number_ != number_before_ + 1 && data_.rows > 1) take_jump(lines.number());
    }
    return std::move(data_);
  }

 private:
  /// Reserves memory for as many rows as there would be if all were as long as the first, limited by the size of the
  /// file.
  void reserve(const Lines& lines, std::size_t line_bytes) {
    const std::size_t rows = 2 + lines.bytes_left() / std::max(line_bytes + 1, fields_);
    for (const std::size_t i : wanted_) data_.samples[i].reserve(rows);
    data_.stamps.reserve(rows);
  }

  /// Parses the row on a line. Returns what is wrong with it; the text is empty when nothing is wrong.
  std::string take(std::string_view line) {
    Fields fields(line);
    double number = no_value;
    double stamp = no_value;
    if (!fields.next_number(number)) fields.skip(1);
    if (!fields.next_number(stamp)) fields.skip(1);
    std::size_t next = 0;
    bool numbers = true;
    for (std::size_t w = 0; w < wanted_.size() && numbers; w++) {
      const std::size_t i = wanted_[w];
      fields.skip(i - next);
      next = i + 1;
      const AnalogChannel& channel = config_.analogs[i];
      double stored = no_value;
      if (fields.next_number(stored)) {
        row_[w] = stored == missing_mark && !channel.beyond_99999 ? no_value : channel.scale * stored + channel.offset;
      } else {
        row_[w] = no_value;
        numbers = !fields.used_up() && fields.next().empty();
      }
    }
    if (!numbers || 2 + next + fields.left() != fields_) {
      if (const std::string fault = fault_of(line); !fault.empty()) return fault;
    }
    if (want_digitals_) {
      fields.skip(config_.analogs.size() - next);
      take_digitals(fields.rest());
    }
    number_before_ = number_;
    number_ = number;
    for (std::size_t w = 0; w < wanted_.size(); w++) data_.samples[wanted_[w]].push_back(row_[w]);
    data_.stamps.push_back(stamp);
    data_.rows++;
    return {};
  }

  /// Stores the states at the end of a row if they differ from those of the row before it.
  void take_digitals(std::string_view text) {
    if (data_.rows > 0 && text == digitals_before_) return;
    digitals_before_ = text;
    DigitalStates now{data_.rows, {}};
    Fields fields(text);
    for (std::size_t i = 0; i < config_.digitals; i++) now.states.push_back(fields.next() == "1");
    if (data_.digitals.empty() || data_.digitals.back().states != now.states) data_.digitals.push_back(std::move(now));
  }

  /// Returns what is wrong with a row. The text is empty if it only has a comma after the last field.
  [[nodiscard]] std::string fault_of(std::string_view line) const {
    const std::size_t found = Fields(line).left();
    if (found != fields_ && !(found == fields_ + 1 && trimmed(line).ends_with(','))) {
      return fmt::format("the row has {} fields instead of {}", found, fields_);
    }
    for (const std::size_t i : wanted_) {
      Fields fields(line);
      fields.skip(2 + i);
      const std::string_view field = fields.next();
      if (!field.empty() && !parse_number(field)) {
        return fmt::format("{} is not a number (analog channel {})", cited(field), i + 1);
      }
    }
    return {};
  }

  void take_jump(std::size_t line) {
    data_.numbers.take_jump(data_.rows - 1, number_before_, number_);
    if (jumped_ || follows(number_, number_before_)) return;
    jumped_ = true;
    data_.notes.push_back(fmt::format("Sample numbers in the data file jump from {} to {} at {}; rows may be missing.",
                                      number_text(number_before_), number_text(number_), line_place(line)));
  }

  const std::string& file_;
  const ComtradeConfig& config_;
  std::vector<std::size_t> wanted_;
  bool want_digitals_;
  std::string digitals_before_;  ///< the text of the previous row's digital channels
  std::size_t fields_;
  std::vector<double> row_;
  double number_ = no_value;  ///< NaN when a row has none
  double number_before_ = no_value;
  bool jumped_ = false;
  ComtradeData data_;
};

// --- BINARY, BINARY32, FLOAT32 ---------------------------------------------------------------------------------------

std::uint32_t little_endian_32(const char* bytes) {
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; i--) value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return value;
}

/// Checks the sample numbers of binary rows. A byte that was inserted or lost shifts everything after it, and only
/// these numbers reveal that.
class SampleNumbers {
 public:
  SampleNumbers(const std::string& file, RowNumbers& numbers) : file_(file), numbers_(numbers) {}

  /// Processes the number of the next row, which starts at byte `offset`. Throws ReadError when it cannot follow the
  /// previous one.
  void take(std::uint32_t number, std::size_t offset) {
    const std::uint32_t before = before_;
    before_ = number;
    row_++;
    if (row_ == 1) return;
    const std::uint32_t step = number - before;  // unsigned, so that the number after 2^32 - 1 may be 0
    if (doubted_ && step != 1 && step != doubted_->step) refuse(*doubted_);
    accept_doubted();
    const bool regular = step == 1 || step == step_before_;
    step_before_ = step;
    if (step != 1) numbers_.take_jump(row_ - 1, before, number);
    if (regular) return;
    const bool unnumbered = number == 0 && before == 0;
    if (unnumbered) return;
    if (number != 1) {
      doubted_ = {row_, offset, before, number, step};
    } else if (first_restart_ == 0) {
      first_restart_ = row_;
    }
  }

  /// Processes this many more rows, which are numbered consecutively.
  void go_on(std::size_t rows) {
    if (rows == 0) return;
    accept_doubted();
    step_before_ = 1;
    before_ += static_cast<std::uint32_t>(rows);
    row_ += rows;
  }

  /// Must be called after the last row. Throws ReadError.
  void finish() {
    if (doubted_) refuse(*doubted_);
  }

  /// Returns the first row at which the numbers start again at 1; 0 when there is none.
  [[nodiscard]] std::size_t first_restart() const { return first_restart_; }

  /// Returns a note about the first jump that later rows confirmed; it is empty when there is none.
  [[nodiscard]] const std::string& jump_note() const { return jump_note_; }

 private:
  /// A jump that the next row has to confirm. Rows may be lost, or numbered in twos or all alike; but after an inserted
  /// or lost byte no two numbers match.
  struct Jump {
    std::size_t row = 0;
    std::size_t offset = 0;
    std::uint32_t before = 0;
    std::uint32_t number = 0;
    std::uint32_t step = 0;
  };

  void accept_doubted() {
    if (!doubted_) return;
    if (jump_note_.empty() && doubted_->step != 0) {
      jump_note_ = fmt::format("Sample numbers in the data file jump from {} to {} in row {}; rows may be missing.",
                               doubted_->before, doubted_->number, doubted_->row);
    }
    doubted_.reset();
  }

  [[noreturn]] void refuse(const Jump& jump) const {
    throw ReadError(file_, fmt::format("row {} (byte {})", jump.row, jump.offset),
                    fmt::format("sample number jumps from {} to {}: the data are damaged, perhaps by an end-of-line "
                                "conversion",
                                jump.before, jump.number),
                    "copy the file again in binary mode, and make sure that the .cfg file belongs to it");
  }

  const std::string& file_;
  RowNumbers& numbers_;
  std::uint32_t before_ = 0;
  std::size_t row_ = 0;
  std::uint32_t step_before_ = 1;
  std::size_t first_restart_ = 0;
  std::optional<Jump> doubted_;
  std::string jump_note_;
};

/// Checks during reading whether all steps between time stamps match the record's only rate, as they usually do.
class StampSteps {
 public:
  explicit StampSteps(const ComtradeConfig& config) {
    if (config.rates.size() != 1 || !(config.rates[0].rate > 0)) return;
    const double step = 1 / (config.rates[0].rate * config.stamp_unit);
    const double least = std::max(0.0, std::ceil(step - step_tolerance(step)));
    const double most = std::floor(step + step_tolerance(step));
    if (!(most < 1e9)) return;
    known_ = true;
    step_ = step;
    least_ = static_cast<std::uint32_t>(least);
    range_ = static_cast<std::uint32_t>(most - least);
  }

  /// Returns whether these further stamps agree with the rate too.
  bool take(const std::uint32_t* stamps, std::size_t count) {
    if (count == 0) return known_;
    // Unsigned arithmetic makes a step across the 32-bit limit equal to any other step and puts a step back far outside
    // the range.
    std::uint32_t wrong = any_ && stamps[0] - last_ - least_ > range_ ? 1 : 0;
    for (std::size_t i = 1; i < count; i++) wrong |= stamps[i] - stamps[i - 1] - least_ > range_ ? 1U : 0U;
    span_ += (any_ ? stamps[0] - last_ : 0U);
    span_ += stamps[count - 1] - stamps[0];
    last_ = stamps[count - 1];
    any_ = true;
    return known_ && wrong == 0;
  }

  [[nodiscard]] std::uint32_t last() const { return last_; }
  [[nodiscard]] double step() const { return step_; }
  /// Returns the span from the first stamp to the last, as long as they agree.
  [[nodiscard]] double span() const { return static_cast<double>(span_); }

 private:
  bool known_ = false;  ///< whether the record has exactly one known rate
  bool any_ = false;
  double step_ = 0;
  std::uint32_t least_ = 0;
  std::uint32_t range_ = 0;
  std::uint32_t last_ = 0;
  std::uint64_t span_ = 0;
};

// Decodes a stored value for each data type, and says which value marks a missing one.

struct Word16 {
  static constexpr std::size_t bytes = 2;
  static std::int16_t stored(const char* at) {
    return static_cast<std::int16_t>(static_cast<std::uint16_t>(
        static_cast<unsigned char>(at[0]) | static_cast<unsigned>(static_cast<unsigned char>(at[1])) << 8));
  }
  static bool missing(std::int16_t value) { return value == std::numeric_limits<std::int16_t>::min(); }
};

struct Word32 {
  static constexpr std::size_t bytes = 4;
  static std::int32_t stored(const char* at) { return static_cast<std::int32_t>(little_endian_32(at)); }
  static bool missing(std::int32_t value) { return value == std::numeric_limits<std::int32_t>::min(); }
};

struct Float32 {
  static constexpr std::size_t bytes = 4;
  static float stored(const char* at) { return std::bit_cast<float>(little_endian_32(at)); }
  static bool missing(float value) { return !(std::abs(value) < std::numeric_limits<float>::max()); }
};

constexpr std::size_t number_bytes = 4;
constexpr std::size_t stamp_bytes = 4;

/// Reads binary data piece by piece.
class BinaryReader {
 public:
  virtual ~BinaryReader() = default;
  virtual void take(std::string_view piece) = 0;
  virtual ComtradeData finish() = 0;
};

template <typename Word>
class RowReader : public BinaryReader {
 public:
  /// `bytes` is the number of bytes to come, as far as it is known.
  RowReader(const std::string& file, const ComtradeConfig& config, const WantedData& wanted, std::size_t bytes)
      : config_(config), wanted_(indices_of(wanted.analogs)), numbers_(file, data_.numbers), steps_(config) {
    constexpr std::size_t digital_word_bytes = 2;
    constexpr std::size_t digitals_per_word = 16;
    const std::size_t digital_words = config.digitals / digitals_per_word + (config.digitals % digitals_per_word != 0);
    digital_bytes_ = digital_word_bytes * digital_words;
    row_bytes_ = number_bytes + stamp_bytes + Word::bytes * config.analogs.size() + digital_bytes_;
    want_digitals_ = wanted.digitals && config.digitals > 0;
    data_.samples.resize(config.analogs.size());
    reserve(bytes / row_bytes_);
  }

  void take(std::string_view piece) override {
    if (!carried_.empty()) {
      const std::size_t missing = std::min(row_bytes_ - carried_.size(), piece.size());
      carried_.append(piece.substr(0, missing));
      piece.remove_prefix(missing);
      if (carried_.size() < row_bytes_) return;
      take_rows(carried_.data(), 1);
      carried_.clear();
    }
    const std::size_t rows = piece.size() / row_bytes_;
    take_rows(piece.data(), rows);
    carried_.assign(piece.substr(rows * row_bytes_));
  }

  ComtradeData finish() override {
    numbers_.finish();
    if (!numbers_.jump_note().empty()) data_.notes.push_back(numbers_.jump_note());
    if (numbers_.first_restart() != 0) {
      data_.notes.push_back(
          fmt::format("Sample numbers in the data file start again at 1 in row {}.", numbers_.first_restart()));
    }
    if (!carried_.empty() && carried_ != "\x1A") {
      data_.notes.push_back(fmt::format(
          "The data file ends in the middle of a row; the first {} bytes of that row of {} bytes were dropped.",
          carried_.size(), row_bytes_));
    }
    data_.stamps_agree = data_.stamps.empty();
    if (data_.stamps_agree && data_.rows > 1) {
      const auto steps = static_cast<double>(data_.rows - 1);
      if (span_disagrees(steps_.span(), steps_.step(), steps)) {
        data_.contradicting_rate = config_.rates[0].rate * steps * steps_.step() / steps_.span();
      }
    }
    return std::move(data_);
  }

 private:
  void reserve(std::size_t rows) {
    for (const std::size_t i : wanted_) data_.samples[i].reserve(rows);
  }

  void take_rows(const char* bytes, std::size_t count) {
    while (count > 0) {
      const std::size_t rows = std::min(count, rows_at_once);
      take_numbers_and_stamps(bytes, rows);
      for (const std::size_t i : wanted_) {
        const Values first(bytes + number_bytes + stamp_bytes + Word::bytes * i, row_bytes_, config_.analogs[i].scale,
                           config_.analogs[i].offset);
        Values end = first;
        end += static_cast<std::ptrdiff_t>(rows);
        data_.samples[i].insert(data_.samples[i].end(), first, end);
      }
      if (want_digitals_) take_digitals(bytes, rows);
      bytes += rows * row_bytes_;
      data_.rows += rows;
      count -= rows;
    }
  }

  /// Stores the digital states of rows that differ from those of the row before them. The first channel is the lowest
  /// bit of the first word.
  void take_digitals(const char* bytes, std::size_t rows) {
    for (std::size_t r = 0; r < rows; r++) {
      const std::string_view words(bytes + (r + 1) * row_bytes_ - digital_bytes_, digital_bytes_);
      if (data_.rows + r > 0 && words == digitals_before_) continue;
      digitals_before_ = words;
      DigitalStates now{data_.rows + r, {}};
      for (std::size_t i = 0; i < config_.digitals; i++) {
        now.states.push_back((static_cast<unsigned char>(words[i / 8]) >> (i % 8) & 1U) != 0);
      }
      data_.digitals.push_back(std::move(now));
    }
  }

  /// Iterates over rows and returns a channel's value in each. A vector can insert such a range directly, without first
  /// being filled with other values.
  class Values {
   public:
    using iterator_category = std::random_access_iterator_tag;  // only the distance is needed of it
    using value_type = double;
    using difference_type = std::ptrdiff_t;
    using pointer = const double*;
    using reference = double;

    Values(const char* at, std::size_t row_bytes, double scale, double offset)
        : at_(at), row_bytes_(row_bytes), scale_(scale), offset_(offset) {}
    double operator*() const {
      const auto stored = Word::stored(at_);
      return Word::missing(stored) ? no_value : scale_ * static_cast<double>(stored) + offset_;
    }
    Values& operator++() { return *this += 1; }
    Values& operator--() { return *this += -1; }
    Values& operator+=(std::ptrdiff_t rows) {
      at_ += rows * static_cast<std::ptrdiff_t>(row_bytes_);
      return *this;
    }
    std::ptrdiff_t operator-(const Values& other) const {
      return (at_ - other.at_) / static_cast<std::ptrdiff_t>(row_bytes_);
    }
    bool operator==(const Values& other) const { return at_ == other.at_; }

   private:
    const char* at_;
    std::size_t row_bytes_;
    double scale_;
    double offset_;
  };

  /// Checks the numbers one by one only if they are not simply consecutive.
  void take_numbers_and_stamps(const char* bytes, std::size_t rows) {
    std::array<std::uint32_t, rows_at_once> stamps;
    const std::uint32_t first = little_endian_32(bytes);
    std::uint32_t off = 0;
    const char* row = bytes;
    for (std::size_t r = 0; r < rows; r++, row += row_bytes_) {
      off |= little_endian_32(row) - (first + static_cast<std::uint32_t>(r));
      stamps[r] = little_endian_32(row + number_bytes);
    }
    numbers_.take(first, data_.rows * row_bytes_);
    if (off == 0) {
      numbers_.go_on(rows - 1);
    } else {
      row = bytes + row_bytes_;
      for (std::size_t r = 1; r < rows; r++, row += row_bytes_) {
        numbers_.take(little_endian_32(row), (data_.rows + r) * row_bytes_);
      }
    }
    take_stamps(stamps.data(), rows);
  }

  /// Stamps are stored only from the first one that does not agree with the rate. Earlier stamps are then interpolated
  /// between those at the ends of the blocks.
  void take_stamps(const std::uint32_t* stamps, std::size_t rows) {
    const std::uint32_t before = steps_.last();
    if (data_.stamps.empty()) {
      if (steps_.take(stamps, rows)) {
        agreed_ = {static_cast<double>(data_.rows + rows) - 1, steps_.span() * config_.stamp_unit};
        if (rows == rows_at_once) data_.knots.push_back(agreed_);
        return;
      }
      data_.stamps.reserve(data_.rows + rows);
      store_agreed(before);
    }
    constexpr std::uint32_t no_stamp = 0xFFFFFFFF;
    for (std::size_t r = 0; r < rows; r++) data_.stamps.push_back(stamps[r] == no_stamp ? no_value : stamps[r]);
  }

  /// Stores the stamps of all rows so far, the last of which has the stamp `last`.
  void store_agreed(double last) {
    if (data_.rows == 0) return;
    std::vector<TimeKnot> knots = std::move(data_.knots);
    if (knots.empty() || knots.back().row < agreed_.row) knots.push_back(agreed_);
    const double first = last - agreed_.seconds / config_.stamp_unit;
    TimeKnot from{0, 0};
    for (const TimeKnot& to : knots) {
      const double step = (to.seconds - from.seconds) / (to.row - from.row) / config_.stamp_unit;
      for (auto row = static_cast<double>(data_.stamps.size()); row < to.row; row++) {
        data_.stamps.push_back(first + from.seconds / config_.stamp_unit + step * (row - from.row));
      }
      from = to;
    }
    data_.stamps.push_back(last);
  }

  static constexpr std::size_t rows_at_once = 128;  ///< few enough to stay in the fastest cache

  const ComtradeConfig& config_;
  std::vector<std::size_t> wanted_;
  ComtradeData data_;
  SampleNumbers numbers_;  ///< writes to `data_`
  StampSteps steps_;
  TimeKnot agreed_;  ///< the last row whose stamp agrees with the rate, and its time from the first row
  std::size_t row_bytes_ = 0;
  std::size_t digital_bytes_ = 0;
  bool want_digitals_ = false;
  std::string digitals_before_;  ///< the words of the previous row's digital channels
  std::string carried_;          ///< the start of a row that continues in the next piece
};

std::unique_ptr<BinaryReader> binary_reader(const std::string& file, const ComtradeConfig& config,
                                            const WantedData& wanted, std::size_t bytes) {
  switch (config.data_type) {
    case DataType::binary:
      return std::make_unique<RowReader<Word16>>(file, config, wanted, bytes);
    case DataType::binary32:
      return std::make_unique<RowReader<Word32>>(file, config, wanted, bytes);
    case DataType::float32:
      return std::make_unique<RowReader<Float32>>(file, config, wanted, bytes);
    case DataType::ascii:
      break;
  }
  return nullptr;
}

/// Returns whether data that should be binary numbers are a text table instead.
bool looks_like_text(std::string_view content) {
  constexpr std::size_t enough = 256;
  const std::string_view start = content.substr(0, enough);
  return start.size() >= 8 && start.find(',') != start.npos && std::all_of(start.begin(), start.end(), [](char c) {
           return (c >= '0' && c <= '9') || std::string_view(" ,.+-eE\t\r\n").find(c) != std::string_view::npos;
         });
}

void refuse_text(const std::string& file, std::string_view content, const ComtradeConfig& config) {
  if (!looks_like_text(content)) return;
  throw ReadError(file, "byte 0",
                  std::string("the data are text, but the .cfg file states ") + name_of(config.data_type),
                  "correct the data type in the .cfg file to ASCII, and make sure that it belongs to this file");
}

ComtradeData with_rows(const std::string& file, ComtradeData data) {
  if (data.rows == 0) {
    throw ReadError(file, "", "holds no samples", "get the data file again, or choose another record");
  }
  return data;
}

}  // namespace

void RowNumbers::take_jump(std::size_t row, double before, double number) {
  constexpr std::size_t few = 16;
  if (!regular) return;
  jumps.push_back({row, before, number});
  if (jumps.size() <= few + row / 10) return;
  regular = false;
  jumps.clear();
}

ComtradeData read_comtrade_data(const std::string& file, std::string_view content, const ComtradeConfig& config,
                                const WantedData& wanted, FileText* held) {
  const auto reader = binary_reader(file, config, wanted, content.size());
  if (!reader) return with_rows(file, AsciiReader(file, config, wanted).read(content, held));
  refuse_text(file, content, config);
  reader->take(content);
  return with_rows(file, reader->finish());
}

ComtradeData read_comtrade_data(const std::string& file, FileStream& stream, const ComtradeConfig& config,
                                const WantedData& wanted) {
  const auto reader = binary_reader(file, config, wanted, stream.stated_size());
  if (!reader) {
    FileText text(stream);
    return read_comtrade_data(file, text.view(), config, wanted, &text);
  }
  std::string_view piece = stream.next();
  refuse_text(file, piece, config);
  for (; !piece.empty(); piece = stream.next()) reader->take(piece);
  return with_rows(file, reader->finish());
}

}  // namespace readers
