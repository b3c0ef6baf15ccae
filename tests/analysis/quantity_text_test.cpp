// Voltages as people read them.
#include "analysis/quantity_text.h"

#include <gtest/gtest.h>

namespace {

using analysis::volts_text;

TEST(QuantityText, GivesVoltagesFourDigitsAndThePrefixThatSuitsThem) {
  EXPECT_EQ(volts_text(63360), "63.36 kV");
  EXPECT_EQ(volts_text(3.4771e6), "3.477 MV");
  EXPECT_EQ(volts_text(230), "230.0 V");
  EXPECT_EQ(volts_text(0.5036), "503.6 mV");
  EXPECT_EQ(volts_text(0), "0.000 V");
}

TEST(QuantityText, SpellsCountsUpToTwelve) {
  EXPECT_EQ(analysis::count_text(0), "0");
  EXPECT_EQ(analysis::count_text(1), "one");
  EXPECT_EQ(analysis::count_text(12), "twelve");
  EXPECT_EQ(analysis::count_text(13), "13");
}

TEST(QuantityText, GivesDurationsInMillisecondsBelowASecond) {
  EXPECT_EQ(analysis::duration_text(0.2802), "280.2 ms");
  EXPECT_EQ(analysis::duration_text(1), "1.000 s");
  EXPECT_EQ(analysis::duration_text(8.13), "8.130 s");
}

}  // namespace
