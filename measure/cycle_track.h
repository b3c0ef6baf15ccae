// Follows the fundamentals of a whole waveform cycle by cycle: the frequency, the usual levels and the steady times.
#pragma once

#include <cstddef>
#include <limits>
#include <vector>

#include "measure/excerpt.h"
#include "measure/waveform.h"

namespace measure {

class WindowPhasor;

/// One fundamental per cycle, by least squares with a constant; each sample is used once. The values are peak values in
/// volts against cos(omega t), with t from the waveform's first sample. They are NaN if samples are missing.
class CycleTrack {
 public:
  /// The frequency is searched within 20 % of the waveform's line frequency.
  explicit CycleTrack(const Waveform& waveform);

  [[nodiscard]] double frequency() const { return frequency_; }
  /// Standard error of the frequency in hertz.
  [[nodiscard]] double frequency_error() const { return frequency_error_; }
  [[nodiscard]] std::size_t cycles() const { return phasors_.size(); }
  [[nodiscard]] const Phasors& phasors(std::size_t cycle) const { return phasors_[cycle]; }
  /// Returns whether samples of a phase are missing. A phase that is missing throughout does not count.
  [[nodiscard]] bool is_missing(std::size_t cycle) const;
  /// Returns the phases that are missing throughout; none if all are missing.
  [[nodiscard]] const PhaseFlags& absent() const { return absent_; }
  /// First sample of a cycle, and the middle of the cycle in seconds.
  [[nodiscard]] std::size_t first_sample(std::size_t cycle) const;
  [[nodiscard]] double time_of(std::size_t cycle) const;
  /// The cycle that a time falls into; the last one for later times.
  [[nodiscard]] std::size_t cycle_at(double seconds) const;

  /// Cycles from `begin` to, not including, `end` whose fundamentals stay the same.
  struct SteadyStretch {
    std::size_t begin = 0;
    std::size_t end = 0;
    PerPhase level{};  ///< volts RMS of the fundamentals
    [[nodiscard]] std::size_t length() const { return end - begin; }
  };
  /// All stretches of at least two steady cycles, in order.
  [[nodiscard]] const std::vector<SteadyStretch>& steady() const { return steady_; }

 private:
  struct Turning;

  void find_frequency();
  /// Of `hops` steps of `hop` samples each, from a sample on.
  [[nodiscard]] Turning turning(const WindowPhasor& fundamental, std::size_t first, std::size_t hop,
                                std::size_t hops) const;
  [[nodiscard]] static std::size_t typical_chunk(const std::vector<Turning>& looks);
  void follow();
  void find_absent();
  void find_steady();

  const Waveform& waveform_;
  double frequency_;
  double frequency_error_;
  std::size_t window_ = 0;
  std::vector<Phasors> phasors_;
  PhaseFlags absent_{};
  std::vector<SteadyStretch> steady_;
};

}  // namespace measure
