// The voltages to measure, in the memory of their owner.
#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace measure {

/// Voltages that are measured together: three phases, or one or two of them.
inline constexpr std::size_t most_phases = 3;

/// A value beyond this is not a voltage, because its square would overflow. It counts as missing.
inline constexpr double largest_volts = 1e100;

/// With fewer samples the shape of a cycle cannot be seen.
inline constexpr double fewest_samples_per_cycle = 8;

/// RMS values that are further apart are averages, which do not show dips.
inline constexpr double fewest_rms_per_second = 4;

/// The samples of one voltage. They are read in place and never copied as a whole.
struct Phase {
  std::span<const double> samples;  ///< in any unit; what is not finite counts as missing
  double volts_per_unit = 1;        ///< factor that converts a sample to volts
  double skew = 0;                  ///< seconds by which a sample was taken later than its index says
};

/// Voltages that were sampled together.
struct Waveform {
  std::vector<Phase> phases;  ///< one to three, of equal length
  double rate = 0;            ///< samples per second
  double line_frequency = 0;  ///< nominal, hertz
  bool holds_rms = false;  ///< the samples are RMS values, each over the cycle around its time, not instantaneous ones

  /// Returns the number of samples of each voltage.
  [[nodiscard]] std::size_t length() const { return phases.empty() ? 0 : phases.front().samples.size(); }
  /// Returns a sample in volts. Both indices start at 0 and must exist.
  [[nodiscard]] double volts(std::size_t phase, std::size_t sample) const {
    return phases[phase].samples[sample] * phases[phase].volts_per_unit;
  }
};

}  // namespace measure
