#include "measure/instants.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::phasor;
using tests::staged;

const double peak = 230 * std::numbers::sqrt2;

/// Pins a change down with the courses from 0.1 s to 0.19 s and from 0.22 s to 0.3 s.
Instants pinned(const MadeWaveform& made, bool closely = false) {
  const Excerpt excerpt(made.waveform(), 0, made.waveform().length(), peak, 50);
  const auto fit = [&](double from_s, double to_s) {
    return PhasorFit(excerpt, excerpt.index_at(from_s), excerpt.index_at(to_s), {});
  };
  return pin_down(excerpt, fit(0.1, 0.19), fit(0.22, 0.3), 0.18, 0.23, closely);
}

TEST(Instants, LieBetweenTheLastSampleBeforeAndTheFirstAfter) {
  // Steps occur at all fractions of a sample and of a cycle; the change lies in the middle between two samples.
  for (const double at : {0.2, 0.20003, 0.2031, 0.205, 0.2099, 0.2117}) {
    const auto made = staged({{0, balanced(230)}, {at, balanced(115)}}, 0.4);
    const Instants instants = pinned(made);
    const double expected = (std::ceil(at * 6400 - 1e-9) - 0.5) / 6400;
    EXPECT_NEAR(instants.first_s, expected, 1e-9) << at;
    EXPECT_NEAR(instants.last_s, expected, 1e-9) << at;
    EXPECT_GE(instants.first_plus_minus, 0.5 / 6400);
    EXPECT_LT(instants.first_plus_minus, 5.0 / 6400) << "three phases that fall to a half say clearly when";
  }
}

TEST(Instants, GoFromTheFirstPhaseThatChangesToTheLast) {
  const auto made = staged(
      {{0, balanced(230)}, {0.2, {phasor(46, 0), phasor(230, -120), phasor(230, 120)}}, {0.206, balanced(46)}}, 0.4);
  const Instants instants = pinned(made);
  EXPECT_NEAR(instants.first_s, 0.2, 1.0 / 6400);
  // At 0.206 s one of the two other phases lies near a zero crossing, so the other one alone shows the change.
  EXPECT_NEAR(instants.last_s, 0.206, 1.0 / 6400);
}

TEST(Instants, LeavePhasesAsideThatDoNotChange) {
  auto made = staged({{0, balanced(230)}, {0.2, {phasor(115, 0), phasor(230, -120), phasor(230, 120)}}}, 0.4);
  // There is a spike on a phase that does not change otherwise.
  made.add(1, [](double t) { return std::abs(t - 0.215) < 0.0005 ? 200.0 : 0.0; });
  const Instants instants = pinned(made);
  EXPECT_NEAR(instants.first_s, 0.2, 1.0 / 6400);
  EXPECT_NEAR(instants.last_s, 0.2, 1.0 / 6400);
}

TEST(Instants, LieWhereTheFirstSmallDeviationBegins) {
  // A breaker opens phase A 0.2 ms before its voltage crosses zero, when it has 6 % of its peak, and the other phases
  // 2 ms later. The next three samples of A deviate by less.
  constexpr double opens_s = 0.2;
  const double degrees = 90 - 0.0002 * 50 * 360;
  MadeWaveform made(6400, 0.4, 50, 3);
  for (std::size_t phase = 0; phase < 3; phase++) {
    const Phasor rms = balanced(230, degrees)[phase];
    const double end = phase == 0 ? opens_s : opens_s + 0.002;
    made.add(phase, [&](double t) { return t < end ? tests::turning(rms, 50, t - opens_s) : 0; });
  }
  const Instants instants = pinned(made, true);
  EXPECT_NEAR(instants.first_s, opens_s, 1.0 / 6400);
  EXPECT_NEAR(instants.first_s, opens_s, instants.first_plus_minus);
}

TEST(Instants, DoNotLieWhereAFilterShowsAStepAhead) {
  // The samples are those of a low pass with a symmetrical response of six samples.
  constexpr double step_s = 0.2;
  constexpr std::array<double, 6> response = {0.025, -0.05, 0.525, 0.525, -0.05, 0.025};
  MadeWaveform made(6400, 0.4, 50, 1);
  made.add(0, [&](double t) {
    double value = 0;
    for (std::size_t k = 0; k < response.size(); k++) {
      const double seconds = t + (static_cast<double>(k) - 2.5) / 6400;
      value += response[k] * tests::turning(phasor(seconds < step_s ? 230 : 46, 30), 50, seconds);
    }
    return value;
  });
  EXPECT_NEAR(pinned(made, true).first_s, step_s, 1.0 / 6400);
}

TEST(Instants, AreLessSureTheSmallerTheChange) {
  const auto spread = [](double volts) {
    auto made = staged({{0, balanced(230)}, {0.2, balanced(volts)}}, 0.4);
    made.add_noise(20);
    const Instants instants = pinned(made);
    // Of the two samples round the change the second one lies at 0.2 s.
    constexpr double change_s = 0.2 - 0.5 / 6400;
    EXPECT_NEAR(instants.first_s, change_s, instants.first_plus_minus);
    EXPECT_NEAR(instants.last_s, change_s, instants.last_plus_minus);
    return instants.first_plus_minus;
  };
  EXPECT_LT(spread(46), spread(218));
}

TEST(Instants, AreFoundDespiteMissingSamples) {
  auto made = staged({{0, balanced(230)}, {0.2, balanced(115)}}, 0.4);
  made.lose(0, 0.198, 0.202);
  const Instants instants = pinned(made);
  EXPECT_NEAR(instants.first_s, 0.2, 1.0 / 6400) << "the two other phases show it";
}

}  // namespace
}  // namespace measure
