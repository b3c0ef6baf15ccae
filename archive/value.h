// A value of a table and a row of values, as every store holds them.
#pragma once

#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace archive {

/// Nothing, a whole number, a number or a text.
using Value = std::variant<std::monostate, std::int64_t, double, std::string>;
using Row = std::vector<Value>;

/// A whole number as a value.
inline Value whole(std::size_t number) {
  return static_cast<std::int64_t>(number);
}

/// A number as a value; nothing if it is missing or not finite.
inline Value number(const std::optional<double>& value) {
  return value && std::isfinite(*value) ? Value(*value) : Value();
}

/// A text as a value; nothing if it is empty.
inline Value text(std::string value) {
  return value.empty() ? Value() : Value(std::move(value));
}

/// Returns the text of a value; empty if the value is not a text.
inline std::string text_of(const Value& value) {
  const auto* held = std::get_if<std::string>(&value);
  return held == nullptr ? std::string() : *held;
}

/// Returns the whole number of a value; 0 if the value is not a whole number.
inline std::int64_t whole_of(const Value& value) {
  const auto* held = std::get_if<std::int64_t>(&value);
  return held == nullptr ? 0 : *held;
}

/// Returns the number of a value, whether it is whole or not; nothing for other values and numbers that are not finite,
/// which only a damaged store has.
inline std::optional<double> number_of(const Value& value) {
  if (const auto* held = std::get_if<double>(&value)) return std::isfinite(*held) ? std::optional(*held) : std::nullopt;
  if (const auto* held = std::get_if<std::int64_t>(&value)) return static_cast<double>(*held);
  return std::nullopt;
}

}  // namespace archive
