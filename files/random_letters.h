// Letters for names that nobody else has, for systems that do not find such names themselves.
#pragma once

#include <random>
#include <string>

namespace files {

/// How many names are tried before it is taken for an error that they exist.
inline constexpr int name_attempts = 100;

/// Returns six letters of one case, because names that differ only in case may be the same.
inline std::string random_letters() {
  static std::random_device source;
  std::uniform_int_distribution<int> letter('a', 'z');
  std::string letters;
  for (int i = 0; i < 6; i++) letters += static_cast<char>(letter(source));
  return letters;
}

}  // namespace files
