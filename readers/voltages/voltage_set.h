// Three voltages of a record that belong together.
#pragma once

#include <array>
#include <cstddef>

namespace readers {

/// How the phases of a set were told apart.
enum class PhaseSource {
  phase_field,  ///< the file's phase fields name them
  name,         ///< the channels' names do
  order,        ///< they follow each other in the file
  user          ///< the user named them
};

/// Three voltages that belong together, as indices into Record::channels in the order A, B, C or AB, BC, CA.
struct VoltageSet {
  std::size_t count = 3;  ///< one or two where the user named so few; the last channel fills the rest
  std::array<std::size_t, 3> channels{};
  /// All three carry a voltage worth analysing: none is without change throughout, and the largest RMS (over the whole
  /// record, in volts) is at least 1 % of the largest among all sets of the record. Where some sets show the line's
  /// frequency, those that do not (direct voltages) are not live, nor are those named as currents beside others.
  bool live = false;
  bool between_phases = false;     ///< line-to-line voltages
  std::array<bool, 3> turned{};    ///< named from the second phase to the first (Uac): the sign is to be turned
  std::array<bool, 3> doubtful{};  ///< the channel's name and its phase field tell different phases
  PhaseSource source = PhaseSource::name;
  /// Where the unit is none of voltage but the name is: mislabelled, and taken for volts. Or there is neither a unit
  /// nor more of a name than the phase.
  bool unit_guessed = false;
};

}  // namespace readers
