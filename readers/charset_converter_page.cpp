#include <cstddef>

#include "readers/charset_converter.h"

// The page decodes text with what the browser has for it (web/page/charset.js), because tables of characters of our own
// would be a fifth of the module.
#define DIPX_IMPORT(name) extern "C" __attribute__((import_module("env"), import_name(#name)))

/// Returns whether the browser knows a character set.
DIPX_IMPORT(dipx_knows_charset) bool dipx_knows_charset(const char* charset, std::size_t length);
/// Decodes bytes in a character set that is known, keeps the text as UTF-8, and returns its size.
DIPX_IMPORT(dipx_decode)
std::size_t dipx_decode(const char* charset, std::size_t length, const char* bytes, std::size_t size);
/// Copies the text that was decoded last.
DIPX_IMPORT(dipx_take_decoded) void dipx_take_decoded(char* text);

namespace readers {

struct CharsetConverter::System {
  std::string charset;
};

CharsetConverter::CharsetConverter(const std::string& charset) : system_(std::make_unique<System>(System{charset})) {
  if (!dipx_knows_charset(charset.data(), charset.size())) {
    throw unknown_charset(charset);
  }
}

CharsetConverter::~CharsetConverter() = default;

std::string CharsetConverter::convert(std::string_view bytes) {
  const std::string& charset = system_->charset;
  std::string text(dipx_decode(charset.data(), charset.size(), bytes.data(), bytes.size()), '\0');
  dipx_take_decoded(text.data());
  return text;
}

}  // namespace readers
