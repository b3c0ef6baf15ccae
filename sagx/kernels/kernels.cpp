#include "sagx/kernels/kernels.h"

#include <cstdlib>
#include <cstring>
#include <iterator>

#include "sagx/kernels/kernel_sets.h"

namespace sagx {

namespace {

struct KernelSet {
  const Kernels& kernels;
  bool (*runs)();
};

/// Ordered from the slowest to the fastest; a machine that can run one of them can run those before it.
constexpr KernelSet sets[] = {
    {baseline::table, [] { return true; }},
#if defined(__x86_64__)
    {avx2::table, [] { return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"); }},
    {avx512::table, [] { return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq"); }},
#endif
};

#if defined(SAGX_SET_FROM_ENVIRONMENT)

/// In test builds, DIPX_INSTRUCTION_SET names the fastest set to use.
bool is_last_wanted(const Kernels& kernels) {
  const char* name = std::getenv("DIPX_INSTRUCTION_SET");
  return name != nullptr && std::strcmp(name, kernels.instruction_set) == 0;
}

#else

bool is_last_wanted(const Kernels& /*kernels*/) {
  return false;
}

#endif

int count_runnable() {
#if defined(__x86_64__)
  __builtin_cpu_init();
#endif
  int count = 0;
  while (count < static_cast<int>(std::size(sets)) && sets[count].runs()) {
    if (is_last_wanted(sets[count++].kernels)) break;
  }
  return count;
}

}  // namespace

const Kernels* runnable_kernels(int index) {
  static const int count = count_runnable();
  return index < count ? &sets[count - 1 - index].kernels : nullptr;
}

const Kernels& kernels() {
  static const Kernels& fastest = *runnable_kernels(0);
  return fastest;
}

}  // namespace sagx
