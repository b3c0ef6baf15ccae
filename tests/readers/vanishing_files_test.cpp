// Tests files that are deleted or truncated while they are being read.
#include <fmt/format.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "readers/comtrade/comtrade.h"
#include "readers/open_record.h"
#include "tests/readers/scratch_folder.h"

namespace readers {
namespace {

constexpr int row_count = 40000;  // more than is read at once

class VanishingFiles : public testing::Test {
 protected:
  VanishingFiles() {
    std::string rows;
    for (int row = 0; row < row_count; row++) rows += fmt::format("{},{},7\n", row + 1, row * 1000);
    config = folder.write(
        "r.cfg",
        fmt::format(
            "Station,Recorder,1999\n1,1A,0D\n1,Ua,A,,V,1,0,0,-32767,32767,1,1,P\n50\n1\n1000,{}\n01/01/2020,00:00:00.000\n01/01/2020,00:00:00.000\nASCII\n1\n",
            row_count));
    data = folder.write("r.dat", rows);
  }

  /// Reads the record and calls `happens` once its configuration is known.
  template <typename Action>
  Record read_while(Action happens) const {
    OpenOptions options;
    options.wanted = [&](const Record& record) {
      happens();
      return std::vector<bool>(record.channels.size(), true);
    };
    return open_record(config, options);
  }

  ScratchFolder folder;
  std::string config;
  std::string data;
};

TEST_F(VanishingFiles, AreReadToTheirEndOnceTheyAreOpen) {
  const Record record = read_while([&] {
    std::filesystem::remove(config);
    std::filesystem::remove(data);
  });
  EXPECT_EQ(record.length(), static_cast<std::size_t>(row_count));
  EXPECT_EQ(record.notes, std::vector<std::string>{});
}

TEST_F(VanishingFiles, ThatShrinkGiveWhatIsLeftAndANote) {
  const Record record =
      read_while([&] { std::filesystem::resize_file(data, std::string("1,0,7\n2,1000,7\n").size()); });
  EXPECT_EQ(record.length(), 2U);
  EXPECT_EQ(record.notes, std::vector<std::string>{"The configuration declares 40000 samples, but the data hold 2."});
}

TEST_F(VanishingFiles, ThatShrinkToNothingAreRefused) {
  EXPECT_NE(refusal_of([&] { read_while([&] { std::filesystem::resize_file(data, 0); }); }).find("r.dat"),
            std::string::npos);
}

TEST_F(VanishingFiles, ThatAreGoneAreNamed) {
  std::filesystem::remove(data);
  const std::string refusal = refusal_of([&] { open_record(config); });
  EXPECT_NE(refusal.find("r.dat"), std::string::npos) << refusal;
  std::filesystem::remove(config);
  EXPECT_NE(refusal_of([&] { open_record(config); }).find("r.cfg"), std::string::npos);
  const std::string table = folder.write("t.csv", "t,Ua\n0,1\n0.001,2\n");
  std::filesystem::remove(table);
  EXPECT_NE(refusal_of([&] { open_record(table); }).find("t.csv"), std::string::npos);
}

}  // namespace
}  // namespace readers
