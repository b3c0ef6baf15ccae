// Text of unknown character set brought into UTF-8. Record files do not say what their station and channel names are
// written in, so it is guessed from the bytes, and said.
#pragma once

#include <string>
#include <string_view>

namespace readers {

struct Utf8Text {
  std::string text;     ///< UTF-8; what the character set has no character for is U+FFFD
  std::string charset;  ///< what it was read as: "UTF-8" (plain ASCII too), "GBK", "Windows-1251", ...
  bool guessed = false;
};

/// `charset`: a name that iconv knows, read as such; empty: UTF-16 by its byte order mark, UTF-8 where the bytes are
/// that, otherwise the likeliest of GBK, Windows-1251, CP866 and Latin-1. Throws std::invalid_argument for a name that
/// iconv does not know.
Utf8Text to_utf8(std::string_view bytes, const std::string& charset = {});

/// A sentence on a guess, empty when nothing was guessed.
std::string note_on_guess(const Utf8Text& text);

}  // namespace readers
