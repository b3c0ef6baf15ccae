#include "measure/course.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "measure/detector.h"
#include "measure/half_cycle_rms.h"
#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::degrees_of;
using tests::MadeWaveform;
using tests::phasor;
using tests::ramped;
using tests::Sampling;
using tests::staged;

constexpr double sample_s = 1.0 / 6400;

/// The courses of a waveform's dips. Events are found against each voltage's own usual level, or the declared voltage.
std::vector<Course> courses_in(const MadeWaveform& made, std::optional<double> declared_v = {}) {
  const Waveform& waveform = made.waveform();
  const std::size_t phases = waveform.phases.size();
  const CycleTrack track(waveform);
  const UsualLevels levels = usual_levels(track, phases);
  std::vector<HalfCycleRms> series;
  for (std::size_t phase = 0; phase < phases; phase++) {
    series.push_back(half_cycle_rms(waveform, phase, track, levels.fundamental_v[phase]));
  }
  References references;
  references.start = levels.fundamental_v;
  if (declared_v) references.start.fill(*declared_v);
  const std::size_t usual = track.cycle_at((levels.from_s + levels.to_s) / 2);
  const Wiring wiring = wiring_of(track.phasors(usual), phases);
  std::vector<Course> courses;
  double free_from_s = 0;
  for (const Event& event : detect(series, references, {})) {
    if (event.kind != EventKind::dip) continue;
    courses.push_back(measure_course({waveform, track, levels, wiring, declared_v}, event, free_from_s));
    if (courses.back().end_s) free_from_s = courses.back().end_s->value;
  }
  return courses;
}

/// Returns the course of a waveform's only dip.
Course course_in(const MadeWaveform& made, std::optional<double> declared_v = {}) {
  const auto courses = courses_in(made, declared_v);
  EXPECT_EQ(courses.size(), 1U);
  return courses.empty() ? Course{} : courses[0];
}

void expect_start_and_end(const Course& course, double start_s, double end_s, double off = sample_s) {
  ASSERT_TRUE(course.start_s);
  EXPECT_NEAR(course.start_s->value, start_s, off);
  ASSERT_TRUE(course.end_s);
  // The end is the middle of the time in which the change may be over while ringing follows.
  EXPECT_NEAR(course.end_s->value, end_s, std::max(off, course.end_s->plus_minus));
  EXPECT_LT(course.end_s->plus_minus, std::max(0.0012, 5 * off));
}

void expect_voltages(const Segment& segment, const Phasors& rms, const Phasors& before, std::size_t phases = 3,
                     double percent = 0.3) {
  for (std::size_t phase = 0; phase < phases; phase++) {
    const SegmentPhase& found = segment.phases[phase];
    const double volts = std::abs(before[phase]) * percent / 100;
    EXPECT_NEAR(found.voltage_v.value, std::abs(rms[phase]), volts) << "phase " << phase;
    EXPECT_NEAR(found.share_of_before, std::abs(rms[phase] / before[phase]), percent / 100) << "phase " << phase;
    EXPECT_EQ(found.below_threshold, std::abs(rms[phase]) < 0.9 * std::abs(before[phase]));
    ASSERT_TRUE(found.phase_jump_degrees) << "phase " << phase;
    EXPECT_NEAR(found.phase_jump_degrees->value, degrees_of(rms[phase] / before[phase]), 0.5) << "phase " << phase;
  }
}

// --- steps -----------------------------------------------------------------------------------------------------------

TEST(Course, OfADipOfOneStageIsThatStage) {
  const Phasors low = {phasor(115, -25), phasor(230, -120), phasor(200, 112)};
  for (const double start : {0.5, 0.5012, 0.5047, 0.5081, 0.5133}) {
    const double end = start + 0.2043;
    const auto made = staged({{0, balanced(230)}, {start, low}, {end, balanced(230)}}, 1.3);
    const Course course = course_in(made);
    expect_start_and_end(course, start, end);
    ASSERT_EQ(course.segments.size(), 1U) << start;
    const Segment& segment = course.segments[0];
    EXPECT_FALSE(segment.gradual);
    EXPECT_TRUE(segment.measured);
    EXPECT_NEAR(segment.start_s, start, sample_s);
    ASSERT_TRUE(segment.end_s);
    EXPECT_NEAR(*segment.end_s, end, sample_s);
    expect_voltages(segment, low, balanced(230));
    EXPECT_NEAR(course.explained_share.value(), 1, 1e-9);
    EXPECT_EQ(course.level_source, LevelSource::before);
    EXPECT_NEAR(course.frequency, 50, 2e-3);
  }
}

TEST(Course, HasTwoTransitionsRoundOneStage) {
  const Phasors low = {phasor(115, 0), phasor(230, -120), phasor(161, 120)};
  const Course course = course_in(staged({{0, balanced(230)}, {0.5, low}, {0.7, balanced(230)}}, 1.3));
  ASSERT_EQ(course.transitions.size(), 2U);
  for (const Transition& transition : course.transitions) {
    EXPECT_FALSE(transition.gradual);
    EXPECT_EQ(transition.phases, (PhaseFlags{true, false, true}));
    EXPECT_NEAR(transition.end_s, transition.start_s, sample_s);
  }
  EXPECT_NEAR(course.transitions[0].start_s, 0.5, sample_s);
  EXPECT_NEAR(course.transitions[1].start_s, 0.7, sample_s);
}

