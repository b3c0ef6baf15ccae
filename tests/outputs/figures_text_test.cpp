// Tests how angles and names are formatted for people.
#include "outputs/figures_text.h"

#include <gtest/gtest.h>

namespace {

using outputs::angle_text;
using outputs::shortened;
using outputs::turn_text;
using outputs::volts_text;

TEST(FiguresText, HasNoAngleOfAFullTurn) {
  EXPECT_EQ(angle_text(359.94), "359.9°");
  EXPECT_EQ(angle_text(359.97), "0.0°");
  EXPECT_EQ(angle_text(0.04), "0.0°");
}

TEST(FiguresText, GivesATurnItsSignUnlessItIsZero) {
  EXPECT_EQ(turn_text(4.3), "+4.3°");
  EXPECT_EQ(turn_text(-19.4), "-19.4°");
  EXPECT_EQ(turn_text(0.04), "0.0°");
  EXPECT_EQ(turn_text(-0.04), "0.0°");
  EXPECT_EQ(turn_text(-0.06), "-0.1°");
  EXPECT_EQ(turn_text(10.04), "+10.0°");
}

TEST(FiguresText, RoundsAnUncertaintyUp) {
  using measure::Figure;
  EXPECT_EQ(volts_text(Figure{115, 0.21}), "115.0 ± 0.3 V");
  EXPECT_EQ(volts_text(Figure{115, 0.0001}), "115.0 ± 0.1 V") << "the digits shown are no better";
  EXPECT_EQ(volts_text(Figure{115, 0.2}), "115.0 ± 0.2 V") << "what is a whole number of units stays";
  EXPECT_EQ(volts_text(Figure{63360, 20}), "63.36 ± 0.02 kV");
  EXPECT_EQ(volts_text(Figure{2.5, 0.0101}), "2.500 ± 0.011 V");
  EXPECT_EQ(volts_text(Figure{0.5, 0.02}), "500 ± 20 mV");
  EXPECT_EQ(volts_text(Figure{1.2, 20}), "1 ± 20 V") << "both have one unit";
  EXPECT_EQ(volts_text(Figure{0, 0}), "0.000 ± 0.001 V");
  EXPECT_EQ(angle_text(Figure{96.3, 0.31}), "96.3° ± 0.4°");
  EXPECT_EQ(turn_text(Figure{-19.4, 0.01}), "-19.4° ± 0.1°");
  EXPECT_EQ(outputs::instant_text(0.305), "0.3050 s");
  EXPECT_EQ(outputs::instant_text(0.305, 0.00021), "0.3050 s ± 0.3 ms");
}

TEST(FiguresText, HasTheDigitsThatAnUncertaintyAllows) {
  using measure::Figure;
  EXPECT_EQ(volts_text(Figure{82670.6, 1637.4}), "82.7 ± 1.7 kV");
  EXPECT_EQ(volts_text(Figure{82670.6, 9999}), "83 ± 10 kV") << "rounded up to three digits, it has two";
  EXPECT_EQ(volts_text(Figure{297, 5170}), "0.3 ± 5.2 kV");
  EXPECT_EQ(volts_text(Figure{500, 99.5}), "500 ± 100 V");
  EXPECT_EQ(outputs::rounded_volts_text(Figure{82670.6, 1637.4}), "82.7 kV");
  EXPECT_EQ(outputs::rounded_volts_text(Figure{115, 0.0001}), "115.0 V");
  EXPECT_EQ(angle_text(Figure{96.3, 9.84}), "96.3° ± 9.9°");
  EXPECT_EQ(angle_text(Figure{96.3, 9.94}), "96° ± 10°");
  EXPECT_EQ(angle_text(Figure{359.6, 81.1}), "0° ± 82°") << "no angle of a full turn";
  EXPECT_EQ(turn_text(Figure{-19.4, 12.7}), "-19° ± 13°");
  EXPECT_EQ(turn_text(Figure{-0.4, 12.7}), "0° ± 13°");
  EXPECT_EQ(turn_text(Figure{7.6, 12.7}), "+8° ± 13°");
  EXPECT_EQ(outputs::instant_text(0.3051, 0.0075), "0.3051 s ± 7.5 ms");
  EXPECT_EQ(outputs::instant_text(0.3051, 0.0121), "0.305 s ± 13 ms");
  EXPECT_EQ(outputs::percent_text(Figure{66.66, 0.01}), "66.7 ± 0.1 %");
  EXPECT_EQ(outputs::percent_text(Figure{66.66, 12}), "67 ± 12 %");
  EXPECT_EQ(outputs::rounded_percent_text(Figure{66.66, 3.5}), "66.7 %");
  EXPECT_EQ(outputs::rounded_percent_text(Figure{66.66, 35}), "67 %");
}

TEST(FiguresText, HasNoSlopeBelowTheResolutionOfALevel) {
  // 10^-5 of 230 V in a cycle of 20 ms are 115 mV/s.
  EXPECT_EQ(outputs::slope_text(0.0976, 230, 50), "0 V/s");
  EXPECT_EQ(outputs::slope_text(0.1151, 230, 50), "115.1 mV/s");
  EXPECT_EQ(outputs::slope_text(2.789e6, 62500, 50), "2.789 MV/s");
}

TEST(FiguresText, BreaksLinesBetweenWordsButNotBeforeUnits) {
  EXPECT_EQ(outputs::wrapped("one two three", 7), "one two\nthree\n");
  EXPECT_EQ(outputs::wrapped("one two three", 9, 2), "  one two\n  three\n");
  EXPECT_EQ(outputs::wrapped("depth of 50 %, at", 12), "depth of\n50 %, at\n");
  EXPECT_EQ(outputs::wrapped("at 0.3050 s ± 0.2 ms", 10), "at\n0.3050 s ± 0.2 ms\n");
  EXPECT_EQ(outputs::wrapped("unbreakable", 5), "unbreakable\n");
  EXPECT_EQ(outputs::wrapped("°°° °°°", 7), "°°° °°°\n") << "columns count, not bytes";
}

TEST(FiguresText, FitsEachLineIntoATerminal) {
  using outputs::fitted;
  const std::string text = "  one two three four\nshort\n\nvery-long-word\n";
  EXPECT_EQ(fitted(text, 0), text) << "the width is not known";
  EXPECT_EQ(fitted("a short line\n", 12 + 8), "a short line\n");
  EXPECT_EQ(fitted("  note: nine letters and more\n", 20), "  note: nine letters\n    and more\n");
  EXPECT_EQ(fitted("abcdefghijklmnopqrstuvwxyz\n", 20), "abcdefghijklmnopqrst\n  uvwxyz\n") << "a word breaks too";
  EXPECT_EQ(fitted("one two \033[31mthree\033[0m four five\n", 20), "one two \033[31mthree\033[0m four\n  five\n");
  EXPECT_EQ(fitted("南乐南乐南乐南乐南乐南\n", 20), "南乐南乐南乐南乐南乐\n  南\n") << "letters are two columns wide";
}

/// A segment whose voltages have the half widths 9, 12 and 36 V, so that each sequence has 39 V / 3.
measure::Segment segment_within_13_volts(double positive_v, double negative_v) {
  measure::Segment segment;
  segment.phases[0].voltage_v.plus_minus = 9;
  segment.phases[1].voltage_v.plus_minus = 12;
  segment.phases[2].voltage_v.plus_minus = 36;
  segment.sequences = measure::Sequences{positive_v, negative_v, 0, 100 * negative_v / positive_v};
  return segment;
}

TEST(FiguresText, GivesSequencesAThirdOfTheVoltagesJointUncertainty) {
  EXPECT_DOUBLE_EQ(outputs::sequence_plus_minus(segment_within_13_volts(130, 13)), 13);
}

TEST(FiguresText, GivesTheUnbalanceTheErrorsOfBothSequences) {
  const auto unbalance = outputs::unbalance_percent(segment_within_13_volts(130, 13));
  ASSERT_TRUE(unbalance);
  EXPECT_DOUBLE_EQ(unbalance->value, 10);
  EXPECT_DOUBLE_EQ(unbalance->plus_minus, 11) << "10 % by the negative sequence and 10 % of 10 % by the positive one";
}

TEST(FiguresText, HasNoUnbalanceOfAPositiveSequenceWithinItsUncertainty) {
  EXPECT_TRUE(outputs::unbalance_percent(segment_within_13_volts(13.1, 5)));
  EXPECT_FALSE(outputs::unbalance_percent(segment_within_13_volts(13, 5)));
  auto segment = segment_within_13_volts(130, 13);
  segment.sequences->unbalance_percent.reset();
  EXPECT_FALSE(outputs::unbalance_percent(segment));
  segment.sequences.reset();
  EXPECT_FALSE(outputs::unbalance_percent(segment));
}

TEST(FiguresText, CutsTheMiddleOutOfLongNames) {
  EXPECT_EQ(shortened("abcdefghijklmnop", 16), "abcdefghijklmnop");
  EXPECT_EQ(shortened("abcdefghijklmnopq", 16), "abcdefghi…klmnopq");
  EXPECT_EQ(shortened("1-500kV南乐Ⅰ线电压Ua", 16), "1-500kV南…电压Ua") << "letters that are two columns wide";
  EXPECT_EQ(outputs::columns_of("1-500kV南…电压Ua"), 16U);
  EXPECT_EQ(shortened("Фаза", 4), "Фаза");
}

TEST(FiguresText, NamesTheSideOfATransformer) {
  readers::Channel channel;
  EXPECT_FALSE(outputs::is_of_transformer(channel));
  channel.side = 'S';
  EXPECT_FALSE(outputs::is_of_transformer(channel)) << "of one to one";
  channel.primary = 110000;
  channel.secondary = 100;
  EXPECT_TRUE(outputs::is_of_transformer(channel));
  EXPECT_EQ(outputs::side_text(channel), "secondary values, transformer 110000:100");
  channel.side = 'P';
  EXPECT_EQ(outputs::side_text(channel), "primary values, transformer 110000:100");
  channel.side = 0;
  EXPECT_EQ(outputs::side_text(channel), "transformer 110000:100");
}

}  // namespace
