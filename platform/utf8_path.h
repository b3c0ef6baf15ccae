// Paths from text in UTF-8.
//
// What is portable: std::filesystem, and its conversion from char8_t. What is not: on Windows a path that is made from
// char is taken for text of one language, whereas the text that a path returns is UTF-8. Systems of POSIX keep all
// bytes as they are.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace platform {

inline std::filesystem::path utf8_path(std::string_view text) {
  return std::u8string(text.begin(), text.end());
}

}  // namespace platform
