// Runs the dipx command as a process, as a user does, and keeps its output and its exit status.
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

/// Starts `dipx` with arguments on the given descriptors.
inline pid_t started(const std::vector<std::string>& arguments, int in, int out, int err) {
  posix_spawn_file_actions_t streams;
  posix_spawn_file_actions_init(&streams);
  posix_spawn_file_actions_adddup2(&streams, in, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&streams, out, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&streams, err, STDERR_FILENO);
  std::vector<std::string> words = {"dipx"};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  pid_t process = 0;
  if (posix_spawn(&process, DIPX_COMMAND, &streams, nullptr, argv.data(), environ) != 0) std::abort();
  posix_spawn_file_actions_destroy(&streams);
  return process;
}

/// Waits for a process: its exit status, -1 when it ended by a signal.
inline int status_of(pid_t process) {
  int state = 0;
  if (waitpid(process, &state, 0) != process) std::abort();
  return WIFEXITED(state) ? WEXITSTATUS(state) : -1;
}

/// A descriptor that is closed with the object and not inherited by other processes.
class Descriptor {
 public:
  explicit Descriptor(int descriptor) : descriptor_(descriptor) {
    if (descriptor_ < 0) std::abort();
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() { close(); }

  void close() {
    if (descriptor_ >= 0) ::close(descriptor_);
    descriptor_ = -1;
  }
  [[nodiscard]] int get() const { return descriptor_; }

 private:
  int descriptor_;
};

/// Runs `dipx` with arguments and standard input from `input`; its standard output goes to `output` when one is given.
inline CommandResult dipx(const std::vector<std::string>& arguments, const std::string& input = "/dev/null",
                          const std::string& output = {}) {
  const Stream out;
  const Stream err;
  const Descriptor from(open(input.c_str(), O_RDONLY | O_CLOEXEC));
  const Descriptor to(output.empty() ? dup(out.descriptor()) : open(output.c_str(), O_WRONLY | O_CLOEXEC));
  const int status = status_of(started(arguments, from.get(), to.get(), err.descriptor()));
  return {status, out.text(), err.text()};
}

/// Runs `dipx FIRST | dipx SECOND`. Returns the output of the second one, and the status and the messages of both in
/// turn (0 if both have succeeded).
inline CommandResult piped(const std::vector<std::string>& first, const std::vector<std::string>& second) {
  const Stream out;
  const Stream err;
  const Descriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) std::abort();
  Descriptor from(ends[0]);
  Descriptor to(ends[1]);
  const pid_t writer = started(first, nothing.get(), to.get(), err.descriptor());
  const pid_t reader = started(second, from.get(), out.descriptor(), err.descriptor());
  to.close();
  from.close();
  const int written = status_of(writer);
  const int read = status_of(reader);
  return {written != 0 ? written : read, out.text(), err.text()};
}

}  // namespace tests
