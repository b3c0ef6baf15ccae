#include "measure/frequency.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace measure {

namespace {

/// The frequency of an event is measured over this many cycles before and after it.
constexpr double cycles_before = 25;
constexpr double cycles_after = 50;
/// In steady cycles the fundamentals change by less than this share of the largest one from one cycle to the next.
constexpr double steady_change = 0.06;
constexpr std::size_t fewest_cycles = 2;

/// Fits a straight line through angles, with a separate intercept for each run.
class Regression {
 public:
  void add_run(const std::vector<double>& times, const std::vector<double>& angles) {
    const auto count = static_cast<double>(times.size());
    double mean_time = 0;
    double mean_angle = 0;
    for (std::size_t i = 0; i < times.size(); i++) {
      mean_time += times[i] / count;
      mean_angle += angles[i] / count;
    }
    for (std::size_t i = 0; i < times.size(); i++) {
      const double t = times[i] - mean_time;
      const double a = angles[i] - mean_angle;
      time_angle_ += t * a;
      time_squares_ += t * t;
      angle_squares_ += a * a;
    }
    points_ += times.size();
    runs_++;
  }
  [[nodiscard]] bool tells() const { return time_squares_ > 0; }
  [[nodiscard]] std::size_t points() const { return points_; }
  [[nodiscard]] double slope() const { return time_angle_ / time_squares_; }
  [[nodiscard]] double standard_error() const {
    const double left = std::max(0.0, angle_squares_ - slope() * time_angle_);
    const double freedom = std::max(1.0, static_cast<double>(points_) - static_cast<double>(runs_) - 1);
    return std::sqrt(left / freedom / time_squares_);
  }

 private:
  double time_angle_ = 0;
  double time_squares_ = 0;
  double angle_squares_ = 0;
  std::size_t points_ = 0;
  std::size_t runs_ = 0;
};

}  // namespace

FrequencyRound frequency_round(const CycleTrack& track, const Phasors& rotation, std::size_t phases, double start_s,
                               double end_s) {
  const auto sum = [&](std::size_t cycle) {
    Phasor total = 0;
    for (std::size_t phase = 0; phase < phases; phase++) {
      if (track.absent()[phase]) continue;
      total += track.phasors(cycle)[phase] * rotation[phase];
    }
    return total;
  };
  const auto follows = [&](std::size_t cycle) {
    if (track.is_missing(cycle) || track.is_missing(cycle - 1)) return false;
    double largest = 0;
    double change = 0;
    for (std::size_t phase = 0; phase < phases; phase++) {
      if (track.absent()[phase]) continue;
      largest = std::max(largest, std::abs(track.phasors(cycle)[phase]));
      change = std::max(change, std::abs(track.phasors(cycle)[phase] - track.phasors(cycle - 1)[phase]));
    }
    return change < steady_change * largest;
  };
  const auto take = [&](std::size_t begin, std::size_t end, Regression& own, Regression& all) {
    std::size_t first = begin;
    for (std::size_t k = begin + 1; k <= end; k++) {
      if (k < end && follows(k)) continue;
      if (k - first >= fewest_cycles) {
        std::vector<double> times;
        std::vector<double> angles;
        double angle = 0;
        for (std::size_t i = first; i < k; i++) {
          if (i > first) angle += std::arg(sum(i) * std::conj(sum(i - 1)));
          times.push_back(track.time_of(i));
          angles.push_back(angle);
        }
        own.add_run(times, angles);
        all.add_run(times, angles);
      }
      first = k;
    }
  };

  const double cycle = 1 / track.frequency();
  Regression before;
  Regression after;
  Regression all;
  if (start_s > cycle) {
    take(track.cycle_at(start_s - cycles_before * cycle), track.cycle_at(start_s - 0.1 * cycle), before, all);
  }
  if (end_s < std::numeric_limits<double>::infinity()) {
    take(std::min(track.cycles(), track.cycle_at(end_s) + 1), track.cycle_at(end_s + cycles_after * cycle), after, all);
  }
  constexpr std::size_t points_that_tell = 3;
  const auto hertz = [&](const Regression& one) { return track.frequency() + one.slope() / (2 * std::numbers::pi); };
  FrequencyRound result{track.frequency(), 0, {}, {}};
  if (all.tells()) {
    result.hertz = hertz(all);
    result.plus_minus = 2 * all.standard_error() / (2 * std::numbers::pi);
  }
  if (before.tells() && before.points() >= points_that_tell) result.before = hertz(before);
  if (after.tells() && after.points() >= points_that_tell) result.after = hertz(after);
  return result;
}

}  // namespace measure
