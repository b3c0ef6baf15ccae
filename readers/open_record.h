// Opens any supported record file and chooses its reader by name and content.
#pragma once

#include <string>

#include "readers/open_options.h"
#include "readers/record.h"

namespace readers {

/// Reads a COMTRADE record or a CSV file. For COMTRADE, `path` is the .cfg or the .dat file (the other one is found in
/// the same folder, in any letter case) or the .cff file. "-" reads a .cff file or CSV from standard input. Throws
/// ReadError.
Record open_record(const std::string& path, const OpenOptions& options = {});

}  // namespace readers
