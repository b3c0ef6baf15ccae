#include "sagx/kernels.h"

#include <cstdlib>
#include <cstring>

#include "sagx/kernel_sets.h"

namespace sagx {

namespace {

#if defined(__x86_64__)

bool runs_avx2() {
  return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma");
}
bool runs_avx512() {
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") && runs_avx2();
}

const Kernels& fastest() {
  __builtin_cpu_init();
  if (runs_avx512()) return avx512::table;
  return runs_avx2() ? avx2::table : baseline::table;
}

#else

const Kernels& fastest() {
  return baseline::table;
}

#endif

#if defined(SAGX_SET_FROM_ENVIRONMENT)

/// In test builds DIPX_INSTRUCTION_SET names the set. One that the machine does not run would crash, so it must be
/// known to run: all slower than the fastest do.
const Kernels& chosen() {
  const char* name = std::getenv("DIPX_INSTRUCTION_SET");
  const Kernels& best = fastest();
  if (name == nullptr || std::strcmp(name, best.instruction_set) == 0) return best;
#if defined(__x86_64__)
  if (std::strcmp(name, "avx2") == 0 && runs_avx2()) return avx2::table;
#endif
  if (std::strcmp(name, "baseline") == 0) return baseline::table;
  std::abort();
}

#else

const Kernels& chosen() {
  return fastest();
}

#endif

}  // namespace

const Kernels& kernels() {
  static const Kernels& chosen_once = chosen();
  return chosen_once;
}

}  // namespace sagx
