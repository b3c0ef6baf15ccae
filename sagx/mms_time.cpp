// The millisecond clock that is used for timing. It is 32 bits wide for hosts that store it in an int, so all
// arithmetic with it is unsigned and wraps around.
#include "sagx/mms_time.h"

#include <cstdint>
#include <ctime>

int mms_get_ms_time(void) {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const auto seconds = static_cast<std::uint32_t>(now.tv_sec);
  const auto milliseconds = static_cast<std::uint32_t>(now.tv_nsec / 1000000);
  return static_cast<int>(seconds * 1000U + milliseconds);
}
