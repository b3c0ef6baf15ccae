#include "readers/open_record.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/readers/scratch_folder.h"

namespace readers {
namespace {

using namespace std::string_literals;

constexpr const char* config =
    "S,R,1999\n2,2A,0D\n1,Ua,A,,V,1,0,0,0,0,1,1,P\n2,Ub,B,,V,1,0,0,0,0,1,1,P\n50\n1\n1000,2\nd,t\nd,t\nASCII\n1\n";
constexpr const char* data = "1,0,5,6\n2,0,7,8\n";
constexpr const char* small_table = "t,Ua,Ub\n0,5,6\n0.001,7,8\n";

class OpenRecord : public testing::Test {
 protected:
  std::string refusal(const std::string& name, const std::string& content) {
    const std::string path = folder.write(name, content);
    const std::string text = refusal_of([&] { open_record(path); });
    // Returns the part of the message after the file's name.
    return text.starts_with(path + ": ") ? text.substr(path.size() + 2) : text;
  }

  ScratchFolder folder;
};

TEST_F(OpenRecord, TakesExtensionsInAnyLetterCase) {
  const std::string cfg = folder.write("R.Cfg", config);
  const std::string dat = folder.write("R.daT", data);
  EXPECT_EQ(open_record(cfg).format, "COMTRADE 1999 ASCII");
  EXPECT_EQ(open_record(dat).format, "COMTRADE 1999 ASCII");
  for (const char* name : {"r.csv", "r.CSV", "r.tsv", "r.Txt"}) {
    EXPECT_EQ(open_record(folder.write(name, small_table)).format, "CSV") << name;
  }
}

TEST_F(OpenRecord, HandsTheRateToTables) {
  const std::string path = folder.write("r.csv", "Ua,Ub\n1,2\n");
  EXPECT_EQ(open_record(path, {4000}).rates[0].rate, 4000);
  EXPECT_EQ(refusal_of([&] { open_record(path); }),
            path +
                ": no column holds the time, so the sampling rate is not known; give it with --rate (samples per "
                "second)");
}

TEST_F(OpenRecord, ReadsTablesUnderOtherNames) {
  EXPECT_EQ(open_record(folder.write("r.log", small_table)).channels.size(), 2U);
  EXPECT_EQ(open_record(folder.write("table", small_table)).channels.size(), 2U);
}

TEST_F(OpenRecord, RefusesOtherFilesWithTheListOfWhatIsRead) {
  const std::string expected =
      "is not a supported kind of record; supported are COMTRADE records (.cfg with .dat, or .cff), PQDIF files (.pqd, "
      ".pqdif) and CSV files (.csv, .tsv, .txt), also in zip and gzip files; standard input (-) may be .cff, PQDIF, "
      "CSV, zip or gzip";
  EXPECT_EQ(refusal("r.bin", "a,b\0c,d"s), expected);
  EXPECT_EQ(refusal("r.doc", "no separators here\n1,2\n"), expected);
  EXPECT_EQ(refusal("empty", ""), expected);
}

TEST_F(OpenRecord, RefusesKnownKindsByName) {
  EXPECT_EQ(refusal("r.hdr", "x"),
            "is the header file of a COMTRADE record, which holds only remarks; name the .cfg "
            "file of the record");
  EXPECT_EQ(refusal("r.inf", "x"),
            "is the information file of a COMTRADE record, which holds no samples; name the "
            ".cfg file of the record");
}

TEST_F(OpenRecord, SaysWhyAFileCannotBeRead) {
  for (const char* name : {"none.csv", "none.cfg", "none.dat", "none.pqd", "none"}) {
    const std::string path = folder.path(name);
    EXPECT_EQ(refusal_of([&] { open_record(path); }),
              path + ": cannot be read: No such file or directory; check the path and its read permission");
  }
}

TEST_F(OpenRecord, RefusesAFolder) {
  for (const char* name : {"plain", "folder.csv", "folder.cfg", "folder.dat"}) {
    const std::string path = folder.path(name);
    std::filesystem::create_directory(path);
    EXPECT_EQ(refusal_of([&] { open_record(path); }), path + ": is a folder, not a record; name a file in it");
  }
}

TEST_F(OpenRecord, ShowsFileNamesInert) {
  const std::string path = folder.write("bad\x1B[1m\xFF.csv", small_table);
  EXPECT_EQ(open_record(path).file, folder.path("bad[1m\xEF\xBF\xBD.csv"));
  EXPECT_EQ(
      refusal_of([&] { open_record(folder.path("\x07.csv")); }),
      folder.path(".csv") + ": cannot be read: No such file or directory; check the path and its read permission");
}

TEST_F(OpenRecord, NotesMissingValues) {
  const std::string table = folder.write("r.csv", "t,Ua,Ub\n0,5,6\n0.001,7,\n0.002,,8\n");
  EXPECT_EQ(open_record(table).notes,
            std::vector<std::string>{"2 values are missing; the first is sample 3 of channel 1 'Ua'."});
  folder.write("r.dat", "1,0,5,6\n2,0,7,99999\n");
  EXPECT_EQ(open_record(folder.write("r.cfg", config)).notes,
            std::vector<std::string>{"1 value is missing; the first is sample 2 of channel 2 'Ub'."});
}

}  // namespace
}  // namespace readers
