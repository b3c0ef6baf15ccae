#include <windows.h>

#include <mutex>
#include <utility>

#include "files/unfinished.h"

namespace files {

namespace {

constexpr int slots = 16;
const wchar_t* names[slots];

/// The system calls the handler in a thread of its own, which waits here while signals are held.
std::recursive_mutex& mutex() {
  static std::recursive_mutex only;
  return only;
}

/// Ends the process itself while no other thread can make a new draft.
BOOL WINAPI remove_and_end(DWORD /*event*/) {
  const std::lock_guard lock(mutex());
  for (int i = slots - 1; i >= 0; i--) {
    if (names[i] != nullptr && DeleteFileW(names[i]) == 0) RemoveDirectoryW(names[i]);
  }
  TerminateProcess(GetCurrentProcess(), STATUS_CONTROL_C_EXIT);
  return TRUE;
}

void handle_events() {
  static bool handled = false;
  if (!std::exchange(handled, true)) SetConsoleCtrlHandler(remove_and_end, TRUE);
}

}  // namespace

SignalsHeld::SignalsHeld() {
  mutex().lock();
}

SignalsHeld::~SignalsHeld() {
  mutex().unlock();
}

Unfinished::Unfinished(std::filesystem::path path) : path_(std::move(path)), slot_(0) {
  const SignalsHeld held;
  handle_events();
  while (slot_ < slots && names[slot_] != nullptr) slot_++;
  if (slot_ < slots) names[slot_] = path_.c_str();
}

Unfinished::~Unfinished() {
  const SignalsHeld held;
  if (slot_ < slots) names[slot_] = nullptr;
}

}  // namespace files
