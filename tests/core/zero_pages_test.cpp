#include "platform/zero_pages.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "tests/core/faults.h"

namespace {

constexpr std::size_t pages = 5000;  // more than are looked at in one go

std::size_t page_size() {
  return static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
}

/// Pages of the system that nobody has touched.
class Pages {
 public:
  Pages() {
    void* const begin = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (begin == MAP_FAILED) std::abort();
    // A page stays a page, or one touched byte would make hundreds of them resident.
    madvise(begin, size, MADV_NOHUGEPAGE);
    bytes = static_cast<char*>(begin);
  }
  Pages(const Pages&) = delete;
  Pages& operator=(const Pages&) = delete;
  ~Pages() { munmap(bytes, size); }

  [[nodiscard]] std::size_t resident() const {
    std::vector<unsigned char> states(pages);
    if (mincore(bytes, size, states.data()) != 0) return pages;
    return static_cast<std::size_t>(std::count_if(states.begin(), states.end(), [](auto state) { return state & 1U; }));
  }
  [[nodiscard]] bool are_zero() const {
    return std::all_of(bytes, bytes + size, [](char byte) { return byte == 0; });
  }

  std::size_t size = pages * page_size();
  char* bytes;
};

TEST(ZeroPages, FillsWhatWasTouchedAndLeavesTheRestOutOfMemory) {
  Pages made;
  for (const std::size_t page : {0UL, 7UL, 8UL, 4095UL, 4096UL, pages - 1}) made.bytes[page * page_size() + 5] = 'x';
  const std::size_t before = made.resident();
  platform::fill_with_zeros(made.bytes, made.size);
  EXPECT_LE(made.resident(), before);
  EXPECT_TRUE(made.are_zero());
}

TEST(ZeroPages, FillsNothingButTheGivenBytes) {
  for (const std::size_t length : {0UL, 1UL, 100UL, page_size(), page_size() + 1, 3 * page_size() - 20}) {
    for (const std::size_t begin : {page_size(), page_size() + 1, 2 * page_size() - 1}) {
      Pages made;
      std::memset(made.bytes, 'x', 10 * page_size());
      platform::fill_with_zeros(made.bytes + begin, length);
      EXPECT_EQ(static_cast<std::size_t>(std::count(made.bytes, made.bytes + 10 * page_size(), 'x')),
                10 * page_size() - length);
      EXPECT_TRUE(std::all_of(made.bytes + begin, made.bytes + begin + length, [](char byte) { return byte == 0; }));
    }
  }
}

TEST(ZeroPages, OverwritesWhereTheSystemKeepsContent) {
  // What the system does is tried out once per process, so this needs a process of its own.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const tests::KeptMemory kept;
        Pages made;
        std::memset(made.bytes, 'x', made.size);
        platform::fill_with_zeros(made.bytes + 3, made.size - 3);
        std::memset(made.bytes, 0, 3);
        std::exit(made.are_zero() ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(ZeroPages, OverwritesWhereTheSystemTakesNothingBack) {
  Pages made;
  std::memset(made.bytes, 'x', made.size);
  const tests::LockedMemory locked;
  platform::fill_with_zeros(made.bytes, made.size);
  EXPECT_TRUE(made.are_zero());
}

}  // namespace
