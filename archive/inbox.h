// A folder into which recorders or a server drop files while it is watched: decides which files are complete.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "archive/found_files.h"

namespace archive {

/// A file is complete when it has stopped growing, is not empty, and has its .dat file if it is a .cfg file. Files with
/// endings such as .part, which programs give to unfinished transfers, are left alone.
class Inbox {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// `settle_s`: a file has stopped growing if its size and its time of change were the same for so long, seconds.
  Inbox(std::string folder, double settle_s);

  /// Looks for new and changed files. Returns complaints about folders that cannot be listed.
  std::vector<readers::ReadError> search(Time now);

  /// Returns the files that are complete, at most `most` of them, and does not return them again unless they change.
  std::vector<FoundFile> take_complete(Time now, std::size_t most);

  /// Returns when `take_complete` may next return a file without another search, `now` if it would at once; nothing if
  /// it cannot.
  [[nodiscard]] std::optional<Time> next_look(Time now) const;

  /// The folder and all folders in it, as of the last search.
  [[nodiscard]] const std::vector<std::string>& folders() const { return folders_; }
  /// Number of files that are not complete yet.
  [[nodiscard]] std::size_t waiting() const { return waiting_.size(); }
  /// The first of their paths in alphabetical order, at most `most`.
  [[nodiscard]] std::vector<std::string> first_waiting(std::size_t most) const;

 private:
  struct Seen {
    FoundFile file;
    std::string stamp;
    Time since;  ///< since when the stamp has been the same
  };
  void look_at(const FoundFile& file, Time now);
  void forget_missing(const std::set<std::string>& present);
  static bool has_all(const FoundFile& file);

  std::string folder_;
  std::chrono::steady_clock::duration settle_;
  std::vector<std::string> folders_;
  std::map<std::string, Seen> seen_;  ///< by path
  std::set<std::string> waiting_;     ///< paths of the files that were not returned yet
};

}  // namespace archive
