// Gives the standard library of emscripten 3.1.6 (libc++ 13) what C++20 has and it lacks. The build includes this file
// before the sources that need it. A newer library defines the macro, and nothing is added to it.
#pragma once

#include <bit>

#if !defined(__cpp_lib_bit_cast)

namespace std {

template <typename To, typename From>
constexpr To bit_cast(const From& from) noexcept {
  return __builtin_bit_cast(To, from);
}

}  // namespace std

#endif
