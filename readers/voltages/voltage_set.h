// Three voltages of a record that belong together.
#pragma once

#include <array>
#include <cstddef>

namespace readers {

/// The way in which the phases of a set were identified.
enum class PhaseSource {
  phase_field,  ///< the file's phase fields name them
  name,         ///< the channels' names give them
  order,        ///< the channels follow one another in the file
  number,       ///< the channels' names differ only in a last digit 1, 2 or 3
  only_three,   ///< the record has no other voltages; the phases are in the order of the file
  user          ///< the user named them
};

/// Three voltages that belong together, as indices into Record::channels in the order A, B, C or AB, BC, CA.
struct VoltageSet {
  std::size_t count =
      3;  ///< one or two where the user named so few or the record has no more; the last channel fills the rest
  std::array<std::size_t, 3> channels{};  ///< indices into Record::channels
  /// All three channels carry a voltage worth analysing: none is constant throughout, they alternate, and the largest
  /// RMS (over the whole record, in volts) is at least 1 % of the largest among all sets of the record, and at least
  /// 20 mV unless the voltages are pure sines; below 1 V they show the line frequency. If some sets show the line
  /// frequency, the others (such as direct voltages) are not live; nor are sets that are named as currents if there are
  /// others.
  bool live = false;
  /// The values change their sign or show the line frequency. Otherwise they are not a waveform but a trend of RMS
  /// values, or a direct voltage.
  bool alternates = true;
  /// The values are those of RMS, never negative and four to 250 a second. Such a set is live if no set of the record
  /// is a waveform; some of its phases may be constant.
  bool rms = false;
  bool between_phases = false;     ///< line-to-line voltages
  std::array<bool, 3> turned{};    ///< named from the second phase to the first (Uac), so the sign must be inverted
  std::array<bool, 3> doubtful{};  ///< the channel's name and its phase field give different phases
  PhaseSource source = PhaseSource::name;  ///< how the phases were identified
  /// The name is that of a voltage but the unit is not, so the unit is assumed to be wrong and V is used; or there is
  /// no unit and the name is just the phase.
  bool unit_guessed = false;
};

}  // namespace readers
