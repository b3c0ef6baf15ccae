#include "measure/frequency.h"

#include <gtest/gtest.h>

#include "measure/wiring.h"
#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::staged;

constexpr double for_ever = std::numeric_limits<double>::infinity();
/// Tolerance of the frequency in hertz if the track was computed for another one.
constexpr double close = 2e-3;

FrequencyRound round_dip(const MadeWaveform& made, double start_s, double end_s) {
  const CycleTrack track(made.waveform());
  return frequency_round(track, Wiring{}.to_positive(), made.waveform().phases.size(), start_s, end_s);
}

TEST(Frequency, IsFoundOnBothSidesOfADip) {
  for (const double hertz : {49.7, 50.0, 50.25}) {
    const auto made =
        staged({{0, balanced(230)}, {0.5, balanced(115, -20)}, {0.7, balanced(230)}}, 1.2, {6400, hertz, 3});
    const FrequencyRound found = round_dip(made, 0.5, 0.7);
    EXPECT_NEAR(found.hertz, hertz, close);
    ASSERT_TRUE(found.before);
    EXPECT_NEAR(*found.before, hertz, close);
    ASSERT_TRUE(found.after);
    EXPECT_NEAR(*found.after, hertz, close);
    EXPECT_LT(found.plus_minus, close);
  }
}

TEST(Frequency, MayBeAnotherAfterTheDip) {
  // The frequency is 49.9 Hz before and 50.1 Hz after; the angle is continuous at the change in the middle of the dip.
  MadeWaveform made(6400, 1.2, 50, 3);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) {
      const double turns = 49.9 * std::min(t, 0.6) + 50.1 * std::max(t - 0.6, 0.0);
      const double volts = t >= 0.5 && t < 0.7 ? 115 : 230;
      return std::numbers::sqrt2 * volts * std::cos(2 * tests::pi * (turns - static_cast<double>(phase) / 3));
    });
  }
  const FrequencyRound found = round_dip(made, 0.5, 0.7);
  ASSERT_TRUE(found.before && found.after);
  EXPECT_NEAR(*found.before, 49.9, close);
  EXPECT_NEAR(*found.after, 50.1, close);
  EXPECT_NEAR(found.hertz, 50, 0.1 + close);
}

TEST(Frequency, IsThatOfOneSideWhereTheRecordHasNoOther) {
  const auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}}, 0.8, {6400, 49.8, 3});
  const FrequencyRound found = round_dip(made, 0.5, for_ever);
  EXPECT_NEAR(found.hertz, 49.8, close);
  EXPECT_TRUE(found.before);
  EXPECT_FALSE(found.after);
}

TEST(Frequency, IsNotGivenForTwoCycles) {
  const auto made = staged({{0, balanced(230)}, {0.045, balanced(115)}, {0.2, balanced(230)}}, 0.8);
  const FrequencyRound found = round_dip(made, 0.045, 0.2);
  EXPECT_FALSE(found.before);
  ASSERT_TRUE(found.after);
  EXPECT_NEAR(*found.after, 50, close);
}

TEST(Frequency, IsThatOfAPhaseThatADipLeavesAloneIfLittleIsKnownOtherwise) {
  // Only phase A dips, and the two cycles before and after it are too few to carry its angle on for a second.
  const Phasors healthy = balanced(230);
  Phasors dipped = healthy;
  dipped[0] *= 0.1;
  const auto made = staged({{0, healthy}, {0.045, dipped}, {1.045, healthy}}, 1.09, {6400, 50.13, 3});
  const FrequencyRound found = round_dip(made, 0.045, 1.045);
  EXPECT_NEAR(found.hertz, 50.13, close);
  EXPECT_LT(found.plus_minus, close);
}

TEST(Frequency, OfOnePhaseIsFoundAsWell) {
  const auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.7, balanced(230)}}, 1.2, {6400, 60.2, 1});
  EXPECT_NEAR(round_dip(made, 0.5, 0.7).hertz, 60.2, 5 * close);
}

}  // namespace
}  // namespace measure
