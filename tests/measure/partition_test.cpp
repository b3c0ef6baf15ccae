#include "measure/partition.h"

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
constexpr double grid_s = 0.02 / 8;  // of borders

Excerpt all_of(const MadeWaveform& made) {
  return {made.waveform(), 0, made.waveform().length(), peak, 50};
}

/// The times at which one piece gives way to the next; the pieces must cover the whole excerpt.
std::vector<double> borders(const Excerpt& excerpt, const std::vector<Piece>& pieces) {
  std::vector<double> times;
  EXPECT_FALSE(pieces.empty());
  if (pieces.empty()) return times;
  EXPECT_EQ(pieces.front().begin, 0U);
  EXPECT_EQ(pieces.back().end, excerpt.length());
  for (std::size_t k = 1; k < pieces.size(); k++) {
    EXPECT_EQ(pieces[k].begin, pieces[k - 1].end);
    times.push_back(excerpt.start_of(pieces[k].begin));
  }
  return times;
}

TEST(Partition, OfASteadyVoltageIsOnePiece) {
  const auto made = staged({{0, balanced(230)}}, 0.8);
  const auto pieces = partition(all_of(made));
  ASSERT_EQ(pieces.size(), 1U);
  EXPECT_FALSE(pieces[0].linear);
}

TEST(Partition, OfASteadyVoltageWithHarmonicsIsOnePiece) {
  auto made = staged({{0, balanced(230)}}, 0.8);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [](double t) { return tests::turning(phasor(9, 20), 150, t) + tests::turning(14, 250, t); });
  }
  EXPECT_EQ(partition(all_of(made)).size(), 1U);
}

TEST(Partition, HasABorderNextToEachStep) {
  const auto made = staged(
      {{0, balanced(230)}, {0.3, {phasor(115, 0), phasor(230, -120), phasor(230, 120)}}, {0.4123, balanced(230)}}, 0.7);
  const Excerpt excerpt = all_of(made);
  const auto times = borders(excerpt, partition(excerpt));
  ASSERT_EQ(times.size(), 2U);
  EXPECT_NEAR(times[0], 0.3, grid_s);
  EXPECT_NEAR(times[1], 0.4123, grid_s);
}

TEST(Partition, FindsAJumpOfOnlyTheAngle) {
  const auto made = staged({{0, balanced(230)}, {0.3, balanced(230, 15)}}, 0.6);
  const Excerpt excerpt = all_of(made);
  const auto times = borders(excerpt, partition(excerpt));
  ASSERT_EQ(times.size(), 1U);
  EXPECT_NEAR(times[0], 0.3, grid_s);
}

TEST(Partition, FindsAPieceOfOneCycle) {
  const auto made = staged({{0, balanced(230)}, {0.3, balanced(115)}, {0.32, balanced(230)}}, 0.6);
  const Excerpt excerpt = all_of(made);
  const auto times = borders(excerpt, partition(excerpt));
  ASSERT_EQ(times.size(), 2U);
  EXPECT_NEAR(times[0], 0.3, grid_s);
  EXPECT_NEAR(times[1], 0.32, grid_s);
}

TEST(Partition, HasALinearPieceWhereTheVoltageRisesSlowly) {
  const auto made = ramped(balanced(115), balanced(230), 0.3, 0.7, 1);
  const Excerpt excerpt = all_of(made);
  const auto pieces = partition(excerpt);
  const std::size_t middle = excerpt.index_at(0.5);
  for (const Piece& piece : pieces) {
    if (piece.begin <= middle && middle < piece.end) {
      EXPECT_TRUE(piece.linear);
    }
  }
  EXPECT_FALSE(pieces.front().linear);
  EXPECT_FALSE(pieces.back().linear);
  // Half-way from the border to the ramp's end the fundamental is at most a cycle's rise away from the steady one.
  EXPECT_NEAR(borders(excerpt, pieces).front(), 0.3, 0.02);
  EXPECT_NEAR(borders(excerpt, pieces).back(), 0.7, 0.02);
}

TEST(Partition, OfFewSamplesPerCycleFindsStepsOnACoarserGrid) {
  const auto made = staged({{0, balanced(230)}, {0.3, balanced(115)}}, 0.6, {400, 50, 3});
  const Excerpt excerpt = all_of(made);
  const auto times = borders(excerpt, partition(excerpt));
  ASSERT_EQ(times.size(), 1U);
  EXPECT_NEAR(times[0], 0.3, 0.02 / 4);
}

TEST(Partition, OfOneAndTwoPhasesFindsTheirSteps) {
  for (const std::size_t phases : {1U, 2U}) {
    const auto made = staged({{0, balanced(230)}, {0.3, balanced(115)}}, 0.6, {6400, 50, phases});
    const Excerpt excerpt = all_of(made);
    const auto times = borders(excerpt, partition(excerpt));
    ASSERT_EQ(times.size(), 1U);
    EXPECT_NEAR(times[0], 0.3, grid_s);
  }
}

TEST(Partition, FindsAStepAcrossMissingSamples) {
  auto made = staged({{0, balanced(230)}, {0.3, balanced(115)}}, 0.6);
  made.lose(0, 0.295, 0.315);
  const Excerpt excerpt = all_of(made);
  const auto times = borders(excerpt, partition(excerpt));
  ASSERT_FALSE(times.empty());
  EXPECT_GE(times.front(), 0.295 - grid_s);
  EXPECT_LE(times.back(), 0.315 + grid_s);
}

}  // namespace
}  // namespace measure
