// Reads COMTRADE records: configuration (.cfg) and data (.dat), in two files or in one (.cff).
#pragma once

#include <string>
#include <string_view>

#include "readers/file_access.h"
#include "readers/open_options.h"
#include "readers/record.h"

namespace readers {

/// Reads the record whose .cfg or .dat file is `path`; the other file is found in the same folder, in any letter case.
/// Supports revisions 1991, 1999 and 2013 with ASCII, BINARY, BINARY32 or FLOAT32 data. Throws ReadError.
Record read_comtrade(const std::string& path, const OpenOptions& options = {});

/// The two files of a record, as read from an archive, with their names for messages.
struct ComtradeContents {
  std::string config_name;
  std::string config;
  std::string data_name;
  std::string data;
};

/// Reads a record from the contents of its files; `file` is its name for messages. Throws ReadError.
Record read_comtrade_contents(const std::string& file, const ComtradeContents& contents,
                              const OpenOptions& options = {});

/// Returns whether the content is that of a single-file record (.cff), in which case its first line announces a
/// section.
bool is_single_comtrade(std::string_view content);

/// Reads the content of a single-file record, which may have data of the same types; binary data may be encoded in
/// base64. `file` is the file's name for messages. If `held` is given, it holds the content, which is released as it is
/// read. Throws ReadError.
Record read_single_comtrade(const std::string& file, std::string_view content, const OpenOptions& options = {},
                            FileText* held = nullptr);

}  // namespace readers
