// What the system says about names of files.
//
// What is portable: neither patterns of names nor the time of change to the last digit is part of the standard library.
// Shells of Windows leave patterns to the programs, and there they stand only for names, not for folders.
#pragma once

#include <string>
#include <vector>

namespace archive {

/// Returns the files whose names match a pattern with * and ?, in the order of their names.
std::vector<std::string> matches_of(const std::string& pattern);

/// Returns the size and the time of change of a file; empty if there is none.
std::string stamp_of_one(const std::string& path);

}  // namespace archive
