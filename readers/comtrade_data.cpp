// Data files are long and are read for a few of their channels: rows are gone through once, and only what is wanted is
// turned into numbers. Of text, the fields of other channels are counted; of binary rows, they are stepped over.
#include "readers/comtrade_data.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>

#include "readers/text.h"

namespace readers {
namespace {

using DataType = ComtradeConfig::DataType;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

std::vector<std::size_t> indices_of(const std::vector<bool>& wanted) {
  std::vector<std::size_t> indices;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (wanted[i]) indices.push_back(i);
  }
  return indices;
}

// --- ASCII -----------------------------------------------------------------------------------------------------------

/// Goes through the fields of a line from left to right.
class Fields {
 public:
  explicit Fields(std::string_view line) : at_(line.data()), end_(line.data() + line.size()) {}

  void skip(std::size_t count) {
    for (; count > 0 && at_ < end_; --count) at_ = std::find(at_, end_, ',') + 1;
  }

  /// The next field as a whole, trimmed.
  std::string_view next() {
    if (at_ >= end_) return {};
    const char* comma = std::find(at_, end_, ',');
    const std::string_view field(at_, static_cast<std::size_t>(comma - at_));
    at_ = comma + 1;
    return trimmed(field);
  }

  /// The next field as a number; nothing when it is none, and then `rejected` is what it holds.
  std::optional<double> next_number(std::string_view& rejected) {
    const char* start = at_;
    if (const auto number = plain_number()) return number;
    at_ = start;
    rejected = next();
    return parse_number(rejected);
  }

 private:
  /// Digits with a point or none, up to fifteen of them: both the digits and the power of ten are exact then, and so
  /// their quotient is rounded once, as it should be. Nothing for all other ways to write a number.
  std::optional<double> plain_number() {
    static constexpr double kPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    constexpr int kMostDigits = 15;
    const char* at = at_;
    while (at < end_ && (*at == ' ' || *at == '\t')) ++at;
    const bool negative = at < end_ && *at == '-';
    if (negative) ++at;
    std::uint64_t value = 0;
    int digits = 0;
    int decimals = 0;
    for (; at < end_ && is_digit(*at); ++at, ++digits) value = 10 * value + static_cast<unsigned>(*at - '0');
    if (at < end_ && *at == '.') {
      for (++at; at < end_ && is_digit(*at); ++at, ++digits, ++decimals) {
        value = 10 * value + static_cast<unsigned>(*at - '0');
      }
    }
    if (digits == 0 || digits > kMostDigits) return std::nullopt;
    while (at < end_ && (*at == ' ' || *at == '\t')) ++at;
    if (at < end_ && *at != ',') return std::nullopt;
    at_ = at + 1;
    const double number = static_cast<double>(value) / kPowers[decimals];
    return negative ? -number : number;
  }

  static bool is_digit(char c) { return static_cast<unsigned char>(c - '0') < 10; }

  const char* at_;
  const char* end_;
};

/// Whether a sample number can come after another. Some programs number every row alike or not at all, or the rows of
/// each sampling rate anew.
bool follows(double number, double before) {
  return number == before + 1 || number == before || number == 1 || std::isnan(number) || std::isnan(before);
}

class AsciiReader {
 public:
  AsciiReader(const std::string& file, const ComtradeConfig& config, const std::vector<bool>& wanted)
      : file_(file),
        config_(config),
        wanted_(indices_of(wanted)),
        fields_(2 + config.analogs.size() + config.digitals) {
    data_.samples.resize(config.analogs.size());
    row_.resize(wanted_.size());
  }

  ComtradeData read(std::string_view content) {
    Lines lines(without_file_marks(content));
    while (const auto line = lines.next()) {
      if (trimmed(*line).empty()) continue;
      if (data_.rows == 0) reserve(lines, line->size());
      if (const std::string fault = take(*line); !fault.empty()) {
        if (!lines.at_end()) {
          throw ReadError(file_, "line " + std::to_string(lines.number()), fault,
                          "correct the line, and make sure that the .cfg belongs to this file");
        }
        data_.notes.push_back("The last line of the data file (line " + std::to_string(lines.number()) +
                              ") is not complete and was dropped: " + fault + ".");
        break;
      }
      note_jump(lines.number());
    }
    return std::move(data_);
  }

 private:
  /// Room for as many rows as there would be if all were as long as the first, within what the file can hold.
  void reserve(const Lines& lines, std::size_t line_bytes) {
    const std::size_t rows = 2 + lines.bytes_left() / std::max(line_bytes + 1, fields_);
    for (const std::size_t i : wanted_) data_.samples[i].reserve(rows);
    data_.stamps.reserve(rows);
  }

