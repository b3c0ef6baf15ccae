// Makes the system calls that the library depends on fail or answer as a test needs. The linker redirects the library's
// calls to these (--wrap); see the build file.
#pragma once

#include <ctime>

namespace tests {

/// During its lifetime, the `which`-th calloc from now on (1 is the next one) fails with ENOMEM.
class FailingAllocation {
 public:
  explicit FailingAllocation(int which);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();
};

/// Does the same for malloc. Only calls by the library and the tests are counted, not those of the C++ runtime.
class FailingMalloc {
 public:
  explicit FailingMalloc(int which);
  FailingMalloc(const FailingMalloc&) = delete;
  FailingMalloc& operator=(const FailingMalloc&) = delete;
  ~FailingMalloc();
};

/// During its lifetime, the system does not take memory back, as if it were locked.
class LockedMemory {
 public:
  LockedMemory();
  LockedMemory(const LockedMemory&) = delete;
  LockedMemory& operator=(const LockedMemory&) = delete;
  ~LockedMemory();
};

/// During its lifetime, the system accepts that memory is given back but keeps its content, as some emulators do.
class KeptMemory {
 public:
  KeptMemory();
  KeptMemory(const KeptMemory&) = delete;
  KeptMemory& operator=(const KeptMemory&) = delete;
  ~KeptMemory();
};

/// Returns the mode in which the library opened a file last, as it was given to fopen.
const char* mode_of_last_file();

/// During its lifetime, the clock shows a given time and advances by `step_ms` after each reading.
class StandInClock {
 public:
  StandInClock(std::time_t seconds, long nanoseconds, long step_ms = 0);
  StandInClock(const StandInClock&) = delete;
  StandInClock& operator=(const StandInClock&) = delete;
  ~StandInClock();
};

}  // namespace tests
