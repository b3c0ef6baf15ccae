// Computes the RMS over one cycle that slides along the samples.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "measure/waveform.h"

namespace measure {

/// The RMS of one voltage over each cycle between two times; a cycle has the nearest whole number of samples.
class CycleRms {
 public:
  /// Times are seconds from the waveform's first sample. Times outside of the waveform are left out.
  CycleRms(const Waveform& waveform, std::size_t phase, double frequency, double from_s, double to_s);

  struct Range {
    double lowest_v = 0;
    double highest_v = 0;
  };
  /// Returns the lowest and highest over all cycles between the times; empty if every cycle has missing samples.
  [[nodiscard]] std::optional<Range> range() const;
  /// Returns the largest slope in volts per second: the difference between two cycles that begin half a cycle apart,
  /// divided by that time. It is 0 if no two cycles can be compared.
  [[nodiscard]] double steepest() const;

 private:
  /// Returns the mean square over the cycle that begins with a sample; NaN if samples are missing.
  [[nodiscard]] double mean_square(std::size_t begin) const;
  [[nodiscard]] std::size_t cycles() const { return squares_.size() > window_ ? squares_.size() - window_ : 0; }

  std::size_t window_;
  double rate_;
  double unit_;                       // of a sample, volts
  std::vector<double> squares_;       // sums of the squares of the samples before each one
  std::vector<std::size_t> missing_;  // how many of these are missing
};

}  // namespace measure
