// Finds samples of voltages that no grid has.
#pragma once

#include <string>

#include "readers/record.h"

namespace readers {

/// Makes samples of voltages missing (NaN) that are infinite or larger than `largest_sample`, as they are after damage
/// to floating-point data. Channels of other quantities are left as they are. Returns a note, which is empty when there
/// are none.
std::string drop_impossible_values(Record& record);

}  // namespace readers
