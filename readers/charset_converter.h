// Converts bytes of a named character set to UTF-8, with what the system has for it.
#pragma once

#include <memory>
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

}  // namespace readers
