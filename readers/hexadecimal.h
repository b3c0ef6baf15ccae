// Writes bytes as hexadecimal digits.
#pragma once

#include <span>
#include <string>

namespace readers {

/// Returns two digits in small letters for each byte.
inline std::string hexadecimal(std::span<const unsigned char> bytes) {
  constexpr const char* digits = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : bytes) {
    text += digits[byte >> 4U];
    text += digits[byte & 15U];
  }
  return text;
}

}  // namespace readers
