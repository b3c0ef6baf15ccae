// What is removed when a signal (SIGINT, SIGTERM, SIGHUP) ends the process: drafts of files and temporary folders.
#pragma once

#include <csignal>
#include <string>

namespace files {

/// Holds these signals back while it lives.
class SignalsHeld {
 public:
  SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld();

 private:
  sigset_t before_;
};

/// While it lives, a signal that ends the process takes the file, or the empty folder, of this name with it.
/// What was named last goes first.
class Unfinished {
 public:
  explicit Unfinished(std::string path);
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  ~Unfinished();

 private:
  std::string path_;
  int slot_;
};

}  // namespace files
