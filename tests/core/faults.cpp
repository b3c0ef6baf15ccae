#include "tests/core/faults.h"

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <string>

namespace {

int callocs_until_failure = 0;  // 0: no call fails
int mallocs_until_failure = 0;
bool memory_is_locked = false;
bool memory_is_kept = false;
std::string last_mode;
bool clock_stands_in = false;
timespec stand_in_time{};
long stand_in_step_ms = 0;

}  // namespace

extern "C" {

void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size) {
  if (callocs_until_failure > 0 && callocs_until_failure-- == 1) {
    errno = ENOMEM;
    return nullptr;
  }
  return __real_calloc(count, size);
}

void* __real_malloc(std::size_t size);
void* __wrap_malloc(std::size_t size) {
  if (mallocs_until_failure > 0 && mallocs_until_failure-- == 1) {
    errno = ENOMEM;
    return nullptr;
  }
  return __real_malloc(size);
}

int __real_madvise(void* begin, std::size_t length, int advice);
int __wrap_madvise(void* begin, std::size_t length, int advice) {
  if (memory_is_kept) return 0;
  if (!memory_is_locked) return __real_madvise(begin, length, advice);
  errno = EINVAL;
  return -1;
}

std::FILE* __real_fopen(const char* name, const char* mode);
std::FILE* __wrap_fopen(const char* name, const char* mode) {
  last_mode = mode;
  return __real_fopen(name, mode);
}

int __real_clock_gettime(clockid_t clock, timespec* now);
int __wrap_clock_gettime(clockid_t clock, timespec* now) {
  if (!clock_stands_in) return __real_clock_gettime(clock, now);
  *now = stand_in_time;
  stand_in_time.tv_nsec += stand_in_step_ms * 1000000;
  stand_in_time.tv_sec += stand_in_time.tv_nsec / 1000000000;
  stand_in_time.tv_nsec %= 1000000000;
  return 0;
}

}  // extern "C"

tests::FailingAllocation::FailingAllocation(int which) {
  callocs_until_failure = which;
}
tests::FailingAllocation::~FailingAllocation() {
  callocs_until_failure = 0;
}

tests::FailingMalloc::FailingMalloc(int which) {
  mallocs_until_failure = which;
}
tests::FailingMalloc::~FailingMalloc() {
  mallocs_until_failure = 0;
}

tests::LockedMemory::LockedMemory() {
  memory_is_locked = true;
}
tests::LockedMemory::~LockedMemory() {
  memory_is_locked = false;
}

tests::KeptMemory::KeptMemory() {
  memory_is_kept = true;
}
tests::KeptMemory::~KeptMemory() {
  memory_is_kept = false;
}

const char* tests::mode_of_last_file() {
  return last_mode.c_str();
}

tests::StandInClock::StandInClock(std::time_t seconds, long nanoseconds, long step_ms) {
  clock_stands_in = true;
  stand_in_time = {seconds, nanoseconds};
  stand_in_step_ms = step_ms;
}
tests::StandInClock::~StandInClock() {
  clock_stands_in = false;
}
