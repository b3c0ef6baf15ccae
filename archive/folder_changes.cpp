#include "archive/folder_changes.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace archive {

FolderChanges::FolderChanges() : descriptor_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {}

FolderChanges::~FolderChanges() {
  if (descriptor_ >= 0) close(descriptor_);
}

bool FolderChanges::watch(const std::vector<std::string>& folders) {
  constexpr std::uint32_t arrivals = IN_CREATE | IN_CLOSE_WRITE | IN_MOVED_TO | IN_ONLYDIR;
  bool added = false;
  complete_ = descriptor_ >= 0;
  for (const std::string& folder : folders) {
    // A folder that is watched already keeps its number, and one that was replaced gets a new one.
    const int watch = descriptor_ < 0 ? -1 : inotify_add_watch(descriptor_, folder.c_str(), arrivals);
    complete_ = complete_ && watch >= 0;
    added = (watch >= 0 && watches_.insert(watch).second) || added;
  }
  return added;
}

bool FolderChanges::take() {
  if (descriptor_ < 0) return false;
  bool any = false;
  std::array<char, 1 << 14> bytes{};
  for (;;) {
    const ssize_t count = read(descriptor_, bytes.data(), bytes.size());
    if (count <= 0) return any;
    any = true;
    for (std::size_t at = 0; at < static_cast<std::size_t>(count);) {
      inotify_event event{};
      std::memcpy(&event, bytes.data() + at, sizeof event);
      // The kernel gives up the watch of a folder that was removed.
      if ((event.mask & IN_IGNORED) != 0) watches_.erase(event.wd);
      at += sizeof event + event.len;
    }
  }
}

}  // namespace archive