TEST(Course, HasEachStageOfADip) {
  const Phasors first = {phasor(115, -20), phasor(230, -120), phasor(230, 120)};
  const Phasors second = {phasor(92, -20), phasor(138, -140), phasor(230, 120)};
  const Phasors third = {phasor(172.5, 0), phasor(184, -120), phasor(195.5, 120)};
  const Course course = course_in(
      staged({{0, balanced(230)}, {0.5023, first}, {0.6, second}, {0.7777, third}, {0.9, balanced(230)}}, 1.5));
  expect_start_and_end(course, 0.5023, 0.9);
  ASSERT_EQ(course.segments.size(), 3U);
  expect_voltages(course.segments[0], first, balanced(230));
  expect_voltages(course.segments[1], second, balanced(230));
  expect_voltages(course.segments[2], third, balanced(230));
  EXPECT_NEAR(course.segments[1].start_s, 0.6, sample_s);
  EXPECT_NEAR(*course.segments[1].end_s, 0.7777, sample_s);
  ASSERT_EQ(course.transitions.size(), 4U);
  EXPECT_EQ(course.transitions[1].phases, (PhaseFlags{true, true, false}));
  EXPECT_EQ(course.transitions[2].phases, (PhaseFlags{true, true, true}));
}

TEST(Course, KnowsThePointOnWaveOfEachPhase) {
  // A sine that begins at 0 s with 90 degrees: after 25 cycles and 13 ms it is at 324 degrees.
  const Course course = course_in(staged({{0, balanced(230)}, {0.513, balanced(115)}, {0.7, balanced(230)}}, 1.3));
  const double degrees = 90 + 360 * 0.65;
  for (std::size_t phase = 0; phase < 3; phase++) {
    ASSERT_TRUE(course.point_on_wave_degrees[phase]);
    const double expected = degrees - 120 * static_cast<double>(phase);
    const double off = std::remainder(course.point_on_wave_degrees[phase]->value - expected, 360);
    EXPECT_NEAR(off, 0, 360 * 50 * sample_s);
    EXPECT_GE(course.point_on_wave_degrees[phase]->value, 0);
    EXPECT_LT(course.point_on_wave_degrees[phase]->value, 360);
  }
}

TEST(Course, IsNotMovedByHarmonicsNoiseAndOffsets) {
  const Phasors low = {phasor(115, -25), phasor(230, -120), phasor(200, 112)};
  auto made = staged({{0, balanced(230)}, {0.5047, low}, {0.7, balanced(230)}}, 1.3);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) { return tests::turning(phasor(7, 20), 250, t) + 10; });
  }
  made.add(0, [](double t) { return t < 0.5047 || t >= 0.7 ? 0 : 60 * std::exp(-(t - 0.5047) / 0.012); });
  made.add_noise(1);
  const Course course = course_in(made);
  expect_start_and_end(course, 0.5047, 0.7, 2 * sample_s);
  ASSERT_EQ(course.segments.size(), 1U);
  expect_voltages(course.segments[0], low, balanced(230));
}

TEST(Course, HasIntervalsThatContainTheTrueValues) {
  const Phasors low = {phasor(115, -25), phasor(230, -120), phasor(200, 112)};
  auto made = staged({{0, balanced(230)}, {0.5047, low}, {0.7, balanced(230)}}, 1.3);
  made.add_noise(5);
  const Course course = course_in(made);
  ASSERT_TRUE(course.start_s && course.end_s);
  EXPECT_NEAR(course.start_s->value, 0.5047, course.start_s->plus_minus);
  EXPECT_NEAR(course.end_s->value, 0.7, course.end_s->plus_minus);
  ASSERT_EQ(course.segments.size(), 1U);
  for (std::size_t phase = 0; phase < 3; phase++) {
    const Figure& voltage = course.segments[0].phases[phase].voltage_v;
    EXPECT_GT(voltage.plus_minus, 0);
    EXPECT_LT(voltage.plus_minus, 2.3) << "1 % of the voltage before";
  }
}

TEST(Course, HasATransitionThatLastsAsLongAsTheChange) {
  // For 2 ms the voltages are neither the old nor the new ones.
  const Course course = course_in(
      staged({{0, balanced(230)}, {0.5, balanced(230, 10)}, {0.502, balanced(115, -10)}, {0.7, balanced(230)}}, 1.4));
  expect_start_and_end(course, 0.5, 0.7);
  ASSERT_EQ(course.segments.size(), 1U);
  EXPECT_NEAR(course.segments[0].start_s, 0.502, 2 * sample_s);
  expect_voltages(course.segments[0], balanced(115, -10), balanced(230));
  ASSERT_FALSE(course.transitions.empty());
  EXPECT_NEAR(course.transitions[0].end_s - course.transitions[0].start_s, 0.002, 3 * sample_s);
}

