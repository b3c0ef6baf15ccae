// Provides a separate folder for code that writes into the current directory.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace tests {

/// Makes an empty folder the current directory during its lifetime, then removes it.
class WorkingFolder {
 public:
  WorkingFolder() : before_(std::filesystem::current_path()) {
    std::string name = (std::filesystem::temp_directory_path() / "dipx-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) std::abort();
    path_ = name;
    std::filesystem::current_path(path_);
  }
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;
  ~WorkingFolder() {
    std::filesystem::current_path(before_);
    std::filesystem::remove_all(path_);
  }

  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path before_;
  std::filesystem::path path_;
};

/// Returns all bytes of a file; empty when the file does not exist.
inline std::string bytes_of(const std::filesystem::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace tests
