#include "measure/gradual_course.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace measure {

namespace {

constexpr double window_cycles = 2;
/// Long courses are followed in longer fits, because flicker affects these less.
constexpr double long_course_cycles = 16;
constexpr double long_window_cycles = 4;

}  // namespace

GradualCourse::GradualCourse(const Excerpt& excerpt, double begin_s, double end_s, bool after_change)
    : phases_(excerpt.phases()), begin_s_(begin_s), end_s_(end_s) {
  const double cycle = excerpt.cycle();
  const double window = ((end_s - begin_s) / cycle > long_course_cycles ? long_window_cycles : window_cycles) * cycle;
  const auto add = [&](double seconds, const PhasorFit& fit) {
    times_.push_back(seconds);
    values_.push_back(fit.phasors(seconds));
  };
  const auto fitted = [&](double from, double to, bool after) {
    const std::size_t begin = std::min(excerpt.index_at(from), excerpt.length() - 1);
    const std::size_t end = std::clamp(excerpt.index_at(to), begin + 1, excerpt.length());
    const double cycles = static_cast<double>(end - begin) / excerpt.averages_per_cycle();
    return PhasorFit(excerpt, begin, end, FitForm::for_length(cycles, cycles > 1.5, after));
  };
  double from = begin_s + (after_change ? 0.03 * cycle : 0);
  while (from + cycle <= end_s + 1e-9) {
    const double to = std::min(from + window, end_s);
    const bool first = times_.empty();
    const PhasorFit fit = fitted(from, to, first && after_change);
    if (first) error_ = fit.standard_error(from);
    if (!fit.is_linear()) {
      add((from + to) / 2, fit);
    } else if (first) {
      for (const double share : {0.0, 0.25, 0.5, 0.75}) add(from + share * (to - from), fit);
    } else {
      for (const double share : {0.25, 0.75}) add(from + share * (to - from), fit);
    }
    from += window;
  }
  if (times_.empty()) {
    const PhasorFit fit = fitted(begin_s, end_s, after_change);
    error_ = fit.standard_error(begin_s);
    add((begin_s + end_s) / 2, fit);
  }
}

GradualCourse::GradualCourse(const Excerpt& excerpt, const Run& ramp)
    : phases_(excerpt.phases()), begin_s_(ramp.begin_s), end_s_(ramp.end_s) {
  constexpr int steps = 200;
  const auto& [before, after] = *ramp.ramp;
  error_ = before.standard_error(ramp.begin_s);
  for (int step = 0; step <= steps; step++) {
    const double share = static_cast<double>(step) / steps;
    const double seconds = begin_s_ + share * (end_s_ - begin_s_);
    const Phasors one = before.phasors(seconds);
    const Phasors other = after.phasors(seconds);
    Phasors value{};
    for (std::size_t phase = 0; phase < phases_; phase++)
      value[phase] = one[phase] + share * (other[phase] - one[phase]);
    times_.push_back(seconds);
    values_.push_back(value);
  }
}

Phasors GradualCourse::lowest() const {
  Phasors result = values_.front();
  for (const Phasors& value : values_) {
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (std::abs(value[phase]) < std::abs(result[phase])) result[phase] = value[phase];
    }
  }
  return result;
}

double GradualCourse::share(std::size_t at, const Phasors& before) const {
  double share = std::numeric_limits<double>::infinity();
  for (std::size_t phase = 0; phase < phases_; phase++) {
    share = std::min(share, std::abs(values_[at][phase]) / std::abs(before[phase]));
  }
  return share;
}

double GradualCourse::lowest_share(const Phasors& before) const {
  double lowest = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; i < times_.size(); i++) lowest = std::min(lowest, share(i, before));
  return lowest;
}

double GradualCourse::change() const {
  double change = 0;
  for (std::size_t phase = 0; phase < phases_; phase++) {
    change = std::max(change, std::abs(std::abs(values_.back()[phase]) - std::abs(values_.front()[phase])));
  }
  return change;
}

double GradualCourse::spread() const {
  double spread = 0;
  for (std::size_t phase = 0; phase < phases_; phase++) {
    double low = std::abs(values_.front()[phase]);
    double high = low;
    for (const Phasors& value : values_) {
      low = std::min(low, std::abs(value[phase]));
      high = std::max(high, std::abs(value[phase]));
    }
    spread = std::max(spread, (high - low) / 2);
  }
  return spread;
}

double GradualCourse::crossing(std::size_t at, const Phasors& before, double level) const {
  const double one = share(at, before);
  const double other = share(at + 1, before);
  return times_[at] + (level - one) / (other - one) * (times_[at + 1] - times_[at]);
}

double GradualCourse::rises_through(const Phasors& before, double level) const {
  std::size_t last_low = times_.size();
  for (std::size_t i = 0; i < times_.size(); i++) {
    if (share(i, before) < level) last_low = i;
  }
  if (last_low == times_.size()) return begin_s_;
  return last_low + 1 == times_.size() ? end_s_ : crossing(last_low, before, level);
}

double GradualCourse::falls_through(const Phasors& before, double level) const {
  std::size_t first_low = 0;
  while (first_low < times_.size() && share(first_low, before) >= level) first_low++;
  if (first_low == 0) return begin_s_;
  return first_low == times_.size() ? end_s_ : crossing(first_low - 1, before, level);
}

double GradualCourse::turning_point() const {
  double farthest = -1;
  double at = (begin_s_ + end_s_) / 2;
  for (std::size_t i = 0; i < times_.size(); i++) {
    for (std::size_t phase = 0; phase < phases_; phase++) {
      const double value = std::abs(values_[i][phase]);
      const double away = std::min(std::abs(value - std::abs(values_.front()[phase])),
                                   std::abs(value - std::abs(values_.back()[phase])));
      if (away <= farthest) continue;
      farthest = away;
      at = times_[i];
    }
  }
  return at;
}

}  // namespace measure
