#include "measure/measure.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::staged;

TEST(Measure, FindsTheLowestOfSixVoltagesOfPhasesOnly) {
  const auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.7, balanced(230)}}, 1.2);
  for (const bool between_phases : {false, true}) {
    Options options;
    options.between_phases = between_phases;
    const Findings findings = measure(made.waveform(), options);
    ASSERT_EQ(findings.events.size(), 1U);
    ASSERT_TRUE(findings.events[0].course);
    EXPECT_EQ(findings.events[0].course->lowest_of_six.has_value(), !between_phases);
  }
}

/// The same samples at a rate of a hundredth are a dip that takes a hundred times as long.
TEST(Measure, MeasuresAtAnyLineFrequency) {
  const auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.7, balanced(230)}}, 1.2);
  for (const Reference reference : {Reference::pre_event, Reference::sliding}) {
    Options options;
    options.reference = reference;
    const Findings usual = measure(made.waveform(), options);
    Waveform slow = made.waveform();
    slow.rate /= 200;
    slow.line_frequency /= 200;
    const Findings findings = measure(slow, options);
    ASSERT_EQ(usual.events.size(), 1U);
    ASSERT_GE(findings.events.size(), 1U);
    EXPECT_EQ(findings.events[0].kind, EventKind::dip);
    EXPECT_NEAR(findings.events[0].start_s, 200 * usual.events[0].start_s, 200 * 0.001);
  }
}

TEST(Measure, LeavesAPhaseWithoutVoltageAside) {
  Phasors high = balanced(230);
  Phasors low = balanced(115);
  high[2] = low[2] = 0;
  auto made = staged({{0, high}, {0.5, low}, {0.7, high}}, 1.3);
  made.add_noise(0.5);
  const Findings findings = measure(made.waveform(), {});
  ASSERT_EQ(findings.events.size(), 1U) << "its noise is not an event";
  const Event& dip = findings.events[0];
  EXPECT_NEAR(dip.extreme_v, 115, 1) << "the residual voltage is not that of its noise";
  EXPECT_NE(dip.extreme_phase, 2U);
  ASSERT_EQ(dip.course->segments.size(), 1U);
  EXPECT_LT(dip.course->segments[0].phases[0].voltage_v.plus_minus, 1);
  EXPECT_GT(dip.course->explained_share.value(), 0.9);
}

TEST(Measure, FindsTheSegmentOfAShortDipInStrongNoise) {
  const Phasors low = {tests::phasor(172.5, 0), tests::phasor(230, -120), tests::phasor(230, 120)};
  for (int shift = 0; shift < 16; shift++) {
    const double from_s = 0.08 + shift * 0.00125;
    auto made = staged({{0, balanced(230)}, {from_s, low}, {from_s + 0.06, balanced(230)}}, 0.4, {800, 50});
    made.add_noise(28);  // its standard deviation is 5 % of the peak
    const Findings findings = measure(made.waveform(), {});
    ASSERT_EQ(findings.events.size(), 1U) << "from " << from_s << " s";
    const Course& course = *findings.events[0].course;
    ASSERT_TRUE(course.start_s);
    EXPECT_NEAR(course.start_s->value, from_s, 0.01);
    ASSERT_EQ(course.segments.size(), 1U) << "from " << from_s << " s";
    EXPECT_NEAR(course.segments[0].phases[0].voltage_v.value, 172.5, 10);
  }
}

TEST(Measure, JudgesAPhaseWithoutVoltageByTheDeclaredOne) {
  Phasors voltages = balanced(230);
  voltages[2] = 0;
  Options options;
  options.reference = Reference::declared;
  options.declared_v = 230;
  const Findings findings = measure(staged({{0, voltages}}, 1.3).waveform(), options);
  ASSERT_EQ(findings.events.size(), 1U);
  EXPECT_EQ(findings.events[0].phases, (PhaseFlags{false, false, true}));
  EXPECT_FALSE(findings.events[0].start_known);
}

void expect_finite(const Figure& figure) {
  EXPECT_TRUE(std::isfinite(figure.value));
  EXPECT_TRUE(std::isfinite(figure.plus_minus));
}

