// Angles and names as people read them.
#include "outputs/figures_text.h"

#include <gtest/gtest.h>

namespace {

using outputs::angle_text;
using outputs::shortened;
using outputs::turn_text;

TEST(FiguresText, HasNoAngleOfAFullTurn) {
  EXPECT_EQ(angle_text(359.94), "359.9°");
  EXPECT_EQ(angle_text(359.97), "0.0°");
  EXPECT_EQ(angle_text(0.04), "0.0°");
}

TEST(FiguresText, GivesATurnItsSignUnlessThereIsNone) {
  EXPECT_EQ(turn_text(4.3), "+4.3°");
  EXPECT_EQ(turn_text(-19.4), "-19.4°");
  EXPECT_EQ(turn_text(0.04), "0.0°");
  EXPECT_EQ(turn_text(-0.04), "0.0°");
  EXPECT_EQ(turn_text(-0.06), "-0.1°");
  EXPECT_EQ(turn_text(10.04), "+10.0°");
}

TEST(FiguresText, CutsTheMiddleOutOfLongNames) {
  EXPECT_EQ(shortened("abcdefghijklmnop", 16), "abcdefghijklmnop");
  EXPECT_EQ(shortened("abcdefghijklmnopq", 16), "abcdefghi…klmnopq");
  EXPECT_EQ(shortened("1-500kV南乐Ⅰ线电压Ua", 16), "1-500kV南…电压Ua") << "letters that are two columns wide";
  EXPECT_EQ(outputs::columns_of("1-500kV南…电压Ua"), 16U);
  EXPECT_EQ(shortened("Фаза", 4), "Фаза");
}

TEST(FiguresText, TellsTheSideOfATransformer) {
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
