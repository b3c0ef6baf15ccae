// The page of a record too long for every sample to be in it.
#include "outputs/page/page_html.h"

#include <gtest/gtest.h>

#include <cmath>
#include <nlohmann/json.hpp>

namespace {

/// What a script element of the page holds.
nlohmann::json json_in(const std::string& page, const std::string& id) {
  const std::string opening = "<script id=\"" + id + "\" type=\"application/json\">";
  const auto begin = page.find(opening) + opening.size();
  return nlohmann::json::parse(page.substr(begin, page.find("</script>", begin) - begin));
}

TEST(LongPage, ThinsItsCurvesToStayBelowSixMegabytes) {
  constexpr std::size_t ten_minutes = 6400 * 600;
  readers::Record record;
  record.file = "long";
  analysis::Curves curves;
  for (const char* name : {"Ua", "Ub", "Uc"}) {
    readers::Channel channel;
    channel.name = name;
    record.channels.push_back(channel);
  }
  for (std::size_t phase = 0; phase < 3; phase++) {
    curves.volts[phase].assign(ten_minutes, 100);
    curves.rms[phase].assign(ten_minutes, 50);
    curves.volts[phase][18] = -200;
  }
  analysis::Analysis analysis;
  analysis.voltages.channels = {0, 1, 2};
  analysis.voltages.part = {.end = ten_minutes, .rate = 6400};
  analysis.voltages.line_frequency = 50;
  analysis.found.frequency = 50;
  analysis.found.reference_v = {50, 50, 50};
  const auto page = outputs::page_of(record, analysis, curves);
  EXPECT_LT(page.size(), 6000000U);
  const auto samples = json_in(page, "samples");
  EXPECT_EQ(samples["wave"]["step"], 9);
  EXPECT_EQ(samples["rms"]["step"], 39);
  EXPECT_NEAR(samples["wave"]["scale"].get<double>() * 32767, 200, 1e-9);
  // Values 0, 9 and 18: 16384, 16384, -32767, low byte first.
  EXPECT_TRUE(samples["wave"]["data"][2].get<std::string>().starts_with("AEAAQAGA"));
  EXPECT_EQ(json_in(page, "document")["record"]["file"], "long");
}

}  // namespace
