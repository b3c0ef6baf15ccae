// What of a record is analysed: sets, parts, gaps, declared voltage; and what is said of it.
#include <gtest/gtest.h>

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

/// A second of voltage with a dip of phase B to a half from 0.4 s to 0.5 s.
readers::Record plain_record(double volts = 230) {
  synth::Waveform waveform;
  waveform.volts = volts;
  waveform.rate = 3200;
  waveform.length = 3200;
  waveform.stages = {{0.4, 0.5, {1, 0.5, 1}, {1, 0.5, 1}}};
  return synth::record_of(waveform);
}

/// The same of voltages between phases, which only their names tell.
readers::Record line_to_line_record(const Strings& names) {
  auto record = plain_record(400);
  for (std::size_t i = 0; i < 3; i++) {
    record.channels[i].name = names[i];
    record.channels[i].phase.clear();
  }
  return record;
}

void expect_the_dip(const analysis::Analysis& analysis) {
  ASSERT_EQ(analysis.dips.size(), 1U);
  const auto& dip = analysis.dips[0];
  EXPECT_NEAR(analysis.voltages.seconds_at(dip.start), 0.4, 0.01);
  EXPECT_NEAR(100 * dip.lowest[1] / analysis.pre_event_voltage, 50, 0.1);
  EXPECT_EQ(dip.obstacle, analysis::Obstacle::none);
}

// --- gaps ------------------------------------------------------------------------------------------------------------

TEST(Gaps, OfAQuarterCycleAreBridgedAndSaid) {
  auto record = plain_record();
  for (std::size_t i = 2000; i < 2016; i++) record.channels[0].samples[i] = readers::no_value;
  for (std::size_t i = 2100; i < 2103; i++) record.channels[0].samples[i] = readers::no_value;
  const auto analysis = analysis::analyse(record, {});
  expect_the_dip(analysis);
  EXPECT_EQ(analysis.notes, Strings{"Of Ua 19 values are missing (the first is sample 2001, the longest gap 16 "
                                    "samples): bridged by a curve."});
}

TEST(Gaps, ThatAreLongerTakeTheRecordApart) {
  auto record = plain_record();
  for (std::size_t i = 2000; i < 2017; i++) record.channels[0].samples[i] = readers::no_value;
  const auto analysis = analysis::analyse(record, {});
  expect_the_dip(analysis);
  EXPECT_EQ(analysis.voltages.part.begin, 0U);
  EXPECT_EQ(analysis.voltages.part.end, 2000U);
  EXPECT_EQ(
      analysis.notes,
      Strings{"The record falls into 2 parts by sampling rate and gaps; this is part 1, the longest, from 0.0000 s to "
              "0.6250 s (--part chooses another, dipx info lists them)."});
}

TEST(Gaps, AreNeverTakenForADip) {
  auto record = plain_record();
  for (std::size_t i = 2000; i < 2500; i++) {
    for (auto& channel : record.channels) channel.samples[i] = readers::no_value;
  }
  for (const std::size_t part : {1U, 2U}) {
    AnalysisOptions options;
    options.choice.part = part;
    EXPECT_EQ(analysis::analyse(record, options).dips.size(), part == 1 ? 1U : 0U);
  }
}

TEST(Gaps, OfTheWholeRecordAreRefused) {
  auto record = plain_record();
  record.channels[2].samples.assign(3200, readers::no_value);
  AnalysisOptions options;
  options.choice.channels = "1,2,3";
  EXPECT_THROW(analysis::analyse(record, options), readers::ReadError);
}

// --- parts -----------------------------------------------------------------------------------------------------------

/// The dip's record with a slow second of two samples in front and one behind.
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
  const auto analysis = analysis::analyse(record_in_parts(), {});
  ASSERT_EQ(analysis.dips.size(), 1U);
  EXPECT_EQ(analysis.voltages.part_number, 2U);
  EXPECT_NEAR(analysis.voltages.seconds_at(analysis.dips[0].start), 1.4, 0.01);
  EXPECT_NEAR(static_cast<double>(analysis.voltages.record_sample_at(analysis.dips[0].start)), 2 + 0.4 * 3200, 32);
  const auto document = json::parse(outputs::json_of(record_in_parts(), analysis));
  EXPECT_EQ(document["record"]["part"], (json{{"number", 2},
                                              {"of", 3},
                                              {"first_sample", 2},
                                              {"samples", 3200},
                                              {"start_s", 1.0},
                                              {"recorded_rate_hz", 3200.0},
                                              {"resampled", false}}));
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
    EXPECT_EQ(analysis.dips.size(), 1U);
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
            "The sampling rate goes from 3200 to 3210 samples per second within the part; its mean, 3204.99, is taken "
            "for all.");
}

