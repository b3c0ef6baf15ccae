#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <system_error>

#include "files/new_files.h"

namespace files {

int new_file(std::filesystem::path& name) {
  std::string letters = name.string() + ".XXXXXX";
  const int descriptor = mkostemp(letters.data(), O_CLOEXEC);
  name = letters;
  return descriptor;
}

bool finish(int descriptor) {
  const mode_t mask = umask(0);
  umask(mask);
  return fchmod(descriptor, 0666 & ~mask) == 0 && fsync(descriptor) == 0;
}

bool rename_file(const std::filesystem::path& name, const std::filesystem::path& target, Existing existing) {
  if (existing == Existing::replaced) return std::rename(name.c_str(), target.c_str()) == 0;
  if (renameat2(AT_FDCWD, name.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  return link(name.c_str(), target.c_str()) == 0 && unlink(name.c_str()) == 0;  // not in one step on all file systems
}

bool is_written_in_place(const std::filesystem::path& file) {
  std::error_code ignored;
  return std::filesystem::exists(file, ignored) && !std::filesystem::is_regular_file(file, ignored) &&
         !std::filesystem::is_directory(file, ignored);
}

}  // namespace files
