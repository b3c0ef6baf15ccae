// Converts text of unknown character set to UTF-8. Record files do not state the character set of their station and
// channel names, so it is guessed from the bytes, and the guess is reported.
#pragma once

#include <string>
#include <string_view>

namespace readers {

struct Utf8Text {
  std::string text;     ///< UTF-8; U+FFFD replaces what the character set has no character for
  std::string charset;  ///< the character set used: "UTF-8" (also for plain ASCII), "GBK", "Windows-1251", ...
  bool guessed = false;
};

/// Converts `bytes` to UTF-8. If `charset` is given, it is a name that the system knows, and the bytes are read as
/// that. If it is empty, the text is UTF-16 if it has such a byte order mark, UTF-8 if the bytes are valid UTF-8, and
/// otherwise the likeliest of GBK, Windows-1251, CP866 and Latin-1. Throws std::invalid_argument for a name that the
/// system does not know.
Utf8Text to_utf8(std::string_view bytes, const std::string& charset = {});

/// Returns whether to_utf8 leaves the bytes as they are.
bool is_utf8_already(std::string_view bytes, const std::string& charset = {});

/// Returns a sentence that reports the guess; it is empty when nothing was guessed.
std::string note_on_guess(const Utf8Text& text);

}  // namespace readers
