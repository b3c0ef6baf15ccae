// The arguments of the command as UTF-8.
#pragma once

#include <string>
#include <vector>

namespace command {

/// Returns the arguments, of which the first one is the name of the program. What main gets is in UTF-8 on most
/// systems. On Windows it is in the code page of the system, which lacks letters, and the system is asked instead.
std::vector<std::string> utf8_arguments(int argc, char** argv);

}  // namespace command
