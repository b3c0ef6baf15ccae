#include "synth/record_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <vector>

namespace synth {

namespace {

constexpr const char* start_of_record = "01/01/2000,00:00:00.000000";

/// Returns the largest stored value. Larger values would mark a value as missing.
long steps_of(ComtradeData data) {
  return data == ComtradeData::ascii ? 99998 : 32767;
}

/// Returns the size of one step in each channel, to the nine digits that the configuration states.
std::vector<double> scales_of(const readers::Record& record, ComtradeData data) {
  std::vector<double> scales;
  for (const auto& channel : record.channels) {
    double peak = 0;
    for (const double sample : channel.samples) peak = std::max(peak, std::abs(sample));
    const double scale = peak > 0 ? peak / static_cast<double>(steps_of(data)) : 1;
    scales.push_back(std::stod(fmt::format("{:.9g}", scale)));
  }
  return scales;
}

std::string config_of(const readers::Record& record, ComtradeData data, bool single) {
  const long steps = steps_of(data);
  const auto scales = scales_of(record, data);
  std::string text = fmt::format("{},{},{}\r\n{},{}A,0D\r\n", record.station, record.device, single ? 2013 : 1999,
                                 record.channels.size(), record.channels.size());
  auto out = std::back_inserter(text);
  for (std::size_t i = 0; i < record.channels.size(); i++) {
    const auto& channel = record.channels[i];
    fmt::format_to(out, "{},{},{},,{},{:.9g},0,0,{},{},1,1,P\r\n", i + 1, channel.name, channel.phase, channel.unit,
                   scales[i], -steps, steps);
  }
  fmt::format_to(out, "{:.9g}\r\n1\r\n{:.9g},{}\r\n{}\r\n{}\r\n{}\r\n1\r\n", record.line_frequency,
                 record.rates.front().rate, record.length(), start_of_record, start_of_record,
                 data == ComtradeData::ascii ? "ASCII" : "BINARY");
  if (single) text += "0,0\r\n0,0\r\n";  // times are in UTC with unknown quality
  return text;
}

/// Returns the microseconds from the first sample.
long long time_stamp(const readers::Record& record, std::size_t i) {
  return std::llround(static_cast<double>(i) / record.rates.front().rate * 1e6);
}

template <typename Unsigned>
void append_little_endian(std::string& bytes, Unsigned value) {
  for (unsigned shift = 0; shift < 8 * sizeof value; shift += 8) bytes += static_cast<char>(value >> shift & 0xFF);
}

std::string data_of(const readers::Record& record, ComtradeData data) {
  const auto scales = scales_of(record, data);
  const auto stored = [&](std::size_t channel, std::size_t i) {
    return std::clamp(std::lround(record.channels[channel].samples[i] / scales[channel]), -steps_of(data),
                      steps_of(data));
  };
  std::string bytes;
  for (std::size_t i = 0; i < record.length(); i++) {
    if (data == ComtradeData::ascii) {
      fmt::format_to(std::back_inserter(bytes), "{},{}", i + 1, time_stamp(record, i));
      for (std::size_t c = 0; c < scales.size(); c++) fmt::format_to(std::back_inserter(bytes), ",{}", stored(c, i));
      bytes += "\r\n";
    } else {
      append_little_endian(bytes, static_cast<std::uint32_t>(i + 1));
      append_little_endian(bytes, static_cast<std::uint32_t>(time_stamp(record, i)));
      for (std::size_t c = 0; c < scales.size(); c++)
        append_little_endian(bytes, static_cast<std::uint16_t>(stored(c, i)));
    }
  }
  return bytes;
}

}  // namespace

std::string csv_of(const readers::Record& record) {
  std::string text = "t_s";
  auto out = std::back_inserter(text);
  for (const auto& channel : record.channels) fmt::format_to(out, ",{}_{}", channel.name, channel.unit);
  text += '\n';
  for (std::size_t i = 0; i < record.length(); i++) {
    fmt::format_to(out, "{:.9f}", static_cast<double>(i) / record.rates.front().rate);
    for (const auto& channel : record.channels) fmt::format_to(out, ",{:.9g}", channel.samples[i]);
    text += '\n';
  }
  return text;
}

ComtradePair comtrade_of(const readers::Record& record, ComtradeData data) {
  return {config_of(record, data, false), data_of(record, data)};
}

std::string single_comtrade_of(const readers::Record& record, ComtradeData data) {
  const std::string samples = data_of(record, data);
  const std::string kind = data == ComtradeData::ascii ? "ASCII" : fmt::format("BINARY: {}", samples.size());
  return fmt::format(
      "--- file type: CFG ---\r\n{}--- file type: INF ---\r\n\r\n--- file type: HDR ---\r\n\r\n"
      "--- file type: DAT {} ---\r\n{}",
      config_of(record, data, true), kind, samples);
}

}  // namespace synth
