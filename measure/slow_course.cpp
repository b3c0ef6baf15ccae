#include "measure/slow_course.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "measure/moving_phasors.h"

namespace measure {

namespace {

/// Calls `take(middle, phasors)` for the windows whose middles lie between two times.
template <typename Take>
void each_window(const Excerpt& excerpt, double from_s, double to_s, Take take) {
  const MovingPhasors moving(excerpt);
  for (std::size_t i = 0; i + moving.window() <= excerpt.length(); i++) {
    const double middle = moving.time_of(i);
    if (middle < from_s) continue;
    if (middle > to_s) break;
    if (const auto phasors = moving.at(i)) take(middle, *phasors);
  }
}

}  // namespace

std::optional<Phasors> mean_fundamental(const Excerpt& excerpt, double from_s, double to_s) {
  Phasors sum{};
  double count = 0;
  each_window(excerpt, from_s, to_s, [&](double, const Phasors& phasors) {
    for (std::size_t phase = 0; phase < excerpt.phases(); phase++) sum[phase] += phasors[phase];
    count++;
  });
  if (count < 1) return std::nullopt;
  for (Phasor& phasor : sum) phasor /= count;
  return sum;
}

std::optional<SlowCourse> slow_course(const Excerpt& excerpt, const Phasors& before, double threshold, double from_s,
                                      double to_s) {
  std::optional<SlowCourse> found;
  double previous_s = from_s;
  double previous = threshold;
  bool was_low = false;
  each_window(excerpt, from_s, to_s, [&](double middle, const Phasors& phasors) {
    double share = std::numeric_limits<double>::infinity();
    for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
      const double level = std::abs(before[phase]);
      if (level > 0) share = std::min(share, std::abs(phasors[phase]) / level);
    }
    const bool low = share < threshold;
    const double apart = share - previous;
    const double crossing =
        std::abs(apart) > 0 ? previous_s + (threshold - previous) / apart * (middle - previous_s) : middle;
    if (low && !found) found = SlowCourse{std::clamp(crossing, previous_s, middle), middle, phasors};
    if (found && low) {
      found->end_s = middle;
      for (std::size_t phase = 0; phase < excerpt.phases(); phase++) {
        if (std::abs(phasors[phase]) < std::abs(found->lowest[phase])) found->lowest[phase] = phasors[phase];
      }
    } else if (found && was_low) {
      found->end_s = std::clamp(crossing, previous_s, middle);
    }
    was_low = low;
    previous_s = middle;
    previous = share;
  });
  return found;
}

}  // namespace measure
