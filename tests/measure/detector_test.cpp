#include "measure/detector.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace measure {
namespace {

constexpr double missing = std::numeric_limits<double>::quiet_NaN();
constexpr double exact = 1e-9;

/// Values of one voltage, the first of which begins at a time; windows are 20 ms long and begin every 10 ms.
HalfCycleRms series(const std::vector<double>& volts, double from_s = 0) {
  HalfCycleRms result;
  for (const double value : volts) {
    const double start = from_s + 0.01 * static_cast<double>(result.size());
    result.start_s.push_back(start);
    result.end_s.push_back(start + 0.02);
    result.volts.push_back(value);
  }
  return result;
}

References constant(double volts) {
  References references;
  references.start = {volts, volts, volts};
  return references;
}

std::vector<Event> found(const std::vector<HalfCycleRms>& all, const Thresholds& thresholds = {}) {
  return detect(all, constant(100), thresholds);
}

// --- dips ------------------------------------------------------------------------------------------------------------

TEST(Detector, FindsNothingInASteadyVoltage) {
  EXPECT_TRUE(found({series({100, 99, 91, 90, 109, 110, 100})}).empty())
      << "90 % and 110 % themselves are not an event";
}

TEST(Detector, FindsADipFromBelow90ToAtLeast92PerCent) {
  const auto events = found({series({100, 100, 89.9, 70, 75, 91.9, 92, 100})});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].kind, EventKind::dip);
  EXPECT_NEAR(events[0].start_s, 0.02, exact) << "the beginning of the window below 90 %";
  EXPECT_TRUE(events[0].start_known);
  ASSERT_TRUE(events[0].end_s);
  EXPECT_NEAR(*events[0].end_s, 0.08, exact) << "the end of the window at 92 %";
  EXPECT_EQ(events[0].extreme_v, 70);
  EXPECT_EQ(events[0].extreme_phase, 0U);
  EXPECT_EQ(events[0].reference_v, 100);
  EXPECT_EQ(events[0].phases, (PhaseFlags{true, false, false}));
  EXPECT_EQ(events[0].lowest_v[0], 70);
  EXPECT_EQ(events[0].highest_v[0], 91.9) << "the dip is over in the window that ends it";
}

TEST(Detector, AppliesOtherThresholds) {
  Thresholds thresholds;
  thresholds.dip = 80;
  thresholds.hysteresis = 5;
  const auto events = found({series({100, 85, 79, 84, 86, 100})}, thresholds);
  ASSERT_EQ(events.size(), 1U);
  EXPECT_NEAR(events[0].start_s, 0.02, exact);
  EXPECT_NEAR(*events[0].end_s, 0.06, exact);
}

TEST(Detector, AddsTheHysteresisExactly) {
  Thresholds thresholds;
  thresholds.dip = 80;
  thresholds.swell = 120;
  thresholds.hysteresis = 5;
  const auto dips = found({series({100, 79, 85, 79, 84.999, 79, 85})}, thresholds);
  EXPECT_EQ(dips.size(), 2U) << "85 % itself ends a dip";
  const auto swells = found({series({100, 121, 115, 121, 115.001, 121, 115})}, thresholds);
  EXPECT_EQ(swells.size(), 2U) << "115 % itself ends a swell";
}

TEST(Detector, DoesNotEndADipBetween90And92PerCent) {
  EXPECT_EQ(found({series({100, 80, 91, 80, 91.5, 80, 100})}).size(), 1U);
  EXPECT_EQ(found({series({100, 80, 92, 80, 92, 80, 100})}).size(), 3U);
}

TEST(Detector, HasOneDipFromTheFirstVoltageThatFallsToTheLastThatIsBack) {
  // Windows of the phases begin a third of their distance apart.
  const auto events =
      found({series({100, 100, 60, 60, 100, 100, 100, 100}, 0), series({100, 100, 100, 40, 40, 95, 100, 100}, 0.0033),
             series({100, 100, 100, 100, 91, 100, 100, 100}, 0.0067)});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_NEAR(events[0].start_s, 0.02, exact);
  EXPECT_NEAR(*events[0].end_s, 0.0767, exact) << "phase C was below 92 % and is the last to be back";
  EXPECT_EQ(events[0].extreme_v, 40);
  EXPECT_EQ(events[0].extreme_phase, 1U);
  EXPECT_EQ(events[0].phases, (PhaseFlags{true, true, false}));
  EXPECT_EQ(events[0].lowest_v, (PerPhase{60, 40, 91}));
}

