// Fills memory with zeros without making it resident.
//
// What is portable: overwriting, which every system gets unless it is known to do better. What is not: POSIX knows
// neither mincore nor that pages given up by madvise read as zeros; on other systems than Linux MADV_DONTNEED is advice
// about speed alone, which leaves the content as it is.
#pragma once

#include <cstddef>

namespace platform {

/// Makes `length` bytes from `begin` on zero. On Linux, pages that nobody has touched yet stay out of memory.
void fill_with_zeros(char* begin, std::size_t length);

}  // namespace platform
