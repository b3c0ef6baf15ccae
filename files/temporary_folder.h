// A folder of its own for what the library writes into the current directory.
#pragma once

#include <filesystem>
#include <optional>

#include "files/unfinished.h"

namespace files {

/// Makes an empty temporary folder the current one while it lives, then goes back and removes it. Throws
/// std::filesystem::filesystem_error or std::system_error when that cannot be done.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

 private:
  std::filesystem::path before_;
  std::filesystem::path path_;
  std::optional<Unfinished> unfinished_;
  std::optional<Unfinished> unfinished_report_;  ///< that the library writes into it
};

}  // namespace files
