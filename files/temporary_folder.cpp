#include "files/temporary_folder.h"

#include <system_error>

#include "files/new_folder.h"

namespace files {

TemporaryFolder::TemporaryFolder() : before_(std::filesystem::current_path()) {
  const SignalsHeld held;
  path_ = new_folder(std::filesystem::temp_directory_path() / "dipx-");
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
