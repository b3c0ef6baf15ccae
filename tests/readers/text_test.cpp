#include "readers/text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <string_view>
#include <vector>

namespace readers {
namespace {

using namespace std::string_literals;

TEST(InertText, LeavesUtf8AsItIs) {
  const std::string text = "Ua \xC2\xB5V \xE7\x94\xB5\xE5\x8E\x8B \xF0\x9F\x98\x80";
  EXPECT_EQ(inert(text), text);
}

TEST(InertText, ReplacesEachByteThatIsNotUtf8) {
  EXPECT_EQ(inert("\xC2"), "\xEF\xBF\xBD");                  // the sequence is cut off
  EXPECT_EQ(inert("\xD3\x61"), "\xEF\xBF\xBD\x61");          // the continuation byte is missing
  EXPECT_EQ(inert("\xC0\xAF"), "\xEF\xBF\xBD\xEF\xBF\xBD");  // overlong sequence
  EXPECT_EQ(inert("\xE0\x80\x80").size(), 9U);               // overlong sequence
  EXPECT_EQ(inert("\xED\xA0\x80").size(), 9U);               // surrogate
  EXPECT_EQ(inert("\xF4\x90\x80\x80").size(), 12U);          // above U+10FFFF
  EXPECT_EQ(inert("a\xFF\xFE"
                  "b"),
            "a\xEF\xBF\xBD\xEF\xBF\xBD"
            "b");
}

TEST(InertText, TakesTheEffectOutOfControlCharacters) {
  EXPECT_EQ(inert("a\tb\r\nc"), "a b  c");
  EXPECT_EQ(inert("\x1B[31mred\x07\x7F"), "[31mred");
  EXPECT_EQ(inert("nul\0led"s), "nulled");
  EXPECT_EQ(inert("csi\xC2\x9B"
                  "2J"),
            "csi2J");
  EXPECT_EQ(inert("turned\xE2\x80\xAE"
                  "round"),
            "turnedround");
}

TEST(InertText, HasNoCharactersThatAreInvisible) {
  // Joiners, marks of direction, tags, variation selectors and fillers: with them, two names may look alike and differ.
  for (const char* invisible :
       {"\xC2\xAD",        "\xCD\x8F",     "\xD8\x9C",     "\xE1\x85\x9F",     "\xE1\x85\xA0",     "\xE1\x9E\xB4",
        "\xE1\xA0\x8E",    "\xE2\x80\x8B", "\xE2\x80\x8C", "\xE2\x80\x8D",     "\xE2\x80\x8E",     "\xE2\x80\x8F",
        "\xE2\x80\xAA",    "\xE2\x80\xAE", "\xE2\x81\xA0", "\xE2\x81\xA1",     "\xE2\x81\xA4",     "\xE2\x81\xA5",
        "\xE2\x81\xA6",    "\xE2\x81\xA9", "\xE2\x81\xAF", "\xE3\x85\xA4",     "\xEF\xB8\x8F",     "\xEF\xBB\xBF",
        "\xEF\xBE\xA0",    "\xEF\xBF\xB9", "\xEF\xBF\xBB", "\xF0\x9D\x85\xB3", "\xF3\xA0\x80\x81", "\xF3\xA0\x84\x80",
        "\xF3\xA0\x87\xAF"}) {
    EXPECT_EQ(inert(std::string("U") + invisible + "a"), "Ua") << testing::PrintToString(invisible);
  }
  const std::string neighbours = "\xE2\x80\x90\xE2\x81\x9E\xE2\x81\xB0\xD8\x9B\xD8\x9F\xEF\xBF\xBC";
  EXPECT_EQ(inert(neighbours), neighbours);
}

TEST(CitedText, IsInertAndShort) {
  EXPECT_EQ(cited("12\x1B"
                  "A"),
            "'12A'");
  EXPECT_EQ(cited(std::string(40, 'x')), std::string("'").append(40, 'x').append("'"));
  EXPECT_EQ(cited(std::string(1000, 'x')), std::string("'").append(40, 'x').append("...'"));
}

TEST(CitedText, IsCutBetweenCharacters) {
  std::string forty;
  for (int i = 0; i < 40; i++) forty += "\xC2\xB5";
  EXPECT_EQ(cited(forty + forty), "'" + forty + "...'");
}

TEST(Characters, AreCountedAndCutWhole) {
  EXPECT_EQ(count_characters(""), 0U);
  EXPECT_EQ(count_characters("a\xC2\xB5\xE7\x94\xB5\xF0\x9F\x98\x80"), 4U);
  EXPECT_EQ(first_characters("a\xC2\xB5\xE7\x94\xB5", 2), "a\xC2\xB5");
  EXPECT_EQ(first_characters("ab", 3), "ab");
  EXPECT_EQ(first_characters("ab", 0), "");
  EXPECT_EQ(shortened(std::string(40, 'x')), std::string(40, 'x'));
  EXPECT_EQ(shortened(std::string(41, 'x')), std::string(40, 'x') + "...");
}

TEST(FileMarks, AreTakenOffBothEnds) {
  EXPECT_EQ(without_file_marks("\xEF\xBB\xBF"
                               "a,b\r\n\x1A"),
            "a,b");
  EXPECT_EQ(without_file_marks("a\x1A\r\n"), "a");
  EXPECT_EQ(without_file_marks("a,\t"), "a,\t");
  EXPECT_EQ(without_file_marks("\r\n\x1A"), "");
  EXPECT_EQ(without_file_marks(""), "");
}

TEST(Utf16, IsToldByItsMark) {
  EXPECT_TRUE(is_utf16("\xFF\xFEt\0"s));
  EXPECT_TRUE(is_utf16("\xFE\xFF\0t"s));
  EXPECT_FALSE(is_utf16("\xEF\xBB\xBFt"));
}

TEST(Fields, AreTrimmedAndMayBeEmpty) {
  EXPECT_EQ(split_fields(" a ,,\tb c,", ','), (std::vector<std::string_view>{"a", "", "b c", ""}));
  EXPECT_EQ(split_fields("", ','), (std::vector<std::string_view>{""}));
}

TEST(Numbers, AreReadWholeOrNotAtAll) {
  EXPECT_EQ(parse_number(" -1.5e-005 "), -1.5e-5);
  EXPECT_EQ(parse_number("+3"), 3.0);
  EXPECT_EQ(parse_number("006000"), 6000.0);
  EXPECT_EQ(parse_number(".5"), 0.5);
  EXPECT_TRUE(std::isnan(parse_number("NaN").value()));
  for (const char* text : {"", " ", "+", "+-1", "1 2", "1,5", "0x10", "12V", "--1", "1e999"}) {
    EXPECT_FALSE(parse_number(text)) << text;
  }
}

TEST(Counts, AreDigitsOnly) {
  EXPECT_EQ(parse_count(" 012 "), 12U);
  for (const char* text : {"", "-1", "+1", "1.0", "99999999999999999999999"}) EXPECT_FALSE(parse_count(text)) << text;
}

TEST(NumberText, IsTheShortestThatMeansTheNumber) {
  EXPECT_EQ(number_text(6400), "6400");
  EXPECT_EQ(number_text(0.1), "0.1");
  EXPECT_EQ(number_text(2401.646729), "2401.646729");
}

std::vector<std::string> all_lines(std::string_view text) {
  std::vector<std::string> lines;
  Lines source(text);
  while (const auto line = source.next()) lines.emplace_back(*line);
  return lines;
}

TEST(LinesOfText, MayEndInAnyUsualWay) {
  const std::vector<std::string> expected = {"a", "", "b"};
  EXPECT_EQ(all_lines("a\n\nb\n"), expected);
  EXPECT_EQ(all_lines("a\r\n\r\nb"), expected);
  EXPECT_EQ(all_lines("a\r\rb\r"), expected);
  EXPECT_EQ(all_lines("a\r\r\n\r\r\nb"), expected);
  EXPECT_TRUE(all_lines("").empty());
}

TEST(LinesOfText, AreCounted) {
  Lines lines("a\nb");
  EXPECT_EQ(lines.number(), 0U);
  lines.next();
  EXPECT_EQ(lines.number(), 1U);
  EXPECT_FALSE(lines.at_end());
  lines.next();
  EXPECT_EQ(lines.number(), 2U);
  EXPECT_TRUE(lines.at_end());
  EXPECT_FALSE(lines.next());
  EXPECT_EQ(lines.number(), 2U);
}

TEST(Messages, CountThingsInTheRightNumber) {
  EXPECT_EQ(plural(0, "sample"), "0 samples");
  EXPECT_EQ(plural(1, "sample"), "1 sample");
  EXPECT_EQ(plural(2, "sample"), "2 samples");
}

}  // namespace
}  // namespace readers
