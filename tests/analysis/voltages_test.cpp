// Tests which voltages of a record are analysed (sets, parts, gaps, declared voltage) and the notes on the choice.
#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "analysis/analyse.h"
#include "analysis/refusal.h"
#include "outputs/json.h"
#include "synth/record_file.h"
#include "synth/waveform.h"
#include "tests/command/dipx_command.h"
#include "tests/core/working_folder.h"

namespace {

using analysis::AnalysisOptions;
using nlohmann::json;
using tests::dipx;
using Strings = std::vector<std::string>;

/// Voltage with a dip of phase B to a half from 0.4 s to 0.5 s, samples 1280 to 1600.
readers::Record plain_record(double volts = 230, std::size_t length = 3200) {
  synth::Waveform waveform;
  waveform.volts = volts;
  waveform.rate = 3200;
  waveform.length = length;
  waveform.stages = {{0.4, 0.5, {1, 0.5, 1}, {1, 0.5, 1}}};
  return synth::record_of(waveform);
}

/// Makes the same record with voltages between phases, which can be recognised only by their names.
readers::Record line_to_line_record(const Strings& names) {
  auto record = plain_record(400);
  for (std::size_t i = 0; i < 3; i++) {
    record.channels[i].name = names[i];
    record.channels[i].phase.clear();
  }
  return record;
}

std::vector<measure::Event> dips_of(const analysis::Analysis& analysis) {
  std::vector<measure::Event> dips;
  for (const auto& event : analysis.found.events) {
    if (event.kind == measure::EventKind::dip) dips.push_back(event);
  }
  return dips;
}

/// The dip's first window is the first whose RMS is below 90 %; it begins up to a cycle before the dip. The change on
/// the waveform is found to a part of a cycle.
void expect_the_dip(const analysis::Analysis& analysis, double begin_s = 0.4) {
  const auto dips = dips_of(analysis);
  ASSERT_EQ(dips.size(), 1U);
  const double start_s = analysis.voltages.record_seconds(dips[0].start_s);
  EXPECT_GT(start_s, begin_s - 0.02);
  EXPECT_LT(start_s, begin_s + 0.01);
  EXPECT_NEAR(dips[0].extreme_v / dips[0].reference_v, 0.5, 0.001);
  EXPECT_EQ(dips[0].phases, (measure::PhaseFlags{false, true, false}));
  ASSERT_TRUE(dips[0].course && dips[0].course->start_s);
  EXPECT_NEAR(analysis.voltages.record_seconds(dips[0].course->start_s->value), begin_s, 0.001);
}

// --- many sets -------------------------------------------------------------------------------------------------------

TEST(ManySets, AreSearchedForOnce) {
  // Were they searched for again for each set, this would take minutes.
  constexpr std::size_t count = 4000;
  const auto one = plain_record(230, 200);
  auto record = one;
  record.channels.clear();
  for (std::size_t i = 0; i < count; i++) {
    record.channels.insert(record.channels.end(), one.channels.begin(), one.channels.end());
  }
  const auto start = std::chrono::steady_clock::now();
  const auto analysis = analysis::analyse(record, {});
  EXPECT_EQ(analysis.voltages.sets, count);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

// --- gaps ------------------------------------------------------------------------------------------------------------

TEST(Gaps, AreLeftOutOfAllFiguresAndReported) {
  auto record = plain_record();
  for (std::size_t i = 2000; i < 2016; i++) record.channels[0].samples[i] = readers::no_value;
  for (std::size_t i = 2100; i < 2103; i++) record.channels[0].samples[i] = readers::no_value;
  const auto analysis = analysis::analyse(record, {});
  expect_the_dip(analysis);
  EXPECT_EQ(analysis.notes, Strings{"19 values of Ua are missing (the first is sample 2001, the longest gap is 16 "
                                    "samples); they are left out of every figure."});
}

TEST(Gaps, OfMoreThan25CyclesDivideTheRecord) {
  // 25 cycles of 64 samples are 1600.
  for (const std::size_t gap : {1600U, 1601U}) {
    auto record = plain_record(230, 6400);
    for (std::size_t i = 2000; i < 2000 + gap; i++) record.channels[0].samples[i] = readers::no_value;
    const auto analysis = analysis::analyse(record, {});
    expect_the_dip(analysis);
    EXPECT_EQ(analysis.voltages.parts, gap == 1600 ? 1U : 2U);
    if (gap == 1600) continue;
    EXPECT_EQ(analysis.voltages.part.begin, 0U);
    EXPECT_EQ(analysis.voltages.part.end, 2000U);
    EXPECT_EQ(
        analysis.notes,
        Strings{"The record falls into 2 parts by sampling rate and gaps; this is part 1, which holds a dip, from "
                "0.0000 s to 0.6250 s (--part chooses another, dipx info lists them)."});
  }
}

TEST(Gaps, AreNeverReportedAsADip) {
  auto record = plain_record();
  for (std::size_t i = 2000; i < 2500; i++) {
    for (auto& channel : record.channels) channel.samples[i] = readers::no_value;
  }
  expect_the_dip(analysis::analyse(record, {}));
}

TEST(Gaps, OfTheWholeRecordAreRefused) {
  auto record = plain_record();
  record.channels[2].samples.assign(3200, readers::no_value);
  AnalysisOptions options;
  options.choice.channels = "1,2,3";
  EXPECT_THROW(analysis::analyse(record, options), readers::ReadError);
}

// --- parts -----------------------------------------------------------------------------------------------------------

/// The dip's record with a slow second of two samples before it and one after it.
readers::Record record_in_parts() {
  auto record = plain_record();
  for (auto& channel : record.channels) {
    channel.samples.insert(channel.samples.begin(), {0, 0});
    channel.samples.insert(channel.samples.end(), {0, 0});
  }
  record.rates = {{2, 2, 0}, {3200, 3202, 1}, {2, 3204, 2}};
  return record;
}

TEST(Parts, OfAnotherRateAreLeftAsideAndPlacesAreThoseOfTheWholeRecord) {
  const auto record = record_in_parts();
  const auto analysis = analysis::analyse(record, {});
  expect_the_dip(analysis, 1.4);
  EXPECT_EQ(analysis.voltages.part_number, 2U);
  EXPECT_EQ(analysis.voltages.record_sample_at(0.4), 2 + 1280U);
  const auto document = json::parse(outputs::json_of(record, analysis));
  EXPECT_EQ(document["record"]["part"],
            (json{{"number", 2}, {"of", 3}, {"first_sample", 2}, {"samples", 3200}, {"start_s", 1.0}}));
}

TEST(Parts, RoundTheTriggerComeFirst) {
  auto record = plain_record();
  for (std::size_t i = 0; i < 64; i++) record.channels[2].samples[i + 200] *= 0.2;
  record.rates = {{3200, 1000, 0}, {3200, 3200, 10, false}};
  EXPECT_EQ(analysis::analyse(record, {}).voltages.part_number, 2U) << "the longest";
  record.trigger = 0.1;
  const auto analysis = analysis::analyse(record, {});
  EXPECT_EQ(analysis.voltages.part_number, 1U);
  ASSERT_GE(analysis.notes.size(), 2U);
  EXPECT_EQ(analysis.notes[0],
            "The record falls into 2 parts by sampling rate and gaps; this is part 1, which holds the trigger, from "
            "0.0000 s to 0.3125 s (--part chooses another, dipx info lists them).");
  EXPECT_EQ(analysis.notes[1],
            "The voltage falls below 90 % of its usual level elsewhere too: part 2 to 50.0 % (--part analyses it).");
}

TEST(Parts, ThatBeginWithinADipComeBehindThoseThatHoldItsStart) {
  auto record = plain_record();
  record.rates = {{3200, 1440, 0}, {3200, 3200, 10, false}};  // taken apart within the dip
  const auto analysis = analysis::analyse(record, {});
  EXPECT_EQ(analysis.voltages.part_number, 1U) << "though the other is longer";
  EXPECT_EQ(analysis.notes.size(), 2U);
}

TEST(Parts, MayBeChosen) {
  auto record = plain_record();
  record.rates = {{3200, 1000, 0}, {3200, 3200, 10, false}};
  AnalysisOptions options;
  options.choice.part = 1;
  EXPECT_EQ(analysis::analyse(record, options).voltages.part.end, 1000U);
  options.choice.part = 3;
  try {
    analysis::analyse(record, options);
    ADD_FAILURE() << "part 3 was found";
  } catch (const analysis::UnknownChoice& error) {
    EXPECT_STREQ(error.what(), "made in memory: there is no part 3, only 2; dipx info lists them");
  }
}

TEST(Parts, WithADipComeBeforeThoseRoundTheTriggerAndTheLongest) {
  // The dip is from sample 1280 to 1600.
  auto record = plain_record();
  record.rates = {{3200, 1000, 0}, {3200, 1900, 10, false}, {3200, 3200, 20, false}};
  for (const bool triggered : {false, true}) {
    if (triggered) record.trigger = 0.1;
    const auto analysis = analysis::analyse(record, {});
    EXPECT_EQ(analysis.voltages.part_number, 2U);
    EXPECT_EQ(dips_of(analysis).size(), 1U);
    EXPECT_EQ(analysis.notes,
              Strings{"The record falls into 3 parts by sampling rate and gaps; this is part 2, which holds a dip, "
                      "from 10.0000 s to 10.2812 s (--part chooses another, dipx info lists them)."});
  }
}

TEST(Parts, WithDipsThatAreNotAnalysedAreNamed) {
  synth::Waveform waveform;
  waveform.volts = 230;
  waveform.rate = 3200;
  waveform.length = 6400;
  waveform.stages = {{0.4, 0.5, {1, 0.5, 1}, {1, 0.5, 1}}, {1.4, 1.5, {1, 1, 0.6}, {1, 1, 0.6}}};
  auto record = synth::record_of(waveform);
  record.rates = {{3200, 3300, 0}, {3200, 6400, 10, false}};
  AnalysisOptions options;
  const auto analysis = analysis::analyse(record, options);
  EXPECT_EQ(analysis.voltages.part_number, 1U);
  EXPECT_EQ(analysis.notes.back(),
            "The voltage falls below 90 % of its usual level elsewhere too: part 2 to 60.0 % (--part analyses it).");
  options.choice.part = 2;
  EXPECT_EQ(analysis::analyse(record, options).notes.size(), 1U) << "whoever chooses knows of the others";
}

TEST(Parts, OfRatesThatAreNearlyAlikeSaySo) {
  auto record = plain_record();
  record.rates = {{3200, 1600, 0}, {3210, 3200, 0.5}};
  EXPECT_EQ(analysis::analyse(record, {}).notes[0],
            "The sampling rate goes from 3200 to 3210 samples per second within the part; its mean, 3204.99, is used "
            "throughout.");
}

TEST(Parts, OfUnknownRateAreRefused) {
  auto record = plain_record();
  record.rates = {{0, 3200, 0}};
  try {
    analysis::analyse(record, {});
    ADD_FAILURE() << "the rate was found";
  } catch (const analysis::Refusal& refusal) {
    EXPECT_STREQ(refusal.what(),
                 "made in memory: neither it nor its time stamps give the sampling rate; give it with --rate");
  }
}

// --- sets ------------------------------------------------------------------------------------------------------------

readers::Record record_with_two_sets() {
  auto record = plain_record();
  const auto other = plain_record(115);
  for (auto channel : other.channels) {
    channel.name += "2";
    record.channels.push_back(channel);
  }
  return record;
}

TEST(Sets, MayBeChosenByNumber) {
  const auto record = record_with_two_sets();
  AnalysisOptions options;
  for (const std::size_t set : {1U, 2U}) {
    options.choice.set = set;
    const auto analysis = analysis::analyse(record, options);
    EXPECT_NEAR(analysis.usual_v[0], set == 1 ? 230 : 115, 0.1);
    EXPECT_EQ(analysis.voltages.set, set);
    EXPECT_TRUE(analysis.notes.empty()) << "whoever chooses knows of the others";
  }
  options.choice.set = 3;
  EXPECT_THROW(analysis::analyse(record, options), analysis::UnknownChoice);
}

TEST(Sets, AreTakenByTheWorstEventOrElseInTheirOrder) {
  auto record = record_with_two_sets();
  EXPECT_NEAR(analysis::analyse(record, {}).usual_v[0], 230, 0.1) << "both have the same dip";
  for (std::size_t i = 1280; i < 1600; i++) record.channels[4].samples[i] *= 0.8;
  const auto analysis = analysis::analyse(record, {});
  EXPECT_NEAR(analysis.usual_v[0], 115, 0.1);
  EXPECT_EQ(analysis.notes, (Strings{"The record holds 2 sets of voltages; this is set 2, which has the worst event "
                                     "(--set chooses another, dipx info lists them).",
                                     "Other sets have events, too: set 1 has a dip to 50.0 %."}));
}

TEST(Sets, ThatAreDeadComeLast) {
  auto record = record_with_two_sets();
  for (std::size_t i = 0; i < 3; i++) record.channels[i].samples.assign(3200, 0);
  EXPECT_NEAR(analysis::analyse(record, {}).usual_v[0], 115, 0.1);
  AnalysisOptions options;
  options.choice.set = 2;
  EXPECT_THROW(analysis::analyse(record, options), readers::ReadError);
}

TEST(Sets, ThatAreDeadAreRefusedWithTheCause) {
  const auto refusal = [](const auto& spoil) {
    auto record = plain_record();
    spoil(record.channels[1]);
    try {
      analysis::analyse(record, {});
    } catch (const readers::ReadError& error) {
      return std::string(error.what());
    }
    return std::string("nothing was refused");
  };
  const std::string start = "made in memory: its three phase voltages are dead: ";
  const std::string end = "; choose others with --set or --channels; dipx info lists what there is";
  EXPECT_EQ(refusal([](auto& channel) { channel.samples.assign(3200, readers::no_value); }),
            start + "channel Ub has no values" + end);
  EXPECT_EQ(refusal([](auto& channel) { channel.samples.assign(3200, 5); }),
            start + "channel Ub is 5 throughout" + end);
  EXPECT_EQ(refusal([](auto& channel) {
              channel.samples.assign(3200, 0);
              channel.zero_scale = true;
            }),
            start + "the scale factor of channel Ub is 0" + end);
}

TEST(Sets, NamedFromTheSecondPhaseToTheFirstAreTurned) {
  auto record = line_to_line_record({"Uab", "Ubc", "Uac"});
  for (double& sample : record.channels[2].samples) sample = -sample;
  AnalysisOptions by_choice;
  by_choice.choice.line_to_line = true;
  AnalysisOptions by_name;
  by_name.choice.channels = "Uab,Ubc,Uac";
  for (const auto& options : {by_choice, by_name}) {
    const auto analysis = analysis::analyse(record, options);
    expect_the_dip(analysis);
    ASSERT_EQ(analysis.notes.size(), 2U) << "and nothing of phases in another order";
    EXPECT_EQ(analysis.notes[1], "Uac is taken with the other sign, as the voltage CA.");
  }
}

TEST(Sets, WhoseNamesAndPhaseFieldsDifferSaySo) {
  auto record = plain_record();
  record.channels[2].phase = std::string("B");
  EXPECT_EQ(analysis::analyse(record, {}).notes,
            Strings{"The name Uc and the phase field B indicate different phases; it is used as phase C (override "
                    "with --channels)."});
}

// --- connection ------------------------------------------------------------------------------------------------------

TEST(Connection, OfTwoExchangedPhasesIsReportedWithTheRightOrder) {
  auto record = plain_record();
  std::swap(record.channels[1].samples, record.channels[2].samples);
  const auto analysis = analysis::analyse(record, {});
  EXPECT_TRUE(analysis.found.wiring.reversed);
  EXPECT_EQ(analysis.notes,
            Strings{"The phases follow each other as A, C, B: two of them are exchanged, or the line turns that way. "
                    "Type and sequence voltages are computed for that order (--channels 1,3,2 exchanges the two)."});
  AnalysisOptions options;
  options.choice.channels = "1,3,2";
  EXPECT_TRUE(analysis::analyse(record, options).notes.empty());
}

TEST(Connection, OfAReversedPhaseIsReported) {
  for (std::size_t phase = 0; phase < 3; phase++) {
    auto record = plain_record();
    for (double& sample : record.channels[phase].samples) sample = -sample;
    const auto analysis = analysis::analyse(record, {});
    EXPECT_EQ(analysis.found.wiring.turned_phase, phase);
    EXPECT_EQ(analysis.notes,
              Strings{record.channels[phase].name +
                      " has the opposite polarity to the other voltages; type and sequence voltages are computed with "
                      "it turned round."});
  }
}

// --- fewer than three voltages, and voltages between phases
// -----------------------------------------------------------

TEST(Sets, OfOneOrTwoVoltagesAreThoseThatTheUserNames) {
  const auto record = plain_record();
  AnalysisOptions options;
  options.choice.channels = "Ub";
  const auto one = analysis::analyse(record, options);
  EXPECT_EQ(one.voltages.phases, 1U);
  ASSERT_EQ(dips_of(one).size(), 1U);
  EXPECT_EQ(dips_of(one)[0].phases, (measure::PhaseFlags{true, false, false}));
  options.choice.channels = "Uc,Ub";
  const auto two = analysis::analyse(record, options);
  EXPECT_EQ(two.voltages.phases, 2U);
  ASSERT_EQ(dips_of(two).size(), 1U);
  EXPECT_EQ(dips_of(two)[0].phases, (measure::PhaseFlags{false, true, false}));
  EXPECT_FALSE(dips_of(two)[0].course->segments.at(0).type);
}

TEST(Sets, OfPhaseVoltagesGiveVoltagesBetweenPhasesOnRequest) {
  // With B at a half, AB and BC are |1 + 1/2 * exp(60 degrees)| / sqrt(3) = sqrt(7 / 12) of what they were, CA is
  // whole.
  AnalysisOptions options;
  options.choice.line_to_line = true;
  const auto record = plain_record();
  const auto analysis = analysis::analyse(record, options);
  EXPECT_TRUE(analysis.voltages.computed);
  EXPECT_NEAR(analysis.usual_v[0], 230 * std::sqrt(3), 0.1);
  ASSERT_EQ(dips_of(analysis).size(), 1U);
  const auto dip = dips_of(analysis)[0];
  EXPECT_NEAR(dip.extreme_v / dip.reference_v, std::sqrt(7.0 / 12), 0.001);
  EXPECT_EQ(dip.phases, (measure::PhaseFlags{true, true, false}));
  EXPECT_EQ(analysis.notes, Strings{"The voltages between phases were computed from the phase voltages."});
}

TEST(Sets, OfTwoVoltagesBetweenPhasesAreClosedByTheThird) {
  const auto record = line_to_line_record({"Uab", "Ubc", "Uca"});
  AnalysisOptions options;
  options.choice.channels = "Uab,Ubc";
  const auto analysis = analysis::analyse(record, options);
  EXPECT_EQ(analysis.voltages.phases, 3U);
  // The three voltages add up to zero: with BC at a half the third is |1 + 1/2 * exp(-120 degrees)| = sqrt(3) / 2.
  ASSERT_EQ(dips_of(analysis).size(), 1U);
  const auto dip = dips_of(analysis)[0];
  EXPECT_NEAR(dip.lowest_v[1] / dip.reference_v, 0.5, 0.001);
  EXPECT_NEAR(dip.lowest_v[2] / dip.reference_v, std::sqrt(3) / 2, 0.001);
  EXPECT_EQ(analysis.notes.back(), "The third voltage between phases was computed from the other two.");
}

/// The record without its last channels.
readers::Record first_of(readers::Record record, std::size_t channels) {
  record.channels.resize(channels);
  return record;
}

TEST(Sets, OfTheOnlyOneOrTwoVoltagesAreFoundAndReported) {
  auto record = first_of(plain_record(), 2);
  auto analysis = analysis::analyse(record, {});
  EXPECT_EQ(analysis.voltages.phases, 2U);
  expect_the_dip(analysis);
  EXPECT_EQ(analysis.notes, Strings{"Ua and Ub are the only voltages of the record."});
  std::swap(record.channels[0], record.channels[1]);
  record.channels[1].name = "Ia";
  record.channels[1].unit = std::string("A");
  analysis = analysis::analyse(record, {});
  EXPECT_EQ(analysis.voltages.phases, 1U);
  EXPECT_EQ(analysis.voltages.channels[0], 0U);
  ASSERT_EQ(dips_of(analysis).size(), 1U);
  EXPECT_NEAR(dips_of(analysis)[0].extreme_v / dips_of(analysis)[0].reference_v, 0.5, 0.001);
  EXPECT_EQ(analysis.notes, Strings{"Ub is the only voltage of the record and is analysed alone."});
}

TEST(Sets, OfTheOnlyThreeVoltagesAreGuessedAndSaid) {
  auto record = plain_record();
  record.channels[2].name = "U busbar";
  record.channels[2].phase.clear();
  const auto analysis = analysis::analyse(record, {});
  expect_the_dip(analysis);
  EXPECT_EQ(
      analysis.notes,
      Strings{"That Ua, Ub, U busbar are the phases A, B, C is guessed, because the record has no other voltages; "
              "their order is that of the file (override with --channels)."});
}

TEST(Sets, OfMoreVoltagesThatDoNotBelongTogetherAreNotGuessed) {
  auto record = plain_record();
  record.channels[2].name = "U busbar";
  record.channels[2].phase.clear();
  record.channels.push_back(record.channels[2]);
  EXPECT_THROW(analysis::analyse(record, {}), readers::ReadError);
  for (auto& channel : record.channels) channel.unit = std::string("A");
  for (auto& channel : record.channels) channel.name = "I" + channel.name;
  EXPECT_THROW(analysis::analyse(first_of(record, 2), {}), readers::ReadError) << "these are currents";
}

TEST(Sets, OfTheOnlyTwoVoltagesBetweenPhasesAreClosedByTheThird) {
  const auto analysis = analysis::analyse(first_of(line_to_line_record({"Uab", "Ucb", ""}), 2), {});
  EXPECT_TRUE(analysis.voltages.between_phases);
  EXPECT_EQ(analysis.voltages.phases, 3U);
  // AB is 400 V at 0 degrees. CB is 400 V at -120 degrees, so that BC, its opposite, is at 60 degrees and CA, which
  // closes the triangle, has |1 + exp(60 degrees)| = sqrt(3) of it.
  EXPECT_NEAR(analysis.usual_v[2], 400 * std::sqrt(3), 0.1);
}

TEST(Sets, OfTheOnlyTwoPhaseVoltagesGiveNoVoltagesBetweenPhases) {
  AnalysisOptions options;
  options.choice.line_to_line = true;
  EXPECT_THROW(analysis::analyse(first_of(plain_record(), 2), options), readers::ReadError);
  const auto analysis = analysis::analyse(first_of(line_to_line_record({"Ubc", "", ""}), 1), options);
  EXPECT_TRUE(analysis.voltages.between_phases);
  EXPECT_EQ(analysis.voltages.phases, 1U);
}

TEST(Sets, OfTheOnlyVoltageThatIsDeadAreRefused) {
  auto record = first_of(plain_record(), 1);
  for (double& value : record.channels[0].samples) value = 0;
  try {
    analysis::analyse(record, {});
    ADD_FAILURE() << "a dead voltage was analysed";
  } catch (const readers::ReadError& error) {
    EXPECT_STREQ(error.what(),
                 "made in memory: its only voltage is dead: channel Ua is 0 throughout; choose others with --set or "
                 "--channels; dipx info lists what there is");
  }
}

TEST(Sets, OfLineToLineVoltagesAreAnalysedIfThereAreNoOthersAndReported) {
  const auto record = line_to_line_record({"Uab", "Ubc", "Uca"});
  for (const bool asked : {false, true}) {
    AnalysisOptions options;
    options.choice.line_to_line = asked;
    const auto analysis = analysis::analyse(record, options);
    expect_the_dip(analysis);
    EXPECT_TRUE(analysis.voltages.between_phases);
    EXPECT_FALSE(analysis.voltages.computed);
    EXPECT_EQ(json::parse(outputs::json_of(record, analysis))["line_to_line"], true);
    EXPECT_EQ(analysis.notes, Strings{"Uab, Ubc, Uca are line-to-line voltages and are analysed as they are."});
  }
  AnalysisOptions options;
  options.choice.channels = "Uab,Ubc,Uca";
  EXPECT_TRUE(analysis::analyse(record, options).voltages.between_phases);
}

// --- units -----------------------------------------------------------------------------------------------------------

TEST(Units, ThatAreMissingAreAssumedAndReported) {
  auto record = plain_record();
  EXPECT_FALSE(
      json::parse(outputs::json_of(record, analysis::analyse(record, {})))["voltages"][0].contains("unit_assumed"));
  for (auto& channel : record.channels) channel.unit = "";
  EXPECT_EQ(json::parse(outputs::json_of(record, analysis::analyse(record, {})))["voltages"][0]["unit_assumed"], "V");
}

TEST(Units, ThatAreImpossibleAreReadAsVolts) {
  auto record = plain_record(63500);
  for (auto& channel : record.channels) channel.unit = "kV";
  const auto analysis = analysis::analyse(record, {});
  EXPECT_NEAR(analysis.usual_v[0], 63500, 10);
  ASSERT_EQ(analysis.notes.size(), 1U);
  EXPECT_TRUE(analysis.notes[0].starts_with("The unit kV makes the voltages 6.3")) << analysis.notes[0];
  EXPECT_TRUE(analysis.notes[0].ends_with("e+07 V, more than any grid has; the values are taken as volts."))
      << analysis.notes[0];
}

TEST(Units, OfVoltsThatNoGridHasAreDoubted) {
  const auto notes = analysis::analyse(plain_record(2.3e7), {}).notes;
  EXPECT_EQ(notes, Strings{"The voltages are 2.3e+07 V, more than any grid has; check the units and scale factors in "
                           "the file."});
}

TEST(Units, OfCurrentAreLeftWhereTheNamesAreOfVoltages) {
  auto record = plain_record();
  for (auto& channel : record.channels) channel.unit = std::string("A");
  EXPECT_EQ(
      analysis::analyse(record, {}).notes,
      Strings{
          "The unit of Ua, Ub, Uc is A, which is not a unit of voltage; their names are those of voltages, so V is assumed."});
}

TEST(Skew, IsSaidWhereItTurnsAPhaseByHalfADegree) {
  auto record = plain_record();
  record.channels[1].skew = 25e-6;
  EXPECT_TRUE(analysis::analyse(record, {}).notes.empty());
  record.channels[1].skew = -100e-6;
  EXPECT_EQ(
      analysis::analyse(record, {}).notes,
      Strings{
          "The channels are sampled up to 100 us apart, as the file says; angles are corrected for it (by up to 1.8 degrees)."});
  record.channels[0].skew = 100e-6;
  EXPECT_EQ(
      analysis::analyse(record, {}).notes,
      Strings{
          "The channels are sampled up to 200 us apart, as the file says; angles are corrected for it (by up to 3.6 degrees)."});
}

TEST(Skew, ThatAllChannelsHaveAlikeIsNone) {
  auto record = plain_record();
  for (auto& channel : record.channels) channel.skew = 200e-6;
  EXPECT_TRUE(analysis::analyse(record, {}).notes.empty());
}

// --- line frequency --------------------------------------------------------------------------------------------------

TEST(LineFrequency, IsTheWaveformsWhereTheFileStatesAnother) {
  auto record = plain_record();
  record.line_frequency = 60;
  const auto analysis = analysis::analyse(record, {});
  EXPECT_EQ(analysis.voltages.line_frequency, 50);
  expect_the_dip(analysis);
  EXPECT_EQ(analysis.notes, Strings{"The file states a line frequency of 60 Hz, but the waveform's is 50 Hz, which is "
                                    "used (override with --frequency)."});
}

TEST(LineFrequency, ThatTheUserGivesCounts) {
  AnalysisOptions options;
  options.choice.line_frequency = 50;
  auto record = plain_record();
  record.line_frequency = 60;
  const auto analysis = analysis::analyse(record, options);
  EXPECT_EQ(analysis.voltages.line_frequency, 50);
  EXPECT_TRUE(analysis.notes.empty());
}

// --- declared voltage ------------------------------------------------------------------------------------------------

TEST(DeclaredVoltage, IsOneOfPhasesOrBetweenThemAsTheLevelShows) {
  const auto record = plain_record();
  AnalysisOptions options;
  for (const double given : {220.0, 381.05}) {
    options.nominal = given;
    const auto analysis = analysis::analyse(record, options);
    ASSERT_TRUE(analysis.declared.has_value());
    EXPECT_EQ(analysis.declared->line, given > 300);
    EXPECT_FALSE(analysis.declared->by_user);
    EXPECT_NEAR(analysis.declared->level, 220, 0.01);
    EXPECT_NEAR(*analysis.percent_of_declared(115), 100 * 115 / 220.0, 0.01);
    EXPECT_TRUE(analysis.notes.empty());
  }
}

TEST(DeclaredVoltage, IsTheReferenceUnlessTheUserChoosesAnother) {
  const auto record = plain_record();
  AnalysisOptions options;
  EXPECT_EQ(analysis::analyse(record, options).options.reference, measure::Reference::pre_event);
  options.nominal = 220;
  const auto by_declared = analysis::analyse(record, options);
  EXPECT_EQ(by_declared.options.reference, measure::Reference::declared);
  EXPECT_NEAR(dips_of(by_declared).at(0).reference_v, 220, 0.01);
  options.reference = measure::Reference::pre_event;
  EXPECT_NEAR(dips_of(analysis::analyse(record, options)).at(0).reference_v, 230, 0.1);
  options.nominal = 0;
  options.reference = measure::Reference::declared;
  EXPECT_THROW(analysis::analyse(record, options), analysis::Refusal);
}

TEST(DeclaredVoltage, IsDividedByTheTransformersRatioForSecondaryValues) {
  auto record = plain_record(57.7);
  for (auto& channel : record.channels) {
    channel.primary = 110000;
    channel.secondary = 100;
    channel.side = 'S';
  }
  AnalysisOptions options;
  options.nominal = 110000;
  const auto analysis = analysis::analyse(record, options);
  EXPECT_TRUE(analysis.declared->secondary);
  EXPECT_TRUE(analysis.declared->line);
  EXPECT_NEAR(analysis.declared->level, 100 / std::sqrt(3), 0.001);
  options.nominal = 100;
  EXPECT_FALSE(analysis::analyse(record, options).declared->secondary);
}

TEST(DeclaredVoltage, FarFromTheLevelIsRefusedUnlessTheUserStatesItsKind) {
  const auto record = plain_record();
  AnalysisOptions options;
  options.nominal = 20000;
  try {
    analysis::analyse(record, options);
    ADD_FAILURE() << "20 kV suited a record of 230 V";
  } catch (const analysis::Refusal& refusal) {
    // The nearest meaning is the line voltage, for which a phase has 11547 V.
    EXPECT_STREQ(refusal.what(),
                 "made in memory: its highest voltage is 230.0 V, which is 1.992 % of the declared 11.55 kV; check "
                 "--nominal, or append :phase or :line to say which voltage is meant");
  }
  options.nominal_kind = analysis::DeclaredKind::phase;
  const auto notes = analysis::analyse(record, options).notes;
  ASSERT_FALSE(notes.empty());
  EXPECT_EQ(notes[0],
            "The record does not suit --nominal: its highest voltage is 230.0 V, which is 1.15 % of the declared 20.00 "
            "kV.");
}

/// The parts of a record with observations are searched for the worst event even if there is no part.
TEST(Voltages, RefusesObservationsWithoutValues) {
  auto record = plain_record();
  record.rates[0].title = "observation 1";
  for (auto& channel : record.channels) channel.samples.assign(channel.samples.size(), readers::no_value);
  EXPECT_THROW(analysis::analyse(record, {}), readers::ReadError);
  AnalysisOptions options;
  options.choice.channels = "1,2,3";
  EXPECT_THROW(analysis::analyse(record, options), readers::ReadError) << "the user's channels have no parts";
  analysis::RecordVoltages voltages(record, options.choice);
  EXPECT_EQ(analysis::all_of(voltages, options.choice, false, true).size(), 1U)
      << "so that the refusal is shown for all parts, too";
}

/// Three equal voltages have no voltage between them of which anything could be kept.
TEST(Voltages, DoesNotCompareVoltagesBetweenPhasesWithNone) {
  synth::Waveform waveform;
  waveform.rate = 3200;
  waveform.length = 3200;
  const auto alike = [](double a, double b, double c) {
    return synth::Factors{a, b * synth::phasor(1, 120), c * synth::phasor(1, -120)};
  };
  waveform.stages = {{0, 1, alike(1, 1, 1), alike(1, 1, 1)}, {0.4, 0.5, alike(0.5, 1.2, 1.2), alike(0.5, 1.2, 1.2)}};
  const auto record = synth::record_of(waveform);
  const auto analysis = analysis::analyse(record, {});
  EXPECT_EQ(dips_of(analysis).size(), 1U);
  for (const auto& note : analysis.notes) EXPECT_EQ(note.find("neutral is displaced"), std::string::npos) << note;
}

// --- the command -----------------------------------------------------------------------------------------------------

class VoltagesCommand : public testing::Test {
 protected:
  VoltagesCommand() { std::ofstream("record.csv") << synth::csv_of(plain_record()); }
  tests::WorkingFolder folder;
};

TEST_F(VoltagesCommand, ShowsFiguresOfTheDeclaredVoltage) {
  const auto result = dipx({"analyse", "record.csv", "--nominal", "0.4kV"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("  declared line voltage 400.0 V (by the record's level), here 230.9 V\n"),
            std::string::npos)
      << result.out;
  // 115 V and 230 V of 230.94 V.
  EXPECT_NE(result.out.find(" residual voltage 115.0 V in Ub: 49.8 % of the declared voltage 230.9 V\n"),
            std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("  IEEE 1159 instantaneous sag (by the declared voltage)\n"), std::string::npos)
      << result.out;
  const auto line = dipx({"analyse", "record.csv", "--nominal", "0.4kV", "-q"}).out;
  EXPECT_NE(line.find(", residual 49.8 % of the declared voltage, B;"), std::string::npos) << line;
}

TEST_F(VoltagesCommand, RefusesAnInvalidDeclaredVoltage) {
  for (const char* text : {"x", "-5", "0", "20 kW", "230 V V", "1e9", "nan"}) {
    const auto result = dipx({"analyse", "record.csv", "--nominal", text});
    EXPECT_EQ(result.status, 1) << text;
    EXPECT_EQ(result.out, "") << text;
  }
}

TEST_F(VoltagesCommand, EndsWithStatusOneWhereAChoiceIsNotThere) {
  for (const Strings& choice : {Strings{"--set", "2"}, {"--part", "9"}, {"--set", "0"}, {"--charset", "none"}}) {
    Strings arguments = {"analyse", "record.csv"};
    arguments.insert(arguments.end(), choice.begin(), choice.end());
    const auto result = dipx(arguments);
    EXPECT_EQ(result.status, 1) << choice[0];
    EXPECT_NE(result.err, "") << choice[0];
  }
}

TEST_F(VoltagesCommand, NamesThePartThatIsAnalysed) {
  auto record = plain_record();
  record.rates = {{3210, 3000, 0}, {1000, 3200, 0.93458}};
  const auto pair = synth::comtrade_of(record, synth::ComtradeData::ascii);
  std::ofstream("r.cfg") << pair.config;
  std::ofstream("r.dat") << pair.data;
  const auto result = dipx({"analyse", "r.cfg"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("  part 1 of 2\n  0.9346 s: 3000 samples at 3210 Hz, 64.2 per cycle of 50 Hz\n"),
            std::string::npos)
      << result.out;
}

TEST_F(VoltagesCommand, LeavesTheLibrarysReportOfOverlongRecords) {
  synth::Waveform waveform;
  waveform.rate = 1600;
  waveform.length = 100000;
  std::ofstream("long.csv") << synth::csv_of(synth::record_of(waveform));
  const auto result = dipx({"analyse", "long.csv", "--report", "report.txt"});
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(
      result.err,
      "dipx: long.csv: the library cannot make its report: it takes 3000 cycles at most, and the record has more; "
      "leave out --report\n");
  EXPECT_FALSE(std::ifstream("report.txt").good());
}

}  // namespace
