// Sums over an excerpt's averages, from which any stretch can be fitted without another pass over the averages.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "measure/waveform.h"

namespace measure {

/// The input of the sums: the averages of an excerpt, and the angle theta of the fundamental at each of them. It refers
/// to the excerpt's own lists.
struct AveragedWaves {
  std::size_t phase_count = 0;
  double per_cycle = 0;
  std::array<const std::vector<double>*, most_phases> values{};
  const std::vector<bool>* missing = nullptr;
  const std::vector<double>* cosines = nullptr;
  const std::vector<double>* sines = nullptr;

  [[nodiscard]] std::size_t phases() const { return phase_count; }
  [[nodiscard]] std::size_t length() const { return missing->size(); }
  [[nodiscard]] double averages_per_cycle() const { return per_cycle; }
  [[nodiscard]] double average(std::size_t phase, std::size_t index) const { return (*values[phase])[index]; }
  [[nodiscard]] bool is_missing(std::size_t index) const { return (*missing)[index]; }
  [[nodiscard]] double cosine(std::size_t index) const { return (*cosines)[index]; }
  [[nodiscard]] double sine(std::size_t index) const { return (*sines)[index]; }
};

/// Sums of the waves of a fit; theta is the fundamental's angle at the middle of an average. Products of two waves are
/// waves of the sum and of the difference of their orders, so the normal equations of a fit need only these sums.
/// Missing averages do not count in any sum.
class WaveSums {
 public:
  static constexpr int orders = 8;           ///< of harmonics, 0 to 7
  static constexpr int product_orders = 15;  ///< of products of two of them
  static constexpr int time_orders = 9;      ///< of products of a harmonic and a fundamental times time

  /// Times count in cycles from the stretch's beginning. Each wave has two places, for its cosine and for its sine.
  class Sums {
   public:
    [[nodiscard]] const double* wave(int order) const { return at(2 * order); }
    /// Of waves times time, and times the square of time: the latter of orders 0 and 2.
    [[nodiscard]] const double* timed(int order) const { return at(first_timed + 2 * order); }
    [[nodiscard]] const double* timed_twice(int order) const { return at(first_twice + order); }
    /// Of the averages of a phase times waves, times the fundamental and time, and squared.
    [[nodiscard]] const double* value(std::size_t phase, int order) const { return at(of(phase) + 2 * order); }
    [[nodiscard]] const double* timed_value(std::size_t phase) const { return at(of(phase) + 2 * orders); }
    [[nodiscard]] double squares(std::size_t phase) const { return *at(of(phase) + 2 * orders + 2); }
    [[nodiscard]] double count() const { return sums_[0]; }

   private:
    friend class WaveSums;
    static constexpr int first_timed = 2 * product_orders;
    static constexpr int first_twice = first_timed + 2 * time_orders;
    static constexpr int first_value = first_twice + 4;
    static constexpr int per_phase = 2 * orders + 3;
    static constexpr int all = first_value + per_phase * static_cast<int>(most_phases);

    [[nodiscard]] static int of(std::size_t phase) { return first_value + per_phase * static_cast<int>(phase); }
    [[nodiscard]] const double* at(int place) const { return &sums_[static_cast<std::size_t>(place)]; }
    [[nodiscard]] double* at(int place) { return &sums_[static_cast<std::size_t>(place)]; }
    void count_time_from(double origin);

    std::array<double, all> sums_{};
  };

  explicit WaveSums(const AveragedWaves& waves);

  /// Over the averages from `begin` to, not including, `end`.
  [[nodiscard]] Sums between(const AveragedWaves& waves, std::size_t begin, std::size_t end) const;

 private:
  static constexpr std::size_t apart = 4;  // averages between two of the sums that are kept

  static void add(const AveragedWaves& waves, std::size_t index, Sums& sums);

  std::vector<Sums> up_to_;
};

}  // namespace measure
