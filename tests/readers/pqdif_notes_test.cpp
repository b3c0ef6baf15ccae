// What a PQDIF file says besides its samples, and the sentences about what is assumed, ignored or left out.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "readers/pqdif/pqdif.h"
#include "tests/readers/pqdif_pieces.h"
#include "tests/readers/scratch_folder.h"

namespace readers {
namespace {

using namespace pieces;

Record read(const std::string& content) {
  return read_pqdif("r.pqd", content);
}

std::string refusal(const std::string& content) {
  return refusal_of([&] { read(content); });
}

/// A file with one data source whose observations are given.
std::string file_with(const std::vector<Input>& channels, const std::vector<PqdifCollection>& observations,
                      const std::vector<PqdifCollection>& settings = {}) {
  synth::PqdifFile file(false, synth::PqdifChecksum::none);
  file.add(pqdif::record_kind::container, container());
  file.add(pqdif::record_kind::data_source, source(channels));
  for (const auto& one : settings) file.add(pqdif::record_kind::settings, one);
  for (const auto& one : observations) file.add(pqdif::record_kind::observation, one);
  return file.bytes();
}

TEST(PqdifNotes, CountObservationsWithoutWaveforms) {
  Input trend = voltage("RMS", 1, {230, 229});
  trend.type = pqdif::quantity_type::value_log;
  const std::vector<Input> waveform = {voltage("V1", 1, {1, -1})};
  for (const bool two : {false, true}) {
    synth::PqdifFile file(false, synth::PqdifChecksum::none);
    file.add(pqdif::record_kind::container, container());
    file.add(pqdif::record_kind::data_source, source({trend}));
    file.add(pqdif::record_kind::observation, observation({trend}, 60, "daily"));
    if (two) file.add(pqdif::record_kind::observation, observation({trend}, 120));
    file.add(pqdif::record_kind::data_source, source(waveform));
    file.add(pqdif::record_kind::observation, observation(waveform));
    const Record record = read(file.bytes());
    ASSERT_EQ(record.channels.size(), 1U);
    EXPECT_EQ(record.notes,
              Strings{two ? "2 observations of the file hold trends, which are not waveforms, and are left out; the "
                            "first is observation 1 'daily' of 1999-06-01T00:01:00.000000."
                          : "1 observation of the file holds trends, which are not waveforms, and is left out; the "
                            "first is observation 1 'daily' of 1999-06-01T00:01:00.000000."});
  }
}

TEST(PqdifNotes, GiveTheNominalVoltageThatAllChannelsState) {
  const auto nominal = [](const std::string& name, std::uint32_t phase, double volts) {
    Input input = voltage(name, phase, {1, -1});
    input.series[1].definition.scalar(tag::nominal_quantity, physical::real8, volts);
    return input;
  };
  EXPECT_EQ(read(file_of({nominal("V1", 1, 11547.04), nominal("V2", 2, 11547.04)}).bytes()).notes,
            Strings{"The file states a nominal voltage of 11547 V, which is not used, as such statements are often "
                    "wrong."});
  EXPECT_EQ(read(file_of({nominal("V1", 1, 230), nominal("V2", 2, 400)}).bytes()).notes, Strings{});
}

TEST(PqdifNotes, GiveTheCategoryOfAnObservationAsItsTitle) {
  const std::vector<Input> channels = {voltage("V1", 1, {1, -1})};
  const auto title_with = [&](const pqdif::Guid& category) {
    PqdifCollection body = observation(channels, 0, "Trip");
    body.identifier(tag::disturbance_category, category);
    return read(file_with(channels, {body})).rates.at(0).title;
  };
  EXPECT_EQ(title_with(pqdif::guid("dd56ef6e-7edd-11d2-b30a-00609789d193")), "observation 1 'Trip', momentary sag");
  EXPECT_EQ(title_with(pqdif::guid("00000000-7edd-11d2-b30a-00609789d193")), "observation 1 'Trip'");
}

TEST(PqdifNotes, SayThatADemandedCalibrationIsNotApplied) {
  const std::vector<Input> channels = {voltage("V1", 1, {1, -1})};
  const auto notes_with = [&](bool demanded, double ratio, double offset) {
    PqdifCollection setting;
    setting.scalar(tag::definition_index, physical::unsigned4, 0)
        .scalar(tag::calibration_ratio, physical::real8, ratio)
        .scalar(tag::calibration_offset, physical::real8, offset);
    PqdifCollection settings;
    settings.scalar(tag::use_calibration, physical::bool4, demanded ? 1 : 0)
        .collection(tag::channel_settings, PqdifCollection().collection(tag::channel_setting, setting));
    const Record record = read(file_with(channels, {observation(channels)}, {settings}));
    EXPECT_EQ(record.channels.at(0).samples, (Samples{1, -1}));
    return record.notes;
  };
  const Strings said = {"Observation 1: the settings demand a calibration of its values, which was not applied."};
  EXPECT_EQ(notes_with(true, 1.02, 0), said);
  EXPECT_EQ(notes_with(true, 1, 0.5), said);
  EXPECT_EQ(notes_with(true, 1, 0), Strings{});
  EXPECT_EQ(notes_with(false, 1.02, 0), Strings{});
}

TEST(PqdifNotes, CountThoseBeyondTwenty) {
  const std::vector<Input> channels = {voltage("V1", 1, {1, -1}), voltage("V2", 2, {2, -2})};
  std::vector<PqdifCollection> observations;
  for (int i = 0; i < 24; i++) {
    PqdifCollection first = PqdifCollection();
    PqdifCollection series;
    for (const Series& one : channels[0].series) series.collection(tag::series_instance, one.instance);
    first.scalar(tag::definition_index, physical::unsigned4, 0).collection(tag::series_instances, series);
    PqdifCollection second;
    // The first two observations have the same fault, and each of the others has one of its own.
    second.scalar(tag::definition_index, physical::unsigned4, i < 2 ? 100 : 100 + i)
        .collection(tag::series_instances, series);
    PqdifCollection body;
    body.time_stamp(tag::time_start, 36312, i)
        .collection(
            tag::channel_instances,
            PqdifCollection().collection(tag::channel_instance, first).collection(tag::channel_instance, second));
    observations.push_back(body);
  }
  const Record record = read(file_with(channels, observations));
  ASSERT_EQ(record.notes.size(), 21U);
  EXPECT_EQ(record.notes[0],
            "Observation 1: its channel 2 is left out because it belongs to channel definition 101, but the data "
            "source has only 2; so it is in 2 observations.");
  EXPECT_EQ(record.notes[1],
            "Observation 3: its channel 2 is left out because it belongs to channel definition 103, but the data "
            "source has only 2.");
  EXPECT_EQ(record.notes[20], "There are 3 more notes on observations.");
}

TEST(PqdifNotes, NameTheFirstDamagedRecordsAndCountTheOthers) {
  const std::vector<Input> channels = {voltage("V1", 1, {1, -1})};
  synth::PqdifFile file(false, synth::PqdifChecksum::none);
  file.add(pqdif::record_kind::container, container());
  file.add(pqdif::record_kind::observation, observation(channels));
  file.add(pqdif::record_kind::data_source, source(channels));
  for (int i = 0; i < 6; i++) file.add(pqdif::guid("11111111-7edd-11d2-b30a-00609789d193"), container());
  file.add(pqdif::record_kind::observation, observation(channels));
  const Record record = read(file.bytes());
  ASSERT_EQ(record.notes.size(), 6U);
  EXPECT_NE(record.notes[0].find("no data source comes before this observation to define its channels"),
            std::string::npos)
      << record.notes[0];
  EXPECT_NE(record.notes[1].find("it is of an unknown kind and is left out"), std::string::npos) << record.notes[1];
  EXPECT_EQ(record.notes[5], "The file is damaged: 2 more records have faults.");
}

TEST(PqdifNotes, AreInTheRefusalOfAFileWithoutWaveforms) {
  const std::vector<Input> none = {voltage("V1", 1, {})};
  EXPECT_EQ(refusal(file_with({}, {PqdifCollection(), PqdifCollection()})),
            "r.pqd: it holds no waveforms in its 2 observations; export the waveforms of the event from the "
            "instrument");
  const std::string empty = refusal(file_with(none, {observation(none)}));
  EXPECT_NE(empty.find("r.pqd: it holds no waveform that can be read: "), std::string::npos) << empty;
  EXPECT_NE(empty.find("; copy the file from the instrument again or export it anew"), std::string::npos) << empty;
}

// --- names -----------------------------------------------------------------------------------------------------------

TEST(PqdifNames, MayBeInSixteenBitCharacters) {
  const Input input = voltage("", 1, {1, -1});
  const auto named = [&](std::uint8_t type, const Samples& characters) {
    PqdifCollection series;
    for (const Series& one : input.series) series.collection(tag::series_definition, one.definition);
    PqdifCollection definition;
    definition.vector(tag::channel_name, type, characters)
        .scalar(tag::phase, physical::unsigned4, 1)
        .identifier(tag::quantity_type, input.type)
        .scalar(tag::quantity_measured, physical::unsigned4, input.quantity)
        .collection(tag::series_definitions, std::move(series));
    PqdifCollection body;
    body.text(tag::source_name, "Meter")
        .collection(tag::channel_definitions, PqdifCollection().collection(tag::channel_definition, definition));
    synth::PqdifFile file(false, synth::PqdifChecksum::none);
    file.add(pqdif::record_kind::container, container());
    file.add(pqdif::record_kind::data_source, body);
    file.add(pqdif::record_kind::observation, observation({input}));
    return read(file.bytes()).channels.at(0).name;
  };
  EXPECT_EQ(named(physical::char1, {'U', 'a', 0, 'x'}), "Ua") << "a name ends at the first zero";
  EXPECT_EQ(named(physical::char2, {0x041D, 'a', 0, 'x'}),
            "\xD0\x9D"
            "a");
  EXPECT_EQ(named(physical::char2, {0x041D, 0x4E2D}), "\xD0\x9D\xE4\xB8\xAD") << "a name may have no zero";
  EXPECT_EQ(named(physical::unsigned4, {65, 66}), "Voltage AN") << "numbers are no name";
}

TEST(PqdifNames, ComeFromQuantityAndPhaseWhereChannelsHaveNone) {
  Input current = voltage("", 1, {1, -1});
  current.quantity = pqdif::quantity::current;
  Input other = voltage("", 0, {1, -1});
  other.quantity = 3;
  other.series[1].definition = PqdifCollection();
  other.series[1]
      .definition.identifier(tag::value_type, pqdif::value_type::value)
      .scalar(tag::units, physical::unsigned4, pqdif::unit::none)
      .scalar(tag::storage_method, physical::unsigned4, pqdif::storage::values);
  const Record record = read(file_of({voltage("", 2, {1, -1}), current, other}).bytes());
  ASSERT_EQ(record.channels.size(), 3U);
  EXPECT_EQ(record.channels[0].name, "Voltage BN");
  EXPECT_EQ(record.channels[1].name, "Current A");
  EXPECT_EQ(record.channels[1].phase, "A") << "the conductor of a current";
  EXPECT_EQ(record.channels[2].name, "Channel 3");
  EXPECT_EQ(record.channels[2].unit, "") << "only voltages and currents have a unit that can be assumed";
}

// --- times -----------------------------------------------------------------------------------------------------------

TEST(PqdifTimes, AreTakenFromTimeStampsWhereTheObservationHasNoStart) {
  Input input = voltage("V1", 1, {1, -1, 2, -2});
  Series times;
  times.definition.identifier(tag::value_type, pqdif::value_type::time)
      .scalar(tag::units, physical::unsigned4, pqdif::unit::time_stamp)
      .scalar(tag::storage_method, physical::unsigned4, pqdif::storage::values);
  times.instance.time_stamps(tag::series_values, 36312, {10, 10.001, 10.002, 10.003});
  input.series[0] = times;
  PqdifCollection body;
  body.collection(tag::channel_instances, instances_of({input}));
  const Record record = read(file_with({input}, {body}));
  EXPECT_EQ(record.start_time, "1999-06-01T00:00:10.000000");
  ASSERT_EQ(record.rates.size(), 1U);
  EXPECT_EQ(record.rates[0].rate, 1000);
  EXPECT_EQ(record.rates[0].start, 0);
}

TEST(PqdifTimes, ThatAreIrregularLeaveTheRecordInOnePiece) {
  Samples times;
  for (int i = 0; i < 12; i++) times.push_back(0.001 * i + (i % 3 == 1 ? 0.0007 : 0));
  Input input = voltage("V1", 1, Samples(times.size(), -1));
  input.series[0] = time_series(times, pqdif::storage::values);
  const Record record = read(file_of({input}).bytes());
  ASSERT_EQ(record.rates.size(), 1U);
  EXPECT_EQ(record.length(), times.size());
  EXPECT_NEAR(record.rates[0].rate, 1000, 100) << "eleven steps of a millisecond on average";
}

TEST(PqdifTimes, BehindTheEndOfTheRecordAreNoTrigger) {
  const std::vector<Input> channels = {voltage("V1", 1, {1, -1, 1, -1})};
  const auto triggered = [&](double seconds) {
    PqdifCollection body = observation(channels, 10);
    body.time_stamp(tag::time_triggered, 36312, seconds);
    return read(file_with(channels, {body}));
  };
  const Record within = triggered(10.002);
  ASSERT_TRUE(within.trigger);
  EXPECT_NEAR(*within.trigger, 0.002, 1e-6);
  for (const double seconds : {9.0, 11.0}) {
    const Record outside = triggered(seconds);
    EXPECT_FALSE(outside.trigger) << seconds;
    EXPECT_EQ(outside.trigger_time, seconds == 9 ? "1999-06-01T00:00:09.000000" : "1999-06-01T00:00:11.000000");
  }
}

struct BadTimes {
  Series times;
  const char* said;
};

TEST(PqdifTimes, ThatAreNoTimesAreNamed) {
  constexpr double endless = std::numeric_limits<double>::infinity();
  Series stamps;
  stamps.definition.identifier(tag::value_type, pqdif::value_type::time)
      .scalar(tag::units, physical::unsigned4, pqdif::unit::time_stamp);
  stamps.instance.time_stamps(tag::series_values, 4000000, {0, 1, 2, 3});
  const BadTimes all[] = {
      {time_series({3, 4, 0.001}, pqdif::storage::increment), "its increments are stored as 3 runs in 3 numbers"},
      {time_series({1, 1.5, 0.001}, pqdif::storage::increment), "run 1 of its increments has 1.5 steps of 0.001"},
      {time_series({1, 4, endless}, pqdif::storage::increment), "run 1 of its increments has 4 steps of inf"},
      {time_series({1, 4, -0.001}, pqdif::storage::increment), "its times have a step of -0.001 s"},
      {time_series({1, 4, 1e308}, pqdif::storage::increment), "its times are not finite"},
      {time_series({1, 0, 0.001}, pqdif::storage::increment), "its series of times is empty"},
      {time_series({1, 4, 1e-95}, pqdif::storage::increment),
       "its times give 1e+95 samples per second, more than any recorder takes (at most 1e+08)"},
      {time_series({0, 1e-9, 2e-9, 3e-9}, pqdif::storage::values), "its times give 1e+09 samples per second"},
      {time_series({1, 4, 1e9}, pqdif::storage::increment), "its times last more than a century"},
      {time_series({endless, 1, 2, 3}, pqdif::storage::values), "its first time is not a number"},
      {time_series({2e9, 2e9 + 1, 2e9 + 2, 2e9 + 3}, pqdif::storage::values),
       "its first time is 2000000000 s after the start of the observation"},
      {stamps, "time stamp 1 is outside the years 1900 to 2400"},
  };
  for (const auto& [times, said] : all) {
    Input input = voltage("V1", 1, {1, -1, 2, -2});
    input.series[0] = times;
    const std::string text = refusal(file_of({input}).bytes());
    EXPECT_NE(text.find(std::string("its channel 1 is left out because ") + said), std::string::npos) << text;
  }
}

}  // namespace
}  // namespace readers
