#include "measure/dip_type.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::phasor;

const double root3 = std::sqrt(3.0);
const Phasor j(0, 1);

/// The voltages of the seven types whose symmetrical phase is A, by their characteristic voltage: M. H. J. Bollen,
/// Understanding Power Quality Problems (IEEE Press, 2000), chapter 4. Those before are 1.
Phasors textbook(char letter, const Phasor& v) {
  switch (letter) {
    case 'A':
      return {v, -v / 2.0 - j * root3 / 2.0 * v, -v / 2.0 + j * root3 / 2.0 * v};
    case 'B':
      return {v, -0.5 - j * root3 / 2.0, -0.5 + j * root3 / 2.0};
    case 'C':
      return {1, -0.5 - j * root3 / 2.0 * v, -0.5 + j * root3 / 2.0 * v};
    case 'D':
      return {v, -v / 2.0 - j * root3 / 2.0, -v / 2.0 + j * root3 / 2.0};
    case 'E':
      return {1, -v / 2.0 - j * root3 / 2.0 * v, -v / 2.0 + j * root3 / 2.0 * v};
    case 'F':
      return {v, -v / 2.0 - j * (root3 / 3.0 + root3 / 6.0 * v), -v / 2.0 + j * (root3 / 3.0 + root3 / 6.0 * v)};
    default:
      return {2.0 / 3.0 + v / 3.0, -1.0 / 3.0 - v / 6.0 - j * root3 / 2.0 * v,
              -1.0 / 3.0 - v / 6.0 + j * root3 / 2.0 * v};
  }
}

/// Returns a state, given in units of the voltages before, in a network with these voltages whose phases have the roles
/// of A, B and C in the order `parts`.
Phasors in_network(const Phasors& state, const Phasors& before, const std::array<std::size_t, 3>& parts) {
  Phasors result{};
  for (std::size_t part = 0; part < 3; part++) {
    result[parts[part]] = before[parts[part]] * state[part] / balanced(1)[part];
  }
  return result;
}

bool falls_alone(char letter) {
  return letter == 'B' || letter == 'D' || letter == 'F';
}

/// The codes of the categories by the phase that is symmetrical.
int category_of(char letter, std::size_t symmetrical) {
  constexpr std::array<int, 3> one_phase = {3, 5, 1};   // A, B, C
  constexpr std::array<int, 3> two_phases = {0, 2, 4};  // BC, CA, AB
  if (falls_alone(letter)) return one_phase[symmetrical];
  return letter == 'E' ? two_phases[symmetrical] / 2 + 6 : two_phases[symmetrical];
}

void expect_type(const DipType& type, char letter, std::size_t symmetrical, const std::string& what) {
  EXPECT_EQ(type.letter, letter) << what;
  EXPECT_EQ(type.category, category_of(letter, symmetrical)) << what;
  for (std::size_t phase = 0; phase < 3; phase++) {
    EXPECT_EQ(type.phases[phase], (phase == symmetrical) == falls_alone(letter)) << what << ", phase " << phase;
  }
}

TEST(DipType, OfThreeEqualVoltagesIsA) {
  for (const Phasor& v : {phasor(0.6, 0), phasor(0.85, -20), phasor(0.02, 0)}) {
    const DipType type = type_of(in_network(textbook('A', v), balanced(230), {0, 1, 2}), balanced(230), {});
    EXPECT_EQ(type.letter, 'A');
    EXPECT_EQ(type.category, 9);
    EXPECT_EQ(type.phases, (PhaseFlags{true, true, true}));
    EXPECT_NEAR(std::abs(type.characteristic - v), 0, 1e-9);
    EXPECT_NEAR(std::abs(type.pn_factor - v), 0, 1e-9);
  }
}

