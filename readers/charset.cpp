#include "readers/charset.h"

#include <cstddef>
#include <stdexcept>

#include "readers/charset_converter.h"
#include "readers/text.h"

namespace readers {
namespace {

bool in(unsigned byte, unsigned first, unsigned last) {
  return byte >= first && byte <= last;
}

bool is_ascii_letter(unsigned byte) {
  return in(byte | 0x20U, 'a', 'z');
}

/// Properties that distinguish the 8-bit character sets: which bytes occur, and next to which others.
struct Traits {
  double high = 0;           ///< number of bytes above ASCII
  double cyrillic_1251 = 0;  ///< how many of these are letters in Windows-1251
  double cyrillic_866 = 0;   ///< how many of these are letters in CP866
  double lone = 0;           ///< how many are printable in Latin-1, and a sign or alone among ASCII letters
  double pairs = 0;          ///< number of GBK characters, counted up to the first byte that is not part of one
  double common_pairs = 0;   ///< how many of these are everyday characters
  double below_letters = 0;  ///< bytes that are rare in Cyrillic text in Windows-1251 and frequent in Chinese text
  bool pairs_only = true;
};

Traits traits_of(std::string_view bytes) {
  Traits traits;
  const auto byte = [&](std::size_t i) { return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0U; };
  for (std::size_t i = 0; i < bytes.size(); i++) {
    const unsigned b = byte(i);
    if (b < 0x80) continue;
    traits.high++;
    if (b >= 0xC0 || b == 0xA8 || b == 0xB8 || b == 0xB9) traits.cyrillic_1251++;
    if (in(b, 0x80, 0xAF) || in(b, 0xE0, 0xF1) || b == 0xFC) traits.cyrillic_866++;
    if (in(b, 0xA1, 0xBF)) traits.below_letters++;
    const unsigned before = i == 0 ? 0 : byte(i - 1);
    const bool alone = before < 0x80 && byte(i + 1) < 0x80;
    const bool in_word = is_ascii_letter(before) || is_ascii_letter(byte(i + 1));
    if (alone && b >= 0xA0 && (in_word || in(b, 0xB0, 0xB5))) traits.lone++;
  }
  for (std::size_t i = 0; i < bytes.size(); i++) {
    const unsigned lead = byte(i);
    if (lead < 0x80) continue;
    const unsigned trail = byte(i + 1);
    const bool pair = in(lead, 0x81, 0xFE) && in(trail, 0x40, 0xFE) && trail != 0x7F;
    if (!pair) {
      traits.pairs_only = false;
      break;
    }
    traits.pairs++;
    if (trail >= 0xA1 && (in(lead, 0xA1, 0xA3) || in(lead, 0xB0, 0xD7))) traits.common_pairs++;
    i++;
  }
  return traits;
}

const char* guess(std::string_view bytes) {
  const Traits traits = traits_of(bytes);
  // Most Chinese text consists of the 3755 everyday characters; in Cyrillic text the same bytes are rare combinations.
  if (traits.pairs_only && traits.common_pairs >= 0.8 * traits.pairs && traits.below_letters >= 0.15 * traits.high) {
    return "GBK";
  }
  if (traits.lone > 0.5 * traits.high) return "Latin-1";
  if (traits.cyrillic_866 > traits.cyrillic_1251) return "CP866";
  return "Windows-1251";
}

/// Returns the name under which a guessed character set is converted; for some it is that of a larger set that contains
/// it.
std::string converted_name(const std::string& charset) {
  if (charset == "GBK") return "GB18030";
  if (charset == "Latin-1") return "WINDOWS-1252";
  return charset;
}

}  // namespace

Utf8Text to_utf8(std::string_view bytes, const std::string& charset) {
  if (!charset.empty()) return {CharsetConverter(converted_name(charset)).convert(bytes), charset, false};
  if (bytes.starts_with("\xFF\xFE")) return {CharsetConverter("UTF-16LE").convert(bytes.substr(2)), "UTF-16", false};
  if (bytes.starts_with("\xFE\xFF")) return {CharsetConverter("UTF-16BE").convert(bytes.substr(2)), "UTF-16", false};
  if (is_utf8(bytes)) return {std::string(bytes), "UTF-8", false};
  const std::string guessed = guess(bytes);
  return {CharsetConverter(converted_name(guessed)).convert(bytes), guessed, true};
}

std::invalid_argument unknown_charset(const std::string& charset) {
  return std::invalid_argument("the character set " + cited(charset) +
                               " is not known; use a name such as UTF-8, GBK or Windows-1251");
}

bool is_utf8_already(std::string_view bytes, const std::string& charset) {
  return charset.empty() && !bytes.starts_with("\xFF\xFE") && !bytes.starts_with("\xFE\xFF") && is_utf8(bytes);
}

std::string note_on_guess(const Utf8Text& text) {
  if (!text.guessed) return {};
  return "The text is not UTF-8; it was read as " + text.charset + " (override with --charset).";
}

}  // namespace readers
