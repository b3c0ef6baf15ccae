// Tests the events in recorded RMS values.
#include "measure/recorded_rms.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <vector>

#include "measure/measure.h"

namespace {

/// Three voltages with one value in 10 ms, of which the first falls to `low_v` from value 200 to 222 and back.
struct Recorded {
  std::array<std::vector<double>, 3> volts;
  measure::Waveform waveform;

  explicit Recorded(double low_v = 138, std::size_t values = 600) {
    for (std::size_t phase = 0; phase < 3; phase++) {
      volts[phase].assign(values, 230);
      for (std::size_t i = 200; i < 223 && phase == 0; i++) volts[phase][i] = low_v;
      waveform.phases.push_back({volts[phase]});
    }
    waveform.rate = 100;
    waveform.line_frequency = 50;
    waveform.holds_rms = true;
  }
};

TEST(RecordedRms, GivesTheEventsByTheStandard) {
  const Recorded recorded;
  const auto found = measure::measure(recorded.waveform, {});
  ASSERT_EQ(found.events.size(), 1U);
  const auto& dip = found.events[0];
  EXPECT_EQ(dip.kind, measure::EventKind::dip);
  EXPECT_DOUBLE_EQ(dip.start_s, 2.00) << "the stamp of the first value below";
  EXPECT_DOUBLE_EQ(dip.end_s.value(), 2.23) << "the stamp of the first value back";
  EXPECT_DOUBLE_EQ(dip.extreme_v, 138);
  EXPECT_DOUBLE_EQ(dip.reference_v, 230);
  EXPECT_EQ(dip.phases, (measure::PhaseFlags{true, false, false}));
  EXPECT_FALSE(dip.course) << "RMS values show no course";
  EXPECT_EQ(found.frequency, 50);
}

TEST(RecordedRms, OfAllVoltagesBelowTheThresholdIsAnInterruption) {
  Recorded recorded(3);
  for (auto& volts : recorded.volts) std::fill(volts.begin() + 200, volts.begin() + 223, 3.0);
  const auto found = measure::measure(recorded.waveform, {});
  ASSERT_EQ(found.events.size(), 2U);
  EXPECT_EQ(found.events[1].kind, measure::EventKind::interruption);
  EXPECT_NEAR(*found.events[1].end_s - found.events[1].start_s, 0.23, 1e-9);
}

TEST(RecordedRms, ThatBeginsLowIsComparedWithTheLevelOfMostValues) {
  Recorded recorded(230);
  std::fill(recorded.volts[0].begin(), recorded.volts[0].begin() + 120, 115.0);
  const auto found = measure::measure(recorded.waveform, {});
  EXPECT_TRUE(found.begins_low);
  EXPECT_DOUBLE_EQ(found.reference_v[0], 230);
  ASSERT_GE(found.events.size(), 1U);
  EXPECT_FALSE(found.events[0].start_known);
}

TEST(RecordedRms, MayHaveMissingValues) {
  Recorded recorded;
  recorded.volts[0][210] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(measure::measure(recorded.waveform, {}).events.size(), 1U);
}

TEST(RecordedRms, OfLongAveragesIsTooLittle) {
  Recorded recorded;
  recorded.waveform.rate = 1;
  EXPECT_THROW(measure::measure(recorded.waveform, {}), measure::TooLittle);
}

}  // namespace
