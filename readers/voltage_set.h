// Finds the three phase voltages among a record's channels, by phase letter and unit.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "readers/record.h"

namespace readers {

/// Three phase-to-neutral voltages that belong together, as indices into Record::channels in the order A, B, C.
struct VoltageSet {
  std::array<std::size_t, 3> channels{};
  /// All three carry a voltage worth analysing: none is zero throughout, and the largest RMS (over the whole record, in
  /// volts) is at least 1 % of the largest among all sets of the record.
  bool live = false;
};

/// All complete three-phase voltage sets in file order. Empty when the record has none. Channels belong together that
/// are named alike but for the phase; those left then make sets where they follow each other as A, B, C. Voltages
/// between phases, neutral and zero-sequence voltages and computed phasor figures are left out.
std::vector<VoltageSet> find_voltage_sets(const Record& record);

/// The set that a user names: "A,B,C" as channel names (exact first, then without regard to letter case) or 1-based
/// channel numbers. A name may have its unit behind it, as in the heading of a table: "v1_V". Throws ReadError listing
/// the channels there are when one is not found or ambiguous.
VoltageSet named_voltage_set(const Record& record, const std::string& names);

/// Samples of one channel in volts. Units are V, kV, mV and MV, where only the letter of milli and mega must have the
/// right case; no unit counts as volts. Throws ReadError for a unit that is no voltage, and, naming the samples, when
/// values are missing or not finite.
std::vector<float> volts(const Record& record, std::size_t channel);

}  // namespace readers
