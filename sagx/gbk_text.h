// Text of the report file, which is encoded in GBK. It is written in the sources as UTF-8 and converted to GBK bytes by
// the compiler. A character that is missing from the table below is a compile error.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sagx {

struct GbkCharacter {
  char32_t unicode;
  std::uint16_t gbk;
};

inline constexpr GbkCharacter gbk_characters[] = {
    {U'变', 0xB1E4}, {U'别', 0xB1F0}, {U'波', 0xB2A8}, {U'不', 0xB2BB}, {U'采', 0xB2C9}, {U'持', 0xB3D6},
    {U'点', 0xB5E3}, {U'电', 0xB5E7}, {U'度', 0xB6C8}, {U'段', 0xB6CE}, {U'分', 0xB7D6}, {U'负', 0xB8BA},
    {U'个', 0xB8F6}, {U'耗', 0xBAC4}, {U'衡', 0xBAE2}, {U'化', 0xBBAF}, {U'间', 0xBCE4}, {U'件', 0xBCFE},
    {U'降', 0xBDB5}, {U'据', 0xBEDD}, {U'类', 0xC0E0}, {U'率', 0xC2CA}, {U'平', 0xC6BD}, {U'起', 0xC6F0},
    {U'前', 0xC7B0}, {U'时', 0xCAB1}, {U'始', 0xCABC}, {U'事', 0xCAC2}, {U'数', 0xCAFD}, {U'速', 0xCBD9},
    {U'特', 0xCCD8}, {U'跳', 0xCCF8}, {U'位', 0xCEBB}, {U'析', 0xCEF6}, {U'息', 0xCFA2}, {U'相', 0xCFE0},
    {U'效', 0xD0A7}, {U'信', 0xD0C5}, {U'型', 0xD0CD}, {U'形', 0xD0CE}, {U'续', 0xD0F8}, {U'压', 0xD1B9},
    {U'样', 0xD1F9}, {U'有', 0xD3D0}, {U'暂', 0xD4DD}, {U'征', 0xD5F7}, {U'正', 0xD5FD}, {U'值', 0xD6B5},
    {U'置', 0xD6C3}, {U'校', 0xD0A3}, {U'验', 0xD1E9},
};

/// A string literal as a template argument; it holds `Size` bytes including the final zero.
template <std::size_t Size>
struct Utf8Literal {
  char bytes[Size];
  consteval Utf8Literal(const char (&literal)[Size]) {
    for (std::size_t i = 0; i < Size; i++) bytes[i] = literal[i];
  }
};

/// The GBK bytes of a literal. Characters of three UTF-8 bytes shrink to two, so the literal's size is sufficient.
template <std::size_t Size>
struct GbkText {
  char bytes[Size] = {};
};

template <std::size_t Size>
consteval GbkText<Size> to_gbk(const Utf8Literal<Size>& text) {
  GbkText<Size> result;
  std::size_t written = 0;
  for (std::size_t i = 0; i + 1 < Size;) {
    const auto byte = [&](std::size_t k) {
      return static_cast<char32_t>(static_cast<unsigned char>(text.bytes[i + k]));
    };
    if (byte(0) < 0x80) {
      result.bytes[written++] = text.bytes[i++];
      continue;
    }
    if ((byte(0) & 0xF0) != 0xE0) throw "only characters of three UTF-8 bytes are in the table";
    const char32_t unicode = (byte(0) & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F);
    std::uint16_t gbk = 0;
    for (const auto& character : gbk_characters) {
      if (character.unicode == unicode) gbk = character.gbk;
    }
    if (gbk == 0) throw "character missing from gbk_characters";
    result.bytes[written++] = static_cast<char>(gbk >> 8);
    result.bytes[written++] = static_cast<char>(gbk & 0xFF);
    i += 3;
  }
  return result;
}

template <Utf8Literal Text>
inline constexpr auto gbk_text = to_gbk(Text);

/// The zero-terminated GBK form of `Text` for a "%s" in a format, as in gbk<"暂降">.
template <Utf8Literal Text>
inline constexpr const char* gbk = gbk_text<Text>.bytes;

}  // namespace sagx
