#include <fmt/format.h>
#include <windows.h>

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "archive/named_files.h"
#include "platform/utf8_path.h"

namespace archive {

namespace {

bool same_letter(wchar_t a, wchar_t b) {
  return CompareStringOrdinal(&a, 1, &b, 1, TRUE) == CSTR_EQUAL;
}

bool matches(std::wstring_view name, std::wstring_view pattern) {
  if (pattern.empty()) return name.empty();
  if (pattern.front() == L'*') {
    return matches(name, pattern.substr(1)) || (!name.empty() && matches(name.substr(1), pattern));
  }
  if (name.empty() || (pattern.front() != L'?' && !same_letter(name.front(), pattern.front()))) return false;
  return matches(name.substr(1), pattern.substr(1));
}

}  // namespace

/// The system also finds files whose other, short name matches: *.cfg would stand for record.cfg_old, too.
std::vector<std::string> matches_of(const std::string& pattern) {
  const std::filesystem::path asked = platform::utf8_path(pattern);
  std::vector<std::string> paths;
  WIN32_FIND_DATAW found{};
  const HANDLE search = FindFirstFileW(asked.c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) return paths;
  do {
    // Files whose names begin with a point are hidden, as on other systems, and two such names are those of folders.
    const bool hidden = found.cFileName[0] == L'.';
    if (!hidden && matches(found.cFileName, asked.filename().native()))
      paths.push_back((asked.parent_path() / found.cFileName).string());
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
