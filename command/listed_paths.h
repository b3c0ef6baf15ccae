// Paths that come from a list instead of the command line.
#pragma once

#include <string>
#include <vector>

namespace command {

/// Returns the lines of a file, or of standard input if it is "-", without empty ones. Throws readers::ReadError.
std::vector<std::string> listed_paths(const std::string& file);

}  // namespace command