/// Returns the start of the only segment of a dip to half the voltage, after whose start an offset of phase A decays.
/// `offset`: its initial voltage, relative to the peak before the dip.
double start_before_a_decay(double from_s, double offset, double decay_s) {
  auto made = staged({{0, balanced(230)}, {from_s, balanced(115)}, {0.7, balanced(230)}}, 1.4);
  made.add(0, [&](double t) {
    const double peak = 230 * std::numbers::sqrt2;
    return t < from_s || t >= 0.7 ? 0 : offset * peak * std::exp(-(t - from_s) / decay_s);
  });
  const Course course = course_in(made);
  EXPECT_NEAR(course.start_s->value, from_s, 2 * sample_s);
  EXPECT_EQ(course.segments.size(), 1U);
  expect_voltages(course.segments[0], balanced(115), balanced(230), 3, 0.5);
  EXPECT_DOUBLE_EQ(course.transitions[0].end_s, course.segments[0].start_s);
  return course.segments[0].start_s;
}

TEST(Course, HasATransitionThatLastsUntilASwitchingTransientHasDecayed) {
  // To the fundamental of the cycle that begins at a time t, the offset adds what a Fourier integral gives. The segment
  // begins when that changes the voltage by 2 % of the voltage before.
  constexpr double from = 0.505;
  constexpr double offset = 0.3;
  constexpr double decay_s = 0.005;
  const auto added = [&](double t) {
    const Phasor pole(1 / decay_s, 2 * tests::pi * 50);
    return 2 * 50 * offset * std::exp(-(t - from) / decay_s) * (1 - std::exp(-0.02 / decay_s)) / pole *
           std::polar(1.0, -2 * tests::pi * 50 * t);
  };
  double decayed = from;
  while (std::abs(std::abs(0.5 + added(decayed)) - 0.5) > 0.02) decayed += 1e-5;
  ASSERT_GT(decayed, from + 0.004);
  EXPECT_NEAR(start_before_a_decay(from, offset, decay_s), decayed, 0.0007) << "the length of an average";
}

TEST(Course, CountsASlowDecayToTheSegment) {
  EXPECT_NEAR(start_before_a_decay(0.505, 0.3, 0.045), 0.505, sample_s);
}

TEST(Course, OfADipIsNotMixedWithTheNextOne) {
  const auto made = staged(
      {{0, balanced(230)}, {0.5, balanced(115)}, {0.6, balanced(230)}, {0.66, balanced(161)}, {0.8, balanced(230)}},
      1.4);
  const auto courses = courses_in(made);
  ASSERT_EQ(courses.size(), 2U);
  expect_start_and_end(courses[0], 0.5, 0.6);
  expect_start_and_end(courses[1], 0.66, 0.8);
  ASSERT_EQ(courses[0].segments.size(), 1U);
  ASSERT_EQ(courses[1].segments.size(), 1U);
  expect_voltages(courses[0].segments[0], balanced(115), balanced(230));
  expect_voltages(courses[1].segments[0], balanced(161), balanced(230));
}

TEST(Course, BeginsAfterTheReturnOfAnEarlierDip) {
  // Between the dips the voltage is usual for little more than a cycle, so the windows of the second dip begin near the
  // end of the first one.
  for (const double second_s : {0.5607, 0.5612, 0.5625}) {
    const auto made = staged({{0, balanced(230)},
                              {0.5, balanced(115)},
                              {0.54, balanced(230)},
                              {second_s, balanced(138)},
                              {0.65, balanced(230)}},
                             1.4);
    const auto courses = courses_in(made);
    ASSERT_EQ(courses.size(), 2U) << second_s;
    expect_start_and_end(courses[0], 0.5, 0.54);
    expect_start_and_end(courses[1], second_s, 0.65);
    ASSERT_EQ(courses[1].segments.size(), 1U) << second_s;
    expect_voltages(courses[1].segments[0], balanced(138), balanced(230));
  }
}

TEST(Course, IsRelativeToTheRecoveryOfAnEarlierDip) {
  // The voltage comes back turned by 25 degrees and rises from 80 to 96 per cent, when the second dip turns it by 25
  // degrees more.
  MadeWaveform made(6400, 1.4, 50, 3);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) {
      const bool returned = t >= 0.4 && t < 0.58;
      const double rise = 0.8 + 0.16 * (t - 0.4) / 0.18;
      const double share = t < 0.3 ? 1 : t < 0.4 ? 0.05 : returned ? rise : t < 0.65 ? 0.77 : 1;
      const double degrees = t < 0.4 || t >= 0.65 ? 0 : returned ? -25 : -50;
      return tests::turning(share * balanced(230, degrees)[phase], 50, t);
    });
  }
  const auto courses = courses_in(made);
  ASSERT_EQ(courses.size(), 2U);
  ASSERT_EQ(courses[1].segments.size(), 1U);
  expect_start_and_end(courses[1], 0.58, 0.65);
  expect_voltages(courses[1].segments[0], balanced(0.77 * 230, -50), balanced(0.96 * 230, -25));
}

