#include <fmt/format.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>

#include "archive/named_files.h"
#include "platform/utf8_path.h"

namespace archive {

std::vector<std::string> matches_of(const std::string& pattern) {
  const std::filesystem::path asked = platform::utf8_path(pattern);
  std::vector<std::string> paths;
  WIN32_FIND_DATAW found{};
  const HANDLE search = FindFirstFileW(asked.c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return paths;
  do {
    // Files whose names begin with a point are hidden, as on other systems, and two such names are those of folders.
    if (found.cFileName[0] != L'.') paths.push_back((asked.parent_path() / found.cFileName).string());
  } while (FindNextFileW(search, &found) != 0);
  FindClose(search);
  std::sort(paths.begin(), paths.end());
  return paths;
}

std::string stamp_of_one(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA about{};
  if (GetFileAttributesExW(platform::utf8_path(path).c_str(), GetFileExInfoStandard, &about) == 0) return {};
  const auto joined = [](DWORD high, DWORD low) { return static_cast<unsigned long long>(high) << 32U | low; };
  return fmt::format("{}@{}", joined(about.nFileSizeHigh, about.nFileSizeLow),
                     joined(about.ftLastWriteTime.dwHighDateTime, about.ftLastWriteTime.dwLowDateTime));
}

}  // namespace archive
