// Records in zip and gzip files.
#include "readers/archive.h"

#include <gtest/gtest.h>
#include <zip.h>
#include <zlib.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "readers/open_record.h"
#include "scratch_folder.h"
#include "synth/pqdif_file.h"
#include "tests/readers/pqdif_pieces.h"

namespace readers {
namespace {

using Strings = std::vector<std::string>;

constexpr const char* config =
    "S,D,1999\n1,1A,0D\n1,Ua,A,,V,0.1,0,0,-32767,32767,1,1,P\n50\n1\n1000,3\n01/01/2020,00:00:00.000000\n"
    "01/01/2020,00:00:00.000000\nASCII\n1\n";
constexpr const char* data = "1,0,10\n2,1000,20\n3,2000,30\n";
constexpr const char* table = "t,Ua\n0,1\n0.001,2\n0.002,3\n";

class Archives : public testing::Test {
 protected:
  struct Member {
    std::string name;
    std::string content;
    std::string password = {};
  };

  /// Writes a zip file and returns its path.
  std::string zip(const std::string& name, const std::vector<Member>& members) const {
    const std::string path = folder_.path(name);
    zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    for (const Member& member : members) {
      zip_source_t* source = zip_source_buffer(archive, member.content.data(), member.content.size(), 0);
      const zip_int64_t index = zip_file_add(archive, member.name.c_str(), source, 0);
      EXPECT_GE(index, 0);
      if (member.password.empty()) continue;
      zip_file_set_encryption(archive, static_cast<zip_uint64_t>(index), ZIP_EM_AES_256, member.password.c_str());
    }
    EXPECT_EQ(zip_close(archive), 0);
    return path;
  }

  std::string gzip(const std::string& name, const std::string& content) const {
    const gzFile file = gzopen(folder_.path(name).c_str(), "wb");
    EXPECT_EQ(gzwrite(file, content.data(), static_cast<unsigned>(content.size())), static_cast<int>(content.size()));
    gzclose(file);
    return folder_.path(name);
  }

  /// Returns the refusal without the folder.
  std::string refusal(const std::string& path) const {
    std::string text = refusal_of([&] { open_record(path); });
    for (std::size_t at = text.find(folder_.path("")); at != text.npos; at = text.find(folder_.path(""))) {
      text.erase(at, folder_.path("").size());
    }
    return text;
  }