TEST(Course, OfASwingAfterADipIsNotTheEndOfThatDip) {
  // The voltage returns at 0.6 s. That of a displaced neutral swings beside it at 30 Hz, so the RMS of a cycle falls
  // below 90 % again without any switching.
  for (const double degrees : {45, 90, 135, 180, 270}) {
    auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.6, balanced(230)}}, 1.4);
    made.add(0, [&](double t) {
      const Phasor neutral = phasor(90, degrees - 90) * std::exp(-(t - 0.6) / 0.1);
      return t < 0.6 ? 0 : tests::turning(neutral, 30, t - 0.6);
    });
    const auto courses = courses_in(made);
    ASSERT_GE(courses.size(), 2U) << degrees;
    expect_start_and_end(courses[0], 0.5, 0.6);
    for (std::size_t k = 1; k < courses.size(); k++) {
      if (!courses[k].start_s) continue;
      EXPECT_GE(courses[k].start_s->value, 0.6 - sample_s) << degrees;
      EXPECT_GT(courses[k].end_s->value - courses[k].start_s->value, 0.001) << degrees;
    }
  }
}

// --- gradual changes -------------------------------------------------------------------------------------------------

TEST(Course, EndsWhereAGradualRecoveryPasses90PerCent) {
  // The voltage falls to 50 % at once and is back at 100 % after 0.4 s, so it passes 90 % after four fifths of that
  // time.
  auto made = ramped(balanced(115), balanced(230), 0.5, 0.9, 1.5);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) { return t < 0.5 ? tests::turning(balanced(115)[phase], 50, t) : 0; });
  }
  const Course course = course_in(made);
  expect_start_and_end(course, 0.5, 0.5 + 0.8 * 0.4, 0.003);
  EXPECT_NEAR(course.start_s->value, 0.5, sample_s);
  ASSERT_EQ(course.segments.size(), 1U);
  EXPECT_TRUE(course.segments[0].gradual);
  EXPECT_NEAR(course.segments[0].phases[0].voltage_v.value, 115, 3) << "where it is lowest";
  ASSERT_EQ(course.transitions.size(), 2U);
  EXPECT_FALSE(course.transitions[0].gradual);
  EXPECT_TRUE(course.transitions[1].gradual);
}

TEST(Course, BeginsWithAChangeThatArcsHide) {
  const Phasors before = balanced(230);
  Phasors one_low = before;
  one_low[2] *= 0.72;
  Phasors two_low = one_low;
  two_low[1] *= 0.64;
  auto made = staged({{0, before}, {0.1, one_low}, {0.18, two_low}}, 0.6);
  // The arc burns for about six cycles at either side of the first change, in another way in each of them.
  made.add(2, [](double t) {
    if (t < 0.02 || t > 0.18) return 0.0;
    const double strength = 100 * std::sin(2 * tests::pi * 31 * t) * std::sin(2 * tests::pi * 9 * t);
    return strength * (std::sin(2 * tests::pi * 165 * t) + std::sin(2 * tests::pi * 235 * t));
  });
  const Course course = course_in(made);
  ASSERT_TRUE(course.start_s);
  EXPECT_NEAR(course.start_s->value, 0.1, 0.01);
  ASSERT_GE(course.segments.size(), 2U);
  EXPECT_TRUE(course.segments[0].phases[2].below_threshold);
  EXPECT_FALSE(course.segments[0].phases[1].below_threshold);
  EXPECT_NEAR(course.segments[1].start_s, 0.18, 0.02);
}

TEST(Course, BeginsWhereAGradualFallPasses90PerCent) {
  auto made = ramped(balanced(230), balanced(115), 0.5, 0.7, 1.8);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) { return t < 1 ? 0 : tests::turning(balanced(115)[phase], 50, t); });
  }
  const Course course = course_in(made);
  expect_start_and_end(course, 0.5 + 0.2 * 0.2, 1, 0.003);
  EXPECT_NEAR(course.end_s->value, 1, sample_s);
  ASSERT_FALSE(course.segments.empty());
  EXPECT_FALSE(course.segments.back().gradual);
  EXPECT_NEAR(course.segments.back().phases[2].voltage_v.value, 115, 0.7);
  EXPECT_FALSE(course.point_on_wave_degrees[0]) << "a gradual fall has none";
}

TEST(Course, HasASteadySegmentBeforeARampOfTwoCycles) {
  auto made = ramped(balanced(115), balanced(230), 0.7, 0.74, 1.4);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) { return t < 0.5 ? tests::turning(balanced(115)[phase], 50, t) : 0; });
  }
  const Course course = course_in(made);
  expect_start_and_end(course, 0.5, 0.7 + 0.8 * 0.04, 0.002);
  ASSERT_EQ(course.segments.size(), 1U);
  EXPECT_FALSE(course.segments[0].gradual);
  EXPECT_NEAR(*course.segments[0].end_s, 0.7, 0.002);
  expect_voltages(course.segments[0], balanced(115), balanced(230));
}

