// Floating-point environments that hosts set, for tests that results do not depend on them.
#pragma once

#include <cfenv>
#include <cstdint>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace tests {

struct HostEnvironment {
  std::string name;
  void (*set)();
};

inline std::ostream& operator<<(std::ostream& out, const HostEnvironment& environment) {
  return out << environment.name;
}

#if defined(__x86_64__)

inline std::uint16_t x87_control() {
  std::uint16_t control = 0;
  asm volatile("fnstcw %0" : "=m"(control));
  return control;
}

inline void set_x87_control(std::uint16_t control) {
  asm volatile("fldcw %0" : : "m"(control));
}

inline std::vector<HostEnvironment> of_the_processor() {
  return {{"FlushedToZero", [] { _mm_setcsr(_mm_getcsr() | 0x8040U); }},
          {"SseRoundsUp", [] { _mm_setcsr(_mm_getcsr() | 0x4000U); }},
          {"TrapsEvenOnDenormals", [] { _mm_setcsr(_mm_getcsr() & ~0x1F80U); }},
          {"FlagsAlone", [] { _mm_setcsr(_mm_getcsr() | 0x3FU); }},
          {"X87RoundsUpInSingle", [] { set_x87_control(0x087F); }}};
}

/// What the processor's registers hold: the controls and flags of both units.
inline std::tuple<unsigned, unsigned> processor_state() {
  return {_mm_getcsr(), x87_control()};
}

#elif defined(__aarch64__)

inline std::vector<HostEnvironment> of_the_processor() {
  return {{"FlushedToZero", [] { asm volatile("msr fpcr, %0"
                                              :
                                              : "r"(std::uint64_t{1} << 24)); }},
          {"DefaultNan", [] { asm volatile("msr fpcr, %0"
                                           :
                                           : "r"(std::uint64_t{1} << 25)); }},
          {"FlagsAlone", [] {
             asm volatile("msr fpsr, %0" : : "r"(std::uint64_t{0x1F}));
           }}};
}

inline std::tuple<std::uint64_t, std::uint64_t> processor_state() {
  std::uint64_t control = 0;
  std::uint64_t flags = 0;
  asm volatile("mrs %0, fpcr" : "=r"(control));
  asm volatile("mrs %0, fpsr" : "=r"(flags));
  return {control, flags};
}

#else

inline std::vector<HostEnvironment> of_the_processor() {
  return {};
}
inline int processor_state() {
  return 0;
}

#endif

/// All environments that the tests set. Processors without traps ignore the request for them.
inline std::vector<HostEnvironment> host_environments() {
  std::vector<HostEnvironment> all = {{"Default", [] {}},
                                      {"Upward", [] { std::fesetround(FE_UPWARD); }},
                                      {"Downward", [] { std::fesetround(FE_DOWNWARD); }},
                                      {"TowardZero", [] { std::fesetround(FE_TOWARDZERO); }},
                                      {"Traps", [] { feenableexcept(FE_ALL_EXCEPT); }},
                                      {"TrapsAndUpward", [] {
                                         feenableexcept(FE_ALL_EXCEPT);
                                         std::fesetround(FE_UPWARD);
                                       }}};
  for (const HostEnvironment& environment : of_the_processor()) all.push_back(environment);
  return all;
}

/// Runs `action` in an environment and returns whether the environment was the same afterwards, with its flags.
template <typename Action>
bool keeps(const HostEnvironment& environment, Action action) {
  std::fenv_t before_test;
  std::fegetenv(&before_test);
  // The x87 unit would trap for a flag that an earlier test has left as soon as its traps are switched on.
  std::feclearexcept(FE_ALL_EXCEPT);
  environment.set();
  const auto state = std::tuple(processor_state(), std::fegetround(), fegetexcept(), std::fetestexcept(FE_ALL_EXCEPT));
  action();
  const auto after = std::tuple(processor_state(), std::fegetround(), fegetexcept(), std::fetestexcept(FE_ALL_EXCEPT));
  std::fesetenv(&before_test);
#if defined(__x86_64__)
  _mm_setcsr(_MM_MASK_MASK);
#endif
  return state == after;
}

}  // namespace tests
