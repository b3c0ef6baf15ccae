// The voltages that are measured, as their owner holds them.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace measure {

/// Voltages that are measured together: three phases, or one or two of them.
inline constexpr std::size_t most_phases = 3;

/// A voltage beyond this is none: its square would not be a number any more. It counts as missing.
inline constexpr double largest_volts = 1e100;

/// The samples of one voltage. They are read where they lie and never copied as a whole.
struct Phase {
  std::span<const double> samples;  ///< in any unit; what is not finite counts as missing
  double volts_per_unit = 1;        ///< what a sample is multiplied by to be volts
  double skew = 0;                  ///< seconds by which a sample was taken later than its index says
};

struct Waveform {
  std::vector<Phase> phases;  ///< one to three, of equal length
  double rate = 0;            ///< samples per second
  double line_frequency = 0;  ///< nominal, hertz

  [[nodiscard]] std::size_t length() const { return phases.empty() ? 0 : phases.front().samples.size(); }
  [[nodiscard]] double volts(std::size_t phase, std::size_t sample) const {
    return phases[phase].samples[sample] * phases[phase].volts_per_unit;
  }
};

}  // namespace measure
