#include "measure/gradual_course.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::MadeWaveform;
using tests::phasor;
using tests::ramped;

const double peak = 230 * std::numbers::sqrt2;
const Phasors before = {phasor(1, 0), phasor(1, -120), phasor(1, 120)};

/// A made waveform and its excerpt, which refers to it.
struct Followed {
  explicit Followed(MadeWaveform waveform) : made(std::move(waveform)) {}
  MadeWaveform made;
  Excerpt excerpt{made.waveform(), 0, made.waveform().length(), peak, 50};
};

TEST(GradualCourse, RisesThroughAShareWhereTheLastPhaseDoes) {
  // From 50 %, 80 % and 65 % to 100 % within 0.3 s: phase A passes 90 % after four fifths of the time.
  const Followed rise(ramped({phasor(115, 0), phasor(184, -120), phasor(149.5, 120)}, balanced(230), 0.2, 0.5, 0.7));
  const GradualCourse course(rise.excerpt, 0.2, 0.5, false);
  EXPECT_NEAR(course.rises_through(before, 0.9), 0.2 + 0.8 * 0.3, 1e-3);
  EXPECT_NEAR(course.first_share(before), 0.5, 2e-3);
  EXPECT_NEAR(course.lowest_share(before), 0.5, 2e-3);
  EXPECT_NEAR(std::abs(course.lowest()[0] - phasor(0.5, 0)), 0, 2e-3);
  EXPECT_NEAR(std::abs(course.lowest()[1] - phasor(0.8, -120)), 0, 2e-3);
}

TEST(GradualCourse, FallsThroughAShareWhereTheFirstPhaseDoes) {
  const Followed fall(ramped(balanced(230), {phasor(115, 0), phasor(184, -120), phasor(149.5, 120)}, 0.2, 0.5, 0.7));
  const GradualCourse course(fall.excerpt, 0.2, 0.5, false);
  EXPECT_NEAR(course.falls_through(before, 0.9), 0.2 + 0.2 * 0.3, 1e-3);
  EXPECT_NEAR(course.first_share(before), 1, 2e-3);
}

TEST(GradualCourse, ThatStaysLowRisesAtItsEnd) {
  const Followed rise(ramped(balanced(115), balanced(184), 0.2, 0.5, 0.7));
  const GradualCourse course(rise.excerpt, 0.2, 0.5, false);
  EXPECT_EQ(course.rises_through(before, 0.9), 0.5);
  EXPECT_EQ(course.rises_through(before, 0.3), 0.2) << "it is above that from its beginning";
  EXPECT_EQ(course.falls_through(before, 0.3), 0.5) << "no phase falls there";
}

TEST(GradualCourse, KnowsHowMuchItChanges) {
  const Followed rise(ramped(balanced(115), balanced(184), 0.2, 0.5, 0.7));
  const GradualCourse course(rise.excerpt, 0.2, 0.5, false);
  // Its first and last instants lie within the course: three quarters of the last window of two cycles, at least.
  EXPECT_NEAR(course.change(), 0.3, 0.3 * 0.02 / 0.3);
  EXPECT_NEAR(course.spread(), 0.15, 0.15 * 0.02 / 0.3);
}

TEST(GradualCourse, TurnsWhereItIsFarthestFromItsEnds) {
  // Down from 100 % to 60 % and up again, with the lowest point at 0.4 s.
  auto made = ramped(balanced(230), balanced(138), 0.2, 0.4, 0.8);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) {
      const double share = std::clamp((t - 0.4) / 0.2, 0.0, 1.0);
      return tests::turning(share * balanced(92)[phase], 50, t);
    });
  }
  const Followed valley(std::move(made));
  const GradualCourse course(valley.excerpt, 0.2, 0.6, false);
  EXPECT_NEAR(course.turning_point(), 0.4, 0.02);
  // A fit over four cycles round the lowest point has their mean at least, which is 4 % above it.
  EXPECT_GT(course.lowest_share(before), 0.6);
  EXPECT_LT(course.lowest_share(before), 0.641);
}

TEST(GradualCourse, OfARampGoesStraightFromOneCourseToTheOther) {
  const Followed rise(ramped(balanced(115), balanced(230), 0.3, 0.34, 0.7));
  measure::Run ramp;
  ramp.gradual = true;
  ramp.begin_s = 0.3;
  ramp.end_s = 0.34;
  ramp.ramp = std::pair(PhasorFit(rise.excerpt, 0, rise.excerpt.index_at(0.29), {}),
                        PhasorFit(rise.excerpt, rise.excerpt.index_at(0.35), rise.excerpt.length(), {}));
  const GradualCourse course(rise.excerpt, ramp);
  EXPECT_NEAR(course.rises_through(before, 0.9), 0.3 + 0.8 * 0.04, 1e-6);
  EXPECT_NEAR(course.rises_through(before, 0.75), 0.32, 1e-6);
  EXPECT_NEAR(std::abs(course.first()[0]), 0.5, 1e-6);
  EXPECT_NEAR(std::abs(course.last()[0]), 1, 1e-6);
  EXPECT_NEAR(course.change(), 0.5, 1e-6);
}

}  // namespace
}  // namespace measure