TEST(Parts, OfUnknownRateAreRefused) {
  auto record = plain_record();
  record.rates = {{0, 3200, 0}};
  try {
    analysis::analyse(record, {});
    ADD_FAILURE() << "the rate was found";
  } catch (const analysis::Refusal& refusal) {
    EXPECT_STREQ(refusal.what(),
                 "made in memory: neither it nor its time stamps tell the sampling rate; give it with --rate");
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
  const auto first = analysis::analyse(record, {});
  EXPECT_NEAR(first.pre_event_voltage, 230, 0.1);
  EXPECT_EQ(first.notes, Strings{"The record holds 2 sets of three phase voltages; this is set 1 (--set or --channels "
                                 "chooses another, dipx info lists them)."});
  AnalysisOptions options;
  options.choice.set = 2;
  const auto second = analysis::analyse(record, options);
  EXPECT_NEAR(second.pre_event_voltage, 115, 0.1);
  EXPECT_TRUE(second.notes.empty());
  options.choice.set = 3;
  EXPECT_THROW(analysis::analyse(record, options), analysis::UnknownChoice);
}

TEST(Sets, ThatAreDeadComeLast) {
  auto record = record_with_two_sets();
  for (std::size_t i = 0; i < 3; i++) record.channels[i].samples.assign(3200, 0);
  EXPECT_NEAR(analysis::analyse(record, {}).pre_event_voltage, 115, 0.1);
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
    ASSERT_EQ(analysis.notes.size(), 2U) << "and nothing of phases that turn wrongly";
    EXPECT_EQ(analysis.notes[1], "Uac is taken with the other sign, as the voltage CA.");
  }
}

TEST(Sets, WhoseNamesAndPhaseFieldsDifferSaySo) {
  auto record = plain_record();
  record.channels[2].phase = std::string("B");
  EXPECT_EQ(
      analysis::analyse(record, {}).notes,
      Strings{"The name Uc and the phase field B tell different phases; it is taken for phase C (--channels tells "
              "otherwise)."});
}

// --- connection ------------------------------------------------------------------------------------------------------

TEST(Connection, OfTwoPhasesExchangedIsSaidWithTheOrderThatIsRight) {
  auto record = plain_record();
  std::swap(record.channels[1].samples, record.channels[2].samples);
  EXPECT_EQ(analysis::analyse(record, {}).notes,
            Strings{"In the first cycles the phases follow each other as A, C, B: two of them seem to be exchanged, or "
                    "the line turns that way (--channels 1,3,2 takes them in the other order)."});
  AnalysisOptions options;
  options.choice.channels = "1,3,2";
  EXPECT_TRUE(analysis::analyse(record, options).notes.empty());
}

TEST(Connection, OfAPhaseTheOtherWayRoundIsSaid) {
  for (std::size_t phase = 0; phase < 3; phase++) {
    auto record = plain_record();
    for (double& sample : record.channels[phase].samples) sample = -sample;
    const std::string name = record.channels[phase].name;
    EXPECT_EQ(analysis::analyse(record, {}).notes,
              Strings{"In the first cycles " + name + " is opposite to where phase " + "ABC"[phase] +
                      " belongs: it seems to be connected the other way round, which makes categories, phase jumps and "
                      "zero sequence wrong (turn its sign in the file)."});
  }
}

TEST(Sets, OfLineToLineVoltagesAreAnalysedOnRequestAndSaid) {
  auto record = line_to_line_record({"Uab", "Ubc", "Uca"});
  try {
    analysis::analyse(record, {});
    ADD_FAILURE() << "phase voltages were found";
  } catch (const readers::ReadError& error) {
    EXPECT_STREQ(error.what(),
                 "made in memory: no three phase voltages found among its channels; it has line-to-line voltages: "
                 "--line-to-line analyses them as such");
  }
  AnalysisOptions options;
  options.choice.line_to_line = true;
  const auto analysis = analysis::analyse(record, options);
  expect_the_dip(analysis);
  EXPECT_TRUE(analysis.voltages.between_phases);
  EXPECT_EQ(json::parse(outputs::json_of(record, analysis))["line_to_line"], true);
  EXPECT_EQ(analysis.notes, Strings{"Uab, Ubc, Uca are line-to-line voltages and analysed as they are: phases A, B, C "
                                    "stand for AB, BC, CA, and categories and zero sequence mean what they do for "
                                    "these."});
  options.choice = {};
  options.choice.channels = "Uab,Ubc,Uca";
  EXPECT_TRUE(analysis::analyse(record, options).voltages.between_phases);
}

// --- units -----------------------------------------------------------------------------------------------------------

TEST(Units, ThatAreNotThereAreAssumedAndSaid) {
  auto record = plain_record();
  EXPECT_FALSE(
      json::parse(outputs::json_of(record, analysis::analyse(record, {})))["voltages"][0].contains("unit_assumed"));
  for (auto& channel : record.channels) channel.unit = "";
  EXPECT_EQ(json::parse(outputs::json_of(record, analysis::analyse(record, {})))["voltages"][0]["unit_assumed"], "V");
}

TEST(Units, ThatCannotBeAreTakenForVolts) {
  auto record = plain_record(63500);
  for (auto& channel : record.channels) channel.unit = "kV";
  const auto analysis = analysis::analyse(record, {});
  EXPECT_NEAR(analysis.pre_event_voltage, 63500, 10);
  ASSERT_EQ(analysis.notes.size(), 1U);
  EXPECT_TRUE(analysis.notes[0].starts_with("The unit kV makes the voltages 6.3")) << analysis.notes[0];
  EXPECT_TRUE(analysis.notes[0].ends_with("e+07 V, which cannot be; they are taken for V.")) << analysis.notes[0];
}

