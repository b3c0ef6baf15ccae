// Reads the text of record files (lines, fields and numbers) and makes such text safe to show. Nothing here depends on
// the locale, so a record is read the same way on every machine.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace readers {

/// U+FFFD, which replaces characters that cannot be shown.
inline constexpr std::string_view replacement_character = "\xEF\xBF\xBD";

/// Returns the text as valid UTF-8 that is safe to show in any terminal or report: bytes that are not UTF-8 become
/// U+FFFD, line breaks and tabs become blanks, and other control characters are dropped, as are characters that are
/// invisible or change the direction of text.
std::string inert(std::string_view bytes);

/// Returns whether all bytes are valid UTF-8.
bool is_utf8(std::string_view bytes);

/// Returns the number of characters of valid UTF-8 text.
std::size_t count_characters(std::string_view text);

/// Returns the first characters of valid UTF-8 text, at most `count`.
std::string first_characters(std::string_view text, std::size_t count);

/// Returns valid UTF-8 text for use in a list, shortened when long.
std::string shortened(std::string_view text);

/// Returns a piece of a file for use in a message: made inert, shortened when long, and put in single quotation marks.
std::string cited(std::string_view piece);

/// Returns the text without blanks and tabs at either end.
std::string_view trimmed(std::string_view text);

/// Returns whether a word is one of those listed.
bool is_one_of(std::string_view word, std::initializer_list<std::string_view> words);

/// Returns the text with ASCII letters in lower case and all other bytes unchanged.
std::string lower_case(std::string_view text);

/// Returns file content without the marks that are not part of its text: a UTF-8 byte order mark at the start, and line
/// ends and the end-of-file mark 0x1A of old systems at the end.
std::string_view without_file_marks(std::string_view content);

/// Returns whether content is text in 16-bit characters, as some programs save it; its byte order mark shows this.
bool is_utf16(std::string_view content);

/// Returns the fields between separators, trimmed; an empty line gives one empty field. Quotation marks have no special
/// meaning.
std::vector<std::string_view> split_fields(std::string_view line, char separator);

/// Returns the number that all of `text` (trimmed) represents; a leading plus sign is allowed.
std::optional<double> parse_number(std::string_view text);

/// Returns the count that all of `text` (trimmed) represents, which consists of digits only.
std::optional<std::size_t> parse_count(std::string_view text);

/// Returns the shortest decimal text that represents this number exactly, for messages.
std::string number_text(double value);

/// Returns for example "line 12", the place of a fault.
std::string line_place(std::size_t line);

/// Returns for example "1 sample" or "3 samples".
std::string plural(std::size_t count, std::string_view noun);

/// Walks through text line by line. Lines may end in LF or CRLF, or in CR if the text contains no LF at all.
class Lines {
 public:
  explicit Lines(std::string_view text) : rest_(text), end_(text.find('\n') == text.npos ? '\r' : '\n') {}

  /// Returns the next line without its line end, or nothing when no line is left.
  std::optional<std::string_view> next();

  /// Returns true when no line is left.
  [[nodiscard]] bool at_end() const { return rest_.empty(); }

  [[nodiscard]] std::size_t bytes_left() const { return rest_.size(); }

  /// Returns where the next line begins.
  [[nodiscard]] const char* position() const { return rest_.data(); }

  /// Returns all lines that are left.
  [[nodiscard]] std::string_view rest() const { return rest_; }

  /// Returns whether lines end in LF.
  [[nodiscard]] bool end_in_line_feeds() const { return end_ == '\n'; }

  /// Counts the next line as read; `after` is the position of the line after it, or the end of the text.
  void skip_line(const char* after) {
    rest_.remove_prefix(static_cast<std::size_t>(after - rest_.data()));
    number_++;
  }

  /// Returns the number of the line that `next` returned last; the first line has number 1.
  [[nodiscard]] std::size_t number() const { return number_; }

 private:
  std::string_view rest_;
  char end_;
  std::size_t number_ = 0;
};

}  // namespace readers
