// Whatever floating-point environment a host has set, it gets the figures of the default one and keeps its own.
#include <gtest/gtest.h>

#include <bit>
#include <cstdint>
#include <vector>

#include "measure/measure.h"
#include "tests/host_environment.h"
#include "tests/measure/made_waveform.h"

namespace measure {
namespace {

using tests::balanced;
using tests::staged;

class DefaultEnvironment : public testing::TestWithParam<tests::HostEnvironment> {};

/// Returns the bits of all figures that depend on the last digits of a computation.
std::vector<std::uint64_t> bits_of(const Findings& findings) {
  std::vector<std::uint64_t> bits;
  const auto add = [&](double value) { bits.push_back(std::bit_cast<std::uint64_t>(value)); };
  add(findings.frequency);
  for (const double volts : findings.reference_v) add(volts);
  for (const Event& event : findings.events) {
    add(event.start_s);
    add(event.end_s.value_or(-1));
    add(event.extreme_v);
    if (!event.course) continue;
    add(event.course->explained_share.value_or(-1));
    for (const Segment& segment : event.course->segments) {
      add(segment.start_s);
      for (const SegmentPhase& phase : segment.phases) add(phase.voltage_v.value), add(phase.voltage_v.plus_minus);
    }
  }
  return bits;
}

TEST_P(DefaultEnvironment, GivesTheSameFindings) {
  auto made = staged({{0, balanced(230)}, {0.5, balanced(115)}, {0.7, balanced(230)}}, 1.2);
  made.add_noise(0.5);
  const Waveform waveform = made.waveform();
  const Findings expected = measure(waveform, {});
  ASSERT_EQ(expected.events.size(), 1U);
  ASSERT_TRUE(expected.events[0].course);
  Findings findings;
  std::vector<Event> events;
  EXPECT_TRUE(tests::keeps(GetParam(), [&] {
    const Screening screening(waveform);
    findings = measure(screening, {});
    events = events_of(screening, {});
  }));
  EXPECT_EQ(bits_of(findings), bits_of(expected));
  EXPECT_EQ(events.size(), 1U);
}

TEST_P(DefaultEnvironment, IsLeftWhenThereIsTooLittle) {
  const auto made = staged({{0, balanced(230)}}, 0.03);
  const Waveform waveform = made.waveform();
  bool refused = false;
  EXPECT_TRUE(tests::keeps(GetParam(), [&] {
    try {
      const Screening screening(waveform);
    } catch (const TooLittle&) {
      refused = true;
    }
  }));
  EXPECT_TRUE(refused);
}

INSTANTIATE_TEST_SUITE_P(Host, DefaultEnvironment, testing::ValuesIn(tests::host_environments()),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
}  // namespace measure
