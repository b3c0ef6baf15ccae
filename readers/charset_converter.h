// Converts bytes of a named character set to UTF-8, with what the system has for it.
#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

namespace readers {

class CharsetConverter {
 public:
  /// Throws std::invalid_argument if the system does not know the character set.
  explicit CharsetConverter(const std::string& charset);
  CharsetConverter(const CharsetConverter&) = delete;
  CharsetConverter& operator=(const CharsetConverter&) = delete;
  ~CharsetConverter();

  /// U+FFFD replaces each byte that does not belong to a character.
  std::string convert(std::string_view bytes);

 private:
  struct System;
  std::unique_ptr<System> system_;
};

/// Returns the error that names a character set which the system does not know, and what to use in its place.
std::invalid_argument unknown_charset(const std::string& charset);

}  // namespace readers
