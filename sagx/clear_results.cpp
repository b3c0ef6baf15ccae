// The results take nine megabytes, of which most runs write little or nothing. Pages that were never touched are not
// touched here either; they are returned to the system, which provides zeroed ones when they are needed. All other
// pages are overwritten where they are not zero and stay resident, so that the next run causes no page faults.
#include "sagx/clear_results.h"

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "sagx/dq_dipx.h"

namespace {

constexpr std::size_t smallest_page = 4096;
constexpr std::size_t size = sizeof new_dipx_buf;

void clear(char* bytes, std::size_t length) {
  static constexpr char zeros[smallest_page] = {};
  for (std::size_t at = 0; at < length; at += smallest_page) {
    const std::size_t piece = length - at < smallest_page ? length - at : smallest_page;
    if (std::memcmp(bytes + at, zeros, piece) != 0) std::memset(bytes + at, 0, piece);
  }
}

/// Returns false if the system does not take the pages back, for example because the host has locked them in memory.
bool give_back(char* pages, std::size_t length) {
  return length == 0 || madvise(pages, length, MADV_DONTNEED) == 0;
}

}  // namespace

void sagx::clear_results() {
  auto* const begin = reinterpret_cast<char*>(new_dipx_buf);
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t ahead = (page - reinterpret_cast<std::uintptr_t>(begin) % page) % page;
  const std::size_t count = (size - ahead) / page;
  char* const pages = begin + ahead;
  std::array<unsigned char, size / smallest_page> resident{};
  if (mincore(pages, count * page, resident.data()) != 0) resident.fill(1);

  clear(begin, ahead);
  for (std::size_t i = 0; i < count;) {
    const std::size_t first = i;
    const unsigned kind = resident[first] & 1U;
    while (i < count && (resident[i] & 1U) == kind) i++;
    char* const stretch = pages + first * page;
    const std::size_t length = (i - first) * page;
    // A page that is not resident may have been swapped out with results of the last run.
    if (kind == 1 || !give_back(stretch, length)) clear(stretch, length);
  }
  clear(pages + count * page, size - ahead - count * page);
}
