// Writes to standard output so that a full disk or a closed pipe is noticed.
#pragma once

#include <string>

namespace command {

/// Throws std::system_error if not all bytes could be written.
void write_standard_output(const std::string& bytes);

}  // namespace command
