#include "writers/table_file.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>

#include "readers/text.h"

namespace writers {

namespace {

bool is_plain(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
  });
}

/// Returns a column's heading: "Ua_V", or "Bay 1 (a) [V]" in quotation marks if a name is not plain.
std::string heading_of(const readers::Channel& channel) {
  if (channel.unit.empty() && is_plain(channel.name)) return channel.name;
  // Other units need brackets to be recognised.
  const bool known = readers::is_one_of(channel.unit, {"V", "kV", "mV", "MV", "kA"});
  if (is_plain(channel.name) && known) return channel.name + "_" + channel.unit;
  std::string heading;
  for (const char c : channel.name + (channel.unit.empty() ? "" : " [" + channel.unit + "]")) {
    heading += c;
    if (c == '"') heading += c;
  }
  return '"' + heading + '"';
}

}  // namespace

std::string table_of(const readers::Record& record, int digits) {
  std::string text = "t_s";
  auto out = std::back_inserter(text);
  for (const auto& channel : record.channels) fmt::format_to(out, ",{}", heading_of(channel));
  text += '\n';
  for (std::size_t i = 0; i < record.length(); i++) {
    fmt::format_to(out, "{:.9f}", static_cast<double>(i) / record.rates.front().rate);
    for (const auto& channel : record.channels) {
      const double value = channel.samples[i];
      if (std::isnan(value)) {
        text += ',';
      } else if (digits > 0) {
        fmt::format_to(out, ",{:.{}g}", value, digits);
      } else {
        fmt::format_to(out, ",{}", value);
      }
    }
    text += '\n';
  }
  return text;
}

}  // namespace writers