TEST(DipType, IsThatOfTheTextbookForEachSymmetricalPhase) {
  const Phasors before = balanced(230, 25);
  for (const char letter : std::string("BCDEFG")) {
    for (std::size_t symmetrical = 0; symmetrical < 3; symmetrical++) {
      for (const Phasor& v : {phasor(0.3, 0), phasor(0.5, -15), phasor(0.8, 0), phasor(0.7, 10)}) {
        const Phasors state =
            in_network(textbook(letter, v), before, {symmetrical, (symmetrical + 1) % 3, (symmetrical + 2) % 3});
        const std::string what = std::string(1, letter) + ", " + std::to_string(symmetrical);
        expect_type(type_of(state, before, {}), letter, symmetrical, what);
      }
    }
  }
}

TEST(DipType, HasItsCharacteristicVoltageAndItsFactor) {
  const Phasors before = balanced(230);
  const Phasor v = phasor(0.6, -12);
  for (const char letter : std::string("CDEFG")) {
    const DipType type = type_of(in_network(textbook(letter, v), before, {1, 2, 0}), before, {});
    EXPECT_NEAR(std::abs(type.characteristic - v), 0, 1e-9) << letter;
    // If two phases fall to ground, the factor loses a third of the loss; otherwise it loses nothing.
    const Phasor factor = letter == 'C' || letter == 'D' ? 1 : (2.0 + v) / 3.0;
    EXPECT_NEAR(std::abs(type.pn_factor - factor), 0, 1e-9) << letter;
  }
  // Without its zero sequence a dip of type B is one of type D, with two thirds of the loss.
  const DipType type = type_of(in_network(textbook('B', v), before, {0, 1, 2}), before, {});
  EXPECT_NEAR(std::abs(type.characteristic - (1.0 + 2.0 * v) / 3.0), 0, 1e-9);
  EXPECT_NEAR(std::abs(type.pn_factor - 1.0), 0, 1e-9);
}

TEST(DipType, IsTheSameInAReversedNetwork) {
  const Phasors before = {phasor(230, 0), phasor(230, 120), phasor(230, -120)};
  Wiring reversed;
  reversed.reversed = true;
  for (const char letter : std::string("BCDEFG")) {
    for (std::size_t symmetrical = 0; symmetrical < 3; symmetrical++) {
      // C follows A, and B follows C.
      const Phasors state =
          in_network(textbook(letter, 0.5), before, {symmetrical, (symmetrical + 2) % 3, (symmetrical + 1) % 3});
      const std::string what = std::string(1, letter) + ", " + std::to_string(symmetrical);
      expect_type(type_of(state, before, reversed), letter, symmetrical, what);
    }
  }
}

TEST(DipType, IsTheSameWithATurnedPhase) {
  for (std::size_t turned = 0; turned < 3; turned++) {
    Phasors before = balanced(230);
    before[turned] = -before[turned];
    Wiring wiring;
    wiring.turned_phase = turned;
    for (const char letter : std::string("BCDEFG")) {
      const Phasors state = in_network(textbook(letter, 0.5), before, {1, 2, 0});
      expect_type(type_of(state, before, wiring), letter, 1, std::string(1, letter));
    }
  }
}

/// A state in which only the neutral has moved, by a share of the voltage of a phase and in its direction.
Phasors with_moved_neutral(const Phasors& before, std::size_t phase, double share) {
  Phasors state = before;
  for (Phasor& voltage : state) voltage += share * before[phase];
  return state;
}

TEST(DipType, OfAnEarthFaultThatMovesTheNeutralIsThatOfItsZeroSequence) {
  for (const bool reversed : {false, true}) {
    Phasors before = balanced(230, 25);
    if (reversed) std::swap(before[1], before[2]);
    const Wiring wiring = wiring_of(before, 3);
    for (std::size_t phase = 0; phase < 3; phase++) {
      const std::string what = (reversed ? "reversed, " : "") + std::to_string(phase);
      // The phase with the fault keeps 30 %, and the two others rise to 1.4 times what they had.
      expect_type(type_of(with_moved_neutral(before, phase, -0.7), before, wiring), 'B', phase, what);
      // A phase without fault rises to one and a half times what it had, and the two others fall.
      expect_type(type_of(with_moved_neutral(before, phase, 0.5), before, wiring), 'E', phase, what);
    }
  }
}