TEST(Detector, KnowsNoStartOfADipThatIsOnAtTheBeginning) {
  const auto events = found({series({50, 50, 100, 100}, 0.003)});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_FALSE(events[0].start_known);
  EXPECT_EQ(events[0].start_s, 0) << "it was on before the first window began";
  EXPECT_NEAR(*events[0].end_s, 0.043, exact);
}

TEST(Detector, KnowsNoEndOfADipThatIsOnAtTheEnd) {
  const auto events = found({series({100, 100, 50, 50, 91})});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_FALSE(events[0].end_s);
  EXPECT_EQ(events[0].extreme_v, 50);
}

TEST(Detector, PassesOverMissingValues) {
  const auto events = found({series({100, missing, 60, missing, 60, missing, missing, 100, missing})});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_NEAR(events[0].start_s, 0.02, exact);
  EXPECT_NEAR(*events[0].end_s, 0.09, exact);
  EXPECT_EQ(events[0].extreme_v, 60);
  EXPECT_TRUE(found({series({missing, missing, missing})}).empty());
}

TEST(Detector, JudgesEachVoltageByItsOwnReference) {
  References references;
  references.start = {100, 200, 100};
  const auto events =
      detect({series({100, 100, 100}), series({200, 175, 200}), series({100, 95, 100})}, references, {});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].phases, (PhaseFlags{false, true, false}));
  EXPECT_EQ(events[0].reference_v, 200);
}

// --- swells and interruptions ----------------------------------------------------------------------------------------

TEST(Detector, FindsASwellFromAbove110ToAtMost108PerCent) {
  const auto events = found({series({100, 110.1, 130, 109, 108, 100}), series({100, 100, 105, 100, 100, 100})});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].kind, EventKind::swell);
  EXPECT_NEAR(events[0].start_s, 0.01, exact);
  EXPECT_NEAR(*events[0].end_s, 0.06, exact);
  EXPECT_EQ(events[0].extreme_v, 130);
  EXPECT_EQ(events[0].extreme_phase, 0U);
  EXPECT_EQ(events[0].phases, (PhaseFlags{true, false, false}));
}

TEST(Detector, FindsNoSwellAtTheThresholdItself) {
  Thresholds thresholds;
  thresholds.swell = 125;
  EXPECT_TRUE(found({series({100, 125, 100})}, thresholds).empty());
  EXPECT_EQ(found({series({100, 125.5, 100})}, thresholds).size(), 1U);
}

TEST(Detector, FindsAnInterruptionWhenAllVoltagesAreGone) {
  const std::vector<double> gone = {100, 60, 4, 1, 4, 6.9, 60, 100, 100};
  const auto events = found({series(gone), series(gone), series(gone)});
  ASSERT_EQ(events.size(), 2U);
  EXPECT_EQ(events[0].kind, EventKind::dip) << "which an interruption is as well";
  EXPECT_EQ(events[1].kind, EventKind::interruption);
  EXPECT_NEAR(events[1].start_s, 0.02, exact);
  EXPECT_NEAR(*events[1].end_s, 0.08, exact) << "the end of the window at 7 % or more";
  EXPECT_EQ(events[1].extreme_v, 1);
}

TEST(Detector, FindsNoInterruptionWhileAVoltageIsLeft) {
  const std::vector<double> gone = {100, 60, 4, 1, 4, 60, 100};
  const auto events = found({series(gone), series(gone), series({100, 80, 5, 5, 5, 80, 100})});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].kind, EventKind::dip);
}