  /// Takes the row of a line. Returns what is wrong with it, empty when nothing is.
  std::string take(std::string_view line) {
    const std::size_t found = static_cast<std::size_t>(std::count(line.begin(), line.end(), ',')) + 1;
    const bool only_comma_too_many = found == fields_ + 1 && (line.back() == ',' || trimmed(line).ends_with(','));
    if (found != fields_ && !only_comma_too_many) {
      return "the row has " + std::to_string(found) + " fields where " + std::to_string(fields_) + " belong";
    }
    Fields fields(line);
    std::string_view rejected;
    number_before_ = number_;
    number_ = fields.next_number(rejected).value_or(kNaN);
    const double stamp = fields.next_number(rejected).value_or(kNaN);
    std::size_t next = 0;
    for (std::size_t w = 0; w < wanted_.size(); ++w) {
      const std::size_t i = wanted_[w];
      fields.skip(i - next);
      next = i + 1;
      const AnalogChannel& channel = config_.analogs[i];
      const auto stored = fields.next_number(rejected);
      if (stored) {
        row_[w] = *stored == kMissing && !channel.beyond_99999 ? kNaN : channel.scale * *stored + channel.offset;
      } else if (rejected.empty()) {
        row_[w] = kNaN;
      } else {
        return cited(rejected) + " is not a number (analog channel " + std::to_string(i + 1) + ")";
      }
    }
    for (std::size_t w = 0; w < wanted_.size(); ++w) data_.samples[wanted_[w]].push_back(row_[w]);
    data_.stamps.push_back(stamp);
    ++data_.rows;
    return {};
  }

  void note_jump(std::size_t line) {
    if (jumped_ || follows(number_, number_before_)) return;
    jumped_ = true;
    data_.notes.push_back("Sample numbers in the data file go from " + number_text(number_before_) + " to " +
                          number_text(number_) + " at line " + std::to_string(line) + "; rows may be missing.");
  }

  static constexpr double kMissing = 99999;

  const std::string& file_;
  const ComtradeConfig& config_;
  std::vector<std::size_t> wanted_;
  std::size_t fields_;
  std::vector<double> row_;
  double number_ = kNaN;  ///< NaN when a row has none
  double number_before_ = kNaN;
  bool jumped_ = false;
  ComtradeData data_;
};

// --- BINARY, BINARY32, FLOAT32 ---------------------------------------------------------------------------------------

std::uint32_t little_endian_32(const char* bytes) {
  std::uint32_t value = 0;
  for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return value;
}

/// Follows the sample numbers of binary rows. A byte put in or left out somewhere shifts all that follows, and nothing
/// but these numbers tells.
class SampleNumbers {
 public:
  explicit SampleNumbers(const std::string& file) : file_(file) {}

  /// Takes the number of the next row, which starts at byte `offset`. Throws ReadError when it cannot follow.
  void take(std::uint32_t number, std::size_t offset) {
    const std::uint32_t before = before_;
    before_ = number;
    ++row_;
    if (row_ == 1) return;
    const bool unnumbered = number == 0 && before == 0;
    if (number == before + 1 || unnumbered) return;  // unsigned: from 2^32 - 1 on to 0
    if (number != 1) {
      throw ReadError(file_, "row " + std::to_string(row_) + " (byte " + std::to_string(offset) + ")",
                      "sample number jumps from " + std::to_string(before) + " to " + std::to_string(number) +
                          ": the data are damaged, perhaps by an end-of-line conversion",
                      "copy the file again in binary mode, and make sure that the .cfg belongs to it");
    }
    if (first_restart_ == 0) first_restart_ = row_;
  }

  /// The first row whose number starts again at 1; 0 when none does.
  [[nodiscard]] std::size_t first_restart() const { return first_restart_; }

