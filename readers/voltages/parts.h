// Splits a record into parts that can each be treated as one evenly sampled waveform.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "readers/record.h"

namespace readers {

/// With fewer samples the shape of a cycle cannot be recognised.
inline constexpr double fewest_samples_per_cycle = 8;

/// RMS values that are further apart are averages, which do not show dips.
inline constexpr double fewest_rms_per_second = 4;

/// A part of a record with one sampling rate and without gaps.
struct Part {
  std::size_t begin = 0;   ///< first sample
  std::size_t end = 0;     ///< one past the last sample
  double rate = 0;         ///< samples per second; 0 when it is not known
  double start = 0;        ///< time of the first sample in seconds from the record's first sample
  std::string title = {};  ///< what the file says of it, for display; empty when it says nothing

  /// Returns the number of samples.
  [[nodiscard]] std::size_t length() const { return end - begin; }
};

/// Returns the parts of one sampling rate each, in order. Sections that follow one another at rates within 1 % form one
/// part at their mean rate, because some devices follow the line frequency and keep restating their rate. Parts outside
/// the record's stretch are left out, and those that extend past it are cut.
std::vector<Part> parts_of(const Record& record);

/// Returns the same parts, but split where one of the channels has no values for longer than `longest_gap` seconds.
/// Such gaps, and gaps of any length at a part's ends, belong to no part. Channels whose samples were not asked for are
/// ignored.
std::vector<Part> parts_without_gaps(const Record& record, const std::array<std::size_t, 3>& channels,
                                     double longest_gap);

/// A channel's values, multiplied by `factor`. Gaps are interpolated by a cubic that matches the values and slopes on
/// either side.
struct BridgedSamples {
  std::vector<float> values;    ///< as many as there were samples
  std::size_t bridged = 0;      ///< number of values that were interpolated
  std::size_t first = 0;        ///< position of the first of them
  std::size_t longest_gap = 0;  ///< samples
};
BridgedSamples bridged(std::span<const double> samples, double factor);

}  // namespace readers
