#include <iconv.h>

#include <array>
#include <cerrno>
#include <cstddef>

#include "readers/charset_converter.h"
#include "readers/text.h"

namespace readers {

struct CharsetConverter::System {
  explicit System(const std::string& charset) : handle(iconv_open("UTF-8", charset.c_str())) {
    // iconv defines its error value only as a number that is cast to the handle type.
    if (handle == reinterpret_cast<iconv_t>(-1)) {  // NOLINT(performance-no-int-to-ptr)
      throw unknown_charset(charset);
    }
  }
  System(const System&) = delete;
  System& operator=(const System&) = delete;
  ~System() { iconv_close(handle); }

  iconv_t handle;
};

CharsetConverter::CharsetConverter(const std::string& charset) : system_(std::make_unique<System>(charset)) {}

CharsetConverter::~CharsetConverter() = default;

std::string CharsetConverter::convert(std::string_view bytes) {
  std::string text;
  std::array<char, 4096> block;
  char* in = const_cast<char*>(bytes.data());  // iconv only reads these bytes
  std::size_t left = bytes.size();
  while (left > 0) {
    char* out = block.data();
    std::size_t room = block.size();
    const bool failed = iconv(system_->handle, &in, &left, &out, &room) == static_cast<std::size_t>(-1);
    const int error = errno;
    text.append(block.data(), block.size() - room);
    if (!failed || error == E2BIG) continue;
    text += replacement_character;
    in++;
    left--;
  }
  return text;
}

}  // namespace readers