 private:
  const std::string& file_;
  std::uint32_t before_ = 0;
  std::size_t row_ = 0;
  std::size_t first_restart_ = 0;
};

// What a stored value is, by type; NaN where it stands for a missing one.

struct Word16 {
  static constexpr std::size_t bytes = 2;
  static double value(const char* at) {
    const auto stored = static_cast<std::int16_t>(static_cast<std::uint16_t>(
        static_cast<unsigned char>(at[0]) | static_cast<unsigned>(static_cast<unsigned char>(at[1])) << 8));
    return stored == std::numeric_limits<std::int16_t>::min() ? kNaN : stored;
  }
};

struct Word32 {
  static constexpr std::size_t bytes = 4;
  static double value(const char* at) {
    const auto stored = static_cast<std::int32_t>(little_endian_32(at));
    return stored == std::numeric_limits<std::int32_t>::min() ? kNaN : stored;
  }
};

struct Float32 {
  static constexpr std::size_t bytes = 4;
  static double value(const char* at) {
    const std::uint32_t bits = little_endian_32(at);
    float stored;
    std::memcpy(&stored, &bits, sizeof stored);
    return std::isfinite(stored) ? static_cast<double>(stored) : kNaN;
  }
};

constexpr std::size_t kNumberBytes = 4;
constexpr std::size_t kStampBytes = 4;

template <typename Word>
void read_channel(std::string_view content, std::size_t row_bytes, std::size_t first, std::size_t last,
                  std::size_t column, const AnalogChannel& channel, double* samples) {
  const char* at = content.data() + first * row_bytes + kNumberBytes + kStampBytes + Word::bytes * column;
  for (std::size_t r = first; r < last; ++r, at += row_bytes) {
    samples[r] = channel.scale * Word::value(at) + channel.offset;
  }
}

template <typename Word>
ComtradeData read_binary(const std::string& file, std::string_view content, const ComtradeConfig& config,
                         const std::vector<bool>& wanted) {
  constexpr std::size_t kDigitalWordBytes = 2;
  constexpr std::size_t kDigitalsPerWord = 16;
  constexpr std::size_t kRowsAtOnce = 64;  // few enough to stay in the nearest memory while each channel is read
  constexpr std::uint32_t kNoStamp = 0xFFFFFFFF;

  const std::size_t digital_words = config.digitals / kDigitalsPerWord + (config.digitals % kDigitalsPerWord != 0);
  const std::size_t row_bytes =
      kNumberBytes + kStampBytes + Word::bytes * config.analogs.size() + kDigitalWordBytes * digital_words;
  const std::size_t left_over = content.size() % row_bytes;

  ComtradeData data;
  data.rows = content.size() / row_bytes;
  data.samples.resize(config.analogs.size());
  const std::vector<std::size_t> indices = indices_of(wanted);
  for (const std::size_t i : indices) data.samples[i].resize(data.rows);
  data.stamps.resize(data.rows);

  SampleNumbers numbers(file);
  for (std::size_t first = 0; first < data.rows; first += kRowsAtOnce) {
    const std::size_t last = std::min(first + kRowsAtOnce, data.rows);
    for (std::size_t r = first; r < last; ++r) {
      const char* row = content.data() + r * row_bytes;
      numbers.take(little_endian_32(row), r * row_bytes);
      const std::uint32_t stamp = little_endian_32(row + kNumberBytes);
      data.stamps[r] = stamp == kNoStamp ? kNaN : stamp;
    }
    for (const std::size_t i : indices) {
      read_channel<Word>(content, row_bytes, first, last, i, config.analogs[i], data.samples[i].data());
    }
  }

  if (numbers.first_restart() != 0) {
    data.notes.push_back("Sample numbers in the data file start again at 1 in row " +
                         std::to_string(numbers.first_restart()) + ".");
  }
  const bool end_mark_only = left_over == 1 && content.back() == '\x1A';
  if (left_over != 0 && !end_mark_only) {
    data.notes.push_back("The data file does not end with a whole row: its last " + std::to_string(left_over) +
                         " bytes of a row of " + std::to_string(row_bytes) + " were dropped.");
  }
  return data;
}

/// Whether what should be numbers in binary form is a table of text.
bool looks_like_text(std::string_view content) {
  constexpr std::size_t kEnough = 256;
  const std::string_view start = content.substr(0, kEnough);
  return start.size() >= 8 && start.find(',') != start.npos && std::all_of(start.begin(), start.end(), [](char c) {
           return (c >= '0' && c <= '9') || std::string_view(" ,.+-eE\t\r\n").find(c) != std::string_view::npos;
         });
}

ComtradeData read_as(const std::string& file, std::string_view content, const ComtradeConfig& config,
                     const std::vector<bool>& wanted) {
  switch (config.data_type) {
    case DataType::kBinary:
      return read_binary<Word16>(file, content, config, wanted);
    case DataType::kBinary32:
      return read_binary<Word32>(file, content, config, wanted);
    case DataType::kFloat32:
      return read_binary<Float32>(file, content, config, wanted);
    case DataType::kAscii:
      break;
  }
  return AsciiReader(file, config, wanted).read(content);
}

}  // namespace

ComtradeData read_comtrade_data(const std::string& file, std::string_view content, const ComtradeConfig& config,
                                const std::vector<bool>& wanted) {
  if (config.data_type != DataType::kAscii && looks_like_text(content)) {
    throw ReadError(file, "byte 0", std::string("the data are text where ") + name_of(config.data_type) + " belongs",
                    "correct the type of data in the .cfg to ASCII, and make sure that it belongs to this file");
  }
  ComtradeData data = read_as(file, content, config, wanted);
  if (data.rows == 0) {
    throw ReadError(file, "", "holds no samples", "get the data file again, or choose another record");
  }
  return data;
}

}  // namespace readers
