// Learns from the kernel that files have arrived in folders.
#pragma once

#include <set>
#include <string>
#include <vector>

namespace archive {

/// Watches folders by inotify. It only shortens the wait for the next search, which finds everything by itself: changes
/// that another machine makes on a network share are not noticed, and neither is anything if the kernel has no watches
/// left.
class FolderChanges {
 public:
  /// Watches nothing if inotify is not available.
  FolderChanges();
  FolderChanges(const FolderChanges&) = delete;
  FolderChanges& operator=(const FolderChanges&) = delete;
  ~FolderChanges();

  /// Watches these folders too. Returns whether one of them was not watched before, so that files may have arrived in
  /// it unnoticed.
  bool watch(const std::vector<std::string>& folders);

  /// Returns whether something has happened since the last call.
  bool take();

  /// The descriptor that becomes readable when something happens; -1 if nothing is watched.
  [[nodiscard]] int descriptor() const { return descriptor_; }
  /// Returns whether all folders are watched.
  [[nodiscard]] bool complete() const { return complete_; }

 private:
  int descriptor_;
  std::set<int> watches_;
  bool complete_ = true;
};

}  // namespace archive
