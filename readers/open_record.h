// Opens any supported record file: decides by name and content which reader takes it.
#pragma once

#include <string>

#include "readers/record.h"

namespace readers {

/// What the user says about a file that does not say it itself.
struct OpenOptions {
  double sampling_rate = 0;  ///< samples per second for a CSV file without a time column; 0: not given
};

/// Reads a COMTRADE record (name its .cfg or .dat file, the other lies beside it, in any letter case; or its .cff file)
/// or a CSV file; "-" reads a .cff file or CSV from standard input. Throws ReadError.
Record open_record(const std::string& path, const OpenOptions& options = {});

}  // namespace readers
