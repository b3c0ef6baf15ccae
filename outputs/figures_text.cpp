#include "outputs/figures_text.h"

#include <fmt/format.h>

namespace outputs {

namespace {

/// How wide the letter is whose UTF-8 begins with a byte; nothing for the bytes behind the first. From U+3000 on
/// letters take two columns as a rule.
std::size_t columns_begun_by(char first) {
  const auto byte = static_cast<unsigned char>(first);
  if ((byte & 0xC0U) == 0x80) return 0;
  return byte > 0xE2 ? 2 : 1;
}

}  // namespace

std::string angle_text(double degrees) {
  const std::string digits = fmt::format("{:.1f}", degrees);
  return (digits == "360.0" ? "0.0" : digits) + "°";
}

std::string turn_text(double degrees) {
  const std::string digits = fmt::format("{:+.1f}", degrees);
  return (digits.substr(1) == "0.0" ? "0.0" : digits) + "°";
}

std::size_t columns_of(const std::string& text) {
  std::size_t columns = 0;
  for (const char c : text) columns += columns_begun_by(c);
  return columns;
}

std::string shortened(const std::string& name, std::size_t most) {
  if (columns_of(name) <= most) return name;
  // The end stays too: names differ there, by the letter of the phase.
  const std::size_t behind = most / 2 - 1;
  std::size_t begin = 0;
  for (std::size_t columns = 0; columns + columns_begun_by(name[begin]) <= most - behind; begin++) {
    columns += columns_begun_by(name[begin]);
  }
  std::size_t end = name.size();
  for (std::size_t columns = 0, at = name.size(); at-- > begin;) {
    columns += columns_begun_by(name[at]);
    if (columns > behind) break;
    if (columns_begun_by(name[at]) > 0) end = at;
  }
  return name.substr(0, begin) + "…" + name.substr(end);
}

bool is_of_transformer(const readers::Channel& channel) {
  return channel.side != 0 && channel.primary != channel.secondary;
}

std::string side_text(const readers::Channel& channel) {
  return fmt::format("{}transformer {:g}:{:g}",
                     channel.side == 'P'   ? "primary values, "
                     : channel.side == 'S' ? "secondary values, "
                                           : "",
                     channel.primary, channel.secondary);
}

}  // namespace outputs
