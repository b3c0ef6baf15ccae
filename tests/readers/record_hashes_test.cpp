// Hashes of records, packed and unpacked.
#include "readers/record_hashes.h"

#include <gtest/gtest.h>
#include <zip.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "readers/content_hash.h"
#include "readers/open_record.h"
#include "scratch_folder.h"

namespace readers {
namespace {

TEST(Sha256, HasTheDigestsOfTheStandard) {
  // The examples of FIPS 180-2, appendix B, and the digest of nothing.
  EXPECT_EQ(sha256_hex("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
  EXPECT_EQ(sha256_hex("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
            "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
  EXPECT_EQ(sha256_hex(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  Sha256 in_pieces;
  for (int i = 0; i < 1000; i++) in_pieces.add(std::string(1000, 'a'));
  EXPECT_EQ(in_pieces.hex(), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

constexpr const char* config =
    "S,D,1999\n1,1A,0D\n1,Ua,A,,V,0.1,0,0,-32767,32767,1,1,P\n50\n1\n1000,3\n01/01/2020,00:00:00.000000\n"
    "01/01/2020,00:00:00.000000\nASCII\n1\n";
constexpr const char* data = "1,0,10\n2,1000,20\n3,2000,30\n";
constexpr const char* table = "t,Ua\n0,1\n0.001,2\n0.002,3\n";

class RecordHashes : public testing::Test {
 protected:
  static std::vector<ContentHash> hashes(const std::string& path) { return content_hashes(path, open_record(path)); }

  std::string zip(const std::string& name, const std::vector<std::pair<std::string, std::string>>& members) const {
    const std::string path = folder_.path(name);
    zip_t* archive = zip_open(path.c_str(), ZIP_CREATE | ZIP_TRUNCATE, nullptr);
    for (const auto& [member, content] : members) {
      zip_source_t* source = zip_source_buffer(archive, content.data(), content.size(), 0);
      EXPECT_GE(zip_file_add(archive, member.c_str(), source, 0), 0);
    }
    EXPECT_EQ(zip_close(archive), 0);
    return path;
  }

  static void expect_pair(const std::vector<ContentHash>& found) {
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].name, "r.cfg");
    EXPECT_EQ(found[0].sha256, sha256_hex(config));
    EXPECT_EQ(found[1].name, "r.dat");
    EXPECT_EQ(found[1].sha256, sha256_hex(data));
    EXPECT_EQ(found[1].bytes, std::string(data).size());
  }

  ScratchFolder folder_;
};

TEST_F(RecordHashes, AreThoseOfBothFiles) {
  folder_.write("r.cfg", config);
  folder_.write("r.dat", data);
  expect_pair(hashes(folder_.path("r.cfg")));
  expect_pair(hashes(folder_.path("r.dat")));
}

TEST_F(RecordHashes, AreThoseOfTheContentOfArchives) {
  const std::string path = zip("a.zip", {{"x/r.dat", data}, {"x/r.cfg", config}, {"other.txt", "nothing"}});
  expect_pair(hashes(path));
  expect_pair(hashes(path + ":x/r.dat"));
}

TEST_F(RecordHashes, AreThoseOfACompressedTable) {
  folder_.write("t.csv", table);
  const gzFile file = gzopen(folder_.path("t.csv.gz").c_str(), "wb");
  gzputs(file, table);
  gzclose(file);
  for (const char* name : {"t.csv", "t.csv.gz"}) {
    const auto found = hashes(folder_.path(name));
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].name, "t.csv") << name;
    EXPECT_EQ(found[0].sha256, sha256_hex(table)) << name;
  }
}

}  // namespace
}  // namespace readers
