// Makes the system calls that the library depends on fail or answer as a test wants. The linker sends the library's
// calls here (--wrap), see the build file.
#pragma once

#include <ctime>

namespace tests {

/// While it lives, the `which`-th calloc from now on (1 is the next one) fails with ENOMEM.
class FailingAllocation {
 public:
  explicit FailingAllocation(int which);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();
};

/// The same for malloc. Only the library's own calls and the tests' are counted, not those of the C++ runtime.
class FailingMalloc {
 public:
  explicit FailingMalloc(int which);
  FailingMalloc(const FailingMalloc&) = delete;
  FailingMalloc& operator=(const FailingMalloc&) = delete;
  ~FailingMalloc();
};

/// While it lives, the system takes no memory back, as when it is locked.
class LockedMemory {
 public:
  LockedMemory();
  LockedMemory(const LockedMemory&) = delete;
  LockedMemory& operator=(const LockedMemory&) = delete;
  ~LockedMemory();
};

/// While it lives, the clock stands at a given time and moves on by `step_ms` after each reading.
class StandInClock {
 public:
  StandInClock(std::time_t seconds, long nanoseconds, long step_ms = 0);
  StandInClock(const StandInClock&) = delete;
  StandInClock& operator=(const StandInClock&) = delete;
  ~StandInClock();
};

}  // namespace tests
