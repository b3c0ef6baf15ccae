#include "platform/float_chars.h"

#if !defined(__cpp_lib_to_chars)

#include <fast_float/fast_float.h>
#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <system_error>

namespace platform {

namespace {

/// A finite number as digits without zeros at either end, and the exponent of the first one.
struct Digits {
  bool negative = false;
  std::string digits;
  int exponent = 0;
};

Digits digits_of(double value) {
  Digits result;
  result.negative = std::signbit(value);
  const std::string text = fmt::format("{}", std::abs(value));
  const std::size_t e = text.find('e');
  const std::string mantissa = text.substr(0, e);
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  result.exponent = static_cast<int>(point) - 1 + (e == text.npos ? 0 : std::stoi(text.substr(e + 1)));
  for (const char c : mantissa) {
    if (c != '.') result.digits += c;
  }
  const std::size_t first = result.digits.find_first_not_of('0');
  if (first == result.digits.npos) return {result.negative, "0", 0};
  result.exponent -= static_cast<int>(first);
  result.digits = result.digits.substr(first, result.digits.find_last_not_of('0') + 1 - first);
  return result;
}

std::string scientific(const Digits& number) {
  std::string text = number.digits.substr(0, 1);
  if (number.digits.size() > 1) text += "." + number.digits.substr(1);
  return (number.negative ? "-" : "") + fmt::format("{}e{:+03}", text, number.exponent);
}

/// Returns the form without an exponent. A whole number has all its digits, which are exact.
std::string fixed(double value, const Digits& number) {
  if (value == std::trunc(value)) return fmt::format("{:.0f}", value);
  std::string text = number.digits;
  if (number.exponent < 0) text.insert(0, static_cast<std::size_t>(-number.exponent), '0');
  text.insert(static_cast<std::size_t>(std::max(number.exponent, 0)) + 1, ".");
  return (number.negative ? "-" : "") + text;
}

std::to_chars_result copied(const std::string& text, char* first, char* last) {
  if (static_cast<std::size_t>(last - first) < text.size()) return {last, std::errc::value_too_large};
  return {std::copy(text.begin(), text.end(), first), std::errc()};
}

}  // namespace

std::from_chars_result from_chars(const char* first, const char* last, double& value) {
  double read = 0;
  const auto [end, error] = fast_float::from_chars(first, last, read);
  if (error != std::errc()) return {end, error};
  // A number beyond the range of a double is an error in the standard, and leaves the value as it is.
  const char* const exponent = std::find_if(first, end, [](char c) { return c == 'e' || c == 'E'; });
  const bool nonzero = std::any_of(first, exponent, [](char c) { return c >= '1' && c <= '9'; });
  if (nonzero && (read == 0 || std::isinf(read))) return {end, std::errc::result_out_of_range};
  value = read;
  return {end, error};
}

std::to_chars_result to_chars(char* first, char* last, double value) {
  if (!std::isfinite(value)) return copied(fmt::format("{}", value), first, last);
  const Digits number = digits_of(value);
  const std::string with_exponent = scientific(number);
  const std::string without = fixed(value, number);
  return copied(without.size() <= with_exponent.size() ? without : with_exponent, first, last);
}

std::to_chars_result to_scientific_chars(char* first, char* last, double value) {
  if (!std::isfinite(value)) return copied(fmt::format("{}", value), first, last);
  return copied(scientific(digits_of(value)), first, last);
}

}  // namespace platform

#endif
