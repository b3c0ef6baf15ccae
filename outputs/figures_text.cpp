#include "outputs/figures_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "analysis/quantity_text.h"
#include "outputs/rounding.h"

namespace outputs {

namespace {

/// Returns the width of the letter whose UTF-8 code begins with a byte; 0 for the bytes after the first one. From
/// U+3000 on, letters usually take two columns.
std::size_t columns_begun_by(char first) {
  const auto byte = static_cast<unsigned char>(first);
  if ((byte & 0xC0U) == 0x80) return 0;
  return byte > 0xE2 ? 2 : 1;
}

/// Returns the number of decimals, from 0 to `most`, that an uncertainty allows.
int decimals_for(double plus_minus, int most) {
  return std::max(decimals_of(plus_minus, most), 0);
}

/// Formats a number without a sign if its digits are all zero.
std::string digits_of(double value, int decimals) {
  const std::string digits = fmt::format("{:.{}f}", value, decimals);
  const bool zero = digits.find_first_not_of("-0.") == std::string::npos;
  return zero && digits[0] == '-' ? digits.substr(1) : digits;
}

constexpr int angle_decimals = 1;

std::string angle_digits(double degrees, int decimals) {
  const std::string digits = digits_of(degrees, decimals);
  return (digits == digits_of(360, decimals) ? digits_of(0, decimals) : digits) + "°";
}

std::string turn_digits(double degrees, int decimals) {
  const std::string digits = digits_of(degrees, decimals);
  const bool positive = degrees > 0 && digits != digits_of(0, decimals);
  return (positive ? "+" : "") + digits + "°";
}

std::string degrees_plus_minus(double plus_minus, int decimals) {
  return fmt::format(" ± {:.{}f}°", rounded_up(plus_minus, decimals), decimals);
}

struct Prefix {
  double volts;
  const char* unit;
};

/// Returns the prefix that suits a value in volts.
Prefix prefix_for(double size) {
  constexpr std::array<Prefix, 3> prefixes = {{{1e6, "MV"}, {1e3, "kV"}, {1, "V"}}};
  for (const Prefix& prefix : prefixes) {
    if (size >= prefix.volts) return prefix;
  }
  return size > 0 ? Prefix{1e-3, "mV"} : Prefix{1, "V"};
}

/// Returns whether a word must stay on one line with the word before it, because it is a unit or one of them is ±.
bool belongs_together(std::string_view before, std::string_view word) {
  constexpr std::string_view interval = "±";
  constexpr std::array<std::string_view, 9> units = {"%", "V", "kV", "MV", "mV", "s", "ms", "Hz", "degrees"};
  const std::size_t letters = word.find_last_not_of(".,;:()");
  const std::string_view bare = word.substr(0, letters == word.npos ? 0 : letters + 1);
  return before == interval || word == interval || std::find(units.begin(), units.end(), bare) != units.end();
}

/// The end of the word at a place, together with the words that belong to it.
std::size_t end_of_unbroken(std::string_view words, std::size_t at) {
  const auto end_of_word = [&](std::size_t from) { return std::min(words.find(' ', from), words.size()); };
  std::size_t end = end_of_word(at);
  std::string_view word = words.substr(at, end - at);
  while (end < words.size()) {
    const std::string_view next = words.substr(end + 1, end_of_word(end + 1) - end - 1);
    if (!belongs_together(word, next)) break;
    end += 1 + next.size();
    word = next;
  }
  return end;
}

/// Returns the end of the letter or of the colour sequence that begins at a place.
std::size_t end_of_letter(std::string_view text, std::size_t at) {
  if (text[at] == '\033') return std::min(text.find('m', at), text.size() - 1) + 1;
  std::size_t end = at + 1;
  while (end < text.size() && columns_begun_by(text[end]) == 0) end++;
  return end;
}

/// Returns how many bytes of a line fit into a number of columns; at least one letter.
std::size_t fitting_bytes(std::string_view line, std::size_t columns) {
  std::size_t used = 0;
  std::size_t fit = 0;
  while (fit < line.size()) {
    const std::size_t end = end_of_letter(line, fit);
    used += line[fit] == '\033' ? 0 : columns_begun_by(line[fit]);
    if (used > columns && fit > 0) break;
    fit = end;
  }
  return fit;
}

/// Breaks a line that is too wide.
std::string fitted_line(std::string_view line, std::size_t columns) {
  if (fitting_bytes(line, columns) == line.size()) return std::string(line) + '\n';
  constexpr std::size_t deeper = 2;
  const std::size_t indent = std::min(std::min(line.find_first_not_of(' '), line.size()) + deeper, columns / 2);
  std::string text;
  while (!line.empty()) {
    const std::string margin(text.empty() ? 0 : indent, ' ');
    std::size_t end = fitting_bytes(line, columns - margin.size());
    if (end < line.size()) {
      const std::size_t blank = line.rfind(' ', end);
      const std::size_t first = std::min(line.find_first_not_of(' '), line.size());
      if (blank != line.npos && blank > first) end = blank;
    }
    text += margin + std::string(line.substr(0, end)) + '\n';
    line.remove_prefix(end);
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
  }
  return text;
}

/// Decimals that make four significant digits of a value of at most some thousands.
int four_digit_decimals(double value) {
  return value >= 1000 ? 0 : value >= 100 ? 1 : value >= 10 ? 2 : 3;
}

}  // namespace

std::string angle_text(double degrees) {
  return angle_digits(degrees, angle_decimals);
}

std::string turn_text(double degrees) {
  return turn_digits(degrees, angle_decimals);
}

std::string volts_text(const measure::Figure& volts) {
  const double size = std::max(std::abs(volts.value), volts.plus_minus);
  const Prefix prefix = prefix_for(size);
  const double plus_minus = volts.plus_minus / prefix.volts;
  const int decimals = decimals_for(plus_minus, four_digit_decimals(size / prefix.volts));
  return fmt::format("{} ± {:.{}f} {}", digits_of(volts.value / prefix.volts, decimals),
                     rounded_up(plus_minus, decimals), decimals, prefix.unit);
}

std::string rounded_volts_text(const measure::Figure& volts) {
  const std::string text = volts_text(volts);
  const std::size_t digits = text.find(" ± ");
  return text.substr(0, digits) + text.substr(text.rfind(' '));
}

std::string slope_text(double volts_per_second, double level, double rate) {
  return analysis::volts_text_of(volts_per_second, level * rate) + "/s";
}

std::string rounded_percent_text(const measure::Figure& percent) {
  return digits_of(percent.value, decimals_for(percent.plus_minus, 1)) + " %";
}

std::string percent_text(const measure::Figure& percent) {
  const int decimals = decimals_for(percent.plus_minus, 1);
  return fmt::format("{} ± {:.{}f} %", digits_of(percent.value, decimals), rounded_up(percent.plus_minus, decimals),
                     decimals);
}

std::string angle_text(const measure::Figure& degrees) {
  const int decimals = decimals_for(degrees.plus_minus, angle_decimals);
  return angle_digits(degrees.value, decimals) + degrees_plus_minus(degrees.plus_minus, decimals);
}

std::string turn_text(const measure::Figure& degrees) {
  const int decimals = decimals_for(degrees.plus_minus, angle_decimals);
  return turn_digits(degrees.value, decimals) + degrees_plus_minus(degrees.plus_minus, decimals);
}

std::string instant_text(double record_seconds) {
  return fmt::format("{:.4f} s", record_seconds);
}

std::string instant_text(double record_seconds, double plus_minus) {
  const int decimals = decimals_for(plus_minus * 1e3, 1);
  return fmt::format("{:.{}f} s ± {:.{}f} ms", record_seconds, 3 + decimals, rounded_up(plus_minus * 1e3, decimals),
                     decimals);
}

measure::Figure percent_of_before(const measure::SegmentPhase& figures) {
  const double percent = 100 * figures.share_of_before;
  if (!(figures.voltage_v.value > 0)) return {percent, 0};
  return {percent, percent * figures.voltage_v.plus_minus / figures.voltage_v.value};
}

double sequence_plus_minus(const measure::Segment& segment) {
  double squares = 0;
  for (const auto& phase : segment.phases) squares += phase.voltage_v.plus_minus * phase.voltage_v.plus_minus;
  return std::sqrt(squares) / 3;
}

std::optional<measure::Figure> unbalance_percent(const measure::Segment& segment) {
  if (!segment.sequences || !segment.sequences->unbalance_percent) return {};
  const double plus_minus = sequence_plus_minus(segment);
  const double positive = segment.sequences->positive_v;
  if (!(positive > plus_minus)) return {};
  const double percent = *segment.sequences->unbalance_percent;
  return measure::Figure{percent, (100 + percent) * plus_minus / positive};
}

std::string wrapped(const std::string& words, std::size_t width, std::size_t indent) {
  const std::string margin(indent, ' ');
  std::string text;
  std::string line;
  for (std::size_t at = 0; at <= words.size();) {
    const std::size_t end = end_of_unbroken(words, at);
    const std::string piece = words.substr(at, end - at);
    if (!line.empty() && indent + columns_of(line) + 1 + columns_of(piece) > width) {
      text += margin + line + '\n';
      line.clear();
    }
    line += (line.empty() ? "" : " ") + piece;
    at = end + 1;
  }
  return text + margin + line + '\n';
}

std::string fitted(const std::string& text, std::size_t columns) {
  constexpr std::size_t least = 20;
  if (columns == 0) return text;
  std::string result;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size());
    result += fitted_line(std::string_view(text).substr(at, end - at), std::max(columns, least));
    at = end + 1;
  }
  return result;
}

std::size_t columns_of(const std::string& text) {
  std::size_t columns = 0;
  for (const char c : text) columns += columns_begun_by(c);
  return columns;
}

std::string shortened(const std::string& name, std::size_t most) {
  if (columns_of(name) <= most) return name;
  // The end of a name is kept too, because names differ there by the letter of the phase.
  const std::size_t kept_at_end = most / 2 - 1;
  std::size_t begin = 0;
  for (std::size_t columns = 0; columns + columns_begun_by(name[begin]) <= most - kept_at_end; begin++) {
    columns += columns_begun_by(name[begin]);
  }
  std::size_t end = name.size();
  for (std::size_t columns = 0, at = name.size(); at-- > begin;) {
    columns += columns_begun_by(name[at]);
    if (columns > kept_at_end) break;
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
