#include <windows.h>

#include <cstring>

#include "platform/pages.h"

namespace platform {

std::size_t page_size() {
  static const auto size = [] {
    SYSTEM_INFO system{};
    GetSystemInfo(&system);
    return static_cast<std::size_t>(system.dwPageSize);
  }();
  return size;
}

char* new_pages(std::size_t bytes) {
  return static_cast<char*>(VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
}

char* larger_pages(char* pages, std::size_t bytes, std::size_t used, std::size_t larger) {
  char* const room = new_pages(larger);
  if (room == nullptr) return nullptr;
  std::memcpy(room, pages, used);
  release_pages(pages, 0, bytes);
  return room;
}

bool give_back_pages(char* pages, std::size_t given_back, std::size_t end) {
  return VirtualFree(pages + given_back, end - given_back, MEM_DECOMMIT) != 0;
}

/// The addresses were reserved together, and are released together, whether or not there is storage behind them.
void release_pages(char* pages, std::size_t /*given_back*/, std::size_t /*bytes*/) {
  VirtualFree(pages, 0, MEM_RELEASE);
}

}  // namespace platform
