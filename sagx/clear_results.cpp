// Results are nine megabytes, of which most runs write little or nothing. Whole pages are given back to the system,
// which hands out zero ones when they are next touched: neither written nor read, and those of no dip take no memory.
#include "sagx/clear_results.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "sagx/dq_dipx.h"

void sagx::clear_results() {
  auto* const begin = reinterpret_cast<char*>(new_dipx_buf);
  constexpr std::size_t size = sizeof new_dipx_buf;
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t ahead = (page - reinterpret_cast<std::uintptr_t>(begin) % page) % page;
  const std::size_t whole_pages = (size - ahead) / page * page;
  // Memory that the host has locked is not taken back.
  if (madvise(begin + ahead, whole_pages, MADV_DONTNEED) != 0) {
    std::memset(begin, 0, size);
    return;
  }
  std::memset(begin, 0, ahead);
  std::memset(begin + ahead + whole_pages, 0, size - ahead - whole_pages);
}
