#include "analysis/quantity_text.h"

#include <fmt/format.h>

#include <array>
#include <cmath>

namespace analysis {

namespace {

/// Four significant digits; a zero behind the point is one of them.
std::string four_digits(double value) {
  std::string digits = fmt::format("{:#.4g}", value);
  if (digits.back() == '.') digits.pop_back();
  return digits;
}

}  // namespace

std::string volts_text(double volts) {
  const double size = std::abs(volts);
  if (size >= 1e6) return four_digits(volts / 1e6) + " MV";
  if (size >= 1e3) return four_digits(volts / 1e3) + " kV";
  if (size >= 1 || size == 0) return four_digits(volts) + " V";
  return four_digits(volts * 1e3) + " mV";
}

std::string count_text(std::size_t count) {
  constexpr std::array<const char*, 12> words = {"one",   "two",   "three", "four", "five",   "six",
                                                 "seven", "eight", "nine",  "ten",  "eleven", "twelve"};
  return count >= 1 && count <= words.size() ? words[count - 1] : fmt::format("{}", count);
}

std::string duration_text(double seconds) {
  return seconds < 1 ? fmt::format("{:.1f} ms", seconds * 1e3) : fmt::format("{:.3f} s", seconds);
}

}  // namespace analysis
