// Provides a folder on a separate file system that has no space left.
#pragma once

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>

namespace tests {

/// The file system is mounted in a separate name space during the lifetime of this object. Not every machine allows
/// that, so call is_there() first and skip the test if it returns false.
class FullFolder {
 public:
  /// Creates `path`, in which files can take up to `free_bytes` more, in whole pages.
  FullFolder(std::filesystem::path path, std::size_t free_bytes) : path_(std::move(path)) {
    constexpr std::size_t size = 1 << 20;
    std::filesystem::create_directory(path_);
    if (!enter_own_name_space()) return;
    const std::string options = "size=" + std::to_string(size);
    there_ = mount("none", path_.c_str(), "tmpfs", 0, options.c_str()) == 0;
    if (there_) std::ofstream(path_ / filler, std::ios::binary) << std::string(size - free_bytes, 'x');
  }
  FullFolder(const FullFolder&) = delete;
  FullFolder& operator=(const FullFolder&) = delete;
  ~FullFolder() {
    if (there_) umount2(path_.c_str(), MNT_DETACH);
  }

  [[nodiscard]] bool is_there() const { return there_; }

  /// Returns whether the folder contains only the file that fills it.
  [[nodiscard]] bool is_untouched() const {
    const std::filesystem::directory_iterator files(path_);
    return files->path().filename() == filler && std::distance(files, {}) == 1;
  }

 private:
  static constexpr const char* filler = "filler";

  static bool enter_own_name_space() {
    static const bool entered = [] {
      const auto user = getuid();
      if (user == 0 && unshare(CLONE_NEWNS) == 0) return true;
      if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
      std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
      return true;
    }();
    return entered && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
  }

  std::filesystem::path path_;
  bool there_ = false;
};

}  // namespace tests
