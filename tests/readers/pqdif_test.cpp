// Reads PQDIF files in every form in which instruments store them.
#include "readers/pqdif/pqdif.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "readers/open_record.h"
#include "readers/voltages/parts.h"
#include "readers/voltages/set_search.h"
#include "synth/pqdif_file.h"
#include "tests/readers/pqdif_pieces.h"
#include "tests/readers/scratch_folder.h"

namespace readers {
namespace {

using namespace pieces;

Record read(const std::string& content, const OpenOptions& options = {}) {
  return read_pqdif("r.pqd", content, options);
}

std::string refusal(const std::string& content) {
  return refusal_of([&] { read(content); });
}

/// Expects the same channels with samples that differ by no more than `step` times a channel's largest value.
void expect_waves(const Record& read, const Record& written, double step) {
  ASSERT_EQ(read.channels.size(), written.channels.size());
  for (std::size_t c = 0; c < read.channels.size(); c++) {
    EXPECT_EQ(read.channels[c].name, written.channels[c].name);
    EXPECT_EQ(read.channels[c].phase, written.channels[c].phase);
    EXPECT_EQ(read.channels[c].unit, written.channels[c].unit);
    ASSERT_EQ(read.channels[c].samples.size(), written.channels[c].samples.size());
    const double peak = c < 3 ? 325 : 14;
    for (std::size_t i = 0; i < written.channels[c].samples.size(); i++) {
      ASSERT_NEAR(read.channels[c].samples[i], written.channels[c].samples[i], step * peak) << c << ' ' << i;
    }
  }
  EXPECT_EQ(read.notes, Strings{});
}

TEST(Pqdif, ReadsWhatTheWriterDescribes) {
  const Record written = waves(640, 6400);
  const Record record = read(synth::pqdif_of(written));
  expect_waves(record, written, 0.5 / 32767 + 1e-9);
  EXPECT_EQ(record.format, "PQDIF 1.5");
  EXPECT_EQ(record.station, "Station");
  EXPECT_EQ(record.device, "Device");
  EXPECT_EQ(record.line_frequency, 50);
  EXPECT_EQ(record.start_time, "2000-01-01T00:00:00.000000");
  ASSERT_EQ(record.rates.size(), 1U);
  EXPECT_EQ(record.rates[0].rate, 6400);
  EXPECT_EQ(record.rates[0].title, "observation 1");
  const auto sets = find_voltage_sets(record);
  ASSERT_EQ(sets.size(), 1U);
  EXPECT_TRUE(sets[0].live);
}

TEST(Pqdif, NotesALineFrequencyThatNoNetworkHas) {
  Record written = waves(640, 6400);
  written.line_frequency = 0.25;
  const Record record = read(synth::pqdif_of(written));
  EXPECT_EQ(record.line_frequency, 0);
  EXPECT_EQ(record.notes, Strings{"The line frequency of 0.25 Hz that the file states is not usable and was ignored."});
}

TEST(Pqdif, CutsLongNames) {
  Record written = waves(640, 6400);
  for (auto& channel : written.channels) {
    channel.name = channel.phase;
    while (channel.name.size() < 1U << 20U) channel.name += "_A";
  }
  const Record record = read(synth::pqdif_of(written));
  ASSERT_EQ(record.channels.size(), written.channels.size());
  for (std::size_t i = 0; i < record.channels.size(); i++) {
    EXPECT_EQ(record.channels[i].name, written.channels[i].name.substr(0, 256));
  }
  ASSERT_EQ(record.notes.size(), 1U);
  EXPECT_EQ(record.notes[0].substr(0, 22), "The text of a name has");
  EXPECT_NE(record.notes[0].find("was cut to 256"), std::string::npos) << record.notes[0];
}

TEST(Pqdif, ReadsScaledValuesOfEveryType) {
  const Record written = waves(256, 12664);
  struct Form {
    std::uint8_t type;
    double step;  // half of a stored step over the largest value
  };
  // With an offset of 40 the largest distance from it is 365 at most, so steps are up to 365 / 325 as large; currents
  // have an offset of several times their peak.
  for (const Form& form :
       {Form{physical::int1, 0.5 / 127}, Form{physical::int2, 0.5 / 32767}, Form{physical::int4, 0.5 / 2147483647.0},
        Form{physical::unsigned1, 1.0 / 255}, Form{physical::unsigned2, 1.0 / 65535},
        Form{physical::unsigned4, 1.0 / 4294967295.0}, Form{physical::real4, 6e-8}, Form{physical::real8, 1e-15}}) {
    for (const double offset : {0.0, 40.0}) {
      SCOPED_TRACE(std::to_string(form.type) + " offset " + std::to_string(offset));
      synth::PqdifForm stored;
      stored.value_type = form.type;
      stored.offset = offset;
      const double larger = offset == 0 ? 1 : (14 + offset) / 14;
      expect_waves(read(synth::pqdif_of(written, stored)), written, form.step * larger + 1e-12);
    }
  }
}

TEST(Pqdif, ReadsPlainValuesOfEveryType) {
  for (const std::uint8_t type :
       {physical::bool1, physical::bool2, physical::bool4, physical::int1, physical::int2, physical::int4,
        physical::unsigned1, physical::unsigned2, physical::unsigned4, physical::real4, physical::real8}) {
    const bool is_signed = (type >= physical::int1 && type <= physical::int4) || type >= physical::real4;
    Input channel = voltage("V1", 1, {});
    const Samples values = is_signed ? Samples{1, -2, 100, -127} : Samples{1, 2, 100, 127};
    channel.series[0] = time_series({1, 4, 0.001}, pqdif::storage::increment);
    channel.series[1] = value_series(values);
    channel.series[1].instance = PqdifCollection().vector(tag::series_values, type, values);
    const Record record = read(file_of({channel}).bytes());
    EXPECT_EQ(record.channels.at(0).samples, values) << int{type};
  }
}

TEST(Pqdif, ReadsTimesOfEveryForm) {
  const Record written = waves(400, 12664);
  for (const auto times : {synth::PqdifTimes::increments, synth::PqdifTimes::seconds, synth::PqdifTimes::cycles,
                           synth::PqdifTimes::time_stamps}) {
    for (const std::uint8_t type : {physical::real4, physical::real8}) {
      for (const double scale : {1.0, 0.001}) {
        for (const bool shared : {true, false}) {
          if (times == synth::PqdifTimes::time_stamps && (type != physical::real8 || scale != 1)) continue;
          SCOPED_TRACE(std::to_string(static_cast<int>(times)) + " " + std::to_string(type) + " " +
                       std::to_string(scale) + " " + std::to_string(shared));
          synth::PqdifForm form;
          form.value_type = physical::real8;
          form.scaled = false;
          form.times = times;
          form.time_type = type;
          form.time_scale = scale;
          form.share_times = shared;
          const Record record = read(synth::pqdif_of(written, form));
          expect_waves(record, written, 0);
          ASSERT_EQ(record.rates.size(), 1U);
          EXPECT_EQ(record.rates[0].rate, 12664);
        }
      }
    }
  }
}

TEST(Pqdif, ReadsValuesThatChannelsShare) {
  Record written = waves(100, 6400);
  for (const bool share_times : {true, false}) {
    synth::PqdifForm form;
    form.value_type = physical::real4;
    form.share_times = share_times;
    form.share_values = true;
    const Record record = read(synth::pqdif_of(written, form));
    ASSERT_EQ(record.channels.size(), 8U);
    EXPECT_EQ(record.rates.size(), 1U);
    for (std::size_t c = 0; c < 4; c++) {
      EXPECT_EQ(record.channels[4 + c].name, written.channels[c].name + " (2)");
      EXPECT_EQ(record.channels[4 + c].samples, record.channels[c].samples);
    }
  }
}

TEST(Pqdif, TakesEveryCompressionAndChecksum) {
  const Record written = waves(100, 6400);
  for (const bool compressed : {true, false}) {
    for (const auto checksum :
         {synth::PqdifChecksum::adler_of_stored, synth::PqdifChecksum::crc_of_unpacked, synth::PqdifChecksum::none}) {
      synth::PqdifForm form;
      form.compressed = compressed;
      form.checksum = checksum;
      expect_waves(read(synth::pqdif_of(written, form)), written, 1.0 / 32767);
    }
  }
}

TEST(Pqdif, NotesAWrongChecksum) {
  std::string content = file_of({voltage("V1", 1, {1, -1})}).bytes();
  content[44] = static_cast<char>(content[44] ^ 1);
  const Record record = read(content);
  EXPECT_EQ(record.channels[0].samples, (Samples{1, -1}));
  EXPECT_EQ(record.notes, Strings{"The checksum of record 1 at byte 0 is wrong; it is used nevertheless."});
}

TEST(Pqdif, MakesEachObservationAPartInTheOrderOfTime) {
  Record written = waves(900, 6400);
  written.rates = {
      {6400, 300, 100, false, "second"}, {12800, 600, 5, false, "first"}, {6400, 900, 86500, false, "third"}};
  synth::PqdifForm form;
  form.value_type = physical::real8;
  form.scaled = false;
  const Record record = read(synth::pqdif_of(written, form));
  EXPECT_EQ(record.start_time, "2000-01-01T00:00:05.000000");
  const auto parts = parts_of(record);
  ASSERT_EQ(parts.size(), 3U);
  EXPECT_EQ(parts[0].title, "observation 2 'first'");
  EXPECT_EQ(parts[0].start, 0);
  EXPECT_EQ(parts[0].rate, 12800);
  EXPECT_EQ(parts[1].title, "observation 1 'second'");
  EXPECT_EQ(parts[1].start, 95);
  EXPECT_EQ(parts[2].start, 86495);
  const Samples& before = written.channels[1].samples;
  const Samples& after = record.channels[1].samples;
  EXPECT_TRUE(std::equal(after.begin(), after.begin() + 300, before.begin() + 300));
  EXPECT_TRUE(std::equal(after.begin() + 300, after.begin() + 600, before.begin()));
  EXPECT_TRUE(std::equal(after.begin() + 600, after.end(), before.begin() + 600));
}

TEST(Pqdif, GivesTheTriggerOfOneObservation) {
  Record written = waves(640, 6400);
  written.trigger = 0.025;
  const Record record = read(synth::pqdif_of(written));
  EXPECT_EQ(record.trigger_time, "2000-01-01T00:00:00.025000");
  EXPECT_EQ(record.trigger, 0.025);
  written.trigger = 5;
  EXPECT_FALSE(read(synth::pqdif_of(written)).trigger);
}

TEST(Pqdif, GivesChannelsOfAnotherRateASectionOfTheirOwn) {
  Input current = voltage("I1", 1, {});
  current.quantity = pqdif::quantity::current;
  current.series = {time_series({1, 2, 0.002}, pqdif::storage::increment), value_series({7, -8}, pqdif::unit::amperes)};
  const Record record = read(file_of({current, voltage("V1", 1, {1, -2, 3, -4})}).bytes());
  ASSERT_EQ(record.rates.size(), 2U);
  EXPECT_EQ(record.rates[0].rate, 1000);  // voltages come first
  EXPECT_EQ(record.rates[0].end, 4U);
  EXPECT_EQ(record.rates[1].rate, 500);
  EXPECT_EQ(record.rates[1].end, 6U);
  EXPECT_EQ(record.rates[1].start, 0);
  ASSERT_EQ(record.channels.size(), 2U);
  EXPECT_EQ(record.channels[0].unit, "A");
  EXPECT_EQ(record.channels[0].phase, "A");
  EXPECT_TRUE(std::isnan(record.channels[0].samples[3]));
  EXPECT_EQ(record.channels[0].samples[4], 7);
  EXPECT_EQ(record.channels[1].samples[3], -4);
  EXPECT_TRUE(std::isnan(record.channels[1].samples[4]));

  // Values that a channel never had are not missing.
  const ScratchFolder folder;
  const auto path = folder.write("r.pqd", file_of({current, voltage("V1", 1, {1, -2, 3, -4})}).bytes());
  EXPECT_EQ(open_record(path).notes, Strings{});
}

TEST(Pqdif, SplitsAnObservationWhereItsRateChanges) {
  Input channel = voltage("V1", 1, Samples(50, -1));
  channel.series[0] = time_series({2, 20, 0.001, 30, 0.0005}, pqdif::storage::increment);
  const Record by_runs = read(file_of({channel}).bytes());
  Samples times;
  for (int i = 0; i < 20; i++) times.push_back(0.001 * i);
  for (int i = 0; i < 30; i++) times.push_back(0.02 + 0.0005 * i);
  channel.series[0] = time_series(times, pqdif::storage::values);
  const Record by_times = read(file_of({channel}).bytes());
  for (const Record* record : {&by_runs, &by_times}) {
    ASSERT_EQ(record->rates.size(), 2U);
    EXPECT_EQ(record->rates[0].end, 20U);
    EXPECT_NEAR(record->rates[0].rate, 1000, 1e-9);
    EXPECT_NEAR(record->rates[1].rate, 2000, 1e-9);
    EXPECT_NEAR(record->rates[1].start, 0.02, 1e-12);
    EXPECT_TRUE(record->rates[1].follows);
  }
}

TEST(Pqdif, SplitsAnObservationAtGapsInItsTimes) {
  Input channel = voltage("V1", 1, Samples(40, -1));
  Samples times;
  for (int i = 0; i < 40; i++) times.push_back(0.001 * i + (i < 20 ? 0 : 0.5));
  channel.series[0] = time_series(times, pqdif::storage::values);
  const Record record = read(file_of({channel}).bytes());
  ASSERT_EQ(record.rates.size(), 2U);
  EXPECT_NEAR(record.rates[1].start, 0.52, 1e-12);
  EXPECT_FALSE(record.rates[1].follows);
}

TEST(Pqdif, FindsTheRateOfRoundedTimes) {
  constexpr std::size_t count = 2000;
  Input channel = voltage("V1", 1, Samples(count, -1));
  Samples times;
  for (std::size_t i = 0; i < count; i++) times.push_back(1.5 + std::round(static_cast<double>(i) / 6400 * 1e5) / 1e5);
  channel.series[0] = time_series(times, pqdif::storage::values);
  const Record record = read(file_of({channel}).bytes());
  ASSERT_EQ(record.rates.size(), 1U);
  EXPECT_NEAR(record.rates[0].rate, 6400, 0.2);
  EXPECT_EQ(record.start_time, "1999-06-01T00:00:01.500000");  // the first sample is later than the observation's start
}

TEST(Pqdif, ReadsIncrementsThatAreNotDeclared) {
  Input channel = voltage("V1", 1, Samples(100, -1));
  channel.series[0] = time_series({1, 100, 0.001}, pqdif::storage::values);
  const Record record = read(file_of({channel}).bytes());
  EXPECT_EQ(record.rates.at(0).rate, 1000);
}

TEST(Pqdif, ReadsTimesOfDayAboveADay) {
  synth::PqdifFile file(false, synth::PqdifChecksum::none);
  const std::vector<Input> channels = {voltage("V1", 1, {1, -1})};
  file.add(pqdif::record_kind::container, container());
  file.add(pqdif::record_kind::data_source, source(channels));
  file.add(pqdif::record_kind::observation, observation(channels, 86400 + 48251.99999974575));
  EXPECT_EQ(read(file.bytes()).start_time, "1999-06-02T13:24:12.000000");
}

TEST(Pqdif, NamesPhasesAsTheStandardDoes) {
  std::vector<Input> channels;
  for (std::uint32_t phase = 0; phase < 10; phase++) channels.push_back(voltage("x", phase, {1, -1}));
  const Record record = read(file_of(channels).bytes());
  Strings phases;
  for (const auto& channel : record.channels) phases.push_back(channel.phase);
  EXPECT_EQ(phases, (Strings{"", "AN", "BN", "CN", "NG", "AB", "BC", "CA", "residual", "net"}));
  EXPECT_EQ(find_voltage_sets(record).size(), 1U);
  EXPECT_EQ(find_line_to_line_sets(record).size(), 1U);
}

TEST(Pqdif, AssumesWhatIsMissing) {
  // Neither names, phases, units nor storage methods are given.
  PqdifCollection series;
  series
      .collection(tag::series_definition,
                  PqdifCollection().scalar(tag::units, physical::unsigned4, pqdif::unit::seconds))
      .collection(tag::series_definition, PqdifCollection());
  PqdifCollection definition;
  definition.scalar(tag::quantity_measured, physical::unsigned2, pqdif::quantity::voltage)
      .collection(tag::series_definitions, series);
  synth::PqdifFile file(false, synth::PqdifChecksum::none);
  file.add(pqdif::record_kind::container, container());
  file.add(pqdif::record_kind::data_source,
           PqdifCollection().collection(tag::channel_definitions,
                                        PqdifCollection().collection(tag::channel_definition, definition)));
  Input channel = voltage("", 0, {10, -20, 30});
  channel.series[0].instance = PqdifCollection().vector(tag::series_values, physical::real8, {0, 0.001, 0.002});
  channel.series[1].instance.scalar(tag::series_scale, physical::real8, 2);
  PqdifCollection body;
  body.collection(tag::channel_instances, instances_of({channel}));
  file.add(pqdif::record_kind::observation, body);
  const Record record = read(file.bytes());
  EXPECT_EQ(record.channels.at(0).name, "Voltage 1");
  EXPECT_EQ(record.channels[0].unit, "V");
  EXPECT_EQ(record.channels[0].samples, (Samples{20, -40, 60}));
  EXPECT_EQ(record.start_time, "");
  EXPECT_EQ(record.line_frequency, 0);
  EXPECT_EQ(record.rates.at(0).rate, 1000);
  EXPECT_EQ(record.notes, Strings{"Channels without a unit are assumed to be in V or A, as what they measure."});
}

TEST(Pqdif, UsesTheGivenRateForChannelsWithoutTimes) {
  Input channel = voltage("V1", 1, {1, -2, 3});
  channel.series = {value_series({1, -2, 3})};
  const std::string content = file_of({channel}).bytes();
  OpenOptions options;
  options.sampling_rate = 3200;
  EXPECT_EQ(read(content, options).rates.at(0).rate, 3200);
  const Record record = read(content);
  EXPECT_EQ(record.rates.at(0).rate, 0);
  EXPECT_EQ(record.notes,
            Strings{"Observation 1: its channels have no series of times, so their sampling rate is not known."});
}

TEST(Pqdif, MultipliesByTransducersAsTheSettingsDemand) {
  const std::vector<Input> channels = {voltage("V1", 1, {1, -2})};
  for (const bool apply : {true, false}) {
    synth::PqdifFile file(false, synth::PqdifChecksum::none);
    file.add(pqdif::record_kind::container, container());
    file.add(pqdif::record_kind::data_source, source(channels));
    PqdifCollection setting;
    setting.scalar(tag::definition_index, physical::unsigned4, 0)
        .scalar(tag::system_side_ratio, physical::real8, 22000)
        .scalar(tag::monitor_side_ratio, physical::real8, 110);
    PqdifCollection settings;
    settings.scalar(tag::use_transducer, physical::bool4, apply ? 1 : 0)
        .collection(tag::channel_settings, PqdifCollection().collection(tag::channel_setting, setting));
    file.add(pqdif::record_kind::settings, settings);
    file.add(pqdif::record_kind::observation, observation(channels));
    const Record record = read(file.bytes());
    EXPECT_EQ(record.channels.at(0).samples, apply ? (Samples{200, -400}) : (Samples{1, -2}));
    EXPECT_EQ(record.channels[0].side, 'P');
    EXPECT_EQ(record.channels[0].primary, 22000);
    EXPECT_EQ(record.channels[0].secondary, 110);
    EXPECT_EQ(record.notes.size(), apply ? 1U : 0U);
  }
}

TEST(Pqdif, KeepsInstrumentsApart) {
  const std::vector<Input> channels = {voltage("V1", 1, {1, -2})};
  synth::PqdifFile file(false, synth::PqdifChecksum::none);
  file.add(pqdif::record_kind::container, container());
  for (const char* name : {"North", "South", "North"}) {
    file.add(pqdif::record_kind::data_source, source(channels, name));
    file.add(pqdif::record_kind::observation, observation(channels));
  }
  const Record record = read(file.bytes());
  ASSERT_EQ(record.channels.size(), 2U);
  EXPECT_EQ(record.channels[0].name, "North: V1");
  EXPECT_EQ(record.channels[1].name, "South: V1");
  EXPECT_EQ(record.rates.size(), 3U);
}

TEST(Pqdif, NumbersChannelsThatAreDescribedAlike) {
  const Record record = read(file_of({voltage("V1", 1, {1, -2}), voltage("V1", 1, {3, -4})}).bytes());
  ASSERT_EQ(record.channels.size(), 2U);
  EXPECT_EQ(record.channels[0].name, "V1");
  EXPECT_EQ(record.channels[1].name, "V1 (2)");
  EXPECT_EQ(record.channels[1].samples, (Samples{3, -4}));
}

TEST(Pqdif, KeepsChannelsTogetherWhoseTimesAreRoundedDifferently) {
  Input one = voltage("V1", 1, Samples(1000, -1));
  Input other = voltage("V2", 2, Samples(999, -2));
  one.series[0] = time_series({1, 1000, 1.0 / 6400}, pqdif::storage::increment);
  other.series[0] = time_series({1, 999, 0.00015625001}, pqdif::storage::increment);
  const Record record = read(file_of({one, other}).bytes());
  ASSERT_EQ(record.rates.size(), 1U);
  EXPECT_EQ(record.rates[0].end, 1000U);
  EXPECT_EQ(record.channels.at(1).samples[998], -2);
  EXPECT_TRUE(std::isnan(record.channels.at(1).samples[999]));
}

TEST(Pqdif, ReadsNamesOfOtherCharacterSets) {
  const Record guessed = read(file_of({voltage("\xCD\xE0\xEF\xF0\xFF\xE6\xE5\xED\xE8\xE5", 1, {1, -1})}).bytes());
  EXPECT_EQ(guessed.channels.at(0).name, "Напряжение");
  OpenOptions options;
  options.charset = "CP866";
  EXPECT_EQ(read(file_of({voltage("\x8D", 1, {1, -1})}).bytes(), options).channels.at(0).name, "Н");
}

TEST(Pqdif, NotesWhatIsNoWaveform) {
  Input trend = voltage("RMS", 1, {230, 229});
  trend.type = pqdif::quantity_type::value_log;
  Input histogram = voltage("H", 1, {3, 4});
  histogram.type = pqdif::quantity_type::histogram;
  Input rms = voltage("Vrms", 1, {230, 229});
  rms.series[1].definition.identifier(tag::characteristic, pqdif::characteristic::rms);
  const std::vector<Input> channels = {voltage("V1", 1, {1, -1}), trend, histogram, rms};
  synth::PqdifFile file(false, synth::PqdifChecksum::none);
  file.add(pqdif::record_kind::container, container());
  file.add(pqdif::record_kind::data_source, source(channels));
  file.add(pqdif::record_kind::observation, observation(channels, 60, "all"));
  const std::string with_waveform = file.bytes();
  const Record record = read(with_waveform);
  EXPECT_EQ(record.channels.size(), 1U);
  EXPECT_EQ(record.notes, (Strings{"1 observation with waveforms holds histograms as well, which are left out.",
                                   "1 observation with waveforms holds trends as well, which are left out."}));

  EXPECT_EQ(refusal(file_of({trend}).bytes()),
            "r.pqd: it holds trends (1 observation, first observation 1 of 1999-06-01T00:00:00.000000), but no "
            "waveforms; export the waveforms of the event from the instrument");
}

TEST(Pqdif, ReadsOnlyWantedChannels) {
  OpenOptions options;
  options.wanted = [](const Record& record) {
    EXPECT_EQ(record.channels.size(), 2U);
    EXPECT_EQ(record.length(), 2U);
    return std::vector<bool>{false, true};
  };
  const Record record = read(file_of({voltage("V1", 1, {1, -1}), voltage("V2", 2, {2, -2})}).bytes(), options);
  EXPECT_EQ(record.channels.at(0).samples, Samples{});
  EXPECT_EQ(record.channels.at(1).samples, (Samples{2, -2}));
}

TEST(Pqdif, IsRecognisedByItsContent) {
  const ScratchFolder folder;
  const std::string content = synth::pqdif_of(waves(64, 6400));
  for (const char* name : {"r.pqd", "r.PQDIF", "r.dat1", "record"}) {
    EXPECT_EQ(open_record(folder.write(name, content)).format, "PQDIF 1.5") << name;
  }
  const std::string path = folder.write("x.pqd", "no PQDIF file");
  EXPECT_EQ(refusal_of([&] { open_record(path); }),
            path +
                ": byte 0: the file does not begin with the signature of a PQDIF record; check that it is a PQDIF "
                "file and complete");
}

}  // namespace
}  // namespace readers