TEST(Course, HasOneSegmentAfterARampInNoise) {
  for (const double ramp_s : {0.04, 0.05, 0.07, 0.18}) {
    for (const double begin_s : {0.5, 0.505, 0.51}) {
      auto made = ramped(balanced(230), balanced(87), begin_s, begin_s + ramp_s, 1.8, {.rate = 3200});
      for (std::size_t phase = 0; phase < 3; phase++) {
        made.add(phase, [&](double t) { return t < 1 ? 0 : tests::turning(balanced(143)[phase], 50, t); });
      }
      made.add_noise(14);
      const Course course = course_in(made);
      SCOPED_TRACE(std::to_string(begin_s) + " s, for " + std::to_string(ramp_s) + " s");
      ASSERT_TRUE(course.start_s);
      EXPECT_NEAR(course.start_s->value, begin_s + 0.16 * ramp_s, 0.005);
      ASSERT_EQ(course.segments.size(), 1U);
      EXPECT_FALSE(course.segments[0].gradual);
      EXPECT_NEAR(course.segments[0].start_s, begin_s + ramp_s, 0.008);
      EXPECT_NEAR(course.segments[0].phases[0].voltage_v.value, 87, 1.2);
    }
  }
}

TEST(Course, HasAGradualSegmentBetweenTwoSteadyOnes) {
  // The voltage is at 40 % from 0.5 s on, rises to 70 % from 0.7 s to 0.8 s, and is back at 1.1 s.
  MadeWaveform made(6400, 1.7, 50, 3);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) {
      const double share = t < 0.5 || t >= 1.1 ? 1 : 0.4 + 0.3 * std::clamp((t - 0.7) / 0.1, 0.0, 1.0);
      return share * tests::turning(balanced(230)[phase], 50, t);
    });
  }
  const Course course = course_in(made);
  expect_start_and_end(course, 0.5, 1.1);
  ASSERT_EQ(course.segments.size(), 3U);
  EXPECT_FALSE(course.segments[0].gradual);
  EXPECT_TRUE(course.segments[1].gradual);
  EXPECT_FALSE(course.segments[2].gradual);
  EXPECT_NEAR(course.segments[1].start_s, 0.7, 0.002);
  EXPECT_NEAR(*course.segments[1].end_s, 0.8, 0.002);
  expect_voltages(course.segments[0], balanced(92), balanced(230));
  expect_voltages(course.segments[2], balanced(161), balanced(230));
}

// --- the record's ends -----------------------------------------------------------------------------------------------

TEST(Course, HasNoStartWhereTheRecordBeginsInTheDip) {
  const auto made = staged({{0, balanced(115, -20)}, {0.3, balanced(230)}}, 1.2);
  const Course course = course_in(made);
  EXPECT_FALSE(course.start_s);
  ASSERT_TRUE(course.end_s);
  EXPECT_NEAR(course.end_s->value, 0.3, sample_s);
  EXPECT_EQ(course.level_source, LevelSource::after);
  ASSERT_EQ(course.segments.size(), 1U);
  expect_voltages(course.segments[0], balanced(115, -20), balanced(230));
}

TEST(Course, UsesTheDeclaredVoltageIfTheRecordBeginsInTheDip) {
  const auto made = staged({{0, balanced(115)}, {0.3, balanced(230)}}, 1.2);
  const Course course = course_in(made, 240);
  EXPECT_EQ(course.level_source, LevelSource::declared);
  ASSERT_EQ(course.segments.size(), 1U);
  EXPECT_NEAR(std::abs(course.before[1]), 240, 1e-9);
  EXPECT_NEAR(course.segments[0].phases[1].share_of_before, 115.0 / 240, 0.002);
}

TEST(Course, HasNoEndIfTheDipContinues) {
  const auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}}, 0.9);
  const Course course = course_in(made);
  ASSERT_TRUE(course.start_s);
  EXPECT_NEAR(course.start_s->value, 0.5, sample_s);
  EXPECT_FALSE(course.end_s);
  ASSERT_EQ(course.segments.size(), 1U);
  EXPECT_FALSE(course.segments[0].end_s);
  expect_voltages(course.segments[0], balanced(115), balanced(230));
}

// --- other samplings, frequencies and phases -------------------------------------------------------------------------

TEST(Course, IsFoundAtOtherFrequenciesAndRates) {
  const Phasors low = {phasor(115, -25), phasor(230, -120), phasor(200, 112)};
  for (const Sampling& sampling : {Sampling{6400, 49.7, 3}, Sampling{6400, 60, 3}, Sampling{7680, 60.2, 3},
                                   Sampling{1600, 50, 3}, Sampling{12800, 50, 3}}) {
    const auto made = staged({{0, balanced(230)}, {0.5047, low}, {0.7, balanced(230)}}, 1.3, sampling);
    const Course course = course_in(made);
    expect_start_and_end(course, 0.5047, 0.7, 1 / sampling.rate);
    EXPECT_NEAR(course.frequency, sampling.hertz, 5e-3);
    ASSERT_EQ(course.segments.size(), 1U) << sampling.rate << ", " << sampling.hertz;
    expect_voltages(course.segments[0], low, balanced(230));
  }
}

