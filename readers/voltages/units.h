// Units of voltage as record files write them.
#pragma once

#include <optional>
#include <string>

namespace readers {

/// Volts in one `unit`; nothing for a unit that is no voltage. No unit counts as volts. Units are V, kV, mV and MV,
/// where only the letter of milli and mega must have the right case, also in Cyrillic letters.
std::optional<double> volts_per(const std::string& unit);

/// Whether a unit is surely that of another quantity. Ampere is not: labels are copied from channel to channel.
bool is_of_another_quantity(const std::string& unit);

}  // namespace readers
