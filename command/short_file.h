// Reads the short text files that options name.
#pragma once

#include <stdexcept>
#include <string>

namespace command {

/// A file cannot be read. The message names the file, the error and a remedy.
class ShortFileError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Returns the content of a file. `wanted` says what it should hold, for the remedy: "one option in a line". Throws
/// ShortFileError for a folder, for a file that cannot be opened, and for one that is far too long, as some devices
/// are.
std::string content_of_short_file(const std::string& file, const char* wanted);

}  // namespace command