TEST(Course, IsFoundWithEightSamplesPerCycle) {
  const Phasors low = {phasor(115, -25), phasor(230, -120), phasor(200, 112)};
  const auto made = staged({{0, balanced(230)}, {0.5047, low}, {0.7, balanced(230)}}, 1.3, {400, 50, 3});
  const Course course = course_in(made);
  expect_start_and_end(course, 0.5047, 0.7, 2.0 / 400);
  ASSERT_EQ(course.segments.size(), 1U);
  expect_voltages(course.segments[0], low, balanced(230), 3, 1);
  // A low pass of second order that halves the power at 160 Hz, which is 0.4 of the rate, lowers 50 Hz by 0.47 %.
  const double lowered = 1 - 1 / std::sqrt(1 + std::pow(50.0 / 160, 4));
  const Figure& voltage = course.segments[0].phases[0].voltage_v;
  EXPECT_NEAR(voltage.plus_minus, 2 * lowered * voltage.value, 0.1 * lowered * voltage.value);
}

TEST(Course, IsFoundInOneAndTwoPhases) {
  const Phasors low = {phasor(115, -25), phasor(92, -120), 0};
  for (const std::size_t phases : {1U, 2U}) {
    const auto made = staged({{0, balanced(230)}, {0.5047, low}, {0.7, balanced(230)}}, 1.3, {6400, 50, phases});
    const Course course = course_in(made);
    expect_start_and_end(course, 0.5047, 0.7);
    ASSERT_EQ(course.segments.size(), 1U);
    expect_voltages(course.segments[0], low, balanced(230), phases);
    EXPECT_FALSE(course.segments[0].sequences);
    EXPECT_FALSE(course.segments[0].type);
  }
}

TEST(Course, HasSequencesAndTypeOfThreePhases) {
  // Phase A falls to 40 % alone: a third of the loss is missing of the positive sequence, and is in the others.
  const Phasors low = {phasor(92, 0), phasor(230, -120), phasor(230, 120)};
  const Course course = course_in(staged({{0, balanced(230)}, {0.5, low}, {0.7, balanced(230)}}, 1.3));
  ASSERT_EQ(course.segments.size(), 1U);
  ASSERT_TRUE(course.segments[0].sequences && course.segments[0].type);
  EXPECT_NEAR(course.segments[0].sequences->positive_v, 184, 0.5);
  EXPECT_NEAR(course.segments[0].sequences->negative_v, 46, 0.5);
  EXPECT_NEAR(course.segments[0].sequences->zero_v, 46, 0.5);
  EXPECT_NEAR(*course.segments[0].sequences->unbalance_percent, 25, 0.4);
  EXPECT_EQ(course.segments[0].type->letter, 'B');
  EXPECT_EQ(course.segments[0].type->category, 3);
}

TEST(Course, HasTheSameTypeHoweverThePhasesAreConnected) {
  // Phase B falls to 40 % alone, in a network of reversed rotation and in one in which phase C is turned round.
  for (const bool reversed : {false, true}) {
    for (const bool turned : {false, true}) {
      Phasors before = balanced(230);
      if (reversed) std::swap(before[1], before[2]);
      if (turned) before[2] = -before[2];
      Phasors low = before;
      low[1] *= 0.4;
      const Course course = course_in(staged({{0, before}, {0.5, low}, {0.7, before}}, 1.3));
      ASSERT_EQ(course.segments.size(), 1U);
      ASSERT_TRUE(course.segments[0].sequences && course.segments[0].type);
      EXPECT_NEAR(course.segments[0].sequences->positive_v, 184, 0.5);
      EXPECT_NEAR(course.segments[0].sequences->negative_v, 46, 0.5);
      EXPECT_NEAR(course.segments[0].sequences->zero_v, 46, 0.5);
      EXPECT_EQ(course.segments[0].type->letter, 'B');
      EXPECT_EQ(course.segments[0].type->category, 5);
    }
  }
}

TEST(Course, HasNoAngleForAPhaseWithoutVoltage) {
  const Phasors low = {phasor(4, 0), phasor(230, -120), phasor(230, 120)};
  const Course course = course_in(staged({{0, balanced(230)}, {0.5, low}, {0.7, balanced(230)}}, 1.3));
  ASSERT_EQ(course.segments.size(), 1U);
  EXPECT_FALSE(course.segments[0].phases[0].phase_jump_degrees);
  EXPECT_TRUE(course.segments[0].phases[1].phase_jump_degrees);
  EXPECT_NEAR(course.segments[0].phases[0].voltage_v.value, 4, 0.7);
}

// --- missing samples -------------------------------------------------------------------------------------------------

TEST(Course, IsFoundDespiteMissingSamplesInTheSteadyVoltage) {
  auto made = staged({{0, balanced(230)}, {0.5047, balanced(115)}, {0.7, balanced(230)}}, 1.3);
  made.lose(1, 0.31, 0.318).lose(0, 0.95, 0.955);
  const Course course = course_in(made);
  expect_start_and_end(course, 0.5047, 0.7);
  ASSERT_EQ(course.segments.size(), 1U);
  expect_voltages(course.segments[0], balanced(115), balanced(230));
}

TEST(Course, IsFoundDespiteMissingSamplesInTheDip) {
  auto made = staged({{0, balanced(230)}, {0.5047, balanced(115)}, {0.8, balanced(230)}}, 1.4);
  made.lose(1, 0.641, 0.645);
  const Course course = course_in(made);
  expect_start_and_end(course, 0.5047, 0.8);
  ASSERT_EQ(course.segments.size(), 1U);
  expect_voltages(course.segments[0], balanced(115), balanced(230));
}