TEST(Detector, ReportsEventsInOrder) {
  const auto events = found({series({100, 120, 100, 80, 100, 3, 100, 120})});
  ASSERT_EQ(events.size(), 5U);
  EXPECT_EQ(events[0].kind, EventKind::swell);
  EXPECT_EQ(events[1].kind, EventKind::dip);
  EXPECT_EQ(events[2].kind, EventKind::dip);
  EXPECT_EQ(events[3].kind, EventKind::interruption);
  EXPECT_EQ(events[4].kind, EventKind::swell);
  for (std::size_t k = 1; k < 5; k++) EXPECT_GE(events[k].start_s, events[k - 1].start_s);
}

// --- the sliding reference -------------------------------------------------------------------------------------------

/// Blocks of 0.2 s, all with the same voltage.
References sliding(double start, std::size_t blocks, double volts) {
  References references;
  references.start = {start, start, start};
  for (std::size_t k = 1; k <= blocks; k++) {
    references.block_end_s.push_back(0.2 * static_cast<double>(k));
    for (auto& rms : references.block_rms) rms.push_back(volts);
  }
  return references;
}

/// Makes 99 V throughout, except for a dip of a number of half cycles.
std::vector<double> dipping(std::size_t length, std::size_t from, std::size_t count) {
  std::vector<double> volts(length, 99);
  std::fill_n(volts.begin() + static_cast<std::ptrdiff_t>(from), count, 50.0);
  return volts;
}

TEST(SlidingReference, AddsAThreeHundredthOfEachBlock) {
  // The dip begins with the window that ends at 20.02 s: 100 blocks have ended by then.
  const auto events = detect({series(dipping(2100, 2000, 5))}, sliding(100, 110, 99), {});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_NEAR(events[0].reference_v, 99 + std::pow(0.9967, 100), exact);
}

TEST(SlidingReference, PausesDuringEvents) {
  // The dip takes 10 s, and ends with the window that ends at 30.02 s.
  const auto events = detect({series(dipping(3100, 2000, 1000))}, sliding(100, 160, 99), {});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_NEAR(*events[0].end_s, 30.02, exact);
  EXPECT_NEAR(events[0].reference_v, 99 + std::pow(0.9967, 100), exact);
}

TEST(SlidingReference, LeavesOutTheBlocksThatAnEventTouches) {
  // The first dip lies within the 101st block, so that 199 blocks count before the second dip.
  auto volts = dipping(4100, 4000, 5);
  std::fill_n(volts.begin() + 2005, 5, 50.0);
  const auto events = detect({series(volts)}, sliding(100, 210, 99), {});
  ASSERT_EQ(events.size(), 2U);
  EXPECT_NEAR(events[0].reference_v, 99 + std::pow(0.9967, 100), exact);
  EXPECT_NEAR(events[1].reference_v, 99 + std::pow(0.9967, 199), exact);
}

TEST(SlidingReference, LeavesOutMissingBlocks) {
  References references = sliding(100, 110, 99);
  for (const std::size_t k : {3U, 7U, 50U}) references.block_rms[0][k] = missing;
  const auto events = detect({series(dipping(2100, 2000, 5))}, references, {});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_NEAR(events[0].reference_v, 99 + std::pow(0.9967, 97), exact);
}

TEST(SlidingReference, LetsSlowChangesPass) {
  // A voltage that sinks to 85 % within 20 minutes is never below 90 % of the minute before.
  std::vector<double> volts;
  References references = sliding(100, 0, 0);
  for (std::size_t k = 0; k < 120000; k++) {
    volts.push_back(100 - 15 * static_cast<double>(k) / 120000);
    if (k % 20 != 19) continue;
    references.block_end_s.push_back(0.01 * static_cast<double>(k + 1));
    for (auto& rms : references.block_rms) rms.push_back(volts.back());
  }
  EXPECT_TRUE(detect({series(volts)}, references, {}).empty());
  EXPECT_EQ(detect({series(volts)}, constant(100), {}).size(), 1U);
}

// --- rapid voltage changes -------------------------------------------------------------------------------------------

