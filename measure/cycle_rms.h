// The RMS over one cycle, as the cycle slides along the samples.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "measure/waveform.h"

namespace measure {

/// The RMS of one voltage over each cycle between two times; a cycle has the nearest whole number of samples.
class CycleRms {
 public:
  /// Times are seconds from the waveform's first sample; what lies outside of the waveform is left out.
  CycleRms(const Waveform& waveform, std::size_t phase, double frequency, double from_s, double to_s);

  struct Range {
    double lowest_v = 0;
    double highest_v = 0;
  };
  /// Over all cycles that lie between the times; none where there is none without missing samples.
  [[nodiscard]] std::optional<Range> range() const;
  /// Largest change between two cycles of which one begins half a cycle after the other, over that half cycle, in volts
  /// per second; 0 where no two can be compared.
  [[nodiscard]] double steepest() const;

 private:
  /// Mean square over the cycle that begins with a sample; not a number where samples are missing.
  [[nodiscard]] double mean_square(std::size_t begin) const;
  [[nodiscard]] std::size_t cycles() const { return squares_.size() > window_ ? squares_.size() - window_ : 0; }

  std::size_t window_;
  double rate_;
  double unit_;                       // of a sample, volts
  std::vector<double> squares_;       // sums of the squares of the samples before each one
  std::vector<std::size_t> missing_;  // how many of these are missing
};

}  // namespace measure
