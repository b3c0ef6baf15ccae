// Helpers that the reader tests share: a folder for files that a test makes, and the text of a refusal.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>

#include "readers/record.h"

/// A folder that belongs to one test and is deleted with this object.
class ScratchFolder {
 public:
  ScratchFolder() : path_((std::filesystem::temp_directory_path() / "readers-test-XXXXXX").string()) {
    if (!mkdtemp(path_.data())) ADD_FAILURE() << "could not create a folder for test files: " << path_;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  [[nodiscard]] std::string path(const std::string& name) const { return path_ + "/" + name; }

  /// Writes a file and returns its path.
  std::string write(const std::string& name, std::string_view content) const {
    std::ofstream file(path(name), std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    return path(name);
  }

 private:
  std::string path_;
};

/// Returns the message of the ReadError that `action` throws, or a text that no expectation matches when it throws
/// none.
template <typename Action>
std::string refusal_of(Action&& action) {
  try {
    std::forward<Action>(action)();
  } catch (const readers::ReadError& error) {
    return error.what();
  }
  return "(nothing was refused)";
}
