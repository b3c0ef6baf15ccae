// Dips of types A to G beyond transformers, by the identities of M. H. J. Bollen, Understanding Power Quality Problems
// (IEEE Press, 2000), sections 4.4.2 and 4.4.3, and dips on waveforms that were transformed sample by sample.
#include "assess/carried_course.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <vector>

#include "measure/dip_type.h"
#include "measure/measure.h"
#include "tests/assess/circuit.h"

namespace {

using assess::carried_course;
using assess::connections_of;
using measure::Course;
using measure::Phasor;
using measure::Phasors;
using measure::Segment;
using Samples = std::array<std::vector<double>, 3>;

constexpr double pi = std::numbers::pi;
const double root3 = std::numbers::sqrt3;
const Phasors balanced = {1.0, std::polar(1.0, -2 * pi / 3), std::polar(1.0, 2 * pi / 3)};

/// The voltages of each type with the characteristic voltage `v`, symmetrical about phase A (Bollen, table 4.14).
Phasors voltages_of(char type, const Phasor& v) {
  const Phasor j(0, 1);
  switch (type) {
    case 'A':
      return {v, v * balanced[1], v * balanced[2]};
    case 'B':
      return {v, balanced[1], balanced[2]};
    case 'C':
      return {1, -0.5 - j * v * root3 / 2.0, -0.5 + j * v * root3 / 2.0};
    case 'D':
      return {v, -v / 2.0 - j * root3 / 2.0, -v / 2.0 + j * root3 / 2.0};
    case 'E':
      return {1, v * balanced[1], v * balanced[2]};
    case 'F': {
      const Phasor side = j * (2.0 + v) / std::sqrt(12.0);
      return {v, -v / 2.0 - side, -v / 2.0 + side};
    }
    default: {
      const Phasor side = j * v * root3 / 2.0;
      return {(2.0 + v) / 3.0, -(2.0 + v) / 6.0 - side, -(2.0 + v) / 6.0 + side};
    }
  }
}

/// A course of one segment at 230 V with a ± of 1 V for each phase and 1 degree for each phase jump.
Course course_of(const Phasors& during) {
  Course course;
  Segment segment;
  for (std::size_t i = 0; i < 3; i++) {
    course.before[i] = 230.0 * balanced[i];
    segment.phasors[i] = 230.0 * during[i];
    segment.phases[i].voltage_v = {230 * std::abs(during[i]), 1};
    segment.phases[i].phase_jump_degrees = measure::Figure{0, 1};
  }
  segment.type = measure::type_of(segment.phasors, course.before, {});
  course.segments.push_back(segment);
  return course;
}

Segment phases_beyond(const char* groups, const Phasors& during) {
  return carried_course(course_of(during), map_to_phases(connections_of(groups), {}), false).segments[0];
}

Segment lines_beyond(const char* groups, const Phasors& during) {
  return carried_course(course_of(during), map_to_lines(connections_of(groups), {}), false).segments[0];
}

struct Identity {
  char at_monitor;
  char beyond_one;  ///< beyond a transformer that exchanges phase voltages and voltages between phases
  char beyond_two;
};

/// Types B and E lose their zero sequence, and their characteristic voltages then change as well.
constexpr Identity identities[] = {{'A', 'A', 'A'}, {'B', 'C', 'D'}, {'C', 'D', 'C'}, {'D', 'C', 'D'},
                                   {'E', 'F', 'G'}, {'F', 'G', 'F'}, {'G', 'F', 'G'}};

TEST(TypesBeyondTransformers, AreThoseOfTheFamily) {
  for (const auto& [at_monitor, beyond_one, beyond_two] : identities) {
    for (const Phasor& v : {Phasor(0.2), Phasor(0.5), std::polar(0.7, -0.2)}) {
      const Phasors during = voltages_of(at_monitor, v);
      for (const char* group : {"Dyn1", "Dyn5", "Dyn7", "Dyn11", "YNd1", "Yd11", "Yzn5", "Yz11"}) {
        const Segment one = phases_beyond(group, during);
        ASSERT_TRUE(one.type) << at_monitor << group;
        EXPECT_EQ(one.type->letter, beyond_one) << at_monitor << group << v;
      }
      for (const char* groups : {"Dyn11,Dyn11", "Dyn5,YNd1", "Dyn11,Yzn5", "Dd0", "Dd6", "Yy0", "Yyn6"}) {
        const Segment two = phases_beyond(groups, during);
        ASSERT_TRUE(two.type) << at_monitor << groups;
        EXPECT_EQ(two.type->letter, beyond_two) << at_monitor << groups << v;
      }
      EXPECT_EQ(phases_beyond("YNyn0", during).type->letter, at_monitor);
      EXPECT_EQ(lines_beyond("YNyn0", during).type->letter, beyond_one) << "loads in delta see this type";
      EXPECT_EQ(lines_beyond("Dyn11", during).type->letter, beyond_two);
    }
  }
}

TEST(TypesBeyondTransformers, KeepTheirCharacteristicVoltage) {
  const Phasor v = std::polar(0.6, -0.3);
  for (const char type : {'A', 'C', 'D', 'F', 'G'}) {
    for (const char* groups : {"Dyn11", "Yd5", "Dyn1,Dyn1", "Dd6"}) {
      const Segment segment = phases_beyond(groups, voltages_of(type, v));
      EXPECT_NEAR(std::abs(segment.type->characteristic - v), 0, 1e-9) << type << groups;
    }
  }
}

TEST(TypesBeyondTransformers, LoseAThirdOfTheDropOfTypeB) {
  // Type C* has the characteristic voltage 1/3 + 2/3 V, because the zero sequence, (V - 1)/3, is gone.
  for (const double v : {0.0, 0.4}) {
    const Segment star = phases_beyond("Dyn11", voltages_of('B', v));
    EXPECT_NEAR(std::abs(star.type->characteristic - (1.0 / 3 + 2.0 / 3 * v)), 0, 1e-9);
    EXPECT_NEAR(std::abs(star.type->pn_factor - 1.0), 0, 1e-9);
  }
}

TEST(TypesBeyondTransformers, KeepTheirCharacteristicVoltageOfTypeE) {
  const Segment beyond = phases_beyond("Dyn1", voltages_of('E', 0.4));
  EXPECT_NEAR(std::abs(beyond.type->characteristic - 0.4), 0, 1e-9);
  EXPECT_NEAR(std::abs(beyond.type->pn_factor - (2 + 0.4) / 3), 0, 1e-9) << "positive-negative factor";
}

TEST(TypesBeyondTransformers, GiveTheVoltagesThatABookGives) {
  // An earth fault at the monitor with nothing left of A: behind Dyn, voltages of 1/sqrt(3) in two phases.
  const Segment segment = phases_beyond("Dyn11", voltages_of('B', 0));
  EXPECT_NEAR(segment.phases[0].share_of_before, 1 / root3, 1e-9);
  EXPECT_NEAR(segment.phases[1].share_of_before, 1, 1e-9);
  EXPECT_NEAR(segment.phases[2].share_of_before, 1 / root3, 1e-9);
  EXPECT_NEAR(segment.phases[0].phase_jump_degrees->value, 30, 1e-6);
  EXPECT_NEAR(segment.phases[2].phase_jump_degrees->value, -30, 1e-6);
  EXPECT_TRUE(segment.phases[0].below_threshold);
  EXPECT_FALSE(segment.phases[1].below_threshold);
  EXPECT_NEAR(segment.sequences->zero_v, 0, 1e-9);
}

TEST(Uncertainty, IsThatOfIndependentVoltages) {
  const Segment star = phases_beyond("Dyn11", voltages_of('D', 0.5));
  for (const auto& phase : star.phases) EXPECT_NEAR(phase.voltage_v.plus_minus, std::sqrt(2.0 / 3), 1e-9);
  const Segment same = phases_beyond("YNyn0", voltages_of('D', 0.5));
  for (const auto& phase : same.phases) EXPECT_NEAR(phase.voltage_v.plus_minus, 1, 1e-9);
}

TEST(CarriedCourse, NeedsThePhasorsOfAllVoltages) {
  Course course = course_of(voltages_of('D', 0.5));
  course.segments.push_back(course.segments[0]);
  course.segments[1].type.reset();
  const Course carried = carried_course(course, map_to_phases(connections_of("Dyn11"), {}), false);
  ASSERT_EQ(carried.segments.size(), 2U);
  EXPECT_TRUE(carried.segments[0].measured);
  EXPECT_FALSE(carried.segments[1].measured);
}

// --- waveforms -------------------------------------------------------------------------------------------------------

/// A second at 50 Hz and 230 V with a dip from 0.4 s to 0.6 s.
Samples samples_of(const Phasors& during) {
  Samples samples;
  for (std::size_t i = 0; i < 6400; i++) {
    const double t = static_cast<double>(i) / 6400;
    const bool in_dip = t >= 0.4 && t < 0.6;
    const Phasor turn = 230 * std::numbers::sqrt2 * std::polar(1.0, 2 * pi * 50 * t);
    for (std::size_t k = 0; k < 3; k++) {
      samples[k].push_back(std::real((in_dip ? during[k] : balanced[k]) * turn));
    }
  }
  return samples;
}

/// The voltages of the windings of a Dyn11 transformer, sample by sample.
Samples beyond_dyn11(const Samples& samples) {
  Samples result;
  for (std::size_t k = 0; k < 3; k++) {
    for (std::size_t i = 0; i < samples[k].size(); i++) {
      result[k].push_back((samples[k][i] - samples[(k + 1) % 3][i]) / root3);
    }
  }
  return result;
}

/// Returns the course of the only dip.
Course measured(const Samples& samples) {
  const measure::Waveform waveform = tests::BaySamples::waveform_of(samples);
  for (const measure::Event& event : measure::measure(waveform, {}).events) {
    if (event.kind == measure::EventKind::dip && event.course) return *event.course;
  }
  ADD_FAILURE() << "there is no dip";
  return {};
}

TEST(CarriedCourse, IsThatOfATransformedWaveform) {
  for (const char type : {'A', 'B', 'C', 'D', 'E', 'F', 'G'}) {
    const Samples samples = samples_of(voltages_of(type, std::polar(0.4, -0.25)));
    const Course carried = carried_course(measured(samples), map_to_phases(connections_of("Dyn11"), {}), false);
    const Course there = measured(beyond_dyn11(samples));
    ASSERT_EQ(carried.segments.size(), 1U) << type;
    ASSERT_EQ(there.segments.size(), 1U) << type;
    EXPECT_EQ(carried.segments[0].type->letter, there.segments[0].type->letter) << type;
    EXPECT_EQ(carried.segments[0].type->phases, there.segments[0].type->phases) << type;
    for (std::size_t k = 0; k < 3; k++) {
      const auto& one = carried.segments[0].phases[k];
      const auto& other = there.segments[0].phases[k];
      EXPECT_NEAR(one.voltage_v.value, other.voltage_v.value, 0.1) << type << k;
      EXPECT_NEAR(one.phase_jump_degrees->value, other.phase_jump_degrees->value, 0.1) << type << k;
    }
  }
}

}  // namespace
