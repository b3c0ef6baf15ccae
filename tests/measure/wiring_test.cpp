#include "measure/wiring.h"

#include <gtest/gtest.h>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::phasor;

Phasor sum(const Phasors& voltages, const Phasors& turns) {
  return voltages[0] * turns[0] + voltages[1] * turns[1] + voltages[2] * turns[2];
}

/// Returns whether a wiring turns normal voltages of 230 V into a pure positive sequence.
void expect_fits(const Wiring& wiring, const Phasors& normal) {
  EXPECT_NEAR(std::abs(sum(normal, wiring.to_positive())), 690, 1e-9);
  EXPECT_NEAR(std::abs(sum(normal, wiring.to_negative())), 0, 1e-9);
  EXPECT_NEAR(std::abs(sum(normal, wiring.to_zero())), 0, 1e-9);
}

TEST(Wiring, OfAPositiveSequenceIsRight) {
  const Wiring wiring = wiring_of(balanced(230, 17), 3);
  EXPECT_FALSE(wiring.reversed);
  EXPECT_FALSE(wiring.turned_phase);
  expect_fits(wiring, balanced(230, 17));
}

TEST(Wiring, OfANegativeSequenceIsReversed) {
  const Phasors normal = {phasor(230, 17), phasor(230, 137), phasor(230, -103)};
  const Wiring wiring = wiring_of(normal, 3);
  EXPECT_TRUE(wiring.reversed);
  EXPECT_FALSE(wiring.turned_phase);
  expect_fits(wiring, normal);
}

TEST(Wiring, FindsAPhaseOfTurnedPolarity) {
  for (std::size_t turned = 0; turned < 3; turned++) {
    Phasors normal = balanced(230, 40);
    normal[turned] = -normal[turned];
    const Wiring wiring = wiring_of(normal, 3);
    EXPECT_FALSE(wiring.reversed);
    EXPECT_EQ(wiring.turned_phase, turned);
    expect_fits(wiring, normal);
  }
}

TEST(Wiring, FindsReversedRotationAndTurnedPolarityTogether) {
  for (std::size_t turned = 0; turned < 3; turned++) {
    Phasors normal = {phasor(230, 0), phasor(230, 120), phasor(230, -120)};
    normal[turned] = -normal[turned];
    const Wiring wiring = wiring_of(normal, 3);
    EXPECT_TRUE(wiring.reversed);
    EXPECT_EQ(wiring.turned_phase, turned);
    expect_fits(wiring, normal);
  }
}

TEST(Wiring, OfAnythingButThreeVoltagesOfOneSizeIsRight) {
  for (const Phasors& normal :
       {Phasors{phasor(230, 0), phasor(230, 120), 0}, Phasors{phasor(230, 0), phasor(115, 120), phasor(230, -120)}}) {
    EXPECT_FALSE(wiring_of(normal, 3).reversed);
    EXPECT_FALSE(wiring_of(normal, 3).turned_phase);
  }
  EXPECT_FALSE(wiring_of({phasor(230, 0), phasor(230, 120), phasor(230, -120)}, 2).reversed);
}

}  // namespace
}  // namespace measure