TEST(DipType, OfAMovedNeutralDoesNotHangOnARestOfNegativeSequence) {
  const Phasors before = balanced(230);
  for (int degrees = 0; degrees < 360; degrees += 30) {
    Phasors state = with_moved_neutral(before, 0, -0.7);
    for (std::size_t phase = 0; phase < 3; phase++) state[phase] += std::conj(before[phase]) * phasor(0.1, degrees);
    expect_type(type_of(state, before, {}), 'B', 0, std::to_string(degrees) + " degrees");
  }
}

TEST(DipType, OfAMovedNeutralDoesNotHangOnALossOfPositiveSequence) {
  const Phasors before = balanced(230);
  Phasors state = with_moved_neutral(before, 0, -0.7);
  for (std::size_t phase = 0; phase < 3; phase++) {
    state[phase] += -0.3 * before[phase] + std::conj(before[phase]) * phasor(0.1, 180);
  }
  expect_type(type_of(state, before, {}), 'B', 0, "zero sequence 0.7, loss 0.3, negative sequence 0.1");
}

TEST(DipType, IsThatOfThePhaseThatFallsWhileOthersRise) {
  // The positive sequence hardly changes, so that the angle of its loss means nothing.
  for (const double risen : {1.44, 1.47, 1.5}) {
    Phasors now = balanced(risen);
    now[0] *= 0.05 / risen;
    const DipType type = type_of(now, balanced(1), {});
    EXPECT_EQ(type.letter, 'B') << risen;
    EXPECT_EQ(type.phases, (PhaseFlags{true, false, false})) << risen;
  }
}

TEST(DipType, OfThreePhasesThatFallIsANextToALittleZeroSequence) {
  const Phasors before = balanced(230);
  Phasors state{};
  for (std::size_t phase = 0; phase < 3; phase++) state[phase] = 0.25 * before[phase] - 0.1 * before[0];
  const DipType type = type_of(state, before, {});
  EXPECT_EQ(type.letter, 'A');
}

TEST(DipType, IgnoresInequalityBeforeTheDip) {
  const Phasors before = {phasor(230, 0), phasor(221, -118), phasor(240, 123)};
  for (const char letter : std::string("ACD")) {
    const DipType type = type_of(in_network(textbook(letter, 0.5), before, {0, 1, 2}), before, {});
    EXPECT_EQ(type.letter, letter);
    EXPECT_NEAR(std::abs(type.characteristic - 0.5), 0, 1e-9);
  }
}

TEST(Sequences, AreThoseOfTheirDefinition) {
  const Phasor positive = phasor(200, 10);
  const Phasor negative = phasor(30, 50);
  const Phasor zero = phasor(12, -80);
  const Phasor a = std::polar(1.0, 2 * tests::pi / 3);
  const Phasors voltages = {positive + negative + zero, a * a * positive + a * negative + zero,
                            a * positive + a * a * negative + zero};
  const Sequences found = sequences_of(voltages, {});
  EXPECT_NEAR(found.positive_v, 200, 1e-9);
  EXPECT_NEAR(found.negative_v, 30, 1e-9);
  EXPECT_NEAR(found.zero_v, 12, 1e-9);
  ASSERT_TRUE(found.unbalance_percent);
  EXPECT_NEAR(*found.unbalance_percent, 15, 1e-9);

  Wiring reversed;
  reversed.reversed = true;
  const Sequences other = sequences_of({voltages[0], voltages[2], voltages[1]}, reversed);
  EXPECT_NEAR(other.positive_v, 200, 1e-9);
  EXPECT_NEAR(other.negative_v, 30, 1e-9);
  EXPECT_NEAR(other.zero_v, 12, 1e-9);
}

TEST(Sequences, HaveNoUnbalanceWithoutAVoltage) {
  EXPECT_FALSE(sequences_of({}, {}).unbalance_percent);
}

}  // namespace
}  // namespace measure
