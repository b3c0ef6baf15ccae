#include "measure/lowest_of_six.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "measure/moving_phasors.h"

namespace measure {

namespace {

constexpr std::size_t six = 6;

/// Squares of the magnitudes, in the order of `SixVoltages`.
std::array<double, six> squares_of(const Phasors& voltages, const Phasors& correction) {
  const Phasor a = voltages[0] * correction[0];
  const Phasor b = voltages[1] * correction[1];
  const Phasor c = voltages[2] * correction[2];
  const Phasor zero = (a + b + c) / 3.0;
  return {std::norm(a - b),    std::norm(b - c),    std::norm(c - a),
          std::norm(a - zero), std::norm(b - zero), std::norm(c - zero)};
}

}  // namespace

std::optional<LowestOfSix> lowest_of_six(const Excerpt& excerpt, const Phasors& before, const Phasors& correction,
                                         double start_s, double end_s) {
  constexpr double next_to_nothing = 1e-3;  // of the usual peak
  const std::array<double, six> level = squares_of(before, correction);
  if (*std::min_element(level.begin(), level.end()) < next_to_nothing * next_to_nothing) return std::nullopt;
  const MovingPhasors moving(excerpt);
  const double half_s = moving.time_of(0) - excerpt.begin_s();
  double lowest = std::numeric_limits<double>::infinity();
  std::size_t which = 0;
  for (std::size_t i = excerpt.index_at(start_s - half_s); i + moving.window() <= excerpt.length(); i++) {
    if (moving.time_of(i) > end_s) break;
    const auto phasors = moving.at(i);
    if (!phasors) continue;
    const std::array<double, six> now = squares_of(*phasors, correction);
    for (std::size_t k = 0; k < six; k++) {
      if (now[k] / level[k] >= lowest) continue;
      lowest = now[k] / level[k];
      which = k;
    }
  }
  if (!std::isfinite(lowest)) return std::nullopt;
  return LowestOfSix{std::sqrt(lowest), static_cast<SixVoltages>(which)};
}

}  // namespace measure
