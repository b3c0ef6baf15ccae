// Reads COMTRADE records that lie in two files: configuration (.cfg) and data (.dat).
#pragma once

#include <string>

#include "readers/record.h"

namespace readers {

/// Reads the record whose .cfg or .dat file is `path`; the other one lies beside it, in any letter case. Revisions
/// 1991, 1999 and 2013 with ASCII or BINARY data. Throws ReadError.
Record read_comtrade(const std::string& path);

}  // namespace readers
