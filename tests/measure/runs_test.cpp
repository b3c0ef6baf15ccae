#include "measure/runs.h"

#include <gtest/gtest.h>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::phasor;
using tests::ramped;
using tests::staged;

const double peak = 230 * std::numbers::sqrt2;
constexpr double sample_s = 1.0 / 6400;

std::vector<Run> runs_in(const MadeWaveform& made) {
  const Excerpt excerpt(made.waveform(), 0, made.waveform().length(), peak, 50);
  return runs_of(excerpt, partition(excerpt));
}

TEST(Runs, OfASteadyVoltageAreOne) {
  const auto made = staged({{0, balanced(230)}}, 0.6);
  const auto runs = runs_in(made);
  ASSERT_EQ(runs.size(), 1U);
  EXPECT_FALSE(runs[0].gradual);
  EXPECT_FALSE(runs[0].begins_abruptly);
  EXPECT_FALSE(runs[0].ends_abruptly);
  EXPECT_NEAR(runs[0].begin_s, 0, sample_s);
  EXPECT_NEAR(runs[0].end_s, 0.6, sample_s);
}

TEST(Runs, LieBetweenSteps) {
  const Phasors low = {phasor(115, -20), phasor(230, -120), phasor(200, 110)};
  const auto made = staged({{0, balanced(230)}, {0.3031, low}, {0.4217, balanced(230)}}, 0.8);
  const auto runs = runs_in(made);
  ASSERT_EQ(runs.size(), 3U);
  for (const measure::Run& run : runs) EXPECT_FALSE(run.gradual);
  EXPECT_TRUE(runs[0].ends_abruptly);
  EXPECT_TRUE(runs[1].begins_abruptly);
  EXPECT_TRUE(runs[1].ends_abruptly);
  EXPECT_TRUE(runs[2].begins_abruptly);
  EXPECT_NEAR(runs[0].end_s, 0.3031, sample_s);
  EXPECT_NEAR(runs[1].begin_s, 0.3031, sample_s);
  EXPECT_NEAR(runs[1].end_s, 0.4217, sample_s);
  EXPECT_NEAR(runs[2].begin_s, 0.4217, sample_s);
  EXPECT_NEAR(runs[1].length_s(), 0.4217 - 0.3031, 2 * sample_s);
  const Phasors found = runs[1].stretches.back().fit.phasors(0.35);
  for (std::size_t phase = 0; phase < 3; phase++) EXPECT_NEAR(std::abs(found[phase] - low[phase] / 230.0), 0, 1e-3);
}

TEST(Runs, AreGradualWhereTheVoltageRisesSlowly) {
  const auto made = ramped(balanced(115), balanced(230), 0.3, 0.6, 0.9);
  const auto runs = runs_in(made);
  ASSERT_EQ(runs.size(), 3U);
  EXPECT_FALSE(runs[0].gradual);
  ASSERT_TRUE(runs[1].gradual);
  EXPECT_FALSE(runs[2].gradual);
  EXPECT_FALSE(runs[1].begins_abruptly);
  EXPECT_FALSE(runs[1].ends_abruptly);
  // A quarter of a cycle of this rise is less than a hundredth of the usual voltage.
  EXPECT_NEAR(runs[1].begin_s, 0.3, 0.005);
  EXPECT_NEAR(runs[1].end_s, 0.6, 0.005);
  ASSERT_TRUE(runs[1].ramp);
  EXPECT_NEAR(std::abs(runs[1].ramp->first.phasors(0.4)[0]), 0.5, 1e-3);
  EXPECT_NEAR(std::abs(runs[1].ramp->second.phasors(0.4)[0]), 1, 1e-3);
}

TEST(Runs, BeginWithASuddenFallBeforeASlowRecovery) {
  auto made = ramped(balanced(115), balanced(230), 0.3, 0.6, 0.9);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) { return t < 0.3 ? tests::turning(balanced(115)[phase], 50, t) : 0; });
  }
  const auto runs = runs_in(made);
  ASSERT_EQ(runs.size(), 3U);
  EXPECT_NEAR(runs[0].end_s, 0.3, sample_s);
  EXPECT_TRUE(runs[1].gradual);
  EXPECT_TRUE(runs[1].begins_abruptly);
  EXPECT_FALSE(runs[1].ends_abruptly);
}

TEST(Runs, DoNotChangeWithADecayingOffset) {
  auto made = staged({{0, balanced(230)}, {0.3, balanced(115)}, {0.5, balanced(230)}}, 0.8);
  made.add(0, [](double t) { return t < 0.3 || t >= 0.5 ? 0 : 80 * std::exp(-(t - 0.3) / 0.02); });
  const auto runs = runs_in(made);
  ASSERT_EQ(runs.size(), 3U);
  EXPECT_NEAR(runs[1].begin_s, 0.3, sample_s);
  EXPECT_NEAR(runs[1].end_s, 0.5, sample_s);
}

TEST(Runs, AreSteadyUntilACollapseThatNoPieceExplains) {
  // A fault of four cycles, and a voltage that ends within the next piece and rings.
  const Phasors fault = {phasor(150, 3), phasor(270, -125), phasor(228, 125)};
  for (const double rings_for_s : {0.004, 0.008, 0.012}) {
    auto made = staged({{0, balanced(230)}, {0.3, fault}, {0.394, balanced(0)}}, 0.8);
    for (std::size_t phase = 1; phase < 3; phase++) {
      made.add(phase, [&](double t) {
        return t < 0.394 ? 0 : tests::turning(phasor(300, 0), 270, t) * std::exp(-(t - 0.394) / rings_for_s);
      });
    }
    const Excerpt excerpt(made.waveform(), 0, made.waveform().length(), peak, 50);
    std::vector<Piece> pieces;
    std::size_t begin = 0;
    for (const auto& [end_s, linear] :
         {std::pair(0.3, false), {0.38, false}, {0.405, true}, {0.43, false}, {0.8, false}}) {
      const std::size_t end = std::min(excerpt.index_at(end_s), excerpt.length());
      pieces.push_back({begin, end, linear});
      begin = end;
    }
    const auto runs = runs_of(excerpt, pieces);
    ASSERT_EQ(runs.size(), 3U) << rings_for_s;
    EXPECT_FALSE(runs[1].gradual) << rings_for_s;
    EXPECT_NEAR(runs[1].begin_s, 0.3, 0.001) << rings_for_s;
    EXPECT_NEAR(runs[1].end_s, 0.387, 0.01) << rings_for_s;
    EXPECT_FALSE(runs[2].gradual) << rings_for_s;
  }
}

TEST(Runs, OfNoPiecesDoNotExist) {
  auto made = staged({{0, balanced(230)}}, 0.2);
  made.lose(0, 0, 0.2);
  EXPECT_TRUE(runs_in(made).empty());
}

}  // namespace
}  // namespace measure
