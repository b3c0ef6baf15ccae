// Single-event indices of dips whose integrals are known.
#include "assess/indices.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

/// Urms(1/2) of an abrupt dip at 50 Hz: a moving RMS over 20 ms, each 10 ms, of 100 V that falls to `volts` from 0.1 s
/// to 0.3 s.
measure::HalfCycleRms abrupt_dip(double volts) {
  measure::HalfCycleRms rms;
  for (int i = 0; i < 50; i++) {
    const double start = 0.01 * i;
    const double end = start + 0.02;
    const double inside = std::max(0.0, std::min(end, 0.3) - std::max(start, 0.1));
    const double outside = std::max(0.0, 0.02 - inside);
    const double square = (inside * volts * volts + outside * 100 * 100) / 0.02;
    rms.start_s.push_back(start);
    rms.end_s.push_back(end);
    rms.volts.push_back(std::sqrt(square));
  }
  return rms;
}

measure::Event dip_from(double start_s, double end_s) {
  measure::Event dip;
  dip.start_s = start_s;
  dip.end_s = end_s;
  dip.reference_v = 100;
  return dip;
}

TEST(Indices, GiveTheEnergyOfTheWaveform) {
  // 0.2 s at 40 V of 100 V: 0.2 s times 1 - 0.16.
  const auto indices = assess::indices_of(dip_from(0.09, 0.32), abrupt_dip(40));
  ASSERT_TRUE(indices);
  EXPECT_NEAR(indices->energy_s, 0.168, 1e-9);
}

TEST(Indices, GiveTheDurationOfAnInterruptionAsItsEnergy) {
  const auto indices = assess::indices_of(dip_from(0.09, 0.32), abrupt_dip(0));
  ASSERT_TRUE(indices);
  EXPECT_NEAR(indices->energy_s, 0.2, 1e-9);
}

TEST(Indices, GiveLostVoltSeconds) {
  // 19 windows at 0 V lose 1 V s each. The two at the edges hold half a cycle and lose 100 V less their root of half.
  const double edges = 2 * 0.01 * 100 * (1 - std::sqrt(0.5));
  const auto indices = assess::indices_of(dip_from(0.09, 0.32), abrupt_dip(0));
  ASSERT_TRUE(indices);
  // The root enlarges the rounding errors of the windows' edges.
  EXPECT_NEAR(indices->lost_v_s, 19 + edges, 1e-6);
}

TEST(Indices, DoNotCountVoltageAboveTheReference) {
  auto rms = abrupt_dip(40);
  for (double& volts : rms.volts) volts = volts > 99 ? 120 : volts;
  EXPECT_NEAR(assess::indices_of(dip_from(0.09, 0.32), rms)->energy_s, 0.168, 1e-9);
}

TEST(Indices, IntegrateADipWithoutAnEndAsFarAsItWasRecorded) {
  measure::Event dip = dip_from(0.11, 0);
  dip.end_s.reset();
  measure::HalfCycleRms rms;
  for (int i = 0; i < 30; i++) {
    rms.start_s.push_back(0.01 * i);
    rms.end_s.push_back(0.01 * i + 0.02);
    rms.volts.push_back(50);
  }
  // The windows from 0.10 s to 0.29 s overlap the dip: 20 windows of 10 ms at 1 - 0.25.
  EXPECT_NEAR(assess::indices_of(dip, rms)->energy_s, 0.15, 1e-9);
}

TEST(Indices, NeedAReferenceAndAllValues) {
  measure::Event dip = dip_from(0.09, 0.32);
  dip.reference_v = 0;
  EXPECT_FALSE(assess::indices_of(dip, abrupt_dip(40)));
  auto rms = abrupt_dip(40);
  rms.volts[15] = std::numeric_limits<double>::quiet_NaN();
  EXPECT_FALSE(assess::indices_of(dip_from(0.09, 0.32), rms));
}

}  // namespace
