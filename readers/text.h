// Reading the text of record files: lines, fields and numbers, and making such text safe to show.
// Nothing here depends on the locale: a record means the same on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace readers {

/// U+FFFD, which stands for what cannot be shown.
inline constexpr std::string_view replacement_character = "\xEF\xBF\xBD";

/// The text as valid UTF-8 that no terminal or report can stumble over: bytes that are not UTF-8 become U+FFFD,
/// line breaks and tabs become blanks, other control and text-direction characters are dropped.
std::string inert(std::string_view bytes);

/// Whether all bytes are UTF-8.
bool is_utf8(std::string_view bytes);

/// A piece of a file for use in a message: inert, shortened when long, in single quotation marks.
std::string cited(std::string_view piece);

/// Without blanks and tabs at both ends.
std::string_view trimmed(std::string_view text);

/// Whether a word is among some.
bool is_one_of(std::string_view word, std::initializer_list<std::string_view> words);

/// ASCII letters in lower case, all other bytes as they are.
std::string lower_case(std::string_view text);

/// File content without what is no part of its text: a UTF-8 byte order mark in front, line ends and the end-of-file
/// mark 0x1A of old systems behind.
std::string_view without_file_marks(std::string_view content);

/// Text in 16-bit characters, as some programs save it, told by its byte order mark.
bool is_utf16(std::string_view content);

/// The fields between separators, trimmed; one empty field for an empty line. Knows no quotation marks.
std::vector<std::string_view> split_fields(std::string_view line, char separator);

/// Takes a number that is written in digits, with a minus sign or a point or neither, at the start of text. Returns the
/// place behind it; null for all other ways to write a number, which parse_number knows. Up to fifteen digits both
/// their value and the power of ten are exact, and so their quotient is rounded once, as it should be.
inline const char* plain_number(const char* at, const char* end, double& number) {
  constexpr double powers[] = {1e0, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  constexpr std::ptrdiff_t most_digits = 15;
  const auto is_digit = [](char c) { return static_cast<unsigned char>(c - '0') < 10; };
  const bool negative = at < end && *at == '-';
  if (negative) at++;
  const char* digits = at;
  std::uint64_t value = 0;
  for (; at < end && is_digit(*at); at++) value = 10 * value + static_cast<unsigned>(*at - '0');
  std::ptrdiff_t count = at - digits;
  std::ptrdiff_t decimals = 0;
  if (at < end && *at == '.') {
    const char* point = at;
    for (at++; at < end && is_digit(*at); at++) value = 10 * value + static_cast<unsigned>(*at - '0');
    decimals = at - point - 1;
    count += decimals;
  }
  if (count == 0 || count > most_digits) return nullptr;
  const auto whole = static_cast<double>(static_cast<std::int64_t>(value));
  const double size = decimals == 0 ? whole : whole / powers[decimals];
  number = negative ? -size : size;
  return at;
}

/// The number that the whole of `text` (trimmed) writes, a leading plus sign allowed.
std::optional<double> parse_number(std::string_view text);

/// The count that the whole of `text` (trimmed) writes in digits.
std::optional<std::size_t> parse_count(std::string_view text);

/// The shortest digits that mean this number, for messages.
std::string number_text(double value);

/// "line 12", the place of a fault.
std::string line_place(std::size_t line);

/// "1 sample", "3 samples".
std::string plural(std::size_t count, std::string_view noun);

/// Walks through text line by line. Ends of lines may be LF, CRLF or, where there is no LF at all, CR.
class Lines {
 public:
  explicit Lines(std::string_view text) : rest_(text), end_(text.find('\n') == text.npos ? '\r' : '\n') {}

  /// The next line without its end; nothing when the text is used up.
  std::optional<std::string_view> next();

  /// True when no line is left.
  [[nodiscard]] bool at_end() const { return rest_.empty(); }

  [[nodiscard]] std::size_t bytes_left() const { return rest_.size(); }

  /// Number of the line that `next` gave last; the first is 1.
  [[nodiscard]] std::size_t number() const { return number_; }

 private:
  std::string_view rest_;
  char end_;
  std::size_t number_ = 0;
};

}  // namespace readers
