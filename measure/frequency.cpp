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
  /// Adds the runs of another one.
  void add(const Regression& other) {
    time_angle_ += other.time_angle_;
    time_squares_ += other.time_squares_;
    angle_squares_ += other.angle_squares_;
    points_ += other.points_;
    runs_ += other.runs_;
  }
  [[nodiscard]] bool tells() const { return time_squares_ > 0; }
  [[nodiscard]] std::size_t points() const { return points_; }
  [[nodiscard]] double slope() const { return time_angle_ / time_squares_; }
  [[nodiscard]] double standard_error() const {
    const double left = std::max(0.0, angle_squares_ - slope() * time_angle_);
    const double freedom = static_cast<double>(points_) - static_cast<double>(runs_) - 1;
    // A few points do not show how far they scatter.
    constexpr double freedom_that_tells = 4;
    constexpr double usual_scatter = 0.003;  // radians
    const double usual = freedom < freedom_that_tells ? usual_scatter * usual_scatter : 0;
    return std::sqrt(std::max(left / std::max(freedom, 1.0), usual) / time_squares_);
  }

 private:
  double time_angle_ = 0;
  double time_squares_ = 0;
  double angle_squares_ = 0;
  std::size_t points_ = 0;
  std::size_t runs_ = 0;
};

class Round {
 public:
  Round(const CycleTrack& track, const Phasors& rotation, std::size_t phases)
      : track_(track), rotation_(rotation), phases_(phases) {}

  /// Adds the runs of steady cycles of the `chosen` phases from cycle `begin` to, not including, `end`.
  void take(std::size_t begin, std::size_t end, const PhaseFlags& chosen, Regression& regression) const {
    std::size_t first = begin;
    for (std::size_t k = begin + 1; k <= end; k++) {
      if (k < end && follows(k, chosen)) continue;
      if (k - first >= fewest_cycles) {
        std::vector<double> times;
        std::vector<double> angles;
        double angle = 0;
        for (std::size_t i = first; i < k; i++) {
          if (i > first) angle += std::arg(sum(i, chosen) * std::conj(sum(i - 1, chosen)));
          times.push_back(track_.time_of(i));
          angles.push_back(angle);
        }
        regression.add_run(times, angles);
      }
      first = k;
    }
  }

  /// Returns the phases that have a voltage.
  [[nodiscard]] PhaseFlags present() const {
    PhaseFlags present{};
    for (std::size_t phase = 0; phase < phases_; phase++) present[phase] = !track_.absent()[phase];
    return present;
  }

  /// Returns the phases whose magnitude stays the same from cycle `begin` to, not including, `end`.
  [[nodiscard]] PhaseFlags unaffected(std::size_t begin, std::size_t end) const {
    constexpr double same = 0.93;
    PhaseFlags unaffected{};
    for (std::size_t phase = 0; phase < phases_; phase++) {
      double lowest = std::numeric_limits<double>::infinity();
      double highest = 0;
      for (std::size_t k = begin; k < end; k++) {
        const double magnitude = std::abs(track_.phasors(k)[phase]);
        if (!std::isfinite(magnitude)) continue;
        lowest = std::min(lowest, magnitude);
        highest = std::max(highest, magnitude);
      }
      unaffected[phase] = !track_.absent()[phase] && highest > 0 && lowest >= same * highest;
    }
    return unaffected;
  }

 private:
  [[nodiscard]] Phasor sum(std::size_t cycle, const PhaseFlags& chosen) const {
    Phasor total = 0;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (chosen[phase]) total += track_.phasors(cycle)[phase] * rotation_[phase];
    }
    return total;
  }

  [[nodiscard]] bool follows(std::size_t cycle, const PhaseFlags& chosen) const {
    if (track_.is_missing(cycle) || track_.is_missing(cycle - 1)) return false;
    double largest = 0;
    double change = 0;
    for (std::size_t phase = 0; phase < phases_; phase++) {
      if (!chosen[phase]) continue;
      largest = std::max(largest, std::abs(track_.phasors(cycle)[phase]));
      change = std::max(change, std::abs(track_.phasors(cycle)[phase] - track_.phasors(cycle - 1)[phase]));
    }
    return change < steady_change * largest;
  }

  const CycleTrack& track_;
  const Phasors& rotation_;
  std::size_t phases_;
};

/// A frequency with its standard error, both in hertz.
struct Estimate {
  double hertz = 0;
  double error = std::numeric_limits<double>::infinity();
};

/// Returns the mean of two estimates, weighted by what each is worth.
Estimate combined(const Estimate& one, const Estimate& other) {
  const double weight = 1 / (one.error * one.error);
  const double other_weight = 1 / (other.error * other.error);
  return {(one.hertz * weight + other.hertz * other_weight) / (weight + other_weight),
          1 / std::sqrt(weight + other_weight)};
}

}  // namespace

FrequencyRound frequency_round(const CycleTrack& track, const Phasors& rotation, std::size_t phases, double start_s,
                               double end_s) {
  const double cycle = 1 / track.frequency();
  const bool begins = start_s > cycle;
  const bool ends = end_s < std::numeric_limits<double>::infinity();
  const Round round(track, rotation, phases);
  const PhaseFlags present = round.present();
  Regression before;
  Regression after;
  if (begins) {
    round.take(track.cycle_at(start_s - cycles_before * cycle), track.cycle_at(start_s - 0.1 * cycle), present, before);
  }
  if (ends) {
    round.take(std::min(track.cycles(), track.cycle_at(end_s) + 1), track.cycle_at(end_s + cycles_after * cycle),
               present, after);
  }
  Regression all = before;
  all.add(after);
  const auto hertz = [&](const Regression& one) { return track.frequency() + one.slope() / (2 * std::numbers::pi); };
  const auto estimate = [&](const Regression& one) {
    return one.tells() ? Estimate{hertz(one), one.standard_error() / (2 * std::numbers::pi)} : Estimate{};
  };
  Estimate found = estimate(all);

  // A phase jump is the angle that is left when the voltage before is carried on at this frequency.
  constexpr double well_carried = 1.5 / 360;  // turns, 95 %
  const double first_s = begins ? start_s : track.time_of(0);
  const double last_s = ends ? end_s : track.time_of(track.cycles() - 1);
  const double carried_s = std::max(last_s - first_s, cycle);
  const auto is_uncertain = [&] { return !(2 * found.error * carried_s < well_carried); };
  if (is_uncertain()) {
    const std::size_t first = begins ? track.cycle_at(start_s) + 1 : 0;
    const std::size_t end = ends ? track.cycle_at(end_s) : track.cycles();
    const PhaseFlags unaffected = round.unaffected(std::min(first, end), end);
    if (first < end && unaffected != PhaseFlags{}) {
      round.take(first, end, unaffected, all);
      found = estimate(all);
    }
  }
  if (is_uncertain()) {
    const Estimate of_record{track.frequency(), std::max(track.frequency_error(), 1e-9)};
    found = std::isfinite(found.error) ? combined(found, of_record) : of_record;
  }

  constexpr std::size_t points_that_tell = 3;
  FrequencyRound result{found.hertz, 2 * found.error, {}, {}};
  if (before.tells() && before.points() >= points_that_tell) result.before = hertz(before);
  if (after.tells() && after.points() >= points_that_tell) result.after = hertz(after);
  return result;
}

}  // namespace measure
