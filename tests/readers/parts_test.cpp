#include "readers/voltages/parts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <utility>
#include <vector>

namespace readers {
namespace {

struct Place {
  std::size_t begin;
  std::size_t end;
  bool operator==(const Place&) const = default;
};

void PrintTo(const Place& place, std::ostream* out) {
  *out << place.begin << ".." << place.end;
}

std::vector<Place> places(const std::vector<Part>& parts) {
  std::vector<Place> result;
  for (const Part& part : parts) result.push_back({part.begin, part.end});
  return result;
}

Record record_of(std::vector<RateSection> rates) {
  Record record;
  record.rates = std::move(rates);
  return record;
}

TEST(Parts, HaveOneRateEach) {
  const auto parts = parts_of(record_of({{3200, 100, 0}, {50, 110, 0.03125}, {3200, 300, 0.23125}}));
  EXPECT_EQ(places(parts), (std::vector<Place>{{0, 100}, {100, 110}, {110, 300}}));
  EXPECT_EQ(parts[1].rate, 50);
  EXPECT_EQ(parts[2].start, 0.23125);
}

TEST(Parts, JoinSectionsOfOneRate) {
  const auto parts = parts_of(record_of({{1200, 100, 0}, {1200, 200, 0.1}, {1200, 300, 0.2}}));
  EXPECT_EQ(places(parts), (std::vector<Place>{{0, 300}}));
  EXPECT_EQ(parts[0].rate, 1200);
}

TEST(Parts, JoinRatesThatFollowTheLinesFrequency) {
  // At 2400 Hz 100 samples take 0.0416667 s, and at 2412 Hz 300 samples take 0.1243781 s.
  const auto parts = parts_of(record_of({{2400, 100, 0}, {2412, 400, 0.0416667}}));
  EXPECT_EQ(places(parts), (std::vector<Place>{{0, 400}}));
  EXPECT_NEAR(parts[0].rate, 400 / (100 / 2400.0 + 300 / 2412.0), 1e-9);
  EXPECT_EQ(parts_of(record_of({{2400, 100, 0}, {2430, 400, 0}})).size(), 2U) << "the rates differ by more than 1 %";
}

TEST(Parts, AreApartWhereTimeIsMissing) {
  EXPECT_EQ(parts_of(record_of({{1000, 100, 0}, {1000, 200, 5, false}})).size(), 2U);
}

Record gapped(const std::vector<Place>& gaps, std::size_t length = 100) {
  Record record = record_of({{1000, length, 0}});
  record.channels.resize(3);
  for (Channel& channel : record.channels) channel.samples.assign(length, 1);
  std::size_t turn = 0;
  for (const Place& gap : gaps) {
    for (std::size_t i = gap.begin; i < gap.end; i++) record.channels[turn % 3].samples[i] = no_value;
    turn++;
  }
  return record;
}

TEST(PartsWithoutGaps, LeaveOutGapsThatAreTooLong) {
  const auto parts = parts_without_gaps(gapped({{40, 46}, {60, 65}}), {0, 1, 2}, 0.005);
  EXPECT_EQ(places(parts), (std::vector<Place>{{0, 40}, {46, 100}}))
      << "a gap of six samples is too long, one of five is not";
  EXPECT_NEAR(parts[1].start, 0.046, 1e-12);
}

TEST(PartsWithoutGaps, BeginAndEndWithValues) {
  EXPECT_EQ(places(parts_without_gaps(gapped({{0, 2}, {97, 100}}), {0, 1, 2}, 0.005)), (std::vector<Place>{{2, 97}}));
  EXPECT_TRUE(parts_without_gaps(gapped({{0, 100}}), {0, 1, 2}, 0.005).empty());
}

TEST(PartsWithoutGaps, TakeAnyRateThatAFileMayState) {
  for (const double rate : {6.7e53, 1e308, 1e-300}) {
    Record record = gapped({{40, 46}});
    record.rates[0].rate = rate;
    const std::size_t parts = rate > 1 ? 1 : 2;  // at the high rates no gap is too long, at the low ones every gap is
    EXPECT_EQ(parts_without_gaps(record, {0, 1, 2}, 0.005).size(), parts) << rate;
  }
}

TEST(PartsWithoutGaps, CountGapsOfSeveralChannelsTogether) {
  EXPECT_EQ(places(parts_without_gaps(gapped({{40, 44}, {44, 48}}), {0, 1, 2}, 0.005)),
            (std::vector<Place>{{0, 40}, {48, 100}}));
  EXPECT_EQ(places(parts_without_gaps(gapped({{40, 44}, {44, 48}}), {0, 2, 2}, 0.005)), (std::vector<Place>{{0, 100}}));
}

TEST(BridgedSamples, FollowASineThroughAQuarterCycle) {
  const auto sine = [](std::size_t i) { return 100 * std::sin(2 * std::numbers::pi * static_cast<double>(i) / 20); };
  std::vector<double> samples;
  for (std::size_t i = 0; i < 200; i++) samples.push_back(i >= 103 && i < 108 ? no_value : sine(i));
  const auto result = bridged(samples, 2);
  EXPECT_EQ(result.bridged, 5U);
  EXPECT_EQ(result.first, 103U);
  EXPECT_EQ(result.longest_gap, 5U);
  for (std::size_t i = 0; i < 200; i++) EXPECT_NEAR(static_cast<double>(result.values[i]), 2 * sine(i), 8) << i;
}

TEST(BridgedSamples, JoinAStraightLineExactly) {
  std::vector<double> samples;
  for (int i = 2; i < 12; i++) samples.push_back(i == 4 || i == 5 || i == 8 ? no_value : i);
  const auto result = bridged(samples, 1);
  EXPECT_EQ(result.bridged, 3U);
  EXPECT_EQ(result.first, 2U);
  for (std::size_t i = 0; i < 10; i++)
    EXPECT_NEAR(static_cast<double>(result.values[i]), static_cast<double>(i + 2), 1e-5);
}

TEST(BridgedSamples, SayNothingWhereNothingIsMissing) {
  const std::vector<double> samples = {2, 3};
  const auto result = bridged(samples, 1);
  EXPECT_EQ(result.bridged, 0U);
  EXPECT_EQ(result.values, (std::vector<float>{2, 3}));
}

}  // namespace
}  // namespace readers
