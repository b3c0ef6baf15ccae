// dipx analyse --svg: what the figure of a dip shows, and where.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>

#include "tests/command/dipx_command.h"
#include "tests/command/synth_record.h"
#include "tests/core/working_folder.h"

namespace {

using nlohmann::json;
using tests::bytes_of;
using tests::dipx;
using tests::write_csv;

struct Point {
  double x;
  double y;
};

std::size_t count(const std::string& text, const std::string& part) {
  std::size_t found = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) found++;
  return found;
}

/// The points of the n-th path of a class.
std::vector<Point> path(const std::string& svg, const std::string& kind, std::size_t n) {
  std::size_t at = 0;
  for (std::size_t i = 0; i <= n; i++) at = svg.find("<path class=\"" + kind + "\"", at + 1);
  const std::size_t begin = svg.find(" d=\"", at) + 4;
  std::string numbers = svg.substr(begin, svg.find('"', begin) - begin);
  std::replace_if(
      numbers.begin(), numbers.end(), [](char c) { return c == 'M' || c == 'L'; }, ' ');
  std::istringstream in(numbers);
  std::vector<Point> points;
  for (Point point{}; in >> point.x >> point.y;) points.push_back(point);
  return points;
}

/// Millimetres across for seconds: the frame is 11 to 82.5 mm, the dip with a fifth of it to either side within it.
double across(double seconds, double from, double to) {
  return 11 + (seconds - from) / (to - from) * 71.5;
}

