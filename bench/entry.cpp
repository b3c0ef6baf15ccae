// What each call of the embedded library pays to compute in the default floating-point environment, whatever the host
// has set: the registers are set directly, next to the same by the C library.
#include <cfenv>

#include "bench/comparison.h"
#include "bench/measures.h"
#include "platform/default_environment.h"

namespace bench {

namespace {

constexpr int calls = 1000;
volatile int computed = 0;

void compute() {
  computed = computed + 1;
}

void by_the_c_library() {
  std::fenv_t host;
  std::fegetenv(&host);
  std::fesetenv(FE_DFL_ENV);
  compute();
  std::fesetenv(&host);
}

template <typename Call>
void repeat(Call call) {
  for (int i = 0; i < calls; i++) call();
}

}  // namespace

void add_entry() {
  const char* const measure = "entry into the library (per call)";
  add(measure, plain_form, calls, [] { repeat(by_the_c_library); });
  add(measure, "registers", calls, [] { repeat([] { platform::in_default_environment(compute); }); });
  add(measure, "nothing", calls, [] { repeat(compute); });
}

}  // namespace bench
