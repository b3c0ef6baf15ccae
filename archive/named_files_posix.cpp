#include <fmt/format.h>
#include <glob.h>
#include <sys/stat.h>

#include "archive/named_files.h"

namespace archive {

std::vector<std::string> matches_of(const std::string& pattern) {
  glob_t found{};
  std::vector<std::string> paths;
  if (glob(pattern.c_str(), 0, nullptr, &found) == 0) paths.assign(found.gl_pathv, found.gl_pathv + found.gl_pathc);
  globfree(&found);
  return paths;
}

std::string stamp_of_one(const std::string& path) {
  struct stat about {};
  if (stat(path.c_str(), &about) != 0) return {};
  return fmt::format("{}@{}.{:09}", about.st_size, about.st_mtim.tv_sec, about.st_mtim.tv_nsec);
}

}  // namespace archive
