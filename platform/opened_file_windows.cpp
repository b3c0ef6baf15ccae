#include <string>
#include <string_view>

#include "platform/opened_file.h"

namespace platform {

std::FILE* opened_file(const std::filesystem::path& file, const char* mode) {
  const std::string_view letters = mode;
  return _wfopen(file.c_str(), std::wstring(letters.begin(), letters.end()).c_str());
}

}  // namespace platform
