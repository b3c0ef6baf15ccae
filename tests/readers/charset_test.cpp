#include "readers/charset.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace readers {
namespace {

struct Guess {
  const char* name;
  const char* bytes;
  const char* charset;
  const char* text;
};

void PrintTo(const Guess& guess, std::ostream* out) {
  *out << guess.name;
}

class CharsetGuess : public testing::TestWithParam<Guess> {};

TEST_P(CharsetGuess, IsRight) {
  const Utf8Text read = to_utf8(GetParam().bytes);
  EXPECT_EQ(read.charset, GetParam().charset);
  EXPECT_EQ(read.text, GetParam().text);
  EXPECT_EQ(read.guessed, read.charset != "UTF-8");
}

INSTANTIATE_TEST_SUITE_P(
    Names, CharsetGuess,
    testing::Values(Guess{"Ascii", "Bus 1, Ua", "UTF-8", "Bus 1, Ua"},
                    Guess{"Utf8", "\xE7\x94\xB5\xE5\x8E\x8BUa", "UTF-8", "电压Ua"},
                    Guess{"Gbk", "220kV\xC4\xB8\xCF\xDF\xB5\xE7\xD1\xB9Ua", "GBK", "220kV母线电压Ua"},
                    Guess{"GbkRomanNumeral", "\xCF\xDF\xC2\xB7\xA2\xF1_Ua,\xC4\xB8\xCF\xDF", "GBK", "线路Ⅰ_Ua,母线"},
                    Guess{"Windows1251", "\xCD\xE0\xEF\xF0\xFF\xE6\xE5\xED\xE8\xE5 Ua", "Windows-1251",
                          "Напряжение Ua"},
                    Guess{"Windows1251Capitals", "\xCE\xD1\xD6\xC8\xCB\xCB\xCE\xC3\xD0\xC0\xCC\xCC\xC0", "Windows-1251",
                          "ОСЦИЛЛОГРАММА"},
                    Guess{"Windows1251Units", "Ua,\xC2/\xEA\xC2", "Windows-1251", "Ua,В/кВ"},
                    Guess{"Cp866", "\x8D\xA0\xAF\xE0\xEF\xA6\xA5\xAD\xA8\xA5 Ua", "CP866", "Напряжение Ua"},
                    Guess{"Cp866Units", "Ua,A,,\x82/\xAA,0.5", "CP866", "Ua,A,,В/к,0.5"},
                    Guess{"Latin1",
                          "Pr\xFC"
                          "fstand, \xDC"
                          "bergabe",
                          "Latin-1", "Prüfstand, Übergabe"},
                    Guess{"Latin1Unit", "Phase 120\xB0", "Latin-1", "Phase 120°"}),
    [](const auto& guess) { return guess.param.name; });

TEST(Charset, IsToldBySixteenBitByteOrderMarks) {
  const std::string little("\xFF\xFEU\0a\0", 6);
  const std::string big("\xFE\xFF\0U\0a", 6);
  for (const std::string& bytes : {little, big}) {
    EXPECT_EQ(to_utf8(bytes).text, "Ua");
    EXPECT_EQ(to_utf8(bytes).charset, "UTF-16");
    EXPECT_FALSE(to_utf8(bytes).guessed);
  }
}

TEST(Charset, MayBeGiven) {
  const Utf8Text read = to_utf8("\xC2", "CP1251");
  EXPECT_EQ(read.text, "В");
  EXPECT_FALSE(read.guessed);
  EXPECT_EQ(note_on_guess(read), "");
  EXPECT_THROW(to_utf8("Ua", "no such set"), std::invalid_argument);
}

TEST(Charset, ReplacesWhatItHasNoCharacterFor) {
  EXPECT_EQ(to_utf8("a\xFF"
                    "b",
                    "UTF-8")
                .text,
            "a\xEF\xBF\xBD"
            "b");
}

TEST(Charset, IsSaidWhenGuessed) {
  EXPECT_EQ(note_on_guess(to_utf8("\x8D\xA0\xAF\xE0\xEF")),
            "The text is not UTF-8; it was read as CP866 (override with --charset).");
}

TEST(Charset, OfLongTextIsConvertedWhole) {
  std::string bytes;
  std::string expected;
  for (int i = 0; i < 5000; i++) {
    bytes += "\xC4\xB8\xCF\xDF";
    expected += "母线";
  }
  EXPECT_EQ(to_utf8(bytes).text, expected);
}

}  // namespace
}  // namespace readers
