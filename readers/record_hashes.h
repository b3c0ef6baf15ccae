// Identifies a record by the hashes of its files.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "readers/record.h"

namespace readers {

/// The content of one of a record's files, as it is after unpacking.
struct ContentHash {
  std::string name;       ///< without folders, so that it does not depend on the place of the file
  std::size_t bytes = 0;  ///< length
  std::string sha256;     ///< 64 hexadecimal digits
};

/// Returns the hashes of the files that a record was read from, in the order in which a record needs them. Files in an
/// archive are unpacked first, so that a record has the same hashes whether it is packed or not. `path` is the path
/// that `record` was opened by; it must be one of a file, which is read a second time. Throws ReadError.
std::vector<ContentHash> content_hashes(const std::string& path, const Record& record);

}  // namespace readers
