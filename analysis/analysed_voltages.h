// What of a record is analysed: which channels, which part of it, at which rate.
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "measure/findings.h"
#include "readers/voltages/parts.h"

namespace analysis {

struct AnalysedVoltages {
  std::size_t phases = 3;                 ///< one to three voltages; lists of three hold nothing past them
  std::array<std::size_t, 3> channels{};  ///< indices into the record's channels
  std::array<bool, 3> unit_assumed{};     ///< the channel's unit is none of voltage; its values are taken for volts
  bool between_phases = false;            ///< line-to-line voltages AB, BC, CA
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
  /// Those of all flagged voltages: "AC", or "AB,CA"; empty for none.
  [[nodiscard]] std::string letters(const measure::PhaseFlags& flags) const;
};

}  // namespace analysis
