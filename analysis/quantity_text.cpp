#include "analysis/quantity_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace analysis {

namespace {

/// Returns the number of decimals, at least `decimals`, with which the shown figure falls into the same class (by
/// `class_of`) as the figure itself.
template <typename ClassOf>
int deciding_decimals(double figure, int decimals, ClassOf class_of) {
  const auto keeps_class = [&](int digits) {
    const double scale = std::pow(10.0, digits);
    return class_of(std::round(figure * scale) / scale) == class_of(figure);
  };
  // A figure that differs from a limit by less than this equals the limit except for rounding errors.
  const int most_decimals = decimals + 3;
  if (!keeps_class(most_decimals)) return decimals;
  while (!keeps_class(decimals)) decimals++;
  return decimals;
}

}  // namespace

namespace {

/// Returns four significant digits; a zero after the point counts as one of them.
std::string four_digits(double value) {
  std::string digits = fmt::format("{:#.4g}", value);
  if (digits.back() == '.') digits.pop_back();
  return digits;
}

/// Per cent from which on decimals say nothing.
constexpr double most_with_decimals = 1e6;

}  // namespace

std::string volts_text(double volts) {
  const double size = std::abs(volts);
  if (size >= 1e6) return four_digits(volts / 1e6) + " MV";
  if (size >= 1e3) return four_digits(volts / 1e3) + " kV";
  if (size >= 1 || size == 0) return four_digits(volts) + " V";
  return four_digits(volts * 1e3) + " mV";
}

std::string volts_text_of(double volts, double whole) {
  constexpr double resolution = 1e-5;
  return std::abs(volts) < resolution * whole ? "0 V" : volts_text(volts);
}

std::string percent_text(double percent) {
  return std::abs(percent) < most_with_decimals ? fmt::format("{:.1f} %", percent) : fmt::format("{:.3g} %", percent);
}

std::string count_text(std::size_t count) {
  constexpr std::array<const char*, 12> words = {"one",   "two",   "three", "four", "five",   "six",
                                                 "seven", "eight", "nine",  "ten",  "eleven", "twelve"};
  return count >= 1 && count <= words.size() ? words[count - 1] : fmt::format("{}", count);
}

std::string duration_text(double seconds) {
  // Durations up to and including a limit belong to its column in EN 50160's tables and to its step of a curve.
  constexpr std::array<double, 9> limits = {0.01, 0.02, 0.05, 0.2, 0.5, 1, 5, 10, 60};
  const auto column_of = [&](double length) { return std::lower_bound(limits.begin(), limits.end(), length); };
  const int decimals = deciding_decimals(seconds, seconds < 1 ? 4 : 3, column_of);
  return seconds < 1 ? fmt::format("{:.{}f} ms", seconds * 1e3, decimals - 3)
                     : fmt::format("{:.{}f} s", seconds, decimals);
}

std::string percent_text(double percent, const measure::Thresholds& thresholds) {
  if (!(std::abs(percent) < most_with_decimals)) return percent_text(percent);  // far beyond every limit
  const std::array<double, 9> limits = {
      5, 40, 70, 80, 90, 110, thresholds.dip, thresholds.swell, thresholds.interruption};
  const auto row_of = [&](double shown) {
    return std::count_if(limits.begin(), limits.end(), [&](double limit) { return shown >= limit; });
  };
  return fmt::format("{:.{}f} %", percent, deciding_decimals(percent, 1, row_of));
}

}  // namespace analysis
