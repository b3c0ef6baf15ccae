#include "synth/record_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "writers/comtrade_file.h"
#include "writers/table_file.h"

namespace synth {

namespace {

constexpr const char* start_of_record = "01/01/2000,00:00:00.000000";

/// Returns the largest stored value. Larger values would mark a value as missing.
long steps_of(ComtradeData data) {
  return data == ComtradeData::ascii ? 99998 : 32767;
}

/// Returns the size of one step of a channel, to the nine digits that the configuration states.
double scale_of(const readers::Channel& channel, ComtradeData data) {
  double peak = 0;
  for (const double sample : channel.samples) peak = std::max(peak, std::abs(sample));
  const double scale = peak > 0 ? peak / static_cast<double>(steps_of(data)) : 1;
  return std::stod(fmt::format("{:.9g}", scale));
}

writers::ComtradeFile file_of(const readers::Record& record, ComtradeData data, int revision) {
  const auto steps = static_cast<double>(steps_of(data));
  writers::ComtradeFile file;
  file.revision = revision;
  file.type = data == ComtradeData::ascii ? writers::StoredAs::ascii : writers::StoredAs::binary;
  file.station = record.station;
  file.device = record.device;
  file.line_frequency = record.line_frequency;
  file.rates = record.rates;
  file.start_time = file.trigger_time = start_of_record;
  file.time_quality = "0,0";  // times are in UTC with unknown quality
  for (const auto& source : record.channels) {
    auto& channel = file.channels.emplace_back();
    channel.about = source;
    channel.scale = scale_of(source, data);
    channel.lowest = -steps;
    channel.highest = steps;
    for (const double sample : source.samples) {
      channel.values.push_back(std::clamp(std::round(sample / channel.scale), -steps, steps));
    }
  }
  return file;
}

}  // namespace

std::string csv_of(const readers::Record& record) {
  constexpr int digits = 9;
  return writers::table_of(record, digits);
}

ComtradePair comtrade_of(const readers::Record& record, ComtradeData data) {
  const auto file = file_of(record, data, 1999);
  return {writers::config_of(file), writers::data_of(file)};
}

std::string single_comtrade_of(const readers::Record& record, ComtradeData data) {
  return writers::single_file_of(file_of(record, data, 2013));
}

}  // namespace synth
