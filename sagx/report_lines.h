// Counts the lines in the report of a record. Private: the library does not check what it has written, but the command
// does.
#pragma once

#include "dipx_dll.h"

namespace sagx {

/// Returns the number of lines that print_to_txt writes.
int report_lines(const dipx_data_struct& record);

}  // namespace sagx
