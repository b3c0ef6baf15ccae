#include "outputs/ticks.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

#include "analysis/decimal.h"

namespace outputs {

namespace {

constexpr int most_ticks = 12;
constexpr int most_decimals = 9;
/// A base is subtracted if values are this many times as large as the distance between ticks.
constexpr double long_text = 1e5;

/// Returns 1, 2 or 5 times a power of ten that is about a fifth of a span.
double round_step(double span) {
  const double rough = span / 5;
  const int exponent = analysis::decimal_exponent(rough);
  const double power = analysis::power_of_ten(exponent);
  const double share = rough / power;
  if (share >= 7.5) return analysis::power_of_ten(exponent + 1);
  return power * (share < 1.5 ? 1 : share < 3.5 ? 2 : 5);
}

}  // namespace

Ticks::Ticks(double low, double high) {
  const double largest = std::max(std::abs(low), std::abs(high));
  // Steps far below the last digit of the values would have no effect.
  constexpr double finest = 1e-13;
  const double span = high - low;
  // A step between values at the limits of double precision would be zero or infinite.
  constexpr double widest = 1e290;
  if (!(span > finest * largest) || !(span > 1 / widest) || !(largest < widest)) return;
  step_ = round_step(span);
  decimals_ = std::clamp(-analysis::decimal_exponent(step_), 0, most_decimals);
  const double first = std::ceil(low / step_ - 1e-9) * step_;
  for (int i = 0; i < most_ticks; i++) {
    const double tick = first + i * step_;
    if (tick > high + 1e-9 * step_) break;
    values_.push_back(std::abs(tick) < step_ / 2 ? 0 : tick);
  }
  if (largest > long_text * step_) {
    const double unit = std::max(1.0, 10 * step_);
    base_ = std::floor(low / unit) * unit;
  }
}

std::string Ticks::text(double value) const {
  const double shown = value - base_;
  const std::string digits = fmt::format("{:.{}f}", std::abs(shown), decimals_);
  const bool zero = digits.find_first_not_of("0.") == std::string::npos;
  return (shown < 0 && !zero ? "\u2212" : "") + digits;
}

std::string Ticks::base_text() const {
  return fmt::format("{}{:.0f}", base_ < 0 ? "\u2212" : "", std::abs(base_));
}

}  // namespace outputs
