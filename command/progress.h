// Shows the current stage of the command to a user who waits at a terminal.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace command {

/// During its lifetime, shows the latest stage on a line of standard error once more than a second has passed, and
/// removes the line at the end. Shows nothing if standard error is not a terminal or standard output is a pipe. Uses
/// the standard error that exists when the object is made, even if it is redirected later.
class Progress {
 public:
  /// `wanted`: false suppresses all progress.
  explicit Progress(bool wanted = true);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  /// Sets the current stage and its progress from 0 to 1, or a negative number if the progress is unknown.
  void stage(const std::string& what, double done = -1);

  /// Ends the display early, before other output appears on the terminal.
  void finish();

 private:
  void run();
  void draw() const;

  int terminal_ = -1;
  std::chrono::steady_clock::time_point start_;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::string what_;
  double done_ = -1;
  bool ended_ = false;
  std::thread thread_;
};

}  // namespace command
