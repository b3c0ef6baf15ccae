#include "platform/zero_pages.h"

#include <algorithm>
#include <cstring>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#endif

namespace platform {

namespace {

constexpr std::size_t smallest_page = 4096;

/// Overwrites the pages that are not zero, so that those that the system shares as one page of zeros stay shared.
void overwrite(char* bytes, std::size_t length) {
  static constexpr char zeros[smallest_page] = {};
  for (std::size_t at = 0; at < length; at += smallest_page) {
    const std::size_t piece = length - at < smallest_page ? length - at : smallest_page;
    if (std::memcmp(bytes + at, zeros, piece) != 0) std::memset(bytes + at, 0, piece);
  }
}

}  // namespace

#if defined(__linux__)

namespace {

/// Pages that are given up read as zeros on Linux, but some systems that run programs for Linux, such as emulators,
/// accept the request and keep the content. This is tried out with one page, whose content is lost.
bool given_pages_become_zero(char* trial, std::size_t page) {
  volatile char& content = *trial;
  content = 1;
  return madvise(trial, page, MADV_DONTNEED) == 0 && content == 0;
}

/// Returns false if the system does not take the pages back, for example because the host has locked them in memory.
bool give_back(char* pages, std::size_t length) {
  return madvise(pages, length, MADV_DONTNEED) == 0;
}

}  // namespace

void fill_with_zeros(char* begin, std::size_t length) {
  constexpr std::size_t most_at_once = 4096;
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t before = (page - reinterpret_cast<std::uintptr_t>(begin) % page) % page;
  const bool holds_a_page = length >= before + page;
  static const bool can_give_back = holds_a_page && given_pages_become_zero(begin + before, page);
  if (!holds_a_page || !can_give_back) {
    overwrite(begin, length);
    return;
  }
  overwrite(begin, before);
  char* at = begin + before;
  char* const end = begin + length;
  std::array<unsigned char, most_at_once> resident{};
  while (static_cast<std::size_t>(end - at) >= page) {
    const std::size_t count = std::min(static_cast<std::size_t>(end - at) / page, most_at_once);
    if (mincore(at, count * page, resident.data()) != 0) resident.fill(1);
    for (std::size_t i = 0; i < count;) {
      const std::size_t first = i;
      const unsigned kind = resident[first] & 1U;
      while (i < count && (resident[i] & 1U) == kind) i++;
      char* const stretch = at + first * page;
      const std::size_t bytes = (i - first) * page;
      // A page that is not resident may have been swapped out with content.
      if (kind == 1 || !give_back(stretch, bytes)) overwrite(stretch, bytes);
    }
    at += count * page;
  }
  overwrite(at, static_cast<std::size_t>(end - at));
}

#else

void fill_with_zeros(char* begin, std::size_t length) {
  overwrite(begin, length);
}

#endif

}  // namespace platform
