// Runs the dipx command as a user does: as a process, with what it printed and its exit status.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace tests {

struct CommandResult {
  int status;  ///< exit status; -1 when it ended by a signal
  std::string out;
  std::string err;
};

/// A nameless file that a process writes one of its streams to.
class Stream {
 public:
  Stream() : file_(std::tmpfile()) {
    if (file_ == nullptr) std::abort();
  }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() { std::fclose(file_); }

  [[nodiscard]] int descriptor() const { return fileno(file_); }
  [[nodiscard]] std::string text() const {
    std::string all(static_cast<std::size_t>(lseek(descriptor(), 0, SEEK_END)), '\0');
    if (pread(descriptor(), all.data(), all.size(), 0) != static_cast<ssize_t>(all.size())) std::abort();
    return all;
  }

 private:
  std::FILE* file_;
};

/// Runs `dipx` with arguments and standard input from `input`; its standard output goes to `output` when one is given.
inline CommandResult dipx(const std::vector<std::string>& arguments, const std::string& input = "/dev/null",
                          const std::string& output = {}) {
  const Stream out;
  const Stream err;
  posix_spawn_file_actions_t streams;
  posix_spawn_file_actions_init(&streams);
  posix_spawn_file_actions_addopen(&streams, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&streams, out.descriptor(), STDOUT_FILENO);
  if (!output.empty()) posix_spawn_file_actions_addopen(&streams, STDOUT_FILENO, output.c_str(), O_WRONLY, 0);
  posix_spawn_file_actions_adddup2(&streams, err.descriptor(), STDERR_FILENO);

  std::vector<std::string> words = {"dipx"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  pid_t process = 0;
  if (posix_spawn(&process, DIPX_COMMAND, &streams, nullptr, argv.data(), environ) != 0) std::abort();
  posix_spawn_file_actions_destroy(&streams);
  int state = 0;
  if (waitpid(process, &state, 0) != process) std::abort();
  return {WIFEXITED(state) ? WEXITSTATUS(state) : -1, out.text(), err.text()};
}

}  // namespace tests
