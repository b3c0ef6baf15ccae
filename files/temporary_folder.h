// Provides a separate folder for the files that the library writes into the current directory.
#pragma once

#include <filesystem>
#include <optional>

#include "files/unfinished.h"

namespace files {

/// Creates an empty temporary folder and makes it the current directory during its lifetime, then returns to the
/// previous directory and removes it. Throws std::filesystem::filesystem_error or std::system_error when that fails.
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
  std::optional<Unfinished> unfinished_report_;  ///< the report that the library writes into the folder
};

}  // namespace files
