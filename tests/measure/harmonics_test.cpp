#include "measure/harmonics.h"

#include <gtest/gtest.h>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::phasor;
using tests::staged;
using tests::turning;

const double peak = 230 * std::numbers::sqrt2;

/// Returns the largest remaining difference from the voltage of the stages between two times.
double left(const MadeWaveform& made, const MadeWaveform& pure, double until_s, double from_s, double to_s) {
  Excerpt excerpt(made.waveform(), 0, made.waveform().length(), peak, 50);
  const Excerpt wanted(pure.waveform(), 0, pure.waveform().length(), peak, 50);
  remove_harmonics(excerpt, CycleTrack(made.waveform()), until_s);
  double most = 0;
  for (std::size_t i = excerpt.index_at(from_s); i < excerpt.index_at(to_s); i++) {
    for (std::size_t phase = 0; phase < 3; phase++) {
      most = std::max(most, std::abs(excerpt.average(phase, i) - wanted.average(phase, i)));
    }
  }
  return most;
}

TEST(Harmonics, AreTakenOffTheSteadyVoltage) {
  const auto pure = staged({{0, balanced(230)}}, 0.6);
  auto made = staged({{0, balanced(230)}}, 0.6);
  for (std::size_t phase = 0; phase < 3; phase++) {
    for (const int order : {3, 5, 7}) {
      made.add(phase, [&](double t) { return turning(phasor(14, 50.0 * order), 50 * order, t); });
    }
  }
  EXPECT_LT(left(made, pure, 0.4, 0, 0.6), 1e-4);
  EXPECT_GT(left(made, pure, 0.01, 0, 0.6), 0.1) << "nothing can be said of half a cycle";
}

TEST(Harmonics, ShrinkWithTheFundamental) {
  // In the dip the voltage is half of what it was, with its harmonics.
  const auto pure = staged({{0, balanced(230)}, {0.3, balanced(115)}}, 0.6);
  auto made = staged({{0, balanced(230)}, {0.3, balanced(115)}}, 0.6);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) { return turning(t < 0.3 ? 20 : 10, 250, t); });
  }
  EXPECT_LT(left(made, pure, 0.29, 0, 0.27), 1e-3);
  EXPECT_LT(left(made, pure, 0.29, 0.33, 0.6), 1e-3);
}

TEST(Harmonics, AreThoseOfTheTimeBeforeAnotherDip) {
  // The arc of a dip that ends two cycles before the next one has harmonics of its own.
  const auto pure = staged({{0, balanced(230)}, {0.4, balanced(115)}, {0.5, balanced(230)}}, 0.8);
  auto made = staged({{0, balanced(230)}, {0.4, balanced(115)}, {0.5, balanced(230)}}, 0.8);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [](double t) { return t < 0.4 || t >= 0.5 ? turning(20, 250, t) : turning(40, 150, t); });
  }
  EXPECT_LT(left(made, pure, 0.54, 0.54, 0.8), 1e-3);
}

TEST(Harmonics, LeaveOtherComponentsUnchanged) {
  auto pure = staged({{0, balanced(230)}, {0.3, balanced(115, 20)}}, 0.6);
  pure.add(0, [](double t) { return t < 0.3 ? 20 : 80 * std::exp(-(t - 0.3) / 0.02); });
  EXPECT_LT(left(pure, pure, 0.29, 0, 0.6), 1e-3);
}

}  // namespace
}  // namespace measure
