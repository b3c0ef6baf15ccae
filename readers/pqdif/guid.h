// The 16-byte identifiers that PQDIF uses for records, tags and enumerated values.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace readers::pqdif {

struct Guid {
  std::array<std::uint8_t, 16> bytes{};  ///< as stored in files

  friend constexpr bool operator==(const Guid&, const Guid&) = default;
};

/// Returns the identifier that a text such as "4a111440-e49f-11cf-9900-505144494600" denotes. Files store the first
/// three groups with their lowest byte first.
consteval Guid guid(std::string_view text) {
  constexpr std::array<std::size_t, 16> stored_at = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  const auto digit = [](char c) { return static_cast<unsigned>(c <= '9' ? c - '0' : c - 'a' + 10); };
  Guid id;
  std::size_t at = 0;
  for (const std::size_t place : stored_at) {
    if (text[at] == '-') at++;
    id.bytes[place] = static_cast<std::uint8_t>(digit(text[at]) << 4 | digit(text[at + 1]));
    at += 2;
  }
  return id;
}

}  // namespace readers::pqdif
