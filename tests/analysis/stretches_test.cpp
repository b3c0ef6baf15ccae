// Records that one run of the library does not hold are searched in stretches: the dips must come out as one run
// without limits would find them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "analysis/analyse.h"
#include "outputs/json.h"
#include "synth/dip_description.h"
#include "synth/waveform.h"

namespace {

using nlohmann::json;

constexpr double rate = 1600;  // 32 samples per cycle
constexpr double half_cycle = 0.01;

struct Fall {
  double begin;  // seconds
  double end;
  double level;  // of the undisturbed voltage
  const char* phases;
};

readers::Record record_with(const std::vector<Fall>& falls, double seconds, double noise = 0.2) {
  synth::Waveform waveform;
  waveform.rate = rate;
  waveform.length = static_cast<std::size_t>(seconds * rate);
  waveform.noise = noise;
  for (const Fall& fall : falls) {
    synth::Stage stage;
    stage.begin = fall.begin;
    stage.end = fall.end;
    for (const char phase : std::string(fall.phases)) stage.first[static_cast<std::size_t>(phase - 'A')] = fall.level;
    stage.last = stage.first;
    waveform.stages.push_back(stage);
  }
  return synth::record_of(waveform);
}

json dips_of(const readers::Record& record, std::size_t longest_run_cycles) {
  analysis::AnalysisOptions options;
  options.longest_run = longest_run_cycles;
  return json::parse(outputs::json_of(record, analysis::analyse(record, options)))["dips"];
}

TEST(Stretches, FindEachDipOfALongRecordOnce) {
  // 5000 cycles; a run ends at 60 s.
  const auto record =
      record_with({{10, 10.2, 0.5, "A"}, {59.9, 60.1, 0.4, "BC"}, {61, 61.3, 0.3, "ABC"}, {95, 95.1, 0, "C"}}, 100);
  const auto dips = dips_of(record, 3000);
  ASSERT_EQ(dips.size(), 4U);
  const double starts[] = {10, 59.9, 61, 95};
  const double ends[] = {10.2, 60.1, 61.3, 95.1};
  const int codes[] = {3, 6, 9, 1};
  for (std::size_t i = 0; i < 4; i++) {
    EXPECT_NEAR(dips[i]["start"]["time_s"], starts[i], half_cycle) << i;
    EXPECT_DOUBLE_EQ(dips[i]["start"]["sample"].get<double>(), dips[i]["start"]["time_s"].get<double>() * rate) << i;
    EXPECT_NEAR(dips[i]["end"]["time_s"], ends[i], 2 * half_cycle) << i;
    EXPECT_TRUE(dips[i]["analysed"]) << i;
    EXPECT_EQ(dips[i]["segments"][0]["category"]["code"], codes[i]) << i;
  }
}

class ShortStretches : public testing::TestWithParam<int> {};

// Bit for bit, which is more than is asked for: an RMS value sums its own cycle whatever the stretch begins with.
TEST_P(ShortStretches, GiveWhatASingleRunGives) {
  const auto seed = static_cast<unsigned>(GetParam());
  std::mt19937 random(seed);
  const auto between = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  std::vector<Fall> falls;
  const char* phases[] = {"A", "B", "C", "AB", "BC", "CA", "ABC"};
  // Gaps from a cycle, which joins dips, to half a minute.
  for (double at = 0.5; falls.size() < 14;) {
    const double length = std::exp(between(std::log(0.03), std::log(4)));
    falls.push_back({at, at + length, between(0, 0.85), phases[random() % 7]});
    at += length + std::exp(between(std::log(0.02), std::log(4)));
  }
  const auto record = record_with(falls, std::min(59.9, falls.back().end + 1));
  const auto whole = dips_of(record, 3000);
  EXPECT_GE(whole.size(), 3U);
  for (const std::size_t cycles : {30U, 47U, 100U, 333U, 1000U}) EXPECT_EQ(dips_of(record, cycles), whole) << cycles;
}

INSTANTIATE_TEST_SUITE_P(Seeds, ShortStretches, testing::Range(1, 7));

TEST(Stretches, FollowADipThatIsLongerThanARun) {
  const auto record = record_with({{2, 70, 0.6, "AB"}, {72, 72.2, 0.5, "C"}}, 75);
  const auto dips = dips_of(record, 3000);
  ASSERT_EQ(dips.size(), 2U);
  EXPECT_NEAR(dips[0]["start"]["time_s"], 2, half_cycle);
  EXPECT_NEAR(dips[0]["end"]["time_s"], 70, 2 * half_cycle);
  EXPECT_NEAR(dips[0]["lowest_voltage"][0]["percent"], 60, 0.5);
  EXPECT_NEAR(dips[0]["lowest_voltage"][2]["percent"], 100, 0.5);
  EXPECT_EQ(dips[0]["not_analysed"]["code"], "too_long");
  EXPECT_TRUE(dips[1]["analysed"]);
}

TEST(Stretches, FollowADipToTheEndOfTheRecord) {
  const auto dips = dips_of(record_with({{1, 1.2, 0.5, "C"}, {5, 100, 0.6, "AB"}}, 70), 3000);
  ASSERT_EQ(dips.size(), 2U);
  EXPECT_NEAR(dips[1]["start"]["time_s"], 5, half_cycle);
  EXPECT_FALSE(dips[1]["recovered"]);
  EXPECT_EQ(dips[1]["not_analysed"]["code"], "not_recovered");
}

TEST(Stretches, JoinAChainOfDipsThatNoRunHolds) {
  // Every half second a dip of 0.4 s: gaps of five cycles, so all of them are one, of 130 s.
  std::vector<Fall> falls;
  for (int i = 0; i < 260; i++) falls.push_back({1 + 0.5 * i, 1.4 + 0.5 * i, 0.5, "B"});
  falls.push_back({140, 140.2, 0.3, "A"});
  const auto dips = dips_of(record_with(falls, 142), 3000);
  ASSERT_EQ(dips.size(), 2U);
  EXPECT_NEAR(dips[0]["start"]["time_s"], 1, half_cycle);
  EXPECT_NEAR(dips[0]["end"]["time_s"], 130.9, 2 * half_cycle);
  EXPECT_NEAR(dips[1]["start"]["time_s"], 140, half_cycle);
}

TEST(Stretches, TakeMoreDipsThanARunHolds) {
  std::vector<Fall> falls;
  for (int i = 0; i < 100; i++) falls.push_back({1 + 0.7 * i, 1.1 + 0.7 * i, 0.5, i % 2 == 0 ? "A" : "BC"});
  const auto dips = dips_of(record_with(falls, 72), 3000);
  ASSERT_EQ(dips.size(), 100U);
  for (std::size_t i = 0; i < 100; i++) {
    EXPECT_NEAR(dips[i]["start"]["time_s"], 1 + 0.7 * static_cast<double>(i), half_cycle);
    EXPECT_TRUE(dips[i]["analysed"]) << i;
  }
}

TEST(Stretches, AreReportedAsTheyAreSearched) {
  std::vector<std::pair<std::string, double>> heard;
  analysis::AnalysisOptions options;
  options.longest_run = 1000;
  options.report_stage = [&](const std::string& what, double done) { heard.emplace_back(what, done); };
  analysis::analyse(record_with({{10, 10.2, 0.5, "A"}}, 50), options);
  // 2500 cycles in runs of 1000 that overlap by one.
  ASSERT_EQ(heard.size(), 4U);
  for (std::size_t i = 0; i < 3; i++) {
    EXPECT_EQ(heard[i].first, "searching for dips");
    EXPECT_NEAR(heard[i].second, 0.4 * static_cast<double>(i), 0.001);
  }
  EXPECT_EQ(heard[3], (std::pair<std::string, double>("analysing dips", 0)));
}

TEST(Stretches, AreSaid) {
  const auto analysis = analysis::analyse(record_with({{10, 10.2, 0.5, "A"}}, 100), {});
  ASSERT_EQ(analysis.notes.size(), 1U);
  EXPECT_EQ(analysis.notes[0],
            "Searched in 2 stretches that overlap, as one run of the library takes 3000 cycles and 15 dips.");
  EXPECT_TRUE(analysis::analyse(record_with({{10, 10.2, 0.5, "A"}}, 50), {}).notes.empty());
}

}  // namespace
