#include "platform/opened_file.h"

namespace platform {

std::FILE* opened_file(const std::filesystem::path& file, const char* mode) {
  return std::fopen(file.c_str(), mode);
}

}  // namespace platform
