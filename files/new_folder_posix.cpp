#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include "files/new_folder.h"

namespace files {

std::filesystem::path new_folder(const std::filesystem::path& beginning) {
  std::string name = beginning.string() + "XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
  return name;
}

}  // namespace files
