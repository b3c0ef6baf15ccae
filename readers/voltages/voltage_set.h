// Finds the three phase voltages among a record's channels, by phase letter and unit.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "readers/record.h"

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

/// All complete sets of phase-to-neutral voltages, live ones first, otherwise in file order. Empty when the record has
/// none. Channels belong together that are named alike but for the phase; those left then make sets where they follow
/// each other as A, B, C. Voltages between phases, neutral and zero-sequence voltages and computed phasor figures are
/// left out. Where no channel has a unit of voltage, those count that are named as voltages are, and where there are
/// none either, those without a unit whose names are phases and nothing else.
std::vector<VoltageSet> find_voltage_sets(const Record& record);

/// All complete sets of voltages between phases (Uab, Ubc, Uca; V12, V23, V31; ...), in the same order.
std::vector<VoltageSet> find_line_to_line_sets(const Record& record);

/// The set that a user names: "A,B,C" as channel names (exact first, then without regard to letter case) or 1-based
/// channel numbers. A name may have its unit behind it, as in the heading of a table: "v1_V". Throws ReadError listing
/// the channels there are when one is not found or ambiguous.
VoltageSet named_voltage_set(const Record& record, const std::string& names);

/// Volts in one unit of a channel's samples.
struct VoltsPerUnit {
  double factor = 1;
  bool assumed = false;  ///< the unit does not say it: there is none, or it is that of something else
};

/// Units are V, kV, mV and MV, where only the letter of milli and mega must have the right case, also in Cyrillic
/// letters; no unit, or a wrong one of a channel whose name is a voltage's, is taken for V. Throws ReadError for units
/// that are no voltage.
VoltsPerUnit volts_per_unit(const Record& record, std::size_t channel);

/// Samples of one channel in volts. Throws ReadError for a unit that is no voltage, and, naming the samples, when
/// values are missing or not finite.
std::vector<float> volts(const Record& record, std::size_t channel);

}  // namespace readers
