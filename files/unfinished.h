// Tracks drafts of files and temporary folders that are removed when a signal (SIGINT, SIGTERM, SIGHUP) ends the
// process.
#pragma once

#include <csignal>
#include <string>

namespace files {

/// Blocks these signals during its lifetime.
class SignalsHeld {
 public:
  SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld();

 private:
  sigset_t before_;
};

/// During its lifetime, a signal that ends the process also removes the file, or the empty folder, of this name. The
/// name registered last is removed first.
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
