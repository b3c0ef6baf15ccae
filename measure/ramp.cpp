#include "measure/ramp.h"

#include <algorithm>
#include <limits>
#include <vector>

namespace measure {

namespace {

/// The averages of a window, as sums from which the residual of any ramp follows without another pass over them. At a
/// share of the change the residual is `off - share * change`, and the share is a straight line in time.
class Window {
 public:
  Window(const Excerpt& excerpt, const PhasorFit& before, const PhasorFit& after, double from_s, double to_s)
      : phases_(excerpt.phases()), origin_(from_s), cycle_(excerpt.cycle()) {
    const std::size_t begin = excerpt.index_at(from_s);
    const std::size_t end = std::max(excerpt.index_at(to_s), begin);
    const double first_s = excerpt.time_of(static_cast<double>(begin));
    const double step_s = static_cast<double>(excerpt.block()) / excerpt.rate();
    const std::vector<PerPhase> ones = before.voltages(first_s, step_s, end - begin);
    const std::vector<PerPhase> others = after.voltages(first_s, step_s, end - begin);
    Sums sums;
    up_to_.push_back(sums);
    for (std::size_t i = begin; i < end; i++) {
      if (excerpt.is_missing(i)) continue;
      const PerPhase& one = ones[i - begin];
      const PerPhase& other = others[i - begin];
      const double time = since(excerpt.time_of(static_cast<double>(i)));
      for (std::size_t phase = 0; phase < phases_; phase++) {
        const double off = excerpt.average(phase, i) - one[phase];
        const double change = other[phase] - one[phase];
        sums.before += off * off;
        sums.after += (off - change) * (off - change);
        sums.mixed += off * change;
        sums.mixed_timed += off * change * time;
        sums.change += change * change;
        sums.change_timed += change * change * time;
        sums.change_timed_twice += change * change * time * time;
      }
      times_.push_back(time);
      up_to_.push_back(sums);
    }
  }

  /// Mean square of what a ramp leaves.
  [[nodiscard]] double residual(double begin_s, double end_s) const {
    if (times_.empty()) return 0;
    const double begin = since(begin_s);
    const double end = since(end_s);
    const auto first = std::upper_bound(times_.begin(), times_.end(), begin) - times_.begin();
    const auto last = std::max(first, std::lower_bound(times_.begin(), times_.end(), end) - times_.begin());
    const Sums& a = up_to_[static_cast<std::size_t>(first)];
    const Sums& b = up_to_[static_cast<std::size_t>(last)];
    double sum = a.before + up_to_.back().after - b.after;
    if (last > first) {
      const double slope = 1 / (end - begin);
      const double mixed = b.mixed_timed - a.mixed_timed - begin * (b.mixed - a.mixed);
      const double square = b.change_timed_twice - a.change_timed_twice -
                            2 * begin * (b.change_timed - a.change_timed) + begin * begin * (b.change - a.change);
      sum += b.before - a.before - 2 * slope * mixed + slope * slope * square;
    }
    return std::max(0.0, sum) / static_cast<double>(times_.size() * phases_);
  }

 private:
  struct Sums {
    double before = 0;
    double after = 0;
    double mixed = 0;
    double mixed_timed = 0;
    double change = 0;
    double change_timed = 0;
    double change_timed_twice = 0;
  };

  [[nodiscard]] double since(double seconds) const { return (seconds - origin_) / cycle_; }

  std::size_t phases_;
  double origin_;
  double cycle_;
  std::vector<double> times_;  // cycles
  std::vector<Sums> up_to_;    // of the averages before each one
};

}  // namespace

Ramp fit_ramp(const Excerpt& excerpt, const PhasorFit& before, const PhasorFit& after, double from_s, double to_s) {
  constexpr int steps = 16;
  constexpr int refinements = 5;
  const Window window(excerpt, before, after, from_s, to_s);
  Ramp best{from_s, to_s, std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
  const double step = (to_s - from_s) / steps;
  for (int first = 0; first <= steps; first++) {
    for (int last = first; last <= steps; last++) {
      const double begin = from_s + first * step;
      const double end = from_s + last * step;
      const double residual = window.residual(begin, end);
      if (first == last) best.step_residual = std::min(best.step_residual, residual);
      if (residual < best.residual) {
        best.begin_s = begin;
        best.end_s = end;
        best.residual = residual;
      }
    }
  }
  double reach = step / 2;
  for (int round = 0; round < refinements; round++, reach /= 2) {
    const Ramp around = best;
    for (const int first : {-1, 0, 1}) {
      for (const int last : {-1, 0, 1}) {
        const double begin = std::max(from_s, around.begin_s + first * reach);
        const double end = std::min(to_s, around.end_s + last * reach);
        if (end < begin) continue;
        const double residual = window.residual(begin, end);
        if (residual < best.residual) {
          best.begin_s = begin;
          best.end_s = end;
          best.residual = residual;
        }
      }
    }
  }
  return best;
}

}  // namespace measure
