// Runs the library in a process whose allocator fails at each of its allocations in turn. This includes allocations
// that the C library makes for it, such as the buffers of files that it opens.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>

#include "dipx_dll.h"
#include "sagx/dipx_lib.h"
#include "sagx/dq_dipx.h"
#include "sagx/matlab_svd.h"
#include "sagx/signal_acquisition.h"
#include "tests/core/printed_lines.h"
#include "tests/core/waveforms.h"
#include "tests/core/working_folder.h"

namespace {

struct {
  bool watching = false;
  int until_failure = 0;  ///< number of allocations until one fails; 0: none fails
  int allocations = 0;
  long alive = 0;  ///< number of blocks that the library has allocated and not yet freed
} allocator;

/// Returns whether the requested allocation is to fail.
bool fails() {
  if (!allocator.watching) return false;
  allocator.allocations++;
  if (allocator.until_failure == 0 || allocator.until_failure-- > 1) return false;
  errno = ENOMEM;
  return true;
}

void* counted(void* block) {
  if (block != nullptr && allocator.watching) allocator.alive++;
  return block;
}

}  // namespace

// The library must see these functions too, whatever else of this program is hidden.
#pragma GCC visibility push(default)
extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);

void* malloc(std::size_t size) {
  return fails() ? nullptr : counted(__libc_malloc(size));
}
void* calloc(std::size_t count, std::size_t size) {
  return fails() ? nullptr : counted(__libc_calloc(count, size));
}
void* realloc(void* block, std::size_t size) {
  if (fails()) return nullptr;
  void* const moved = __libc_realloc(block, size);
  if (block == nullptr) return counted(moved);
  return moved;
}
void free(void* block) {
  if (block != nullptr && allocator.watching) allocator.alive--;
  __libc_free(block);
}

}  // extern "C"
#pragma GCC visibility pop

namespace {

struct Watched {
  int allocations;
  tests::Printed printed;
};

/// Runs `action` while the `failing`-th allocation fails; 0 lets every allocation succeed.
template <typename Action>
Watched watched(int failing, Action action) {
  Watched result{};
  result.printed = tests::printed_by([&] {
    allocator.allocations = 0;
    allocator.until_failure = failing;
    allocator.watching = true;
    action();
    allocator.watching = false;
  });
  result.allocations = allocator.allocations;
  return result;
}

class FailingAllocator : public testing::Test {
 protected:
  FailingAllocator() {
    constexpr int smp = 32;
    const auto wave = tests::LevelRecord(smp, 60 * smp, 220).set(0, 20 * smp, 26 * smp, 100);
    std::copy(wave.phases[0].begin(), wave.phases[0].end(), record->smp_va);
    std::copy(wave.phases[1].begin(), wave.phases[1].end(), record->smp_vb);
    std::copy(wave.phases[2].begin(), wave.phases[2].end(), record->smp_vc);
    record->smp_rate = smp;
    record->smp_len = wave.samples();
    free_all();
  }
  ~FailingAllocator() override { free_all(); }

  static void free_all() {
    watched(0, [] { sagx_free_all(); });
  }

  tests::WorkingFolder folder;
  std::unique_ptr<dipx_data_struct> record = std::make_unique<dipx_data_struct>();
};

TEST_F(FailingAllocator, EndsARunWithItsLineWithoutALeakAndWithoutHarmToTheNext) {
  const int needed = watched(0, [&] { dipx_fun(record.get()); }).allocations;
  ASSERT_GE(needed, 3) << "these allocations are the two working records and the report's file";
  const auto whole = std::make_unique<dipx_data_struct>(*record);
  ASSERT_EQ(whole->evt_num, 1);
  const std::string lines[] = {
      "[ALLOC][FATAL] dq_data_buf calloc(60580460) failed: errno=12, Cannot allocate memory\r\n",
      "[ALLOC][FATAL] dq_rms_buf calloc(10752276) failed: errno=12, Cannot allocate memory\r\n"};
  for (int failing = 1; failing <= needed; failing++) {
    SCOPED_TRACE(failing);
    free_all();
    std::filesystem::remove("dipx_result.txt");
    std::memset(record->evt_buf, 0, sizeof record->evt_buf);
    const long before = allocator.alive;
    const auto run = watched(failing, [&] { dipx_fun(record.get()); });
    if (failing <= 2) {
      EXPECT_EQ(run.printed.err, lines[failing - 1]);
      EXPECT_EQ(record->evt_num, 0);
      EXPECT_EQ(dq_data_buf, nullptr);
      EXPECT_EQ(dq_rms_buf, nullptr);
      EXPECT_EQ(record->evt_buf[0].hold_time_dq, 0.0F);
    } else {
      EXPECT_EQ(run.printed.err, "") << "a report that cannot be written is omitted silently";
      EXPECT_EQ(std::memcmp(record->evt_buf, whole->evt_buf, sizeof record->evt_buf), 0);
    }
    free_all();
    EXPECT_EQ(allocator.alive, before);
    watched(0, [&] { dipx_fun(record.get()); });
    EXPECT_EQ(std::memcmp(record.get(), whole.get(), sizeof *record), 0);
  }
}

TEST_F(FailingAllocator, LeavesNoHalfOfABufferStyleSetUp) {
  for (const int failing : {1, 2}) {
    const long before = allocator.alive;
    const auto run = watched(
        failing, [&] { sagx_init_from_samples(record->smp_va, record->smp_vb, record->smp_vc, 32, record->smp_len); });
    EXPECT_TRUE(run.printed.err.starts_with("[FATAL] sagx_init_from_samples: alloc failed dq_data_buf="));
    EXPECT_EQ(dq_data_buf, nullptr);
    EXPECT_EQ(dq_rms_buf, nullptr);
    EXPECT_EQ(allocator.alive, before);
  }
}

TEST_F(FailingAllocator, LeavesMatricesAsTheyWere) {
  float values[3][3] = {{0, 0, 0}, {0, 1, 2}, {0, 3, 4}};
  float right[3][3] = {};
  float* a[] = {values[0], values[1], values[2]};
  float* v[] = {right[0], right[1], right[2]};
  float w[3] = {7, 7, 7};
  const long before = allocator.alive;
  EXPECT_EQ(watched(1, [&] { svdcmp(a, 2, 2, w, v); }).allocations, 1);
  EXPECT_EQ(values[1][1], 1.0F);
  EXPECT_EQ(w[1], 7.0F);
  EXPECT_EQ(right[1][1], 0.0F);
  watched(1, [] { EXPECT_EQ(dvector(1, 10), nullptr); });
  for (const int failing : {1, 2}) {
    watched(failing, [] { EXPECT_EQ(dmatrix(1, 3, 1, 3), nullptr); });
  }
  EXPECT_EQ(allocator.alive, before);
}

TEST_F(FailingAllocator, SilencesLogsThatCannotBeOpened) {
  const auto whole = std::make_unique<dq_dipx_rms>();
  dq_dipx_struct& dip = new_dipx_buf[0];
  const long before = allocator.alive;
  const auto log = watched(1, [&] { EXPECT_EQ(seg_check_hh(whole.get(), nullptr, &dip, 0, 1), 1); });
  EXPECT_GE(log.allocations, 1);
  char name[] = "x.txt";
  watched(1, [&] { print_to_test(name, 3); });
  EXPECT_FALSE(std::filesystem::exists("x.txt"));
  EXPECT_EQ(allocator.alive, before);
}

}  // namespace
