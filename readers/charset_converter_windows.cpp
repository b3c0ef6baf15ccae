#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <optional>

#include "readers/charset_converter.h"
#include "readers/text.h"

namespace readers {

namespace {

// Windows has no numbers of code pages for these; it stores its own text as the first of them.
constexpr UINT utf16_little = 1200;
constexpr UINT utf16_big = 1201;
constexpr UINT gbk = 936;
constexpr UINT gb18030 = 54936;

std::string spelled_alike(const std::string& name) {
  std::string letters;
  for (const char c : lower_case(name)) {
    if (c != '-' && c != '_' && c != ' ') letters += c;
  }
  return letters;
}

/// Returns the code page of a character set; 0 if it is not known. Names that end in the number of a code page have one
/// of these words before it.
UINT code_page_of(const std::string& charset) {
  static const std::map<std::string, UINT> named = {
      {"ascii", 20127},          {"usascii", 20127},     {"utf8", CP_UTF8}, {"utf16", utf16_little},
      {"utf16le", utf16_little}, {"utf16be", utf16_big}, {"latin1", 28591}, {"latin2", 28592},
      {"koi8r", 20866},          {"koi8u", 21866},       {"gb2312", gbk},   {"gbk", gbk},
      {"gb18030", gb18030},      {"big5", 950},          {"shiftjis", 932}, {"sjis", 932},
      {"eucjp", 51932},          {"euckr", 949},         {"euccn", gbk}};
  const std::string name = spelled_alike(charset);
  if (const auto found = named.find(name); found != named.end()) return found->second;
  constexpr unsigned iso_8859 = 28590;
  for (const auto& [word, first] : {std::pair("windows", 0U), {"cp", 0U}, {"ibm", 0U}, {"iso8859", iso_8859}}) {
    const std::string prefix = word;
    if (!name.starts_with(prefix)) continue;
    const auto number = parse_count(name.substr(prefix.size()));
    constexpr std::size_t largest_page = 65535;
    constexpr std::size_t largest_part = 16;
    if (number && *number > 0 && *number <= (first == 0 ? largest_page : largest_part)) {
      return first + static_cast<UINT>(*number);
    }
  }
  return 0;
}

int length(std::string_view bytes) {
  return static_cast<int>(bytes.size());
}

/// Returns what bytes are in the system's own form; nothing if some of them do not belong to a character.
std::optional<std::wstring> wide(UINT page, std::string_view bytes) {
  const int count = MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes.data(), length(bytes), nullptr, 0);
  if (count <= 0) return std::nullopt;
  std::wstring text(static_cast<std::size_t>(count), L'\0');
  MultiByteToWideChar(page, MB_ERR_INVALID_CHARS, bytes.data(), length(bytes), text.data(), count);
  return text;
}

/// Half a pair of code units becomes U+FFFD.
std::string utf8(std::wstring_view text) {
  const auto units = static_cast<int>(text.size());
  const int count = WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(std::max(count, 0)), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text.data(), units, bytes.data(), count, nullptr, nullptr);
  return bytes;
}

std::string from_utf16(std::string_view bytes, bool big) {
  std::wstring text;
  const bool marked_big = bytes.starts_with("\xFE\xFF");
  if (marked_big || bytes.starts_with("\xFF\xFE")) {
    big = marked_big;
    bytes.remove_prefix(2);
  }
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto first = static_cast<unsigned char>(bytes[i]);
    const auto second = static_cast<unsigned char>(bytes[i + 1]);
    text += static_cast<wchar_t>(big ? first << 8U | second : second << 8U | first);
  }
  return utf8(text) + std::string(bytes.size() % 2 == 0 ? "" : replacement_character);
}

/// Converts the character at the beginning of the bytes, which is the shortest piece that is one. Returns the number of
/// its bytes; 0 if there is none.
std::size_t convert_character(UINT page, std::string_view bytes, std::string& text) {
  constexpr std::size_t longest = 4;
  for (std::size_t size = 1; size <= std::min(longest, bytes.size()); size++) {
    const auto character = wide(page, bytes.substr(0, size));
    if (!character) continue;
    text += utf8(*character);
    return size;
  }
  return 0;
}

}  // namespace

struct CharsetConverter::System {
  UINT page = 0;
};

CharsetConverter::CharsetConverter(const std::string& charset)
    : system_(std::make_unique<System>(System{code_page_of(charset)})) {
  UINT& page = system_->page;
  // Systems without the largest Chinese set have the one that everyday text needs.
  if (page == gb18030 && !wide(page, "a")) page = gbk;
  // A page that does not tell which bytes are no characters does not convert this letter.
  if (page == utf16_little || page == utf16_big || (page != 0 && wide(page, "a"))) return;
  throw unknown_charset(charset);
}

CharsetConverter::~CharsetConverter() = default;

std::string CharsetConverter::convert(std::string_view bytes) {
  const UINT page = system_->page;
  if (page == utf16_little || page == utf16_big) return from_utf16(bytes, page == utf16_big);
  // Text is converted line by line, so that a byte that belongs to no character makes one line slow and not all.
  std::string text;
  while (!bytes.empty()) {
    const std::string_view line = bytes.substr(0, std::min(bytes.find('\n'), bytes.size() - 1) + 1);
    bytes.remove_prefix(line.size());
    if (const auto whole = wide(page, line)) {
      text += utf8(*whole);
      continue;
    }
    for (std::string_view rest = line; !rest.empty();) {
      const std::size_t size = convert_character(page, rest, text);
      if (size == 0) text += replacement_character;
      rest.remove_prefix(std::max<std::size_t>(size, 1));
    }
  }
  return text;
}

}  // namespace readers
