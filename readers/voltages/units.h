// Units of voltage and current as they appear in record files.
#pragma once

#include <optional>
#include <string>

namespace readers {

/// Returns the volts in one `unit`, or nothing if it is not a unit of voltage. An empty unit counts as volts. The units
/// are V, kV, mV and MV, also in Cyrillic letters; letter case matters only in the first letter of mV and MV.
std::optional<double> volts_per(const std::string& unit);

/// Returns the amperes in one `unit`, or nothing if it is not a unit of current. An empty unit counts as amperes. The
/// units are A, kA and mA, also in Cyrillic letters.
std::optional<double> amperes_per(const std::string& unit);

/// Returns whether a unit certainly belongs to another quantity. Ampere does not count, because labels are often copied
/// from channel to channel.
bool is_of_another_quantity(const std::string& unit);

}  // namespace readers