  ScratchFolder folder_;
};

TEST_F(Archives, OfOneRecordAreReadAsIt) {
  for (const char* name : {"r.zip", "r.cfz", "r.zic", "without_extension"}) {
    const Record record =
        open_record(zip(name, {{"a/", ""}, {"a/R.CFG", config}, {"a/r.dat", data}, {"a/r.hdr", "x"}}));
    ASSERT_EQ(record.channels.size(), 1U) << name;
    EXPECT_EQ(record.channels[0].samples, (std::vector<double>{1, 2, 3})) << name;
    EXPECT_EQ(record.format, "COMTRADE 1999 ASCII");
    EXPECT_EQ(record.sources, Strings{folder_.path(name)});
  }
  EXPECT_EQ(open_record(zip("t.zip", {{"t.csv", table}})).format, "CSV");
}

TEST_F(Archives, CompressedByGzipAreReadAsTheirContent) {
  const Record record = open_record(gzip("t.csv.gz", table));
  EXPECT_EQ(record.format, "CSV");
  EXPECT_EQ(record.channels[0].samples, (std::vector<double>{1, 2, 3}));
  const std::string single = std::string("--- file type: CFG ---\n") + config + "--- file type: DAT ASCII ---\n" + data;
  EXPECT_EQ(open_record(gzip("r.gz", single)).format, "COMTRADE 1999 ASCII");
  EXPECT_EQ(refusal(gzip("r.cfg.gz", config)),
            "r.cfg.gz: holds only one of the two files of a COMTRADE record; extract both files, or put them into one "
            ".zip file");
}

TEST_F(Archives, OfSeveralRecordsNeedAChoice) {
  const std::string path =
      zip("r.zip", {{"a.cfg", config}, {"a.dat", data}, {"b.cfg", config}, {"b.dat", data}, {"readme.txt", "x"}});
  EXPECT_EQ(refusal(path), "r.zip: holds 2 records: a.cfg, b.cfg; choose one, as in r.zip:a.cfg");
  for (const char* inner : {":b.cfg", ":b.dat", ":B.CFG"}) {
    const Record record = open_record(path + inner);
    EXPECT_EQ(record.channels.size(), 1U) << inner;
    EXPECT_EQ(record.sources, Strings{path});
  }
  EXPECT_EQ(refusal(path + ":c.cfg"), "r.zip: holds no file 'c.cfg'; name one of its records: a.cfg, b.cfg");
}

TEST_F(Archives, MayHoldPqdifFiles) {
  const auto file = [](double volts) {
    return pieces::file_of({pieces::voltage("Va", 1, {volts, -volts, volts, -volts})}).bytes();
  };
  const std::string one = zip("one.zip", {{"readme.txt", "A note."}, {"a.pqd", file(7)}});
  EXPECT_EQ(open_record(one).channels.at(0).samples.at(0), 7);
  EXPECT_EQ(open_record(zip("other.zip", {{"without extension", file(7)}})).channels.at(0).samples.at(0), 7);
  const std::string two = zip("two.zip", {{"x/a.PQD", file(7)}, {"x/b.pqdif", file(8)}, {"log.csv", table}});
  EXPECT_EQ(refusal(two), "two.zip: holds 2 records: x/a.PQD, x/b.pqdif; choose one, as in two.zip:x/a.PQD");
  EXPECT_EQ(open_record(two + ":X/B.pqdif").channels.at(0).samples.at(0), 8);
}

TEST_F(Archives, WithoutARecordAreRefused) {
  EXPECT_EQ(refusal(zip("r.zip", {{"x.dat", data}})),
            "r.zip: holds no record, only x.dat; a record in an archive is a .cfg with its .dat, a .cff, a PQDIF file "
            "(.pqd, .pqdif), or a table (.csv, .tsv, .txt)");
  EXPECT_EQ(refusal(zip("r.zip", {{"r.cfg", config}})),
            "r.zip:r.cfg: the archive holds no .dat file beside it, and a record needs both; put both files of the "
            "record into the archive");
}

TEST_F(Archives, ThatAreEncryptedAreRefused) {
  EXPECT_EQ(refusal(zip("r.zip", {{"t.csv", table, "secret"}})),
            "r.zip:t.csv: is encrypted; extract it with its password, and name the extracted file");
}

TEST_F(Archives, ThatAreCutAreRefusedAtEveryByte) {
  const std::string whole_zip = folder_.path("whole.zip");
  zip("whole.zip", {{"t.csv", table}});
  const std::string whole_gzip = gzip("t.csv.gz", table);
  for (const auto& [path, name] : {std::pair(whole_zip, "cut.zip"), std::pair(whole_gzip, "cut.gz")}) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    std::string bytes(10000, '\0');
    bytes.resize(std::fread(bytes.data(), 1, bytes.size(), file));
    std::fclose(file);
    for (std::size_t length = 4; length < bytes.size(); length++) {
      const std::string text = refusal(folder_.write(name, bytes.substr(0, length)));
      EXPECT_NE(text, "(nothing was refused)") << name << " " << length;
      EXPECT_NE(text.find("; copy the "), std::string::npos) << text;
    }
  }
}

TEST_F(Archives, ThatGrowUnreasonablyAreRefused) {
  const std::string zeros(std::size_t{70} << 20, '0');  // deflate shrinks this to a thousandth
  for (const std::string& path : {zip("r.zip", {{"t.csv", zeros}}), gzip("t.csv.gz", zeros)}) {
    const std::string text = refusal(path);
    EXPECT_NE(text.find("its content grows beyond 64 MB from "), std::string::npos) << text;
  }
}

TEST_F(Archives, WithDamagedContentAreRefused) {
  const std::string path = zip("r.zip", {{"t.csv", std::string(3000, '7') + "\n" + table}});
  std::ifstream in(path, std::ios::binary);
  const std::string whole{std::istreambuf_iterator<char>(in), {}};
  // Behind the local header of 30 bytes and the name begin the compressed bytes, whose checksum is no longer right.
  std::string damaged = whole;
  damaged[30 + 5 + 6] = static_cast<char>(damaged[30 + 5 + 6] ^ 0x10);
  const std::string text = refusal(folder_.write("damaged.zip", damaged));
  EXPECT_NE(text.find("damaged.zip:t.csv: cannot be read from the archive: "), std::string::npos) << text;
  EXPECT_EQ(text.find(": ;"), std::string::npos) << "the cause is missing: " << text;
  EXPECT_NE(text.find("; copy the archive again in binary mode, or extract it with another program"), std::string::npos)
      << text;
  // The method of compression is in the local header and in the directory; none has the number 77.
  std::string unknown = whole;
  unknown[8] = 77;
  unknown[whole.find("PK\x01\x02") + 10] = 77;
  const std::string other = refusal(folder_.write("unknown.zip", unknown));
  EXPECT_NE(other.find("unknown.zip:t.csv: cannot be read from the archive: "), std::string::npos) << other;
}

TEST_F(Archives, WithinArchivesAreRefused) {
  const std::string inner_path = zip("inner.zip", {{"t.csv", table}});
  std::ifstream in(inner_path, std::ios::binary);
  const std::string inner{std::istreambuf_iterator<char>(in), {}};
  EXPECT_EQ(refusal(gzip("r.zip.gz", inner)),
            "r.zip.gz: holds another archive; extract it once, and name the archive in it");
  EXPECT_EQ(
      refusal(zip("outer.zip", {{"inner.zip", inner}})),
      "outer.zip: holds no record, only inner.zip; a record in an archive is a .cfg with its .dat, a .cff, a PQDIF "
      "file (.pqd, .pqdif), or a table (.csv, .tsv, .txt)");
}

TEST_F(Archives, AreTheOnlyFilesWithFilesInThem) {
  const std::string path = folder_.write("t.csv", table);
  EXPECT_EQ(refusal(path + ":a.csv"), "t.csv:a.csv: does not exist, and t.csv is not a zip file; check the path");
}

TEST_F(Archives, MayBeGzipFilesOfSeveralMembers) {
  const std::string one = gzip("one.gz", "t,Ua\n0,1\n0.001,2\n");
  const std::string two = gzip("two.gz", "0.002,3\n");
  std::ofstream both(folder_.path("t.csv.gz"), std::ios::binary);
  both << std::ifstream(one, std::ios::binary).rdbuf() << std::ifstream(two, std::ios::binary).rdbuf();
  both.close();
  EXPECT_EQ(open_record(folder_.path("t.csv.gz")).channels.at(0).samples, (std::vector<double>{1, 2, 3}));
}

TEST_F(Archives, WithManyRecordsAreListedInShort) {
  std::vector<Member> members;
  for (char c = 'a'; c <= 'z'; c++) members.push_back({std::string(1, c) + ".csv", table});
  const std::string text = refusal(zip("r.zip", members));
  EXPECT_EQ(text.find("r.zip: holds 26 records: a.csv, b.csv, "), 0U) << text;
  EXPECT_NE(text.find(" more; choose one, as in r.zip:a.csv"), std::string::npos) << text;
}

// --- names by IEEE C37.232 -------------------------------------------------------------------------------------------

TEST_F(Archives, MayGiveStationDeviceAndTimeByTheirNames) {
  const Record record = open_record(folder_.write("140108,123006250,+5h30,North,Feeder 3,Grid.csv", table));
  EXPECT_EQ(record.station, "North");
  EXPECT_EQ(record.device, "Feeder 3");
  EXPECT_EQ(record.start_time, "2014-01-08 12:30:06.250");
  EXPECT_EQ(record.time_zone, "+5h30");
  EXPECT_EQ(record.notes.back(), "The name of the file gives station, device, start, time zone of the record.");
  const Record zipped = open_record(zip("r.zip", {{"x/140108,123006,0t,North,Feeder,Grid.csv", table}}));
  EXPECT_EQ(zipped.start_time, "2014-01-08 12:30:06");
}

TEST_F(Archives, MayGiveTheYearInFourDigitsAndNothingElse) {
  const Record last_century = open_record(folder_.write("990108,123006,-5t,,,x.csv", table));
  EXPECT_EQ(last_century.start_time, "1999-01-08 12:30:06");
  EXPECT_EQ(last_century.time_zone, "-5");
  EXPECT_EQ(last_century.notes.back(), "The name of the file gives start, time zone of the record.");
  const Record plain = open_record(folder_.write("20690108,235960123456,0z,N,,x.csv", table));
  EXPECT_EQ(plain.start_time, "2069-01-08 23:59:60.123456");
  EXPECT_EQ(plain.notes.back(), "The name of the file gives station, start, time zone of the record.");
}

TEST_F(Archives, DoNotReplaceWhatTheRecordStatesByTheirNames) {
  folder_.write("140108,123006250,0,North,Feeder,Grid.dat", data);
  const Record record = open_record(folder_.write("140108,123006250,0,North,Feeder,Grid.cfg", config));
  EXPECT_EQ(record.station, "S");
  EXPECT_EQ(record.device, "D");
  EXPECT_EQ(record.start_time, "01/01/2020 00:00:00.000000");
  EXPECT_EQ(record.notes, Strings{});
}

TEST_F(Archives, DoNotGiveAnythingByOtherNames) {
  for (const char* name :
       {"a,b,c,d,e.csv", "140108,123006.csv", "149908,123006,0,a,b.csv", "140108,993006,0,a,b.csv",
        "140008,123006,0,a,b.csv", "140100,123006,0,a,b.csv", "140132,123006,0,a,b.csv", "1401081,123006,0,a,b.csv",
        "14010x,123006,0,a,b.csv", "140108,12300,0,a,b.csv", "140108,1230060000000,0,a,b.csv",
        "140108,126006,0,a,b.csv", "140108,123061,0,a,b.csv", "140108,12300x,0,a,b.csv", "140108,123006,,a,b.csv",
        "140108,123006,zone,a,b.csv", "140108,123006,+1234567h,a,b.csv", "140108,123006,t,a,b.csv"}) {
    const Record record = open_record(folder_.write(name, table));
    EXPECT_EQ(record.station + record.device + record.start_time, "") << name;
  }
}

}  // namespace
}  // namespace readers
