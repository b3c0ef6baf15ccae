#include "readers/comtrade_data.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>

#include "readers/text.h"

namespace readers {
namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

double scaled(const AnalogChannel& channel, double stored) {
  return channel.scale * stored + channel.offset;
}

// --- ASCII -----------------------------------------------------------------------------------------------------------

/// A row as written: sample number, time stamp, analog values, digital values.
class AsciiRow {
 public:
  explicit AsciiRow(const ComtradeConfig& config) : config_(config) {}

  /// Takes the row of a line. Returns what is wrong with it, empty when nothing is.
  std::string parse(std::string_view line) {
    const std::vector<std::string_view> fields = split_fields(line, ',');
    const std::size_t wanted = 2 + config_.analogs.size() + config_.digitals;
    const bool only_comma_too_many = fields.size() == wanted + 1 && fields.back().empty();
    if (fields.size() != wanted && !only_comma_too_many) {
      return "the row has " + std::to_string(fields.size()) + " fields where " + std::to_string(wanted) + " belong";
    }
    number = parse_number(fields[0]).value_or(kNaN);
    values.clear();
    for (std::size_t i = 0; i < config_.analogs.size(); ++i) {
      const std::string_view field = fields[2 + i];
      const auto stored = field.empty() ? kMissing : parse_number(field);
      if (!stored) return cited(field) + " is not a number (analog channel " + std::to_string(i + 1) + ")";
      values.push_back(*stored == kMissing ? kNaN : scaled(config_.analogs[i], *stored));
    }
    return {};
  }

  double number = kNaN;  ///< NaN when the row has none
  std::vector<double> values;

 private:
  static constexpr double kMissing = 99999;

  const ComtradeConfig& config_;
};

/// Whether a sample number can come after another. Some programs number every row alike or not at all, or the rows of
/// each sampling rate anew.
bool follows(double number, double before) {
  return number == before + 1 || number == before || number == 1 || std::isnan(number) || std::isnan(before);
}

ComtradeData read_ascii(const std::string& file, std::string_view content, const ComtradeConfig& config) {
  ComtradeData data;
  data.samples.resize(config.analogs.size());
  AsciiRow row(config);
  double number_before = kNaN;
  bool jumped = false;

  Lines lines(without_file_marks(content));
  while (const auto line = lines.next()) {
    if (trimmed(*line).empty()) continue;
    if (const std::string fault = row.parse(*line); !fault.empty()) {
      if (!lines.at_end()) {
        throw ReadError(file, "line " + std::to_string(lines.number()), fault,
                        "correct the line, and make sure that the .cfg belongs to this file");
      }
      data.notes.push_back("The last line of the data file (line " + std::to_string(lines.number()) +
                           ") is not complete and was dropped: " + fault + ".");
      break;
    }
    for (std::size_t i = 0; i < row.values.size(); ++i) data.samples[i].push_back(row.values[i]);

    if (!jumped && !follows(row.number, number_before)) {
      jumped = true;
      data.notes.push_back("Sample numbers in the data file go from " + number_text(number_before) + " to " +
                           number_text(row.number) + " at line " + std::to_string(lines.number()) +
                           "; rows may be missing.");
    }
    number_before = row.number;
  }
  return data;
}

// --- BINARY ----------------------------------------------------------------------------------------------------------

std::uint32_t little_endian(std::string_view bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) value = value << 8 | static_cast<unsigned char>(bytes[i]);
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

ComtradeData read_binary(const std::string& file, std::string_view content, const ComtradeConfig& config) {
  constexpr std::size_t kNumberBytes = 4;
  constexpr std::size_t kStampBytes = 4;
  constexpr std::size_t kWordBytes = 2;
  constexpr std::size_t kDigitalsPerWord = 16;
  constexpr std::int16_t kMissing = -32768;

  const std::size_t digital_words = config.digitals / kDigitalsPerWord + (config.digitals % kDigitalsPerWord != 0);
  const std::size_t row_bytes = kNumberBytes + kStampBytes + kWordBytes * (config.analogs.size() + digital_words);
  const std::size_t rows = content.size() / row_bytes;
  const std::size_t left_over = content.size() % row_bytes;

  ComtradeData data;
  data.samples.resize(config.analogs.size());
  for (auto& samples : data.samples) samples.reserve(rows);

  SampleNumbers numbers(file);
  for (std::size_t r = 0; r < rows; ++r) {
    const std::string_view row = content.substr(r * row_bytes, row_bytes);
    numbers.take(little_endian(row.substr(0, kNumberBytes)), r * row_bytes);
    for (std::size_t i = 0; i < config.analogs.size(); ++i) {
      const std::string_view word = row.substr(kNumberBytes + kStampBytes + kWordBytes * i, kWordBytes);
      const auto stored = static_cast<std::int16_t>(little_endian(word));
      data.samples[i].push_back(stored == kMissing ? kNaN : scaled(config.analogs[i], stored));
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

}  // namespace

ComtradeData read_comtrade_data(const std::string& file, std::string_view content, const ComtradeConfig& config) {
  const bool ascii = config.data_type == ComtradeConfig::DataType::kAscii;
  ComtradeData data = ascii ? read_ascii(file, content, config) : read_binary(file, content, config);
  if (data.samples.front().empty()) {
    throw ReadError(file, "", "holds no samples", "get the data file again, or choose another record");
  }
  return data;
}

}  // namespace readers
