// Writing to standard output such that a full disk or a closed pipe is noticed.
#pragma once

#include <string>

namespace command {

/// Throws std::system_error when not all bytes could be written.
void write_standard_output(const std::string& bytes);

}  // namespace command