TEST(Units, OfVoltsThatNoGridHasAreDoubted) {
  const auto notes = analysis::analyse(plain_record(2.3e7), {}).notes;
  EXPECT_EQ(notes, Strings{"The voltages are 2.3e+07 V, more than any grid has: check the units and scale factors in "
                           "the file."});
}

TEST(Units, OfCurrentAreLeftWhereTheNamesAreOfVoltages) {
  auto record = plain_record();
  for (auto& channel : record.channels) channel.unit = std::string("A");
  EXPECT_EQ(analysis::analyse(record, {}).notes,
            Strings{"The unit of Ua, Ub, Uc is A, not one of voltage; by their names they are taken for V."});
}

TEST(Skew, IsSaidWhereItTurnsAPhaseByHalfADegree) {
  auto record = plain_record();
  record.channels[1].skew = 25e-6;
  EXPECT_TRUE(analysis::analyse(record, {}).notes.empty());
  record.channels[1].skew = -100e-6;
  EXPECT_EQ(analysis::analyse(record, {}).notes,
            Strings{"The channels are sampled up to 100 us apart (1.8 degrees), which is not corrected."});
  record.channels[0].skew = 100e-6;
  EXPECT_EQ(analysis::analyse(record, {}).notes,
            Strings{"The channels are sampled up to 200 us apart (3.6 degrees), which is not corrected."});
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
                                    "used (--frequency tells otherwise)."});
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
  AnalysisOptions options;
  for (const double given : {220.0, 381.05}) {
    options.nominal = given;
    const auto analysis = analysis::analyse(plain_record(), options);
    ASSERT_TRUE(analysis.declared.has_value());
    EXPECT_EQ(analysis.declared->line, given > 300);
    EXPECT_NEAR(analysis.declared->level, 220, 0.01);
    const auto document = json::parse(outputs::json_of(plain_record(), analysis));
    EXPECT_EQ(document["declared_voltage"]["kind"], given > 300 ? "line" : "phase");
    EXPECT_NEAR(document["declared_voltage"]["pre_event_percent"], 100 * 230 / 220.0, 0.1);
    const auto& lowest = document["dips"][0]["lowest_voltage"][1];
    EXPECT_NEAR(lowest["percent"], 50, 0.1);
    EXPECT_NEAR(lowest["percent_of_declared"], 100 * 115 / 220.0, 0.1);
    EXPECT_TRUE(analysis.notes.empty());
  }
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

TEST(DeclaredVoltage, ThatIsFarFromTheLevelIsDoubted) {
  AnalysisOptions options;
  options.nominal = 20000;
  EXPECT_EQ(analysis::analyse(plain_record(), options).notes,
            Strings{"The pre-event voltage is 1.992 % of the declared one: check --nominal."});
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
  EXPECT_NE(result.out.find("  declared line voltage 400.0 V: the pre-event voltage is 99.6 % of it\n"),
            std::string::npos)
      << result.out;
  constexpr const char* lowest =
      "  lowest voltage        230.0 V   100.0 %  115.0 V    50.0 %  230.0 V   100.0 %\n"
      "      of declared                  99.6 %             49.8 %             99.6 %\n";
  EXPECT_NE(result.out.find(lowest), std::string::npos) << result.out;
  EXPECT_NE(result.out.find(" of EN 50160 (by the declared voltage)\n"), std::string::npos) << result.out;
  const auto line = dipx({"analyse", "record.csv", "--nominal", "0.4kV", "-q"}).out;
  EXPECT_NE(line.find(", residual 50.0 %, 49.8 % of declared, single-phase dip, B (5)\n"), std::string::npos) << line;
}

TEST_F(VoltagesCommand, RefusesADeclaredVoltageThatIsNone) {
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

TEST_F(VoltagesCommand, SaysResamplingAndParts) {
  auto record = plain_record();
  record.rates = {{3210, 3000, 0}, {1000, 3200, 0.93458}};
  const auto pair = synth::comtrade_of(record, synth::ComtradeData::ascii);
  std::string config = pair.config;
  const auto at = config.find("\r\n1\r\n3210,3200\r\n");
  ASSERT_NE(at, std::string::npos) << config;
  config.replace(at, 16, "\r\n2\r\n3210,3000\r\n1000,3200\r\n");
  std::ofstream("r.cfg") << config;
  std::ofstream("r.dat") << pair.data;
  const auto result = dipx({"analyse", "r.cfg"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("  part 1 of 2, 0.9346 s: 3000 samples at 3210 Hz, resampled to 68 per cycle of 50 Hz\n"),
            std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("  note: Resampled from 64.2 to 68 samples per cycle for the analysis.\n"),
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
  EXPECT_EQ(result.err,
            "dipx: long.csv: the library's own report takes 3000 cycles at most, and the record holds more; leave out "
            "--report\n");
  EXPECT_FALSE(std::ifstream("report.txt").good());
}

}  // namespace
