// The three voltages that a user names.
#pragma once

#include <string>

#include "readers/record.h"
#include "readers/voltages/voltage_set.h"

namespace readers {

/// The set that a user names: "A,B,C" as channel names (exact first, then without regard to letter case) or 1-based
/// channel numbers. A name may have its unit behind it, as in the heading of a table: "v1_V". Throws ReadError listing
/// the channels there are when one is not found or ambiguous.
VoltageSet named_voltage_set(const Record& record, const std::string& names);

}  // namespace readers
