#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

#include "platform/pages.h"

namespace platform {

std::size_t page_size() {
  static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return size;
}

char* new_pages(std::size_t bytes) {
  void* const room = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return room == MAP_FAILED ? nullptr : static_cast<char*>(room);
}

#if defined(__linux__)

/// The pages keep their content under other addresses, so the bytes are never held twice.
char* larger_pages(char* pages, std::size_t bytes, std::size_t /*used*/, std::size_t larger) {
  void* const room = mremap(pages, bytes, larger, MREMAP_MAYMOVE);
  return room == MAP_FAILED ? nullptr : static_cast<char*>(room);
}

#else

char* larger_pages(char* pages, std::size_t bytes, std::size_t used, std::size_t larger) {
  char* const room = new_pages(larger);
  if (room == nullptr) return nullptr;
  std::memcpy(room, pages, used);
  munmap(pages, bytes);
  return room;
}

#endif

bool give_back_pages(char* pages, std::size_t given_back, std::size_t end) {
  return munmap(pages + given_back, end - given_back) == 0;
}

void release_pages(char* pages, std::size_t given_back, std::size_t bytes) {
  if (given_back < bytes) munmap(pages + given_back, bytes - given_back);
}

}  // namespace platform
