#include <unistd.h>

#include <atomic>
#include <csignal>
#include <utility>

#include "files/unfinished.h"

namespace files {

namespace {

constexpr int ending_signals[] = {SIGINT, SIGTERM, SIGHUP};

/// The names are stored here for the signal handler, which can only read them and remove the files that they name.
constexpr int slots = 16;
std::atomic<const char*> names[slots];
static_assert(std::atomic<const char*>::is_always_lock_free);

/// Each thread has its own mask of signals.
thread_local int holders = 0;
thread_local sigset_t signals_before;

void remove_and_end(int signal) {
  for (int i = slots - 1; i >= 0; i--) {
    const char* const name = names[i];
    if (name != nullptr && unlink(name) != 0) rmdir(name);
  }
  std::signal(signal, SIG_DFL);
  raise(signal);
}

/// Installs the handler. A signal that is already ignored (as under nohup) stays ignored.
void handle_signals() {
  static bool handled = false;
  if (std::exchange(handled, true)) return;
  // Exceeding a limit on file size is then an ordinary write error.
  std::signal(SIGXFSZ, SIG_IGN);
  for (const int signal : ending_signals) {
    if (std::signal(signal, remove_and_end) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

sigset_t set_of_ending_signals() {
  sigset_t set;
  sigemptyset(&set);
  for (const int signal : ending_signals) sigaddset(&set, signal);
  return set;
}

}  // namespace

SignalsHeld::SignalsHeld() {
  if (holders++ > 0) return;
  const sigset_t set = set_of_ending_signals();
  sigprocmask(SIG_BLOCK, &set, &signals_before);
}

SignalsHeld::~SignalsHeld() {
  if (--holders == 0) sigprocmask(SIG_SETMASK, &signals_before, nullptr);
}

Unfinished::Unfinished(std::filesystem::path path) : path_(std::move(path)), slot_(0) {
  handle_signals();
  while (slot_ < slots && names[slot_] != nullptr) slot_++;
  if (slot_ < slots) names[slot_] = path_.c_str();
}

Unfinished::~Unfinished() {
  if (slot_ < slots) names[slot_] = nullptr;
}

}  // namespace files
