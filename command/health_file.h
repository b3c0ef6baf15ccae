// A file from which monitoring learns how a watch is doing.
#pragma once

#include <chrono>
#include <string>

#include "archive/watch.h"

namespace command {

/// Writes one JSON object into a file, which is always complete: "state" (healthy, failing or stopped), "time" in UTC,
/// "process", counts, and "problems" in words.
class HealthFile {
 public:
  /// `file`: its path; empty: nothing is written.
  explicit HealthFile(std::string file) : file_(std::move(file)) {}

  /// Writes the state if it has changed, and otherwise at least every ten seconds, but not more than once a second.
  /// Throws std::system_error at the first time; after that, a file that cannot be written does not end the watch.
  void write(const archive::WatchState& state);

  /// Writes why the watch has ended: an empty `problem` means that it was asked to. Errors are ignored.
  void write_end(const std::string& problem);

 private:
  void write_now(const std::string& state, const std::vector<std::string>& problems);

  std::string file_;
  archive::WatchState last_;
  std::chrono::steady_clock::time_point written_;
  bool written_once_ = false;
};

}  // namespace command
