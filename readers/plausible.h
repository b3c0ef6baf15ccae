// Limits beyond which a number or a text in a file is damaged, not measured. They are far beyond what any recorder
// writes, so that no record is lost by them, and near enough that everything within them can be computed and shown.
#pragma once

#include <cstddef>

namespace readers {

/// Samples per second. The fastest recorders of grids, which locate faults by travelling waves, take ten million.
inline constexpr double highest_rate = 1e8;

/// Hertz of a line frequency. The lowest one in use is that of railways, 16.7 Hz, and the highest that of aircraft,
/// 400 to 800 Hz.
inline constexpr double lowest_line_frequency = 10;
inline constexpr double highest_line_frequency = 1000;

/// Returns whether a stated line frequency is that of any network.
inline bool is_line_frequency(double hertz) {
  return hertz >= lowest_line_frequency && hertz <= highest_line_frequency;
}

/// Seconds that a record may last, and that its time stamps may be apart: a century.
inline constexpr double longest_time = 3.15576e9;

/// A sample of a voltage in the channel's own unit. Numbers of 32 bits that were never scaled are below it.
inline constexpr double largest_sample = 1e10;

/// Seconds by which a channel may be sampled later than the row's time. Real ones are shorter than a sampling step.
inline constexpr double longest_skew = 1;

/// Characters of a channel's name, phase and unit, of a station, a device, a time and a time zone. The standard for
/// record files allows 64 to 128 for the longest of them.
inline constexpr std::size_t longest_name = 256;

}  // namespace readers
