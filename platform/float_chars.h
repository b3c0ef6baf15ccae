// Converts between double-precision numbers and their shortest text. These are std::from_chars and std::to_chars where
// the standard library has both for floating-point numbers.
//
// What is portable: the functions themselves. What is not: libc++ before version 14 has neither for floating-point
// numbers. There the text is read by fast_float and written by fmt, which give the same numbers and the same digits.
#pragma once

#include <charconv>

namespace platform {

#if defined(__cpp_lib_to_chars)

inline std::from_chars_result from_chars(const char* first, const char* last, double& value) {
  return std::from_chars(first, last, value);
}

inline std::to_chars_result to_chars(char* first, char* last, double value) {
  return std::to_chars(first, last, value);
}

inline std::to_chars_result to_scientific_chars(char* first, char* last, double value) {
  return std::to_chars(first, last, value, std::chars_format::scientific);
}

#else

/// Reads a number as std::from_chars does in the general format.
std::from_chars_result from_chars(const char* first, const char* last, double& value);

/// Writes the shortest text that reads as the same number; of two forms of the same length, the one without an
/// exponent.
std::to_chars_result to_chars(char* first, char* last, double value);

/// Writes the shortest digits that read as the same number, with an exponent of at least two digits.
std::to_chars_result to_scientific_chars(char* first, char* last, double value);

#endif

}  // namespace platform
