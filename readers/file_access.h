// Bringing whole files into memory, and finding the other file of a pair.
#pragma once

#include <optional>
#include <string>

namespace readers {

/// All bytes of the file. Throws ReadError when it is a directory or cannot be read.
std::string read_file(const std::string& path);

/// All bytes of standard input.
std::string read_standard_input();

/// The file beside `path` that has the same name but `extension` (lower case, with dot) for its own, in any letter
/// case; the one written most like `path` when there are several. Throws ReadError when the folder cannot be listed.
std::optional<std::string> find_beside(const std::string& path, const std::string& extension);

/// The name's extension in lower case with its dot, empty when it has none.
std::string extension_of(const std::string& path);

}  // namespace readers
