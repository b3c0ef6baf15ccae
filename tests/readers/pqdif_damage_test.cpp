// Reads damaged PQDIF files: nothing may crash, take long or fill the memory, and every loss must be reported.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "readers/pqdif/inflate.h"
#include "readers/pqdif/pqdif.h"
#include "synth/pqdif_file.h"
#include "tests/readers/pqdif_pieces.h"
#include "tests/readers/scratch_folder.h"

namespace readers {
namespace {

using namespace pieces;

constexpr std::size_t header_size = 64;
constexpr std::size_t size_place = 36;
constexpr std::size_t link_place = 40;

/// What reading gave: a record or a refusal.
struct Outcome {
  Record record;
  std::string refusal;
};

Outcome outcome_of(const std::string& content) {
  Outcome outcome;
  try {
    // The copy has no byte after its end that could be read by mistake.
    const std::vector<char> exact(content.begin(), content.end());
    outcome.record = read_pqdif("r.pqd", {exact.data(), exact.size()});
  } catch (const ReadError& error) {
    outcome.refusal = error.what();
  }
  return outcome;
}

std::string refusal(const std::string& content) {
  return outcome_of(content).refusal;
}

/// Returns whether a note contains a text.
bool notes_have(const Record& record, const std::string& text) {
  for (const std::string& note : record.notes) {
    if (note.find(text) != note.npos) return true;
  }
  return false;
}

bool same_content(const Record& one, const Record& other) {
  if (one.channels.size() != other.channels.size() || one.rates.size() != other.rates.size()) return false;
  for (std::size_t c = 0; c < one.channels.size(); c++) {
    if (one.channels[c].samples != other.channels[c].samples || one.channels[c].name != other.channels[c].name) {
      return false;
    }
  }
  return one.start_time == other.start_time && one.rates[0].rate == other.rates[0].rate;
}

/// Damage must be refused, noted or without effect.
void expect_reported(const std::string& damaged, const Record& whole, std::size_t place) {
  const Outcome outcome = outcome_of(damaged);
  if (!outcome.refusal.empty()) {
    ASSERT_EQ(outcome.refusal.find("r.pqd: "), 0U);
  } else {
    ASSERT_TRUE(!outcome.record.notes.empty() || same_content(outcome.record, whole)) << "byte " << place;
  }
}

void put(std::string& content, std::size_t place, std::uint32_t value) {
  content.replace(place, 4, synth::pqdif_number(physical::unsigned4, value));
}

/// Returns a small file with two observations.
std::string two_observations(bool compressed) {
  Record record = waves(24, 1200);
  record.rates = {{1200, 12, 0, false, "a"}, {1200, 24, 60, false, "b"}};
  synth::PqdifForm form;
  form.compressed = compressed;
  return synth::pqdif_of(record, form);
}

std::vector<std::size_t> record_offsets(const std::string& content) {
  std::vector<std::size_t> offsets = {0};
  for (;;) {
    std::uint32_t link = 0;
    std::memcpy(&link, content.data() + offsets.back() + link_place, sizeof link);
    if (link == 0) return offsets;
    offsets.push_back(link);
  }
}

TEST(DamagedPqdif, ReportsEveryTruncation) {
  for (const bool compressed : {true, false}) {
    const std::string content = two_observations(compressed);
    for (std::size_t size = 0; size < content.size(); size++) {
      const Outcome outcome = outcome_of(content.substr(0, size));
      ASSERT_TRUE(!outcome.refusal.empty() || !outcome.record.notes.empty()) << size;
    }
  }
}

TEST(DamagedPqdif, KeepsWhatComesBeforeATruncation) {
  const std::string content = two_observations(true);
  const std::size_t last = record_offsets(content).back();
  const Outcome outcome = outcome_of(content.substr(0, content.size() - 10));
  EXPECT_EQ(outcome.record.length(), 12U);
  const std::size_t body = content.size() - last - header_size;
  EXPECT_EQ(
      outcome.record.notes,
      Strings{"The file is damaged: record 5 at byte " + std::to_string(last) + ": its body should have " +
              std::to_string(body) + " bytes, but the file ends after " + std::to_string(body - 10) + " of them."});
}

TEST(DamagedPqdif, ReportsDamageToEveryByteOfAHeader) {
  for (const bool compressed : {true, false}) {
    const std::string content = two_observations(compressed);
    const Record whole = outcome_of(content).record;
    for (const std::size_t offset : record_offsets(content)) {
      for (std::size_t i = offset; i < offset + header_size; i++) {
        for (const int flip : {0x01, 0x10, 0x80, 0xFF}) {
          std::string damaged = content;
          damaged[i] = static_cast<char>(damaged[i] ^ flip);
          expect_reported(damaged, whole, i);
        }
      }
    }
  }
}

TEST(DamagedPqdif, ReportsDamageToEveryByteOfABody) {
  for (const bool compressed : {true, false}) {
    const std::string content = two_observations(compressed);
    const Record whole = outcome_of(content).record;
    for (std::size_t i = header_size; i < content.size(); i++) {
      std::string damaged = content;
      damaged[i] = static_cast<char>(damaged[i] ^ 0xFF);
      expect_reported(damaged, whole, i);
    }
  }
}

TEST(DamagedPqdif, EndsAChainThatComesBack) {
  std::string content = two_observations(true);
  const auto offsets = record_offsets(content);
  for (const std::size_t target : offsets) {
    put(content, offsets.back() + link_place, static_cast<std::uint32_t>(target));
    const Record record = outcome_of(content).record;
    if (target == 0) {
      EXPECT_EQ(record.length(), 24U);  // a link of 0 ends the chain
      continue;
    }
    EXPECT_EQ(record.length(), 24U);
    EXPECT_EQ(record.notes, Strings{"The file is damaged: record 6 at byte " + std::to_string(target) +
                                    ": the chain of records comes back to a place where it has been."});
  }
}

TEST(DamagedPqdif, FollowsAChainThatLeadsBackwards) {
  // The last two records change places in the file.
  std::string content = two_observations(true);
  const auto offsets = record_offsets(content);
  const std::string third = content.substr(offsets[3], offsets[4] - offsets[3]);
  const std::string fourth = content.substr(offsets[4]);
  content = content.substr(0, offsets[3]) + fourth + third;
  const std::size_t moved = offsets[3] + fourth.size();
  put(content, offsets[2] + link_place, static_cast<std::uint32_t>(moved));
  put(content, moved + link_place, static_cast<std::uint32_t>(offsets[3]));
  put(content, offsets[3] + link_place, 0);
  EXPECT_EQ(outcome_of(content).record.length(), 24U);
}

TEST(DamagedPqdif, RefusesRecordsThatOverlap) {
  std::string content = two_observations(true);
  const auto offsets = record_offsets(content);
  // Its body now reaches over that of the next record.
  put(content, offsets[3] + size_place, static_cast<std::uint32_t>(content.size() - offsets[3] - header_size));
  const Record record = outcome_of(content).record;
  EXPECT_TRUE(notes_have(record, "it overlaps records before it"));
}

TEST(DamagedPqdif, NotesBytesAfterTheLastRecord) {
  const std::string content = two_observations(true);
  const Record record = outcome_of(content + "more").record;
  EXPECT_EQ(record.length(), 24U);
  EXPECT_EQ(record.notes, Strings{"The file is damaged: record 5 ends the chain at byte " +
                                  std::to_string(content.size()) + ", but the file has 4 more bytes."});
}

/// Returns a file of one voltage with a given body for its observation.
std::string with_observation(const std::string& body) {
  synth::PqdifFile file(false, synth::PqdifChecksum::none);
  file.add(pqdif::record_kind::container, container());
  file.add(pqdif::record_kind::data_source, source({voltage("V1", 1, {1, -1})}));
  file.add(pqdif::record_kind::observation, body);
  return file.bytes();
}

constexpr std::size_t entry_size = 28;
constexpr std::size_t entry_link = 20;

TEST(DamagedPqdif, DoesNotFollowCollectionsInALoop) {
  // Every entry of every collection links to the collection at the start, which has one entry for each level.
  constexpr std::size_t entries = 4000;
  PqdifCollection root;
  for (std::size_t i = 0; i < entries; i++) {
    const auto& what = i % 4 == 0   ? tag::channel_instances
                       : i % 4 == 1 ? tag::channel_instance
                       : i % 4 == 2 ? tag::series_instances
                                    : tag::series_instance;
    root.collection(what, {});
  }
  std::string body = root.body();
  for (std::size_t i = 0; i < entries; i++) put(body, 4 + i * entry_size + entry_link, 0);
  EXPECT_NE(refusal(with_observation(body)).find("in a loop or again and again"), std::string::npos);
}

TEST(DamagedPqdif, DoesNotReadOneVectorAgainAndAgain) {
  // Thousands of series link to one large vector.
  constexpr std::size_t channels = 3000;
  PqdifCollection list;
  for (std::size_t i = 0; i < channels; i++) {
    PqdifCollection series;
    series
        .collection(tag::series_instance, PqdifCollection().vector(tag::series_values, physical::real8, {1, 2, 0.001}))
        .collection(tag::series_instance,
                    PqdifCollection().vector(tag::series_values, physical::int1, Samples(i == 0 ? 100000 : 2, -1)));
    list.collection(tag::channel_instance, PqdifCollection()
                                               .scalar(tag::definition_index, physical::unsigned4, 0)
                                               .collection(tag::series_instances, series));
  }
  std::string body = PqdifCollection().collection(tag::channel_instances, list).body();
  // The small vectors of values are found by their count and are replaced by links to the large one.
  const std::string small_entry("\x03\x14\x00\x00", 4);
  std::size_t large = 0;
  for (std::size_t at = body.find(small_entry); at != body.npos; at = body.find(small_entry, at + 1)) {
    std::uint32_t link = 0;
    std::memcpy(&link, body.data() + at + 4, sizeof link);
    if (large == 0) large = link;
    put(body, at + 4, static_cast<std::uint32_t>(large));
  }
  ASSERT_GT(large, 0U);
  const Outcome outcome = outcome_of(with_observation(body));
  EXPECT_TRUE(notes_have(outcome.record, "links to a vector that other entries link to as well"));
  EXPECT_LE(outcome.record.channels.size(), body.size() / 100000);
}

/// A body with one number replaced.
struct Absurdity {
  std::size_t place;
  std::uint32_t value;
  const char* complaint;
};

TEST(DamagedPqdif, RefusesAbsurdLinksAndCounts) {
  const std::string body = observation({voltage("V1", 1, {1, -1})}).body();
  const std::size_t size = body.size();
  const std::string whole = with_observation(body);
  ASSERT_EQ(refusal(whole), "");
  const std::size_t instances = 4 + 2 * entry_size + entry_link;  // link of the third entry of the root
  for (const Absurdity& absurdity :
       {Absurdity{0, 0xFFFFFFFF, "neither a collection nor a zlib stream"},
        Absurdity{0, 1000, "neither a collection nor a zlib stream"},
        Absurdity{instances, 0xFFFFFFF0, "links to byte -16, where a collection cannot be"},
        Absurdity{instances, static_cast<std::uint32_t>(size), "where a collection cannot be"},
        Absurdity{instances, 0x7FFFFFFF, "links to byte 2147483647, where a collection cannot be"}}) {
    std::string damaged = body;
    put(damaged, absurdity.place, absurdity.value);
    EXPECT_NE(refusal(with_observation(damaged)).find(absurdity.complaint), std::string::npos) << absurdity.complaint;
  }
}

TEST(DamagedPqdif, RefusesAbsurdIncrements) {
  struct Form {
    Samples values;
    const char* complaint;
  };
  const double nan = std::nan("");
  for (const Form& form :
       {Form{{}, "its series of times is empty"}, Form{{0}, "as 0 runs in 1 numbers"},
        Form{{1, 5}, "as 1 runs in 2 numbers"}, Form{{1e300, 5, 1}, "runs in 3 numbers"},
        Form{{nan, 5, 1}, "runs in 3 numbers"}, Form{{1, -5, 1}, "run 1 of its increments has -5"},
        Form{{1, 2.5, 1}, "has 2.5 steps"}, Form{{1, 1e300, 1}, "run 1 of its increments has 1e+300"},
        Form{{1, 2, nan}, "steps of nan"}, Form{{1, 2, -0.001}, "a step of -0.001 s"}}) {
    Input channel = voltage("V1", 1, {1, -1});
    channel.series[0] = time_series(form.values, pqdif::storage::increment);
    EXPECT_NE(refusal(file_of({channel}).bytes()).find(form.complaint), std::string::npos) << form.complaint;
  }
}

TEST(DamagedPqdif, DoesNotUnfoldHugeRuns) {
  Input channel = voltage("V1", 1, {});
  channel.series[1] = value_series({1, 4e9, -1}, pqdif::unit::volts, pqdif::storage::increment);
  EXPECT_NE(refusal(file_of({channel}).bytes()).find("more values than can be read at once"), std::string::npos);
  // A long series of times takes no memory and is cut to the values.
  channel = voltage("V1", 1, {1, -1});
  channel.series[0] = time_series({1, 4e9, 0.001}, pqdif::storage::increment);
  EXPECT_EQ(outcome_of(file_of({channel}).bytes()).record.length(), 2U);
}

TEST(DamagedPqdif, RefusesSharesThatLeadNowhere) {
  const auto sharing = [](double channel, double index) {
    PqdifCollection instance;
    instance.scalar(tag::share_channel, physical::unsigned4, channel)
        .scalar(tag::share_series, physical::unsigned4, index);
    Input one = voltage("V1", 1, {1, -1});
    one.series[1].instance = instance;
    return refusal(file_of({one}).bytes());
  };
  EXPECT_NE(sharing(0, 1).find("shared with series 2 of channel 1, which has none of its own"), std::string::npos);
  EXPECT_NE(sharing(0, 2).find("shared with series 3 of channel 1, which does not exist"), std::string::npos);
  EXPECT_NE(sharing(4294967295.0, 0).find("of channel 4294967296, which does not exist"), std::string::npos);
}

TEST(DamagedPqdif, LosesOnlyTheDamagedRecord) {
  std::string content = two_observations(true);
  const auto offsets = record_offsets(content);
  content[offsets[3] + header_size + 20] = static_cast<char>(content[offsets[3] + header_size + 20] ^ 0xFF);
  const Record record = outcome_of(content).record;
  EXPECT_EQ(record.length(), 12U);
  ASSERT_EQ(record.rates.size(), 1U);
  EXPECT_EQ(record.rates[0].title, "observation 2 'b'");
  EXPECT_TRUE(notes_have(record, "record 4 at byte " + std::to_string(offsets[3]) + ": its zlib stream"));
}

TEST(DamagedPqdif, RefusesWithdrawnCompressions) {
  const auto with = [](std::uint32_t style, std::uint32_t algorithm) {
    synth::PqdifFile file(false, synth::PqdifChecksum::none);
    file.add(pqdif::record_kind::container, container(style, algorithm));
    return refusal(file.bytes());
  };
  EXPECT_EQ(with(1, 1),
            "r.pqd: record 1 at byte 0: the compression style is 1 instead of 0 (none) or 2 (each record); save the "
            "file again with one of these");
  EXPECT_EQ(with(2, 64),
            "r.pqd: record 1 at byte 0: the compression algorithm is 64 instead of 0 (none) or 1 (zlib); save the file "
            "again with one of these");
}

TEST(DamagedPqdif, StopsUnpackingBombs) {
  // Zeros compress to about a thousandth.
  synth::PqdifFile file(true, synth::PqdifChecksum::none);
  file.add(pqdif::record_kind::container, std::string());
  file.add(pqdif::record_kind::observation, std::string(pqdif::small_unpacked + 1, '\0'));
  const std::string stream = file.bytes().substr(file.offsets()[1] + header_size);
  const auto unpacked = pqdif::unpack(stream);
  EXPECT_EQ(unpacked.bytes, "");
  EXPECT_EQ(unpacked.fault, "its " + std::to_string(stream.size()) +
                                " stored bytes unpack to more than 134217728, far more than measured data do");
  EXPECT_NE(pqdif::unpack(stream, 100).fault, "");
}

TEST(DamagedPqdif, SaysWhatIsWrongWithWhatIsNoPqdif) {
  EXPECT_EQ(refusal(""), "r.pqd: byte 0: the file is empty; check that it is a PQDIF file and complete");
  const std::string header = two_observations(false).substr(0, 40);
  EXPECT_EQ(refusal(header),
            "r.pqd: it holds no waveform that can be read: record 1 at byte 0: only 40 bytes are left of its header of "
            "64; the file is incomplete; copy the file from the instrument again or export it anew");
}

}  // namespace
}  // namespace readers
