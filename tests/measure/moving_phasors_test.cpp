#include "measure/moving_phasors.h"

#include <gtest/gtest.h>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::phasor;
using tests::Stage;
using tests::staged;

const double peak = 230 * std::numbers::sqrt2;

TEST(MovingPhasors, AreTheFundamentalWhereverTheWindowLies) {
  // 25.6 averages to a cycle, of which a window takes 26.
  auto made = staged({{0, {phasor(230, 0), phasor(115, -120), phasor(23, 45)}}}, 0.1);
  made.add(0, [](double) { return 50.0; });
  const Excerpt excerpt(made.waveform(), 0, 640, peak, 50);
  const MovingPhasors moving(excerpt);
  EXPECT_EQ(moving.window(), 26U);
  for (const std::size_t begin : {0U, 13U, 102U}) {
    const auto found = moving.at(begin);
    ASSERT_TRUE(found);
    EXPECT_NEAR(std::abs((*found)[0] - phasor(1, 0)), 0, 1e-9);
    EXPECT_NEAR(std::abs((*found)[1] - phasor(0.5, -120)), 0, 1e-9);
    EXPECT_NEAR(std::abs((*found)[2] - phasor(0.1, 45)), 0, 1e-9);
  }
  EXPECT_NEAR(moving.time_of(0), (0 + 26 * 5 - 1) / 2.0 / 6400, 1e-12);
  EXPECT_NEAR(moving.time_of(10) - moving.time_of(0), 50.0 / 6400, 1e-12);
}

TEST(MovingPhasors, DoNotExistBeyondTheEndAndWhereSamplesAreMissing) {
  auto made = staged({{0, balanced(230)}}, 0.1);
  made.lose(1, 0.0501, 0.0505);
  const Excerpt excerpt(made.waveform(), 0, 640, peak, 50);
  const MovingPhasors moving(excerpt);
  for (std::size_t begin = 0; begin <= excerpt.length(); begin++) {
    bool whole = begin + moving.window() <= excerpt.length();
    for (std::size_t i = begin; whole && i < begin + moving.window(); i++) whole = !excerpt.is_missing(i);
    EXPECT_EQ(moving.at(begin).has_value(), whole) << begin;
  }
}

TEST(MovingPhasors, HalfwayOverAStepAreHalfwayBetweenItsSides) {
  // A sum of products over a cycle is that of its halves, and each half has half of its own side's fundamental.
  const auto made = staged({{0, balanced(230)}, {0.105 - 0.5 / 1200, balanced(115)}}, 0.2, {1200, 50, 1});
  const Excerpt excerpt(made.waveform(), 0, 240, peak, 50);
  const MovingPhasors moving(excerpt);
  ASSERT_EQ(moving.window(), 24U);
  const auto found = moving.at(126 - 12);
  ASSERT_TRUE(found);
  EXPECT_NEAR(std::abs((*found)[0] - 0.75), 0, 1e-9);
}

}  // namespace
}  // namespace measure
