// The part of a waveform around an event in a form that is fast to fit: averages over a few samples, in units of the
// voltage's usual peak.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <vector>

#include "measure/findings.h"
#include "measure/wave_sums.h"
#include "measure/waveform.h"

namespace measure {

/// Averages over `block` samples keep nearly all information on a fundamental and its low harmonics in white noise, at
/// a fraction of the cost. Only the search for instants needs the samples themselves; `value` returns them in the same
/// units.
class Excerpt {
 public:
  /// `first` to `end` are samples of the waveform; `peak` is the voltage in volts that becomes 1. Phases that are
  /// `left_out` have averages of 0, which are never missing, so that the others can be measured.
  Excerpt(const Waveform& waveform, std::size_t first, std::size_t end, double peak, double frequency,
          const PhaseFlags& left_out = {});

  [[nodiscard]] std::size_t phases() const { return phases_; }
  [[nodiscard]] double peak() const { return peak_; }

  // --- time: seconds from the waveform's first sample
  [[nodiscard]] double omega() const { return omega_; }
  [[nodiscard]] double cycle() const;    ///< seconds
  [[nodiscard]] double begin_s() const;  ///< half a sample before the first one
  [[nodiscard]] double end_s() const;    ///< half a sample after the last one

  // --- the samples
  [[nodiscard]] double rate() const { return rate_; }
  [[nodiscard]] std::size_t first() const { return first_; }
  [[nodiscard]] std::size_t end() const { return end_; }
  [[nodiscard]] double value(std::size_t phase, std::size_t sample) const;
  [[nodiscard]] double time_of_sample(double sample) const { return sample / rate_; }

  // --- the averages
  [[nodiscard]] std::size_t length() const { return averages_[0].size(); }
  [[nodiscard]] std::size_t block() const { return block_; }
  [[nodiscard]] double averages_per_cycle() const;
  [[nodiscard]] double average(std::size_t phase, std::size_t index) const { return averages_[phase][index]; }
  [[nodiscard]] const double* averages(std::size_t phase) const { return averages_[phase].data(); }
  [[nodiscard]] bool is_missing(std::size_t index) const { return missing_[index]; }
  [[nodiscard]] double time_of(double index) const;          ///< of an average's middle
  [[nodiscard]] double start_of(std::size_t index) const;    ///< half a sample before an average's first sample
  [[nodiscard]] std::size_t index_at(double seconds) const;  ///< first average that begins at or after a time
  /// The first average that does not end at or before a time: those before it lie strictly before the time.
  [[nodiscard]] std::size_t end_at(double seconds) const;
  /// Returns the share of a harmonic of an order that remains in the averages.
  [[nodiscard]] double attenuation(int order) const;
  /// Subtracts `values` from the averages of each phase.
  void subtract(const std::array<std::vector<double>, most_phases>& values);
  /// Cosine and sine of the fundamental's angle at the middle of an average.
  [[nodiscard]] double cosine(std::size_t index) const { return cosines_[index]; }
  [[nodiscard]] double sine(std::size_t index) const { return sines_[index]; }
  /// Sums for fits between any two averages. They are computed again after a subtraction, when they are next requested,
  /// so only one thread at a time may read an excerpt.
  [[nodiscard]] WaveSums::Sums sums_between(std::size_t begin, std::size_t end) const;

 private:
  void turn();
  [[nodiscard]] AveragedWaves waves() const;

  const Waveform& waveform_;
  std::size_t phases_;
  std::size_t first_;
  std::size_t end_;
  std::size_t block_;
  double rate_;
  double peak_;
  double omega_;
  std::array<std::vector<double>, most_phases> averages_;
  std::vector<bool> missing_;
  std::vector<double> cosines_;
  std::vector<double> sines_;
  mutable std::shared_ptr<const WaveSums> sums_;
};

}  // namespace measure
