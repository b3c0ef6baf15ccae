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

TEST(QuantityText, HidesVoltagesThatNoConverterResolves) {
  EXPECT_EQ(analysis::volts_text_of(2.712e-8, 230), "0 V");
  EXPECT_EQ(analysis::volts_text_of(0.0022, 230), "0 V");
  EXPECT_EQ(analysis::volts_text_of(0.0024, 230), "2.400 mV");
  EXPECT_EQ(analysis::volts_text_of(-57.5, 230), "-57.50 V");
}

TEST(QuantityText, GivesPerCentOneDecimalAndKeepsThemShort) {
  EXPECT_EQ(analysis::percent_text(52.34), "52.3 %");
  EXPECT_EQ(analysis::percent_text(0), "0.0 %");
  EXPECT_EQ(analysis::percent_text(999999), "999999.0 %");
  EXPECT_EQ(analysis::percent_text(4.186e8), "4.19e+08 %");
  EXPECT_EQ(analysis::percent_text(8.7944154e25), "8.79e+25 %");
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

TEST(QuantityText, ShowsTheDigitThatDecidesOnWhichSideOfALimitAFigureLies) {
  EXPECT_EQ(analysis::percent_text(64.94, {}), "64.9 %");
  EXPECT_EQ(analysis::percent_text(89.96, {}), "89.96 %");
  EXPECT_EQ(analysis::percent_text(90.04, {}), "90.0 %") << "90 % and more are on the same side";
  EXPECT_EQ(analysis::percent_text(90, {}), "90.0 %");
  EXPECT_EQ(analysis::percent_text(109.97, {}), "109.97 %");
  EXPECT_EQ(analysis::percent_text(84.98, {.dip = 85}), "84.98 %");
  EXPECT_EQ(analysis::percent_text(70 - 1e-12, {}), "70.0 %") << "no more than rounding";
  EXPECT_EQ(analysis::duration_text(0.20004), "200.04 ms");
  EXPECT_EQ(analysis::duration_text(0.19996), "200.0 ms") << "200 ms and less are on the same side";
  EXPECT_EQ(analysis::duration_text(5.0002), "5.0002 s");
}

}  // namespace
