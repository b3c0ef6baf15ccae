#include "writers/comtrade_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>

namespace writers {

namespace {

/// Returns text that fits into a field; a comma would begin the next one.
std::string field(std::string text) {
  std::replace(text.begin(), text.end(), ',', ' ');
  return text;
}

/// Returns the time of the first row of each section and of all rows after it.
class RowTimes {
 public:
  explicit RowTimes(const std::vector<readers::RateSection>& rates) : rates_(rates) {}

  /// Returns the seconds from the first row. Rows must be asked for in order.
  double at(std::size_t row) {
    while (row >= rates_[section_].end && section_ + 1 < rates_.size()) begin_ = rates_[section_++].end;
    return rates_[section_].start + static_cast<double>(row - begin_) / rates_[section_].rate;
  }

 private:
  const std::vector<readers::RateSection>& rates_;
  std::size_t section_ = 0;
  std::size_t begin_ = 0;
};

std::size_t rows_of(const ComtradeFile& file) {
  return file.rates.back().end;
}

/// Returns the microseconds in one unit of the stamps, which have 32 bits in binary files.
double stamp_unit(const ComtradeFile& file) {
  RowTimes times(file.rates);
  double unit = 1;
  while (times.at(rows_of(file) - 1) * 1e6 / unit > 4e9) unit *= 1000;
  return unit;
}

/// Goes through the states of the digital channels row by row.
class DigitalRows {
 public:
  explicit DigitalRows(const std::vector<readers::DigitalChannel>& channels)
      : channels_(channels), next_(channels.size(), 0) {
    for (const auto& channel : channels) states_.push_back(channel.first_state);
  }

  const std::vector<bool>& at(std::size_t row) {
    for (std::size_t i = 0; i < channels_.size(); i++) {
      const auto& changes = channels_[i].changes;
      for (; next_[i] < changes.size() && changes[next_[i]].row <= row; next_[i]++)
        states_[i] = changes[next_[i]].state;
    }
    return states_;
  }

 private:
  const std::vector<readers::DigitalChannel>& channels_;
  std::vector<std::size_t> next_;
  std::vector<bool> states_;
};

template <typename Unsigned>
void append_little_endian(std::string& bytes, Unsigned value) {
  for (unsigned shift = 0; shift < 8 * sizeof value; shift += 8) bytes += static_cast<char>(value >> shift & 0xFF);
}

void append_value(std::string& bytes, StoredAs type, double value) {
  const bool missing = std::isnan(value);
  switch (type) {
    case StoredAs::ascii:
      bytes += ',';
      if (!missing) fmt::format_to(std::back_inserter(bytes), "{}", std::llround(value));
      break;
    case StoredAs::binary:
      append_little_endian(bytes, static_cast<std::uint16_t>(missing ? 0x8000 : std::llround(value)));
      break;
    case StoredAs::binary32:
      append_little_endian(bytes, static_cast<std::uint32_t>(missing ? 0x80000000 : std::llround(value)));
      break;
    case StoredAs::float32:
      append_little_endian(
          bytes, std::bit_cast<std::uint32_t>(missing ? std::numeric_limits<float>::max() : static_cast<float>(value)));
      break;
  }
}

void append_digitals(std::string& bytes, const std::vector<bool>& states) {
  for (std::size_t word = 0; word < states.size(); word += 16) {
    std::uint16_t bits = 0;
    for (std::size_t i = word; i < std::min(word + 16, states.size()); i++) {
      if (states[i]) bits = static_cast<std::uint16_t>(bits | 1U << (i - word));
    }
    append_little_endian(bytes, bits);
  }
}

}  // namespace

const char* name_of(StoredAs type) {
  switch (type) {
    case StoredAs::ascii:
      return "ASCII";
    case StoredAs::binary:
      return "BINARY";
    case StoredAs::binary32:
      return "BINARY32";
    case StoredAs::float32:
      return "FLOAT32";
  }
  return "";
}

std::string config_of(const ComtradeFile& file) {
  const std::size_t analogs = file.channels.size();
  const std::size_t digitals = file.digitals.size();
  std::string text = fmt::format("{},{},{}\r\n{},{}A,{}D\r\n", field(file.station), field(file.device), file.revision,
                                 analogs + digitals, analogs, digitals);
  auto out = std::back_inserter(text);
  for (std::size_t i = 0; i < analogs; i++) {
    const StoredChannel& channel = file.channels[i];
    const readers::Channel& about = channel.about;
    fmt::format_to(out, "{},{},{},,{},{},{},{},{},{},{},{},{}\r\n", i + 1, field(about.name), field(about.phase),
                   field(about.unit), channel.scale, channel.offset, 1e6 * about.skew, channel.lowest, channel.highest,
                   about.primary, about.secondary, about.side == 'S' ? 'S' : 'P');
  }
  for (std::size_t i = 0; i < digitals; i++) {
    fmt::format_to(out, "{},{},,,0\r\n", i + 1, field(file.digitals[i].name));
  }
  fmt::format_to(out, "{}\r\n{}\r\n", file.line_frequency, file.rates.size());
  for (const auto& section : file.rates) fmt::format_to(out, "{},{}\r\n", section.rate, section.end);
  fmt::format_to(out, "{}\r\n{}\r\n{}\r\n{}\r\n", file.start_time, file.trigger_time, name_of(file.type),
                 stamp_unit(file));
  if (file.revision == 2013) {
    fmt::format_to(out, "{0},{0}\r\n{1}\r\n", file.time_zone.empty() ? "0" : file.time_zone, file.time_quality);
  }
  return text;
}

std::string data_of(const ComtradeFile& file) {
  std::string bytes;
  RowTimes times(file.rates);
  DigitalRows digitals(file.digitals);
  const double unit = stamp_unit(file);
  for (std::size_t row = 0; row < rows_of(file); row++) {
    const long long stamp = std::llround(times.at(row) * 1e6 / unit);
    if (file.type == StoredAs::ascii) {
      fmt::format_to(std::back_inserter(bytes), "{},{}", row + 1, stamp);
    } else {
      append_little_endian(bytes, static_cast<std::uint32_t>(row + 1));
      append_little_endian(bytes, static_cast<std::uint32_t>(stamp));
    }
    for (const StoredChannel& channel : file.channels) append_value(bytes, file.type, channel.values[row]);
    const std::vector<bool>& states = digitals.at(row);
    if (file.type == StoredAs::ascii) {
      for (const bool state : states) bytes += state ? ",1" : ",0";
      bytes += "\r\n";
    } else {
      append_digitals(bytes, states);
    }
  }
  return bytes;
}

std::string single_file_of(const ComtradeFile& file) {
  const std::string samples = data_of(file);
  const std::string kind =
      file.type == StoredAs::ascii ? "ASCII" : fmt::format("{}: {}", name_of(file.type), samples.size());
  return fmt::format(
      "--- file type: CFG ---\r\n{}--- file type: INF ---\r\n\r\n--- file type: HDR ---\r\n\r\n"
      "--- file type: DAT {} ---\r\n{}",
      config_of(file), kind, samples);
}

}  // namespace writers
