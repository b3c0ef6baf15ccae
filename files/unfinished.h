// Tracks drafts of files and temporary folders that are removed when a signal (SIGINT, SIGTERM, SIGHUP; on Windows
// Ctrl+C, Ctrl+Break and the closing of the console) ends the process.
#pragma once

#include <filesystem>

namespace files {

/// Holds these signals back until the last object of this kind in the thread ends.
class SignalsHeld {
 public:
  SignalsHeld();
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  ~SignalsHeld();
};

/// During its lifetime, a signal that ends the process also removes the file, or the empty folder, of this name. The
/// name registered last is removed first.
class Unfinished {
 public:
  explicit Unfinished(std::filesystem::path path);
  Unfinished(const Unfinished&) = delete;
  Unfinished& operator=(const Unfinished&) = delete;
  ~Unfinished();

 private:
  std::filesystem::path path_;
  int slot_;
};

}  // namespace files
