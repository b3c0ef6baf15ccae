// What the command is busy with, for somebody who waits at a terminal.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace command {

/// While it lives, shows its latest stage on a line of standard error once more than a second has passed, and takes the
/// line away again in the end. Shows nothing where standard error is no terminal or standard output is a pipe. Keeps to
/// the standard error that it finds when it is made, wherever that is sent later on.
class Progress {
 public:
  /// `wanted`: false to show nothing in any case.
  explicit Progress(bool wanted = true);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  /// What is being done now, and how much of it is done, 0 to 1; below 0 where nobody knows.
  void stage(const std::string& what, double done = -1);

  /// Ends it early, before something else is shown on the terminal.
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
