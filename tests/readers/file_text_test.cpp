#include <fmt/format.h>
#include <gtest/gtest.h>

#include <string>

#include "readers/comtrade/comtrade.h"
#include "readers/file_access.h"
#include "readers/table/csv.h"
#include "tests/readers/scratch_folder.h"

namespace readers {
namespace {

constexpr int rows = 600000;  // several times as much text as is released at a time

std::string table() {
  std::string text = "t_s,Ua_V\n";
  for (int i = 0; i < rows; i++) fmt::format_to(std::back_inserter(text), "{}.{:03},{}.25\n", i / 1000, i % 1000, i);
  return text;
}

TEST(FileText, HoldsTheBytesOfTheFile) {
  const ScratchFolder folder;
  for (const std::string& content : {std::string(), std::string("a"), std::string(4096, 'b'), table()}) {
    const FileText text(folder.write("some.txt", content));
    EXPECT_TRUE(text.view() == content);
  }
}

TEST(FileText, KeepsWhatFollowsAReleasedPosition) {
  const ScratchFolder folder;
  const std::string content = table();
  FileText text(folder.write("table.csv", content));
  for (const std::size_t position : {std::size_t{1}, std::size_t{5000}, content.size() / 2, content.size() - 3}) {
    text.release_before(text.view().data() + position);
    EXPECT_TRUE(text.view().substr(position) == std::string_view(content).substr(position));
  }
}

TEST(FileText, GivesATableTheSameRecordWhileItIsReleased) {
  const ScratchFolder folder;
  const std::string content = table();
  FileText text(folder.write("table.csv", content));
  const Record released = read_csv("table.csv", text.view(), {}, &text);
  const Record kept = read_csv("table.csv", content);
  EXPECT_EQ(released.length(), static_cast<std::size_t>(rows));
  EXPECT_EQ(released.rates[0].rate, kept.rates[0].rate);
  EXPECT_TRUE(released.channels[0].samples == kept.channels[0].samples);
}

TEST(FileText, GivesASingleFileTheSameRecordWhileItIsReleased) {
  const ScratchFolder folder;
  std::string content =
      "--- file type: CFG ---\nS,D,1999\n1,1A,0D\n1,Ua,A,,V,1,0,0,-9e9,9e9,1,1,P\n50\n1\n1000," + std::to_string(rows) +
      "\n01/01/2020,00:00:00.000000\n01/01/2020,00:00:00.000000\nASCII\n1\n--- file type: DAT ASCII ---\n";
  for (int i = 0; i < rows; i++) fmt::format_to(std::back_inserter(content), "{},{},{}\n", i + 1, i * 1000LL, i % 977);
  FileText text(folder.write("r.cff", content));
  const Record released = read_single_comtrade("r.cff", text.view(), {}, &text);
  EXPECT_EQ(released.length(), static_cast<std::size_t>(rows));
  EXPECT_TRUE(released.channels[0].samples == read_single_comtrade("r.cff", content).channels[0].samples);
}

TEST(Csv, NamesTheLineOfARowAfterBlankLinesAndQuotedOnes) {
  const std::string refusal = refusal_of([] {
    read_csv("t.csv", "t,Ua\n0,1\n0.001,2\n\n\n0.002,3\n\"0.003\",4\n0.004,5\n0.005,6\n\n0.015,7\n0.016,8\n");
  });
  EXPECT_NE(refusal.find("line 11"), std::string::npos) << refusal;
}

}  // namespace
}  // namespace readers
