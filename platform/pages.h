// Memory in whole pages, which can be enlarged and given back in parts.
//
// What is portable: POSIX has mmap and munmap, also of parts, and all its systems have anonymous memory. What is not:
// only Linux can enlarge the memory without copying it. Windows releases memory only as a whole, but takes the storage
// behind single pages back.
#pragma once

#include <cstddef>

namespace platform {

std::size_t page_size();

/// Returns new pages, which become resident when they are filled, or null if there is no memory. `bytes` is a multiple
/// of the page size.
char* new_pages(std::size_t bytes);

/// Returns larger pages with the first `used` bytes of the given ones, which are released; or null, and the given ones
/// stay as they are.
char* larger_pages(char* pages, std::size_t bytes, std::size_t used, std::size_t larger);

/// Gives back the first pages. `given_back` says how many bytes were given back before. Returns false if the system
/// does not take them.
bool give_back_pages(char* pages, std::size_t given_back, std::size_t end);

/// Releases everything that was not given back.
void release_pages(char* pages, std::size_t given_back, std::size_t bytes);

}  // namespace platform
