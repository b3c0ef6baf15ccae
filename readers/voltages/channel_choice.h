// Selects the three voltages that a user names.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "readers/record.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// Returns the set that a user names as "A,B,C", by channel names (an exact match first, then one that ignores letter
/// case) or by 1-based channel numbers. A unit may follow a name, as in the heading of a table: "v1_V". Throws
/// ReadError with a list of the channels when a name is not found or ambiguous.
VoltageSet named_voltage_set(const Record& record, const std::string& names);

/// Returns the channels that a user names as "A,B,...", in the same ways; there may be any number of them. Throws
/// ReadError.
std::vector<std::size_t> channels_named(const Record& record, const std::string& names);

/// Returns the channels with their numbers and units, for a message.
std::string channel_list(const Record& record);

}  // namespace readers