TEST(Course, IsFoundWhereOnePhaseIsMissingAtTheStart) {
  auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.8, balanced(230)}}, 1.4);
  made.lose(0, 0.49, 0.51);
  const Course course = course_in(made);
  expect_start_and_end(course, 0.5, 0.8);
  ASSERT_EQ(course.segments.size(), 1U);
  expect_voltages(course.segments[0], balanced(115), balanced(230));
}

TEST(Course, IsLessSureOfAnEndThatIsMissing) {
  auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.8, balanced(230)}}, 1.4);
  for (std::size_t phase = 0; phase < 3; phase++) made.lose(phase, 0.797, 0.803);
  const Course course = course_in(made);
  ASSERT_TRUE(course.end_s);
  EXPECT_NEAR(course.end_s->value, 0.8, course.end_s->plus_minus);
  EXPECT_GE(course.end_s->plus_minus, 0.003) << "any instant within the gap may be the end";
}

TEST(Course, OfAShallowDipEndsWhereTheDipDoes) {
  const auto made = staged(
      {{0, balanced(230)}, {0.5, {phasor(206, 0), phasor(230, -120), phasor(230, 120)}}, {0.7, balanced(230)}}, 1.3);
  const Course course = course_in(made);
  ASSERT_TRUE(course.start_s && course.end_s);
  EXPECT_NEAR(course.start_s->value, 0.5, sample_s);
  EXPECT_NEAR(course.end_s->value, 0.7, course.end_s->plus_minus);
  EXPECT_LT(course.end_s->plus_minus, 0.0012);
  EXPECT_EQ(course.segments.size(), 1U);
}

TEST(Course, IsSureOfTheEndOfASlowRecovery) {
  auto made = ramped(balanced(115), balanced(230), 0.5, 2.5, 3.5);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) { return t < 0.5 ? tests::turning(balanced(115)[phase], 50, t) : 0; });
  }
  const Course course = course_in(made);
  ASSERT_TRUE(course.end_s);
  EXPECT_NEAR(course.end_s->value, 2.1, 0.01);
  EXPECT_LT(course.end_s->plus_minus, 0.05);
}

TEST(Course, OfAShortDipHasItsVoltage) {
  const Course course = course_in(staged({{0, balanced(230)}, {0.5047, balanced(115)}, {0.5347, balanced(230)}}, 1.3));
  ASSERT_EQ(course.segments.size(), 1U);
  expect_voltages(course.segments[0], balanced(115), balanced(230));
}

TEST(Course, HasTheExactVoltageBefore) {
  const Course course = course_in(staged({{0, balanced(230)}, {0.5012, balanced(115)}, {0.7, balanced(230)}}, 1.3));
  for (std::size_t phase = 0; phase < 3; phase++) EXPECT_NEAR(std::abs(course.before[phase]), 230, 0.05);
}

TEST(Course, MayBeginWithinAGap) {
  auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.8, balanced(230)}}, 1.4);
  for (std::size_t phase = 0; phase < 3; phase++) made.lose(phase, 0.495, 0.51);
  const Course course = course_in(made);
  ASSERT_TRUE(course.start_s);
  EXPECT_NEAR(course.start_s->value, 0.5, course.start_s->plus_minus);
  EXPECT_EQ(course.segments.size(), 1U);
}

TEST(Course, OfAFallAndAReturnThatMeetIsOneGradualSegment) {
  auto made = ramped(balanced(230), balanced(92), 0.5, 0.7, 1.4);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) {
      return tests::turning(std::clamp((t - 0.7) / 0.3, 0.0, 1.0) * balanced(138)[phase], 50, t);
    });
  }
  const Course course = course_in(made);
  expect_start_and_end(course, 0.5 + 0.2 / 6, 0.95, 0.003);
  ASSERT_EQ(course.segments.size(), 1U);
  EXPECT_TRUE(course.segments[0].gradual);
  for (const SegmentPhase& phase : course.segments[0].phases) EXPECT_NEAR(phase.voltage_v.value, 92, 3);
}

TEST(Course, IsFoundWhereOnePhaseIsMissing) {
  // A phase that is missing throughout, and one that is missing in the dip alone.
  for (const auto& [from_s, to_s] : {std::pair(0.0, 1.4), std::pair(0.49, 0.82)}) {
    auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.8, balanced(230)}}, 1.4);
    made.lose(2, from_s, to_s);
    const Course course = course_in(made);
    expect_start_and_end(course, 0.5, 0.8);
    ASSERT_EQ(course.segments.size(), 1U);
    for (const std::size_t phase : {0U, 1U}) {
      EXPECT_TRUE(course.segments[0].phases[phase].measured);
      EXPECT_NEAR(course.segments[0].phases[phase].voltage_v.value, 115, 0.1);
    }
    const SegmentPhase& missing = course.segments[0].phases[2];
    EXPECT_FALSE(missing.measured);
    EXPECT_NEAR(missing.voltage_v.value, 115, missing.voltage_v.plus_minus) << "what is said of it holds anything";
    EXPECT_FALSE(course.segments[0].sequences);
    EXPECT_FALSE(course.segments[0].type);
    EXPECT_FALSE(course.lowest_of_six);
  }
}

