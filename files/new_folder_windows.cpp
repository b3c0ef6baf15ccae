#include <cerrno>
#include <string>
#include <system_error>

#include "files/new_folder.h"
#include "files/random_letters.h"

namespace files {

std::filesystem::path new_folder(const std::filesystem::path& beginning) {
  for (int i = 0; i < name_attempts; i++) {
    std::filesystem::path name = beginning;
    name += random_letters();
    if (std::filesystem::create_directory(name)) return name;
  }
  throw std::system_error(EEXIST, std::generic_category(), beginning.string());
}

}  // namespace files
