// Identifies the part of a record that is analysed: its channels, its time span and its sampling rate.
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "measure/findings.h"
#include "readers/voltages/parts.h"

namespace analysis {

/// Names of the voltages between phases, in their order.
inline constexpr std::array<const char*, 3> pairs_of_phases = {"AB", "BC", "CA"};

struct AnalysedVoltages {
  std::size_t phases = 3;                 ///< one to three voltages; further entries of lists of three are unused
  std::array<std::size_t, 3> channels{};  ///< indices into the record's channels
  std::array<bool, 3> unit_assumed{};     ///< the channel's unit is not a unit of voltage, so its values are assumed to
                                          ///< be volts
  bool between_phases = false;            ///< line-to-line voltages AB, BC, CA
  bool rms = false;                       ///< the channels hold RMS values, not the waveform
  bool computed = false;                  ///< these were computed from the channels, which are phase voltages
  std::size_t set = 0;                    ///< number among `sets`; 0 when the user named the channels
  std::size_t sets = 0;                   ///< voltage sets of this kind in the record
  readers::Part part;                     ///< of the record
  std::size_t part_number = 1;            ///< of `parts`, from 1
  std::size_t parts = 1;
  double line_frequency = 0;  ///< nominal, hertz

  [[nodiscard]] std::size_t length() const { return part.length(); }  ///< samples per phase
  [[nodiscard]] double samples_per_cycle() const { return part.rate / line_frequency; }

  /// A time of the measured waveform in seconds from the record's first sample.
  [[nodiscard]] double record_seconds(double seconds) const { return part.start + seconds; }
  /// The record's sample at or nearest to a time of the measured waveform.
  [[nodiscard]] std::size_t record_sample_at(double seconds) const;

  /// "A" for the first voltage, or "AB" when voltages between phases are analysed.
  [[nodiscard]] std::string letter(std::size_t phase) const;
  /// The names of all flagged voltages: "AC", or "AB,CA"; empty if none is flagged.
  [[nodiscard]] std::string letters(const measure::PhaseFlags& flags) const;
};

}  // namespace analysis
