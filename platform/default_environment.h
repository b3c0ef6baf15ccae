// Computes in the default floating-point environment, whatever the host has set, and then gives the host its own back.
//
// Some hosts enable traps, which turn the first inexact result or comparison with NaN into SIGFPE. Others set a
// rounding mode, or have denormal numbers flushed to zero, which changes the results. Compilers assume none of this.
//
// What is portable: the standard functions fegetenv and fesetenv, which save and restore everything where the C library
// knows the processor. What is not: FE_DFL_ENV does not have to undo what the standard does not know. glibc on x86-64
// stops flushing to zero but does not mask the trap on denormal operands, and all three calls together take about half
// a microsecond, most of it for the x87 unit. On x86-64 and AArch64 the registers are therefore set directly, and on
// x86-64 the C library is only called if the host has changed the x87 unit, which decides how printf rounds. On all
// other processors the C library does everything.
//
// The registers belong to the thread, and nothing is kept outside the stack, so this works after fork and in signal
// handlers. A handler that leaves the computation by longjmp has to restore the host's environment itself.
#pragma once

#include <cfenv>
#include <cstdint>
#include <type_traits>

#if defined(__x86_64__)
#include <xmmintrin.h>
#endif

namespace platform {

#if defined(__x86_64__)

/// Sets the default environment during its lifetime, and then the one that it found, with its flags.
class DefaultEnvironment {
 public:
  DefaultEnvironment() : sse_(_mm_getcsr()), is_x87_changed_(x87_control() != default_x87) {
    if (is_x87_changed_) {
      std::fegetenv(&environment_);
      std::fesetenv(FE_DFL_ENV);
    }
    _mm_setcsr(default_sse);
  }
  DefaultEnvironment(const DefaultEnvironment&) = delete;
  DefaultEnvironment& operator=(const DefaultEnvironment&) = delete;
  ~DefaultEnvironment() {
    if (is_x87_changed_) std::fesetenv(&environment_);
    _mm_setcsr(sse_);
  }

 private:
  static constexpr unsigned default_sse = 0x1F80;       // all traps masked, to nearest, denormals, no flags
  static constexpr std::uint16_t default_x87 = 0x037F;  // all traps masked, to nearest, extended precision

  static std::uint16_t x87_control() {
    std::uint16_t control = 0;
    asm volatile("fnstcw %0" : "=m"(control));
    return control;
  }

  unsigned sse_;
  bool is_x87_changed_;
  std::fenv_t environment_;
};

#elif defined(__aarch64__)

/// Sets the default environment during its lifetime, and then the one that it found, with its flags.
class DefaultEnvironment {
 public:
  DefaultEnvironment() {
    asm volatile("mrs %0, fpcr" : "=r"(control_));
    asm volatile("mrs %0, fpsr" : "=r"(flags_));
    // No traps, to nearest, denormals; the alternative half precision and the alternative handling of NaN are off.
    asm volatile("msr fpcr, %0" : : "r"(std::uint64_t{0}));
  }
  DefaultEnvironment(const DefaultEnvironment&) = delete;
  DefaultEnvironment& operator=(const DefaultEnvironment&) = delete;
  ~DefaultEnvironment() {
    asm volatile("msr fpsr, %0" : : "r"(flags_));
    asm volatile("msr fpcr, %0" : : "r"(control_));
  }

 private:
  std::uint64_t control_ = 0;
  std::uint64_t flags_ = 0;
};

#else

/// Sets the default environment during its lifetime, and then the one that it found, with its flags.
class DefaultEnvironment {
 public:
  DefaultEnvironment() {
    std::fegetenv(&environment_);
    std::fesetenv(FE_DFL_ENV);
  }
  DefaultEnvironment(const DefaultEnvironment&) = delete;
  DefaultEnvironment& operator=(const DefaultEnvironment&) = delete;
  ~DefaultEnvironment() { std::fesetenv(&environment_); }

 private:
  std::fenv_t environment_;
};

#endif

/// Runs `body`, which has no parameters, in the default environment and returns its result. Exceptions pass through.
template <typename Body>
std::invoke_result_t<Body&> in_default_environment(Body body) {
  const DefaultEnvironment environment;
  // The compiler does not know that arithmetic depends on the environment and might move it across the changes. It
  // cannot move what a function does that it does not know, and reading the address from a volatile hides the function.
  std::invoke_result_t<Body&> (*volatile run)(Body&) = [](Body& hidden) { return hidden(); };
  return run(body);
}

}  // namespace platform
