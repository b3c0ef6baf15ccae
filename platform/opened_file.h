// Opens files whose names are not in the character set of the C library.
//
// What is portable: fopen, for names in that character set. What is not: on Windows this is a set of one language, and
// names with other letters need a function of their own.
#pragma once

#include <cstdio>
#include <filesystem>

namespace platform {

/// Opens a file as fopen does, with `mode` "rb" or "wb". Returns null, with errno, if that fails.
std::FILE* opened_file(const std::filesystem::path& file, const char* mode);

}  // namespace platform