/// Each figure of all events is a number.
void expect_finite(const Findings& findings) {
  EXPECT_TRUE(std::isfinite(findings.frequency));
  for (const Event& event : findings.events) {
    for (const double volts : {event.extreme_v, event.reference_v, event.delta_max_v, event.delta_steady_v}) {
      EXPECT_TRUE(std::isfinite(volts));
    }
    for (std::size_t phase = 0; phase < most_phases; phase++) {
      EXPECT_TRUE(std::isfinite(event.lowest_v[phase]));
      EXPECT_TRUE(std::isfinite(event.highest_v[phase]));
    }
    if (!event.course) continue;
    const Course& course = *event.course;
    for (const auto& figure : {course.start_s, course.end_s}) {
      if (figure) expect_finite(*figure);
    }
    for (const auto& figure : course.point_on_wave_degrees) {
      if (figure) expect_finite(*figure);
    }
    for (const double slope : course.steepest_change_v_per_s) EXPECT_TRUE(std::isfinite(slope));
    for (const Phasor& phasor : course.before) EXPECT_TRUE(std::isfinite(std::abs(phasor)));
    EXPECT_TRUE(std::isfinite(course.frequency));
    EXPECT_TRUE(std::isfinite(course.explained_share.value_or(0)));
    for (const Segment& segment : course.segments) {
      for (const SegmentPhase& phase : segment.phases) {
        expect_finite(phase.voltage_v);
        EXPECT_TRUE(std::isfinite(phase.share_of_before));
        if (phase.phase_jump_degrees) expect_finite(*phase.phase_jump_degrees);
      }
    }
  }
}

TEST(Measure, HasNumbersForAnySamples) {
  const auto dip = [] { return staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.8, balanced(230)}}, 1.4); };
  for (const double huge : {1e120, 1e300, std::numeric_limits<double>::max()}) {
    auto one_sample = dip();
    one_sample.add(0, [&](double t) { return std::abs(t - 0.3) < 1e-4 ? huge : 0; });
    expect_finite(measure(one_sample.waveform(), {}));
    auto one_phase = dip();
    one_phase.add(0, [&](double t) { return huge * std::cos(314 * t); });
    expect_finite(measure(one_phase.waveform(), {}));
    auto all = dip();
    for (std::size_t phase = 0; phase < 3; phase++) all.add(phase, [&](double t) { return huge * std::sin(314 * t); });
    EXPECT_THROW(static_cast<void>(measure(all.waveform(), {})), TooLittle);
  }
}

TEST(Measure, RefusesVoltagesThatNoRecorderResolves) {
  for (const double volts : {1e-317, 1e-30, 1e-10}) {
    const auto dip = staged({{0, balanced(volts)}, {0.5, balanced(0.5 * volts)}, {0.8, balanced(volts)}}, 1.4);
    EXPECT_THROW(static_cast<void>(measure(dip.waveform(), {})), TooLittle);
  }
  const auto per_unit = staged({{0, balanced(1)}, {0.5, balanced(0.5)}, {0.8, balanced(1)}}, 1.4);
  EXPECT_EQ(measure(per_unit.waveform(), {}).events.size(), 1U);
}

TEST(Measure, HasNumbersWhereverSamplesAreMissing) {
  for (const double from_s : {0.0, 0.48, 0.5, 0.51, 0.6, 0.77, 0.79}) {
    for (const double length_s : {0.003, 0.02, 0.05, 0.25}) {
      auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.8, balanced(230)}}, 1.4);
      for (std::size_t phase = 0; phase < 3; phase++) made.lose(phase, from_s, from_s + length_s);
      const Findings findings = measure(made.waveform(), {});
      expect_finite(findings);
      for (const Event& event : findings.events) {
        if (!event.course || !event.course->start_s || !event.course->end_s) continue;
        EXPECT_NEAR(event.course->start_s->value, 0.5, event.course->start_s->plus_minus) << from_s << ' ' << length_s;
        EXPECT_NEAR(event.course->end_s->value, 0.8, event.course->end_s->plus_minus) << from_s << ' ' << length_s;
      }
    }
  }
}

}  // namespace
}  // namespace measure