TEST(Course, IsNotMovedByAHarmonicThatTheAveragesHide) {
  auto made = staged(
      {{0, balanced(230)}, {0.5047, {phasor(195, 0), phasor(230, -120), phasor(230, 120)}}, {0.7, balanced(230)}}, 1.3);
  for (std::size_t phase = 0; phase < 3; phase++) {
    made.add(phase, [&](double t) { return tests::turning(phasor(5, 40.0 * static_cast<double>(phase)), 1250, t); });
  }
  const Course course = course_in(made);
  ASSERT_TRUE(course.start_s);
  EXPECT_NEAR(course.start_s->value, 0.5047, course.start_s->plus_minus);
}

TEST(Course, IsAsUnsureOfAnEndAsItsGapIsLong) {
  auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.8, balanced(230)}}, 1.4);
  for (std::size_t phase = 0; phase < 3; phase++) made.lose(phase, 0.78, 0.82);
  const Course course = course_in(made);
  ASSERT_TRUE(course.end_s);
  EXPECT_NEAR(course.end_s->value, 0.8, course.end_s->plus_minus);
  EXPECT_GE(course.end_s->plus_minus, 0.009);
}

TEST(Course, HasNoSegmentOfLessThanACycleBesideOthers) {
  // Two thirds of a cycle pass between a fault of one phase and that of all three; they are part of the change.
  const Phasors healthy = balanced(230);
  Phasors one = healthy;
  Phasors two = healthy;
  one[0] *= 0.4;
  two[0] *= 0.3;
  two[1] *= 0.5;
  const auto made = staged({{0, healthy}, {0.5, one}, {0.6, two}, {0.6133, balanced(46)}, {0.7, healthy}}, 1.2);
  const Course course = course_in(made);
  ASSERT_EQ(course.segments.size(), 2U);
  EXPECT_NEAR(*course.segments[0].end_s, 0.6, 2 * sample_s);
  EXPECT_NEAR(course.segments[1].start_s, 0.6133, 2 * sample_s);
}

/// A breaker disconnects phase A. The live phases beside it and machines that slow down both drive its voltage, which
/// swings at the difference of their frequencies until the breaker closes again.
void expect_swing(double volts, double hertz) {
  const Phasors healthy = balanced(230);
  Phasors dead = healthy;
  dead[0] = 0;
  auto made = staged({{0, healthy}, {0.3, dead}, {1.1, healthy}}, 1.5);
  made.add(0, [&](double t) {
    if (t < 0.4 || t >= 1.1) return 0.0;
    const double since = t - 0.4;
    return volts * (std::cos(2 * tests::pi * hertz * since) - std::cos(2 * tests::pi * 50 * since));
  });
  SCOPED_TRACE(::testing::Message() << volts << " V at " << hertz << " Hz");
  const Course course = course_in(made);
  ASSERT_EQ(course.segments.size(), 2U);
  EXPECT_FALSE(course.segments[0].gradual);
  EXPECT_NEAR(course.segments[0].end_s.value_or(0), 0.4, 0.02);
  EXPECT_TRUE(course.segments[1].gradual);
  EXPECT_NEAR(course.segments[1].end_s.value_or(0), 1.1, 0.01);
  EXPECT_NEAR(course.segments[1].phases[1].phase_jump_degrees->value, 0, 0.5);
}

TEST(Course, HasOneSegmentOfAVoltageThatSwings) {
  for (const double volts : {40, 80, 120}) {
    for (const double hertz : {38, 40, 42, 44, 46}) expect_swing(volts, hertz);
  }
}

TEST(Course, MayBeginInTheRecordsFirstCycle) {
  const Course course = course_in(staged({{0, balanced(230)}, {0.015, balanced(115)}, {0.3, balanced(230)}}, 1.4));
  ASSERT_EQ(course.segments.size(), 1U);
  ASSERT_TRUE(course.start_s);
  EXPECT_NEAR(course.start_s->value, 0.015, sample_s);
  EXPECT_TRUE(course.segments[0].phases[0].below_threshold);
}

TEST(Course, OfHalfACycleHasOnlyItsTimes) {
  for (const double from_s : {0.5, 0.5025, 0.5061}) {
    const auto made = staged({{0, balanced(230)}, {from_s, balanced(69)}, {from_s + 0.01, balanced(230)}}, 1.3);
    const Course course = course_in(made);
    ASSERT_TRUE(course.start_s && course.end_s);
    EXPECT_NEAR(course.start_s->value, from_s, course.start_s->plus_minus);
    EXPECT_NEAR(course.end_s->value, from_s + 0.01, course.end_s->plus_minus);
    EXPECT_LT(course.start_s->plus_minus, 0.001);
    EXPECT_TRUE(course.segments.empty()) << "half a cycle has no fundamental";
    ASSERT_EQ(course.transitions.size(), 1U);
    EXPECT_EQ(course.transitions[0].phases, (PhaseFlags{true, true, true}));
    ASSERT_TRUE(course.point_on_wave_degrees[0]);
  }
}

}  // namespace
}  // namespace measure
