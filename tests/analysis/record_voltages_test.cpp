// Tests that the sets and parts of a record are found once, whatever is asked for afterwards.
#include "analysis/choice/record_voltages.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "analysis/analyse.h"
#include "analysis/choice/chosen_set.h"
#include "synth/record_file.h"
#include "synth/waveform.h"

namespace {

/// Makes a record of `observations` of one second each, an hour apart, with a dip in each. The dip of observation
/// `deepest` is the deepest one.
readers::Record observed(std::size_t observations, std::size_t deepest) {
  synth::Waveform waveform;
  waveform.rate = 800;
  waveform.length = 800 * observations;
  for (std::size_t i = 0; i < observations; i++) {
    const double depth = i + 1 == deepest ? 0.4 : 0.7;
    const auto begin = static_cast<double>(i) + 0.4;
    waveform.stages.push_back({begin, begin + 0.2, {1, depth, 1}, {1, depth, 1}});
  }
  auto record = synth::record_of(waveform);
  record.rates.clear();
  for (std::size_t i = 0; i < observations; i++) {
    readers::RateSection section{800, 800 * (i + 1), 3600.0 * static_cast<double>(i), false};
    section.title = "observation " + std::to_string(i + 1);
    record.rates.push_back(section);
  }
  return record;
}

TEST(RecordVoltages, DividesASetIntoPartsOnce) {
  const auto record = observed(3, 2);
  analysis::RecordVoltages voltages(record, {});
  EXPECT_EQ(voltages.live_sets(), (std::vector<std::size_t>{1}));
  const analysis::VoltageSource& source = voltages.source(1);
  EXPECT_EQ(source.parts.size(), 3U);
  EXPECT_EQ(source.line_frequency, 50);
  EXPECT_EQ(source.chosen.of, 1U);
  EXPECT_EQ(&voltages.source(1), &source) << "the second answer is the first one";
  EXPECT_THROW(voltages.source(2), analysis::UnknownChoice);
}

TEST(RecordVoltages, IgnoresTheNumbersOfTheChoice) {
  const auto record = observed(3, 2);
  analysis::VoltageChoice choice;
  choice.set = 7;
  choice.part = 9;
  EXPECT_EQ(analysis::RecordVoltages(record, choice).source(1).parts.size(), 3U);
}

TEST(RecordVoltages, ServeAllPartsOfARecord) {
  const auto record = observed(300, 177);
  analysis::RecordVoltages voltages(record, {});
  EXPECT_EQ(analysis::analyse(voltages, {}).voltages.part_number, 177U) << "all observations are searched";
  const auto places = analysis::all_of(voltages, {}, true, true);
  ASSERT_EQ(places.size(), 300U);
  analysis::AnalysisOptions options;
  for (const analysis::SetAndPart& place : {places.front(), places[176], places.back()}) {
    options.choice.set = place.set;
    options.choice.part = place.part;
    const auto one = analysis::analyse(voltages, options);
    EXPECT_EQ(one.voltages.part_number, place.part);
    EXPECT_EQ(one.found.events.size(), 1U);
    EXPECT_EQ(one.voltages.part.start, 3600.0 * static_cast<double>(place.part - 1));
  }
}

TEST(ChannelsToRead, AreTheVoltagesOfTheChoiceAndTheCurrents) {
  readers::Record record;
  for (const auto& [name, unit] :
       {std::pair("Ua", "V"), {"Ub", "V"}, {"Uc", "V"}, {"Ia", "A"}, {"Ib", "A"}, {"Ic", "A"}, {"temperature", "K"}}) {
    readers::Channel& channel = record.channels.emplace_back();
    channel.name = name;
    channel.unit = unit;
  }
  using Wanted = std::vector<bool>;
  EXPECT_EQ(analysis::voltages_to_read(record, {}), (Wanted{true, true, true, false, false, false, false}));
  EXPECT_EQ(analysis::channels_to_read(record, {}), (Wanted{true, true, true, true, true, true, false}));
  analysis::VoltageChoice choice;
  choice.channels = "Ub,7";
  EXPECT_EQ(analysis::voltages_to_read(record, choice), (Wanted{false, true, false, false, false, false, true}));
  EXPECT_EQ(analysis::channels_to_read(record, choice), (Wanted{false, true, false, true, true, true, true}));
}

TEST(SetsAndParts, AreNamedByTheNumbersThatAreAskedFor) {
  EXPECT_EQ(analysis::name_of({2, 0}), "set 2");
  EXPECT_EQ(analysis::name_of({0, 3}), "part 3");
  EXPECT_EQ(analysis::name_of({2, 3}), "set 2, part 3");
  EXPECT_EQ(analysis::name_of({0, 0}), "");
}

}  // namespace