std::vector<Event> changes(const std::vector<HalfCycleRms>& all) {
  return detect_rapid_changes(all, 100, {100, 100, 100}, {}, 100);
}

/// So many values of each voltage, one after the other.
std::vector<double> levels(const std::vector<std::pair<std::size_t, double>>& parts) {
  std::vector<double> volts;
  for (const auto& [count, value] : parts) volts.insert(volts.end(), count, value);
  return volts;
}

TEST(RapidChange, IsASuddenChangeByMoreThanTheThreshold) {
  // The value after 200 others is 3.96 V off the mean of the last 100, which includes it. Steadiness is back when all
  // of the last 100 are at the new voltage.
  const auto events = changes({series(levels({{200, 100}, {200, 96}}))});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].kind, EventKind::rapid_voltage_change);
  EXPECT_NEAR(events[0].delta_max_v, 4, exact);
  EXPECT_NEAR(events[0].delta_steady_v, 4, exact);
  EXPECT_NEAR(events[0].start_s, 2.01, exact) << "half a window before the end of the first window that is off";
  ASSERT_TRUE(events[0].end_s);
  EXPECT_NEAR(*events[0].end_s - events[0].start_s, 0, 0.011);
  EXPECT_EQ(events[0].phases, (PhaseFlags{true, false, false}));
  EXPECT_EQ(events[0].reference_v, 100);
}

TEST(RapidChange, IsNotReportedBelowTheThreshold) {
  EXPECT_TRUE(changes({series(levels({{200, 100}, {200, 97.1}}))}).empty());
}

TEST(RapidChange, IsNotReportedIfItIsADipOrASwell) {
  EXPECT_TRUE(changes({series(levels({{200, 100}, {5, 85}, {200, 100}}))}).empty());
  EXPECT_TRUE(changes({series(levels({{200, 100}, {5, 115}, {200, 100}}))}).empty());
}

TEST(RapidChange, HasItsLargestDistanceAndItsFinalOne) {
  // There are ten half cycles at 93 V before the voltage settles at 98 V.
  const auto events = changes({series(levels({{200, 100}, {10, 93}, {300, 98}}))});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_NEAR(events[0].delta_max_v, 7, exact);
  EXPECT_NEAR(events[0].delta_steady_v, 2, exact);
  EXPECT_NEAR(events[0].start_s, 2.01, exact);
  EXPECT_NEAR(*events[0].end_s - events[0].start_s, 0.1, 0.011) << "as long as the ten half cycles";
}

TEST(RapidChange, EndsByHalfTheThreshold) {
  // After the fall the voltage alternates by 2 V to either side: within 3 V, but not within 1.5 V.
  auto volts = levels({{200, 100}});
  for (std::size_t k = 0; k < 300; k++) volts.push_back(k % 2 == 0 ? 93 : 97);
  EXPECT_TRUE(changes({series(volts)}).empty()) << "the change is not over";
  volts.insert(volts.end(), 150, 95);
  const auto events = changes({series(volts)});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_NEAR(events[0].delta_steady_v, 5, exact);
  EXPECT_NEAR(events[0].delta_max_v, 7, exact);
  EXPECT_NEAR(*events[0].end_s - events[0].start_s, 3, 0.011);
}

TEST(RapidChange, OfSeveralPhasesIsOneUntilAllAreSteady) {
  const auto events = changes(
      {series(levels({{200, 100}, {300, 95}})), series(levels({{220, 100}, {280, 95}})), series(levels({{500, 100}}))});
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].phases, (PhaseFlags{true, true, false}));
  EXPECT_NEAR(events[0].start_s, 2.01, exact);
  EXPECT_NEAR(*events[0].end_s, 2.21, 0.011);
}

TEST(RapidChange, IsNotLookedForWithoutAThreshold) {
  Thresholds thresholds;
  thresholds.rapid_change = 0;
  const auto all = {series(levels({{200, 100}, {200, 96}}))};
  EXPECT_TRUE(detect_rapid_changes(all, 100, {100, 100, 100}, thresholds, 100).empty());
}

}  // namespace
}  // namespace measure
