// Makes folders that did not exist.
//
// What is portable: making a folder of a given name. What is not: mkdtemp of POSIX, which finds a name, and that the
// folder is for this user alone. On Windows temporary folders lie in a folder of the user.
#pragma once

#include <filesystem>

namespace files {

/// Makes an empty folder for this user alone. Its name begins with `beginning`. Throws std::system_error.
std::filesystem::path new_folder(const std::filesystem::path& beginning);

}  // namespace files
