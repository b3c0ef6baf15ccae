// Reads the numbers of which tables consist, faster than for numbers of any form.
#pragma once

#include <cstddef>
#include <cstdint>

namespace readers {

/// Reads a number at the start of text that consists of digits, optionally with a minus sign and a decimal point.
/// Returns the position after the number, or null if the number is written in any other way; parse_number reads those.
/// With up to fifteen digits both the value of the digits and the power of ten are exact, so the quotient is rounded
/// only once and is the correctly rounded number.
inline const char* plain_number(const char* at, const char* end, double& number) {
  static constexpr double powers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                      1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  constexpr std::ptrdiff_t most_digits = 15;
  const auto is_digit = [](char c) { return static_cast<unsigned char>(c - '0') < 10; };
  const bool negative = at < end && *at == '-';
  if (negative) at++;
  const char* digits = at;
  std::uint64_t value = 0;
  for (; at < end && is_digit(*at); at++) value = 10 * value + static_cast<unsigned>(*at - '0');
  std::ptrdiff_t count = at - digits;
  std::ptrdiff_t decimals = 0;
  if (at < end && *at == '.') {
    const char* point = at;
    for (at++; at < end && is_digit(*at); at++) value = 10 * value + static_cast<unsigned>(*at - '0');
    decimals = at - point - 1;
    count += decimals;
  }
  if (count == 0 || count > most_digits) return nullptr;
  const auto whole = static_cast<double>(static_cast<std::int64_t>(value));
  const double size = decimals == 0 ? whole : whole / powers[decimals];
  number = negative ? -size : size;
  return at;
}

}  // namespace readers