class Figure : public testing::Test {
 protected:
  /// The figure of a record's dip, and the record's document in `document`.
  std::string figure(const synth::DipDescription& dip, const std::vector<std::string>& more = {}) {
    write_csv(dip, "record.csv");
    std::vector<std::string> arguments = {"analyse", "record.csv", "--json", "--svg", "figure.svg"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto result = dipx(arguments);
    EXPECT_EQ(result.status, 0) << result.err;
    document = json::parse(result.out);
    return bytes_of("figure.svg");
  }

  tests::WorkingFolder folder;
  json document;
};

synth::DipDescription one_dip() {
  synth::DipDescription dip;
  dip.phases = "B";
  dip.start = 0.5;
  dip.durations = {0.5};
  dip.depths = {60};
  return dip;
}

TEST_F(Figure, IsOneColumnWide) {
  EXPECT_TRUE(
      figure(one_dip()).starts_with("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"84mm\" height=\"81.4mm\" "
                                    "viewBox=\"0 0 84 81.4\" "));
}

TEST_F(Figure, DrawsEachPhaseTwiceAndTheThresholdOnce) {
  const auto svg = figure(one_dip());
  EXPECT_EQ(count(svg, "<path class=\"wave\""), 3U);
  EXPECT_EQ(count(svg, "<path class=\"rms\""), 3U);
  EXPECT_EQ(count(svg, "<path class=\"threshold\""), 1U);
  EXPECT_EQ(count(svg, "<path class=\"boundary\""), 2U);
  EXPECT_EQ(count(svg, "<rect class=\"segment\""), 1U);
}

/// Holds the drawing of a record's one dip of B to 40 % against the times of its document.
void expect_one_time_axis(const std::string& svg, const json& document) {
  const auto& dip = document["dips"][0];
  const double start = dip["start"]["time_s"];
  const double end = dip["end"]["time_s"];
  const double rate = document["record"]["sampling_rate_hz"];
  const double margin = std::floor((end - start) * rate / 5 + 1e-6) / rate;
  const double from = start - margin;
  const double to = end + margin;
  const double segment = across(dip["segments"][0]["start"]["time_s"], from, to);
  EXPECT_NEAR(path(svg, "boundary", 0)[0].x, across(start, from, to), 0.011);
  EXPECT_NEAR(path(svg, "boundary", 1)[0].x, across(end, from, to), 0.011);
  EXPECT_NE(svg.find("<rect class=\"segment\" x=\"" + std::to_string(segment).substr(0, 4)), std::string::npos);
  // B's RMS passes the threshold at the boundaries: 90 % of a scale of 0 to 105 % from 62 to 35 mm.
  const auto rms = path(svg, "rms", 1);
  const double threshold = 62 - 90.0 / 105 * 27;
  const auto below = [&](const Point& point) { return point.y > threshold; };
  const auto first = std::find_if(rms.begin(), rms.end(), below);
  const auto last = std::find_if(rms.rbegin(), rms.rend(), below);
  EXPECT_NEAR(first->x, across(start, from, to), 0.12) << "a printer's dot and two roundings";
  EXPECT_NEAR(last->x, across(end, from, to), 0.12);
  const auto lowest = std::max_element(rms.begin(), rms.end(), [](auto a, auto b) { return a.y < b.y; });
  EXPECT_NEAR(lowest->y, 62 - 40.0 / 105 * 27, 0.02);
}

TEST_F(Figure, PutsBoundariesSegmentsAndCurvesOnOneTimeAxis) {
  const auto svg = figure(one_dip());
  expect_one_time_axis(svg, document);
}

TEST_F(Figure, PutsResampledCurvesAtTheirTimes) {
  auto dip = one_dip();
  dip.rate = 5120;
  const auto svg = figure(dip);
  EXPECT_TRUE(document["record"]["part"]["resampled"]);
  EXPECT_NEAR(document["dips"][0]["start"]["time_s"], 0.5, 0.01);
  expect_one_time_axis(svg, document);
}

TEST_F(Figure, PutsAPartAtItsTimes) {
  ASSERT_EQ(
      dipx({"synth", "--phases", "B", "--start", "0.5", "--duration", "0.5", "--depth", "60", "-o", "part.cfg"}).status,
      0);
  std::istringstream whole(bytes_of("part.dat"));
  std::ofstream part("part.dat");
  // A tenth of a second is missing; the rows are numbered on.
  int number = 1;
  int row = 0;
  for (std::string line; std::getline(whole, line); row++) {
    if (row < 640 || row >= 1280) part << number++ << line.substr(line.find(',')) << '\n';
  }
  part.close();
  const auto result = dipx({"analyse", "part.cfg", "--json", "--svg", "figure.svg"});
  ASSERT_EQ(result.status, 0) << result.err;
  document = json::parse(result.out);
  EXPECT_EQ(document["record"]["part"]["number"], 2);
  EXPECT_NEAR(document["dips"][0]["start"]["time_s"], 0.5, 0.01);
  expect_one_time_axis(bytes_of("figure.svg"), document);
}

TEST_F(Figure, ShowsPerCentOfTheDeclaredVoltageToo) {
  const auto svg = figure(one_dip(), {"--nominal", "200"});
  EXPECT_NE(svg.find(">Dip</tspan>: residual voltage 92.00 V (40.0 %, 46.0 % of declared), "), std::string::npos);
  EXPECT_NE(svg.find(" (40.0 %, 46.0 % of declared)</text>"), std::string::npos) << "the segment's";
}

TEST_F(Figure, SaysThatVoltagesAreBetweenPhases) {
  write_csv(one_dip(), "phases.csv");
  auto bytes = bytes_of("phases.csv");
  bytes.replace(bytes.find("Ua_V,Ub_V,Uc_V"), 14, "Uab_V,Ubc_V,Uca_V");
  std::ofstream("lines.csv") << bytes;
  EXPECT_EQ(dipx({"analyse", "lines.csv", "--line-to-line", "--svg", "figure.svg"}).status, 0);
  EXPECT_NE(bytes_of("figure.svg").find(">Voltages between phases: A, B, C stand for AB, BC, CA<"), std::string::npos)
      << bytes_of("figure.svg");
  EXPECT_NE(dipx({"analyse", "lines.csv", "--line-to-line", "-q"}).out.find(" % between phases, "), std::string::npos);
  EXPECT_NE(dipx({"analyse", "lines.csv", "--line-to-line", "--csv"}).out.find("\nlines.csv,,line-to-line,1,dip,"),
            std::string::npos);
}

TEST_F(Figure, ListsTheDipAndItsSegments) {
  synth::DipDescription dip = one_dip();
  dip.depths = {60, 30};
  const auto svg = figure(dip);
  EXPECT_NE(svg.find(">Dip</tspan>: residual voltage 92.00 V (40.0 %), 1.00"), std::string::npos)
      << svg.substr(svg.size() - 600);
  EXPECT_NE(svg.find(">1</tspan>\u2003single-phase dip, B: 9"), std::string::npos);
  EXPECT_NE(svg.find(">2</tspan>\u2003single-phase dip, B: 16"), std::string::npos);
}

TEST_F(Figure, WritesLongLinesSmallerSoThatAWideFontFits) {
  const auto svg = figure(one_dip(), {"--nominal", "200"});
  EXPECT_NE(svg.find("font-size=\"2.50\">", svg.find("of declared")), std::string::npos) << "what stands below";
  // "Dip: residual voltage 92.00 V (40.0 %, 46.0 % of declared), 510.5 ms" has 68.
  EXPECT_NE(svg.find("font-size=\"2.03\"><tspan font-weight=\"bold\">Dip<"), std::string::npos);
  // "1 single-phase dip, B: 92.00 V (40.0 %, 46.0 % of declared)" has 59 letters: 80 mm by 59 times 0.58.
  EXPECT_NE(svg.find("font-size=\"2.34\"><tspan font-weight=\"bold\">1<"), std::string::npos);
}

TEST_F(Figure, DrawsAnEnvelopeWhereCyclesLieTooClose) {
  synth::DipDescription dip = one_dip();
  dip.durations = {12};
  dip.rate = 3200;
  const auto svg = figure(dip);
  EXPECT_LT(svg.size(), 150000U);
  // From 0 V in the middle of the panel, 20.25 mm, the peaks reach out by 1/1.05 of 11.75 mm, and B's by 40 % of that.
  const auto wave = path(svg, "wave", 1);
  const auto middle = wave[wave.size() / 4];
  EXPECT_NEAR(middle.y, 20.25 - 0.4 * 11.75 / 1.05, 0.1);
}

TEST_F(Figure, ShowsTheDipThatIsNamed) {
  write_csv(one_dip(), "record.csv");
  const auto none = dipx({"analyse", "record.csv", "--svg", "figure.svg", "--dip", "2"});
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_EQ(none.err, "dipx: there is no dip 2 to draw; the record holds 1\n");
  EXPECT_FALSE(std::filesystem::exists("figure.svg"));
  EXPECT_EQ(dipx({"analyse", "record.csv", "--dip", "1"}).status, 1) << "--dip is for --svg";
}

TEST_F(Figure, ShowsTheWholeRecordWhereThereIsNoDip) {
  synth::DipDescription flat = one_dip();
  flat.depths = {0};
  const auto svg = figure(flat);
  EXPECT_EQ(count(svg, "<path class=\"boundary\""), 0U);
  EXPECT_EQ(path(svg, "rms", 0).front().x, 11);
  EXPECT_NEAR(path(svg, "rms", 0).back().x, 82.5, 0.1) << "a printer's dot";
}

TEST_F(Figure, HoldsAFilesTextAsTextOnly) {
  write_csv(one_dip(), "plain.csv");
  auto bytes = bytes_of("plain.csv");
  bytes.replace(bytes.find("Ua"), 2, "<script>U&</>");
  std::ofstream("record.csv") << bytes;
  EXPECT_EQ(dipx({"analyse", "record.csv", "--channels", "1,2,3", "--svg", "figure.svg"}).status, 0);
  const auto svg = bytes_of("figure.svg");
  EXPECT_EQ(svg.find("<script"), std::string::npos);
  EXPECT_NE(svg.find("&lt;script&gt;U&amp;&lt;/&gt;"), std::string::npos);
}

TEST_F(Figure, IsWrittenWholeOrNotAtAll) {
  write_csv(one_dip(), "record.csv");
  std::ofstream("figure.svg") << "old";
  EXPECT_EQ(dipx({"analyse", "record.csv", "--svg", "figure.svg", "--report", "no-such-folder/report.txt"}).status, 4);
  EXPECT_EQ(bytes_of("figure.svg"), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator("."), {}), 2) << "no draft stays behind";
}

}  // namespace
