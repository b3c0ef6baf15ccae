#include "measure/levels.h"

#include <gtest/gtest.h>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::phasor;
using tests::staged;

UsualLevels levels_of(const MadeWaveform& made) {
  return usual_levels(CycleTrack(made.waveform()), made.waveform().phases.size());
}

TEST(UsualLevels, AreThoseOfTheFirstSteadyTime) {
  auto made = staged({{0, {phasor(230, 0), phasor(228, -120), phasor(233, 120)}}, {0.5, balanced(115)}}, 1);
  made.add(0, [](double t) { return tests::turning(46, 250, t) + 20; });
  const UsualLevels levels = levels_of(made);
  EXPECT_NEAR(levels.fundamental_v[0], 230, 0.01) << "of the fundamental alone";
  EXPECT_NEAR(levels.fundamental_v[1], 228, 0.01);
  EXPECT_NEAR(levels.fundamental_v[2], 233, 0.01);
  EXPECT_FALSE(levels.begins_low);
  EXPECT_NEAR(levels.from_s, 0, 0.001);
  EXPECT_NEAR(levels.to_s, 0.5, 0.001);
}

TEST(UsualLevels, AreTheLaterOnesWhereTheRecordBeginsLow) {
  const auto made = staged({{0, balanced(115)}, {0.3, balanced(230)}}, 1);
  const UsualLevels levels = levels_of(made);
  EXPECT_TRUE(levels.begins_low);
  for (std::size_t phase = 0; phase < 3; phase++) EXPECT_NEAR(levels.fundamental_v[phase], 230, 0.01);
  EXPECT_NEAR(levels.from_s, 0.3, 0.021);
  EXPECT_NEAR(levels.to_s, 1, 0.001);
}

TEST(UsualLevels, AreTheLaterOnesWhereAFaultRaisesPhases) {
  // An earth fault of two phases becomes one of one phase before it ends.
  const Phasors two = {phasor(75, 0), phasor(75, -120), phasor(300, 120)};
  const Phasors one = {phasor(75, 0), phasor(290, -120), phasor(290, 120)};
  const auto made = staged({{0, two}, {0.2, one}, {0.4, balanced(230)}}, 1);
  const UsualLevels levels = levels_of(made);
  EXPECT_TRUE(levels.begins_low);
  for (std::size_t phase = 0; phase < 3; phase++) EXPECT_NEAR(levels.fundamental_v[phase], 230, 0.01);
}

TEST(UsualLevels, AreTheFirstOnesBeforeASwell) {
  const Phasors unequal = {phasor(226, 0), phasor(230, -120), phasor(233, 120)};
  const auto made = staged({{0, unequal}, {0.2, balanced(276)}}, 1);
  const UsualLevels levels = levels_of(made);
  EXPECT_FALSE(levels.begins_low);
  EXPECT_NEAR(levels.fundamental_v[0], 226, 0.01);
}

TEST(UsualLevels, AreTheFirstOnesWhereTheRecordIsLowMostOfTheTime) {
  const auto made = staged({{0, balanced(115)}, {0.7, balanced(230)}}, 1);
  const UsualLevels levels = levels_of(made);
  EXPECT_FALSE(levels.begins_low);
  EXPECT_NEAR(levels.fundamental_v[0], 115, 0.01);
}

TEST(UsualLevels, OfAVoltageThatSinksInTheSecondCycleAreThoseOfTheFirst) {
  // An event lowers one phase and raises another one.
  const Phasors low = {phasor(115, 0), phasor(299, -120), phasor(230, 120)};
  for (const double from_s : {0.025, 0.03, 0.035}) {
    const auto made = staged({{0, balanced(230)}, {from_s, low}}, 0.5);
    const UsualLevels levels = levels_of(made);
    for (std::size_t phase = 0; phase < 3; phase++) EXPECT_NEAR(levels.fundamental_v[phase], 230, 0.5) << from_s;
    EXPECT_LE(levels.to_s, from_s);
  }
}

/// Three voltages of 230 V, multiplied by a factor that is a function of the time in seconds.
template <typename Factor>
MadeWaveform scaled(double seconds, Factor factor) {
  MadeWaveform made(6400, seconds, 50, 3);
  for (std::size_t phase = 0; phase < 3; phase++) {
    const Phasor of_phase = balanced(230)[phase];
    made.add(phase, [&](double t) { return factor(t) * tests::turning(of_phase, 50, t); });
  }
  return made;
}

TEST(UsualLevels, OfARecorderThatStartsUpAreThoseItSettlesTo) {
  for (const double extra : {0.6, 0.4, 0.3}) {
    const auto made = scaled(0.52, [&](double t) { return 1 + extra * std::exp(-t / 0.03); });
    const UsualLevels levels = levels_of(made);
    for (std::size_t phase = 0; phase < 3; phase++) EXPECT_NEAR(levels.fundamental_v[phase], 230, 3) << extra;
  }
}

TEST(UsualLevels, AreNotThoseOfADipThatFollowsAnUnsteadyBeginning) {
  const auto made = scaled(0.52, [](double t) { return t < 0.3 ? 1 + 0.6 * std::exp(-t / 0.03) : 1.4; });  // it returns
  EXPECT_GT(levels_of(made).fundamental_v[0], 260);
}

TEST(UsualLevels, AreNotThoseOfADeadLine) {
  // Next to nothing, or nothing at all, becomes 57 V for only a quarter of the record.
  for (const double dead_v : {0.0037, 0.0}) {
    const auto made = staged({{0, balanced(dead_v)}, {0.75, balanced(57)}}, 1);
    const UsualLevels levels = levels_of(made);
    EXPECT_TRUE(levels.begins_low);
    for (std::size_t phase = 0; phase < 3; phase++) EXPECT_NEAR(levels.fundamental_v[phase], 57, 0.01);
    EXPECT_NEAR(levels.from_s, 0.75, 0.021);
  }
}

TEST(UsualLevels, OfTooShortARecordAreThoseOfItsFirstCycles) {
  const auto made = staged({{0, balanced(230)}}, 0.02);
  const UsualLevels levels = levels_of(made);
  EXPECT_NEAR(levels.fundamental_v[0], 230, 0.01);
  EXPECT_EQ(levels.from_s, 0);
}

}  // namespace
}  // namespace measure
