#include "readers/text.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <iterator>

#include "platform/float_chars.h"
#include "readers/plain_number.h"

namespace readers {
namespace {

constexpr std::string_view blanks = " \t";

/// One character of UTF-8 text; `length` is 0 when the bytes are not a valid character.
struct Character {
  std::uint32_t code = 0;
  std::size_t length = 0;
};

Character first_character(std::string_view bytes) {
  const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  const unsigned lead = byte(0);
  if (lead < 0x80) return {lead, 1};

  const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
  if (lead < 0xC2 || lead > 0xF4 || bytes.size() < length) return {};
  std::uint32_t code = lead & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; i++) {
    if ((byte(i) & 0xC0U) != 0x80) return {};
    code = code << 6 | (byte(i) & 0x3FU);
  }
  constexpr std::array<std::uint32_t, 5> smallest = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  if (code < smallest[length] || code > 0x10FFFF || surrogate) return {};
  return {code, length};
}

bool breaks_or_tabs(std::uint32_t code) {
  return (code >= 0x09 && code <= 0x0D) || code == 0x85 || code == 0x2028 || code == 0x2029;
}

struct CodeRange {
  std::uint32_t first;
  std::uint32_t last;
};

/// Control characters, and characters that show nothing but change the writing direction or make names that look alike
/// differ.
constexpr CodeRange dropped[] = {
    {0x00, 0x1F},        // control characters
    {0x7F, 0x9F},        // more of them
    {0xAD, 0xAD},        // soft hyphen
    {0x34F, 0x34F},      // grapheme joiner
    {0x61C, 0x61C},      // mark of direction
    {0x115F, 0x1160},    // fillers
    {0x17B4, 0x17B5},    // vowels without a shape
    {0x180B, 0x180F},    // variation selectors and a separator
    {0x200B, 0x200F},    // spaces without width, joiners, marks of direction
    {0x202A, 0x202E},    // direction of text
    {0x2060, 0x206F},    // joiners, invisible operators, direction of text
    {0x3164, 0x3164},    // filler
    {0xFE00, 0xFE0F},    // variation selectors
    {0xFEFF, 0xFEFF},    // byte order mark
    {0xFFA0, 0xFFA0},    // filler
    {0xFFF0, 0xFFFB},    // annotation
    {0x1BCA0, 0x1BCA3},  // format of shorthand
    {0x1D173, 0x1D17A},  // format of music
    {0xE0000, 0xE0FFF},  // tags and variation selectors
};

bool acts_on_display(std::uint32_t code) {
  if (code >= 0x20 && code < 0x7F) return false;
  return std::any_of(std::begin(dropped), std::end(dropped),
                     [code](const CodeRange& range) { return code >= range.first && code <= range.last; });
}

}  // namespace

std::string inert(std::string_view bytes) {
  const bool plain = std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= 0x20 && c < 0x7F; });
  if (plain) return std::string(bytes);
  std::string text;
  text.reserve(bytes.size());
  while (!bytes.empty()) {
    const Character character = first_character(bytes);
    if (character.length == 0) {
      text += replacement_character;
      bytes.remove_prefix(1);
      continue;
    }
    if (breaks_or_tabs(character.code)) {
      text += ' ';
    } else if (!acts_on_display(character.code)) {
      text += bytes.substr(0, character.length);
    }
    bytes.remove_prefix(character.length);
  }
  return text;
}

bool is_utf8(std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t ascii = static_cast<std::size_t>(
        std::find_if(bytes.begin(), bytes.end(), [](char c) { return static_cast<unsigned char>(c) >= 0x80; }) -
        bytes.begin());
    bytes.remove_prefix(ascii);
    if (bytes.empty()) break;
    const std::size_t length = first_character(bytes).length;
    if (length == 0) return false;
    bytes.remove_prefix(length);
  }
  return true;
}

std::size_t count_characters(std::string_view text) {
  const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80; };
  return text.size() - static_cast<std::size_t>(std::count_if(text.begin(), text.end(), continues));
}

std::string first_characters(std::string_view text, std::size_t count) {
  std::size_t end = 0;
  for (; count > 0 && end < text.size(); count--) {
    end += std::max<std::size_t>(first_character(text.substr(end)).length, 1);
  }
  return std::string(text.substr(0, end));
}

std::string shortened(std::string_view text) {
  constexpr std::size_t longest = 40;
  std::string start = first_characters(text, longest);
  return start.size() == text.size() ? start : start + "...";
}

std::string cited(std::string_view piece) {
  constexpr std::size_t enough = 320;  // these bytes suffice; the rest would be cut anyway
  return "'" + shortened(inert(piece.substr(0, enough))) + "'";
}

std::string_view trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool is_one_of(std::string_view word, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

std::string lower_case(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

std::string_view without_file_marks(std::string_view content) {
  constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";
  constexpr std::string_view file_end("\r\n\x1A\0", 4);
  if (content.starts_with(byte_order_mark)) content.remove_prefix(byte_order_mark.size());
  return content.substr(0, content.find_last_not_of(file_end) + 1);  // npos + 1 is 0: there are only marks
}

bool is_utf16(std::string_view content) {
  return content.starts_with("\xFF\xFE") || content.starts_with("\xFE\xFF");
}

std::vector<std::string_view> split_fields(std::string_view line, char separator) {
  std::vector<std::string_view> fields;
  std::size_t start = 0;
  for (std::size_t end = 0; end != line.npos; start = end + 1) {
    end = line.find(separator, start);
    fields.push_back(trimmed(line.substr(start, end == line.npos ? end : end - start)));
  }
  return fields;
}

std::optional<double> parse_number(std::string_view text) {
  double plain = 0;
  const char* behind = plain_number(text.data(), text.data() + text.size(), plain);
  if (behind != nullptr && behind == text.data() + text.size()) return plain;
  text = trimmed(text);
  if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
  double value = 0;
  const auto [end, error] = platform::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<std::size_t> parse_count(std::string_view text) {
  text = trimmed(text);
  std::size_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::string number_text(double value) {
  std::array<char, 32> digits;
  return {digits.data(), platform::to_chars(digits.data(), digits.data() + digits.size(), value).ptr};
}

std::string line_place(std::size_t line) {
  return fmt::format("line {}", line);
}

std::string plural(std::size_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::optional<std::string_view> Lines::next() {
  if (rest_.empty()) return std::nullopt;
  number_++;
  const std::size_t end = rest_.find(end_);
  std::string_view line = rest_.substr(0, end);
  rest_.remove_prefix(end == rest_.npos ? rest_.size() : end + 1);
  while (line.ends_with('\r')) line.remove_suffix(1);  // CRLF, even if a copy has doubled the CR
  return line;
}

}  // namespace readers
