// Opens any supported record file: decides by name and content which reader takes it.
#pragma once

#include <string>

#include "readers/open_options.h"
#include "readers/record.h"

namespace readers {

/// Reads a COMTRADE record (name its .cfg or .dat file, the other lies beside it, in any letter case; or its .cff file)
/// or a CSV file; "-" reads a .cff file or CSV from standard input. Throws ReadError.
Record open_record(const std::string& path, const OpenOptions& options = {});

}  // namespace readers
