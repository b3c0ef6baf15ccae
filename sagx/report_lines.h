// How many lines the report of a record has. Private: the library does not check its writing, the command does.
#pragma once

#include "dipx_dll.h"

namespace sagx {

/// The lines that print_to_txt writes.
int report_lines(const dipx_data_struct& record);

}  // namespace sagx
