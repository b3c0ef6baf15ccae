// Tests dipx analyse --pdf and --png: the forms of the figure that cairo draws.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "tests/command/dipx_command.h"
#include "tests/command/synth_record.h"
#include "tests/core/working_folder.h"

namespace {

using tests::bytes_of;
using tests::dipx;

class FigureFiles : public testing::Test {
 protected:
  void SetUp() override {
    synth::DipDescription dip;
    dip.phases = "B";
    tests::write_csv(dip, "record.csv");
  }

  /// The width and the height of the SVG figure in millimetres.
  static std::pair<double, double> size_of(const std::string& svg) {
    std::smatch found;
    const bool has = std::regex_search(svg, found, std::regex("width=\"([0-9.]+)mm\" height=\"([0-9.]+)mm\""));
    EXPECT_TRUE(has);
    return {std::stod(found[1]), std::stod(found[2])};
  }

  tests::WorkingFolder folder;
};

/// The number of four bytes at a place of a PNG file.
unsigned long number_at(const std::string& bytes, std::size_t at) {
  unsigned long number = 0;
  for (std::size_t i = at; i < at + 4; i++) number = 256 * number + static_cast<unsigned char>(bytes.at(i));
  return number;
}

TEST_F(FigureFiles, AreAsLargeAsTheSvgFigure) {
  ASSERT_EQ(dipx({"analyse", "record.csv", "-q", "--svg", "f.svg", "--pdf", "f.pdf", "--png", "f.png"}).status, 0);
  const auto [width, height] = size_of(bytes_of("f.svg"));
  EXPECT_EQ(width, 84);
  const std::string pdf = bytes_of("f.pdf");
  EXPECT_TRUE(pdf.starts_with("%PDF-"));
  std::smatch box;
  ASSERT_TRUE(std::regex_search(pdf, box, std::regex("/MediaBox \\[ 0 0 ([0-9.]+) ([0-9.]+) \\]")));
  EXPECT_NEAR(std::stod(box[1]), width * 72 / 25.4, 0.01);
  EXPECT_NEAR(std::stod(box[2]), height * 72 / 25.4, 0.15) << "the SVG document has tenths of a millimetre";
  const std::string png = bytes_of("f.png");
  EXPECT_TRUE(png.starts_with("\x89PNG\r\n"));
  EXPECT_EQ(number_at(png, 16), 1985U) << "84 mm of 600 pixels per inch, rounded up";
  EXPECT_NEAR(static_cast<double>(number_at(png, 20)), height * 600 / 25.4, 2);
}

TEST_F(FigureFiles, HaveLettersAsVectorsAndNoPixelsInThePdf) {
  ASSERT_EQ(dipx({"analyse", "record.csv", "-q", "--pdf", "f.pdf"}).status, 0);
  const std::string pdf = bytes_of("f.pdf");
  EXPECT_TRUE(std::regex_search(pdf, std::regex("/FontFile[23]? "))) << "the fonts are embedded";
  EXPECT_EQ(pdf.find("/Subtype /Image"), std::string::npos);
  EXPECT_EQ(pdf.find("CreationDate"), std::string::npos) << "equal figures are equal files";
  EXPECT_EQ(pdf.find("/Type3"), std::string::npos) << "no letters as pictures";
}

TEST_F(FigureFiles, ShowTheEventThatIsChosen) {
  ASSERT_EQ(dipx({"analyse", DIPX_EXAMPLES "/rte_00.cfg", "-q", "--png", "one.png"}).status, 0);
  ASSERT_EQ(dipx({"analyse", DIPX_EXAMPLES "/rte_00.cfg", "-q", "--png", "two.png", "--event", "2"}).status, 0);
  EXPECT_NE(bytes_of("one.png"), bytes_of("two.png"));
  EXPECT_EQ(dipx({"analyse", DIPX_EXAMPLES "/rte_00.cfg", "--png", "three.png", "--event", "3"}).status, 1);
  EXPECT_FALSE(std::filesystem::exists("three.png"));
}

TEST_F(FigureFiles, AreNotWrittenWhereTheyMustNotBe) {
  const auto record = bytes_of("record.csv");
  for (const char* option : {"--pdf", "--png"}) {
    const auto itself = dipx({"analyse", "record.csv", option, "record.csv"});
    EXPECT_EQ(itself.status, 1);
    EXPECT_EQ(itself.err, std::string("dipx: ") + option + ": record.csv is the record itself; name another file\n");
    EXPECT_EQ(bytes_of("record.csv"), record);
    EXPECT_EQ(dipx({"analyse", "record.csv", option, "no-such-folder/figure"}).status, 4);
    const auto same = dipx({"analyse", "record.csv", "--svg", "figure", option, "./figure"});
    EXPECT_EQ(same.status, 1);
    EXPECT_NE(same.err.find("name the same file"), std::string::npos) << same.err;
    EXPECT_FALSE(std::filesystem::exists("figure"));
  }
}

}  // namespace
