#include "measure/excerpt.h"

#include <gtest/gtest.h>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::staged;

const double peak = 230 * std::numbers::sqrt2;

TEST(Excerpt, AveragesWholeBlocksInUnitsOfThePeak) {
  // 128 samples per cycle: at most 24 averages per cycle take 5 samples each.
  MadeWaveform made(6400, 0.1, 50, 1);
  made.add(0, [](double t) { return 6400 * t; });  // each sample is its own index
  const Excerpt excerpt(made.waveform(), 100, 123, 10, 50);
  EXPECT_EQ(excerpt.block(), 5U);
  ASSERT_EQ(excerpt.length(), 4U) << "three samples are left over";
  EXPECT_NEAR(excerpt.average(0, 0), 10.2, 1e-9) << "of samples 100 to 104";
  EXPECT_NEAR(excerpt.average(0, 3), 11.7, 1e-9) << "of samples 115 to 119";
  EXPECT_NEAR(excerpt.value(0, 50), 5, 1e-9);
  EXPECT_NEAR(excerpt.averages_per_cycle(), 25.6, 1e-9);
  EXPECT_EQ(excerpt.phases(), 1U);
}

TEST(Excerpt, ReadsSamplesInTheirOwnUnit) {
  MadeWaveform made(6400, 0.1, 50, 1);
  made.add(0, [](double) { return 2.0; });
  Waveform waveform = made.waveform();
  waveform.phases[0].volts_per_unit = 100;
  const Excerpt excerpt(waveform, 0, 640, 400, 50);
  EXPECT_NEAR(excerpt.average(0, 7), 0.5, 1e-12);
  EXPECT_NEAR(excerpt.value(0, 7), 0.5, 1e-12);
}

TEST(Excerpt, EndsWhereTheWaveformEnds) {
  const auto made = staged({{0, balanced(230)}}, 0.1);
  const Excerpt excerpt(made.waveform(), 600, 10000, peak, 50);
  EXPECT_EQ(excerpt.end(), 640U);
  EXPECT_EQ(excerpt.length(), 8U);
}

TEST(Excerpt, KeepsTheTimesOfItsAverages) {
  const auto made = staged({{0, balanced(230)}}, 0.1);
  const Excerpt excerpt(made.waveform(), 100, 640, peak, 50);
  EXPECT_NEAR(excerpt.cycle(), 0.02, 1e-12);
  EXPECT_NEAR(excerpt.begin_s(), 99.5 / 6400, 1e-12);
  EXPECT_NEAR(excerpt.end_s(), 639.5 / 6400, 1e-12);
  EXPECT_NEAR(excerpt.time_of_sample(32), 0.005, 1e-12);
  EXPECT_NEAR(excerpt.start_of(0), 99.5 / 6400, 1e-12);
  EXPECT_NEAR(excerpt.time_of(0), 102.0 / 6400, 1e-12) << "the middle of samples 100 to 104";
  EXPECT_NEAR(excerpt.time_of(0.5), 104.5 / 6400, 1e-12);
}

TEST(Excerpt, FindsTheFirstAverageFromATimeOn) {
  const auto made = staged({{0, balanced(230)}}, 0.1);
  const Excerpt excerpt(made.waveform(), 100, 640, peak, 50);
  for (const std::size_t index : {0U, 1U, 50U, 107U}) {
    EXPECT_EQ(excerpt.index_at(excerpt.start_of(index)), index);
    EXPECT_EQ(excerpt.index_at(excerpt.start_of(index) + 1e-5), index + 1);
  }
  EXPECT_EQ(excerpt.index_at(-1), 0U);
  EXPECT_EQ(excerpt.index_at(1), excerpt.length());
}

TEST(Excerpt, KnowsTheShareOfAHarmonicThatAnAverageKeeps) {
  for (const int order : {1, 3, 5, 7}) {
    const auto harmonic = [&](double t) { return std::cos(2 * tests::pi * 50 * order * t + 0.4); };
    MadeWaveform made(6400, 0.1, 50, 1);
    made.add(0, harmonic);
    const Excerpt excerpt(made.waveform(), 0, 640, 1, 50);
    for (std::size_t i = 0; i < excerpt.length(); i++) {
      EXPECT_NEAR(excerpt.average(0, i), excerpt.attenuation(order) * harmonic(excerpt.time_of(static_cast<double>(i))),
                  1e-12);
    }
  }
}

TEST(Excerpt, OfFewSamplesPerCycleKeepsThemAll) {
  const auto made = staged({{0, balanced(230)}}, 0.1, {400, 50, 3});
  const Excerpt excerpt(made.waveform(), 0, 40, peak, 50);
  EXPECT_EQ(excerpt.block(), 1U);
  EXPECT_EQ(excerpt.length(), 40U);
  EXPECT_EQ(excerpt.attenuation(3), 1);
  for (std::size_t i = 0; i < 40; i++) EXPECT_NEAR(excerpt.average(2, i), made.sample(2, i) / peak, 1e-12);
}

TEST(Excerpt, HasAnAverageMissingWhereASampleOfAnyPhaseIs) {
  auto made = staged({{0, balanced(230)}}, 0.1);
  made.lose(1, 17.0 / 6400, 18.0 / 6400);
  const Excerpt excerpt(made.waveform(), 0, 640, peak, 50);
  for (std::size_t i = 0; i < excerpt.length(); i++) EXPECT_EQ(excerpt.is_missing(i), i == 3) << i;
}

TEST(Excerpt, IsReducedByTheSubtractedValues) {
  const auto made = staged({{0, balanced(230)}}, 0.1);
  Excerpt excerpt(made.waveform(), 0, 640, peak, 50);
  const double before = excerpt.average(0, 4);
  std::array<std::vector<double>, most_phases> values;
  values.fill(std::vector<double>(excerpt.length(), 0));
  values[0][4] = 0.25;
  excerpt.subtract(values);
  EXPECT_NEAR(excerpt.average(0, 4), before - 0.25, 1e-15);
}

}  // namespace
}  // namespace measure
