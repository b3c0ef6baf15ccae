#include "command/event_command.h"

#include <fmt/format.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>
#include <vector>

#include "readers/text.h"

namespace command {

namespace {

using archive::Announcement;
using Clock = std::chrono::steady_clock;

std::vector<std::string> environment_for(const archive::PendingEvent& event) {
  std::vector<std::string> all;
  for (char** one = environ; *one != nullptr; one++) all.emplace_back(*one);
  for (const auto& [name, value] : event.columns) {
    std::string variable = "DIPX_" + name;
    std::transform(variable.begin(), variable.end(), variable.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::toupper(letter)); });
    all.push_back(variable + "=" + readers::inert(value));
  }
  return all;
}

std::vector<char*> pointers_to(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// A nameless file that holds a text and is read from its beginning; it cannot block, as a pipe could.
class Input {
 public:
  explicit Input(const std::string& text) : descriptor_(memfd_create("event", MFD_CLOEXEC)) {
    if (descriptor_ < 0) return;
    if (write(descriptor_, text.data(), text.size()) < 0) return;
    lseek(descriptor_, 0, SEEK_SET);
  }
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  [[nodiscard]] int descriptor() const { return descriptor_; }

 private:
  int descriptor_;
};

/// Starts the shell in a process group of its own, with the signals as a new process expects them. Returns its number,
/// or nothing after an error, which errno names.
std::optional<pid_t> started(const std::string& line, const archive::PendingEvent& event) {
  const Input input(event.json + "\n");
  std::vector<std::string> words = {"/bin/sh", "-c", line};
  std::vector<std::string> variables = environment_for(event);
  posix_spawn_file_actions_t streams;
  posix_spawn_file_actions_init(&streams);
  posix_spawn_file_actions_adddup2(&streams, input.descriptor(), STDIN_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  sigset_t signals;
  sigemptyset(&signals);
  posix_spawnattr_setsigmask(&attributes, &signals);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGXFSZ, SIGPIPE}) sigaddset(&signals, signal);
  posix_spawnattr_setsigdefault(&attributes, &signals);
  pid_t process = 0;
  const int error =
      posix_spawn(&process, "/bin/sh", &streams, &attributes, pointers_to(words).data(), pointers_to(variables).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&streams);
  errno = error;
  return error == 0 ? std::optional(process) : std::nullopt;
}

int status_of(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

Announcement complain(const archive::PendingEvent& event, const std::string& cause, Announcement end) {
  const std::string file = [&] {
    for (const auto& [name, value] : event.columns) {
      if (name == "file") return readers::inert(value);
    }
    return std::string();
  }();
  std::fprintf(stderr, "dipx: %s: the command for its event %s; it will be repeated\n", file.c_str(), cause.c_str());
  return end;
}

}  // namespace

Announcement EventCommand::run(const archive::PendingEvent& event) const {
  const auto process = started(line, event);
  if (!process) {
    return complain(event, fmt::format("cannot be started: {}", std::strerror(errno)), Announcement::postponed);
  }
  // The C library declares pidfd_open without saying that it is a function of C.
  const int ended = static_cast<int>(syscall(SYS_pidfd_open, *process, 0));
  auto until = Clock::now() + std::chrono::duration<double>(limit_s);
  bool stopped = false;
  bool killed = false;
  pollfd descriptor{ended, POLLIN, 0};
  constexpr int second = 1000;
  while (poll(&descriptor, 1, stopped ? second / 10 : second) <= 0) {
    keep_alive();
    if (!stopped && is_stopped()) {
      stopped = true;
      until = std::min(until, Clock::now() + std::chrono::duration<double>(patience_s));
    }
    if (Clock::now() < until || killed) continue;
    kill(-*process, SIGKILL);
    killed = true;
  }
  close(ended);
  const int status = status_of(*process);
  if (killed) {
    const std::string cause =
        stopped ? "was still running when the watch was ended" : fmt::format("took longer than {:g} s", limit_s);
    return complain(event, cause, Announcement::postponed);
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return Announcement::done;
  const std::string cause = WIFSIGNALED(status) ? fmt::format("ended by signal {}", WTERMSIG(status))
                                                : fmt::format("ended with status {}", WEXITSTATUS(status));
  return complain(event, cause, Announcement::failed);
}

}  // namespace command
