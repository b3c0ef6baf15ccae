#include "measure/ramp.h"

#include <gtest/gtest.h>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::ramped;
using tests::staged;

const double peak = 230 * std::numbers::sqrt2;
/// Sixteenths of the time looked at, halved five times and once more.
constexpr double resolution_s = 0.16 / 16 / 64;

Ramp fitted(const MadeWaveform& made) {
  const Excerpt excerpt(made.waveform(), 0, made.waveform().length(), peak, 50);
  const auto fit = [&](double from_s, double to_s) {
    return PhasorFit(excerpt, excerpt.index_at(from_s), excerpt.index_at(to_s), {});
  };
  return fit_ramp(excerpt, fit(0.02, 0.12), fit(0.28, 0.38), 0.12, 0.28);
}

TEST(Ramp, BeginsAndEndsWhereTheChangeDoes) {
  const auto made = ramped(balanced(115), balanced(230), 0.1513, 0.2344, 0.4);
  const Ramp ramp = fitted(made);
  EXPECT_NEAR(ramp.begin_s, 0.1513, 2 * resolution_s);
  EXPECT_NEAR(ramp.end_s, 0.2344, 2 * resolution_s);
  EXPECT_NEAR(ramp.length_s(), 0.0831, 4 * resolution_s);
  EXPECT_LT(ramp.residual, 1e-5);
  EXPECT_GT(ramp.step_residual, 100 * ramp.residual);
}

TEST(Ramp, LeavesAsMuchAsAStepWhereThereIsAStep) {
  const auto made = staged({{0, balanced(115)}, {0.2, balanced(230)}}, 0.4);
  const Ramp ramp = fitted(made);
  EXPECT_NEAR(ramp.begin_s, 0.2, 2 * resolution_s);
  EXPECT_NEAR(ramp.end_s, 0.2, 2 * resolution_s);
  EXPECT_LT(ramp.length_s(), 0.001);
}

TEST(Ramp, IsNotMovedByMissingSamples) {
  auto made = ramped(balanced(230), balanced(46), 0.16, 0.24, 0.4);
  made.lose(1, 0.19, 0.2);
  const Ramp ramp = fitted(made);
  EXPECT_NEAR(ramp.begin_s, 0.16, 2 * resolution_s);
  EXPECT_NEAR(ramp.end_s, 0.24, 2 * resolution_s);
}

}  // namespace
}  // namespace measure
