// What helps when the system does not let a file be written.
#pragma once

#include <system_error>

namespace command {

/// Returns what a user can do about an error of writing, beginning with "; ", to be put behind the system's own words;
/// empty if nothing is known.
const char* cure_of(const std::error_code& error);

}  // namespace command
