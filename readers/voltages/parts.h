// The parts of a record that can each be taken for one evenly sampled waveform.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "readers/record.h"

namespace readers {

/// With fewer the shape of a cycle cannot be told.
inline constexpr double fewest_samples_per_cycle = 8;

struct Part {
  std::size_t begin = 0;  ///< first sample
  std::size_t end = 0;    ///< one past the last sample
  double rate = 0;        ///< samples per second; 0 when it is not known
  double start = 0;       ///< time of the first sample, seconds from the record's first

  [[nodiscard]] std::size_t length() const { return end - begin; }
};

/// The parts of one sampling rate each, in order. Sections that follow each other at rates within 1 % make one part at
/// their mean rate: some devices follow the line's frequency and state their rate anew all the time.
std::vector<Part> parts_of(const Record& record);

/// The same, taken apart where one of the channels has no values for longer than `longest_gap` seconds. Such gaps, and
/// gaps of any length at a part's ends, belong to no part. Channels whose samples were not asked for are left aside.
std::vector<Part> parts_without_gaps(const Record& record, const std::array<std::size_t, 3>& channels,
                                     double longest_gap);

/// A channel's values, multiplied by `factor`, with gaps bridged by a cubic that joins the values and slopes on either
/// side.
struct BridgedSamples {
  std::vector<float> values;
  std::size_t bridged = 0;      ///< values that were made up
  std::size_t first = 0;        ///< position of the first of them
  std::size_t longest_gap = 0;  ///< samples
};
BridgedSamples bridged(std::span<const double> samples, double factor);

}  // namespace readers
