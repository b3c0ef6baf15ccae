// Reads COMTRADE records: configuration (.cfg) and data (.dat), in two files or in one (.cff).
#pragma once

#include <string>
#include <string_view>

#include "readers/open_options.h"
#include "readers/record.h"

namespace readers {

/// Reads the record whose .cfg or .dat file is `path`; the other one lies beside it, in any letter case. Revisions
/// 1991, 1999 and 2013 with ASCII, BINARY, BINARY32 or FLOAT32 data. Throws ReadError.
Record read_comtrade(const std::string& path, const OpenOptions& options = {});

/// Whether content is that of a single-file record (.cff): its first line announces a section.
bool is_single_comtrade(std::string_view content);

/// Reads the content of a single-file record, with data of the same types; binary ones may be written in base64. `file`
/// is its name for messages. Throws ReadError.
Record read_single_comtrade(const std::string& file, std::string_view content, const OpenOptions& options = {});

}  // namespace readers
