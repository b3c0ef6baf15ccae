#include "analysis/choice/start_up.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace analysis {

namespace {

/// Longer rises are those of the voltage itself.
constexpr std::size_t longest_start_up = 10;  // cycles
constexpr std::size_t blocks_per_cycle = 8;

/// A stretch in samples; a cycle is no whole number of samples.
struct Span {
  double begin = 0;
  double end = 0;
};

class Beginning {
 public:
  explicit Beginning(const measure::Waveform& waveform)
      : waveform_(waveform), cycle_(waveform.rate / waveform.line_frequency) {}

  std::size_t start_up() {
    if (!holds_values()) return 0;
    const auto steady = first_steady_cycle();
    if (!steady) return 0;
    steady_ = static_cast<double>(*steady) * cycle_;
    period_ = measured_period();
    return is_rise(factors()) ? static_cast<std::size_t>(std::ceil(steady_)) : 0;
  }

 private:
  /// Returns whether enough samples are there, all with values.
  [[nodiscard]] bool holds_values() const {
    // A damaged rate or line frequency can make a cycle longer than any count of samples.
    const double length = std::ceil((longest_start_up + 4) * cycle_);
    if (!(length <= static_cast<double>(waveform_.length()))) return false;
    const auto needed = static_cast<std::size_t>(length);
    for (std::size_t phase = 0; phase < waveform_.phases.size(); phase++) {
      for (std::size_t i = 0; i < needed; i++) {
        if (!(std::abs(waveform_.volts(phase, i)) < measure::largest_volts)) return false;
      }
    }
    return true;
  }

  /// Calls `use` with each phase and each sample of a span.
  template <typename Use>
  void for_each(const Span& span, Use use) const {
    const auto begin = static_cast<std::size_t>(std::ceil(span.begin));
    const auto end = static_cast<std::size_t>(std::ceil(span.end));
    for (std::size_t phase = 0; phase < waveform_.phases.size(); phase++) {
      for (std::size_t i = begin; i < end; i++) use(phase, i);
    }
  }

  /// Returns a voltage between two samples.
  [[nodiscard]] double volts_at(std::size_t phase, double place) const {
    const auto before = static_cast<std::size_t>(place);
    const double share = place - std::floor(place);
    return (1 - share) * waveform_.volts(phase, before) + share * waveform_.volts(phase, before + 1);
  }

  /// Returns the first cycle but the very first whose level is that of the two cycles after it.
  [[nodiscard]] std::optional<std::size_t> first_steady_cycle() const {
    constexpr double same_power = 0.02;  // 1 % of the voltage
    std::vector<double> power(longest_start_up + 3, 0);
    for (std::size_t c = 0; c < power.size(); c++) {
      const double begin = static_cast<double>(c) * cycle_;
      for_each({begin, begin + cycle_}, [&](std::size_t phase, std::size_t i) {
        const double volts = waveform_.volts(phase, i);
        power[c] += volts * volts;
      });
    }
    for (std::size_t c = 1; c + 2 < power.size(); c++) {
      const auto [lowest, highest] = std::minmax({power[c], power[c + 1], power[c + 2]});
      if (lowest > 0 && highest - lowest <= same_power * highest) return c;
    }
    return std::nullopt;
  }

  /// Returns the length of a cycle at which the first steady cycle equals the next one best.
  [[nodiscard]] double measured_period() const {
    constexpr double widest = 0.04;
    constexpr int steps = 40;
    double best = cycle_;
    double least = INFINITY;
    for (int step = -steps; step <= steps; step++) {
      const double period = cycle_ * (1 + widest * step / steps);
      double difference = 0;
      for_each({steady_, steady_ + cycle_}, [&](std::size_t phase, std::size_t i) {
        const double away = waveform_.volts(phase, i) - volts_at(phase, static_cast<double>(i) + period);
        difference += away * away;
      });
      if (difference >= least) continue;
      least = difference;
      best = period;
    }
    return best;
  }

  /// The factors of all blocks up to the first steady cycle.
  struct Factors {
    std::vector<double> of_block;
    double unexplained = 0;  ///< share of the steady power that the factors leave
  };

  /// Compares each block with the same part of the first steady cycle.
  [[nodiscard]] Factors factors() const {
    Factors result;
    double left = 0;
    double whole = 0;
    const double block = cycle_ / blocks_per_cycle;
    const auto count = static_cast<std::size_t>(std::lround(steady_ / block));
    for (std::size_t b = 0; b < count; b++) {
      const double begin = static_cast<double>(b) * block;
      const double later = std::ceil((steady_ - begin) / period_) * period_;
      double common = 0;
      double own = 0;
      double steady = 0;
      for_each({begin, begin + block}, [&](std::size_t phase, std::size_t i) {
        const double volts = waveform_.volts(phase, i);
        const double reference = volts_at(phase, static_cast<double>(i) + later);
        common += volts * reference;
        own += volts * volts;
        steady += reference * reference;
      });
      const double factor = steady > 0 ? common / steady : 1;
      result.of_block.push_back(factor);
      left += own - factor * common;
      whole += steady;
    }
    result.unexplained = whole > 0 ? left / whole : 1;
    return result;
  }

  /// Returns whether the factors rise from nothing in small steps and then stay at 1, and whether they explain the
  /// waveform.
  [[nodiscard]] static bool is_rise(const Factors& factors) {
    constexpr double most_unexplained = 0.05;
    constexpr double nothing = 0.25;  // at most, on average over the first block of a fast filter
    constexpr double risen = 0.9;
    constexpr double least_step = 0.005;  // a level that lasts does not rise
    constexpr double largest_step = 0.4;  // the voltage returns at once when a fault is cleared
    constexpr double overshoot = 1.15;
    const std::vector<double>& of_block = factors.of_block;
    if (factors.unexplained > most_unexplained || of_block.front() > nothing) return false;
    std::size_t b = 0;
    while (of_block[b] < risen) {
      if (b + 1 >= of_block.size()) return false;
      const double step = of_block[b + 1] - of_block[b];
      if (step < least_step || step > largest_step) return false;
      b++;
    }
    return std::all_of(of_block.begin() + static_cast<std::ptrdiff_t>(b), of_block.end(),
                       [](double factor) { return factor >= risen - 0.05 && factor <= overshoot; });
  }

  const measure::Waveform& waveform_;
  double cycle_;  ///< samples, by the nominal frequency
  double steady_ = 0;
  double period_ = 0;  ///< samples, as measured
};

}  // namespace

std::size_t start_up_of(const measure::Waveform& waveform) {
  const bool usable = !waveform.holds_rms && waveform.rate > 0 && waveform.line_frequency > 0;
  return usable ? Beginning(waveform).start_up() : 0;
}

}  // namespace analysis
