// What of a record is analysed: which channels, which part of it, at which rate.
#pragma once

#include <array>
#include <cstddef>

#include "readers/voltages/parts.h"

namespace analysis {

struct AnalysedVoltages {
  std::array<std::size_t, 3> channels{};  ///< indices into the record's channels
  std::array<bool, 3> unit_assumed{};     ///< the channel's unit is none of voltage; its values are taken for volts
  bool between_phases = false;            ///< line-to-line voltages AB, BC, CA
  std::size_t set = 0;                    ///< number among `sets`; 0 when the user named the channels
  std::size_t sets = 0;                   ///< voltage sets of this kind in the record
  readers::Part part;                     ///< of the record
  std::size_t part_number = 1;            ///< of `parts`, from 1
  std::size_t parts = 1;
  double line_frequency = 0;  ///< hertz
  int samples_per_cycle = 0;  ///< of the analysed samples
  double sampling_rate = 0;   ///< of the analysed samples, per second
  bool resampled = false;     ///< from part.rate
  double start = 0;           ///< time of the first analysed sample, seconds from the record's first
  std::size_t length = 0;     ///< analysed samples per phase

  /// Time of an analysed sample, seconds from the record's first.
  [[nodiscard]] double seconds_at(std::size_t sample) const {
    return start + static_cast<double>(sample) / sampling_rate;
  }
  /// The record's sample at or nearest to an analysed one.
  [[nodiscard]] std::size_t record_sample_at(std::size_t sample) const;
};

}  // namespace analysis
