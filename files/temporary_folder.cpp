#include "files/temporary_folder.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace files {

TemporaryFolder::TemporaryFolder() : before_(std::filesystem::current_path()) {
  const SignalsHeld held;
  std::string name = std::filesystem::temp_directory_path() / "dipx-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) throw std::system_error(errno, std::generic_category(), name);
  path_ = name;
  unfinished_.emplace(path_);
  unfinished_report_.emplace(path_ / "dipx_result.txt");
  std::filesystem::current_path(path_);
}

TemporaryFolder::~TemporaryFolder() {
  const SignalsHeld held;
  std::error_code ignored;
  std::filesystem::current_path(before_, ignored);
  std::filesystem::remove_all(path_, ignored);
  unfinished_report_.reset();
  unfinished_.reset();
}

}  // namespace files
