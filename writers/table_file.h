// Writes records as tables.
#pragma once

#include <string>

#include "readers/record.h"

namespace writers {

/// Returns a table with the time in seconds and one column per channel, from the record's first section. Values have
/// `digits` significant digits, or as many as represent them exactly for 0; missing values are empty cells.
std::string table_of(const readers::Record& record, int digits);

}  // namespace writers
