// dipx explain: every code that the command prints has an explanation, and the sketch shows what is said.
#include "outputs/explain.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "outputs/dip_category_name.h"
#include "outputs/phasor_sketch.h"
#include "tests/command/dipx_command.h"
#include "tests/core/working_folder.h"

namespace {

using tests::dipx;

class CategoryCode : public testing::TestWithParam<int> {};

TEST_P(CategoryCode, IsExplainedByItsName) {
  const auto text = outputs::explanation_of(std::to_string(GetParam())).value_or("");
  EXPECT_TRUE(text.starts_with(fmt::format("{}   {}\n\n", GetParam(), outputs::dip_category_name(GetParam())))) << text;
  EXPECT_NE(text.find("How it is decided\n"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(All, CategoryCode, testing::Range(0, 11));

TEST(Explain, KnowsEveryReasonThatTheSchemaNames) {
  const auto schema = nlohmann::json::parse(tests::bytes_of(DIPX_DOCS "/analysis-json.schema.json"));
  const auto codes = schema["$defs"]["dip"]["properties"]["not_analysed"]["oneOf"][0]["properties"]["code"]["enum"];
  EXPECT_EQ(codes.size(), 9U);
  for (const auto& code : codes) {
    const auto text = outputs::explanation_of(code);
    ASSERT_TRUE(text) << code;
    EXPECT_TRUE(text->starts_with(code.get<std::string>() + "   not analysed: ")) << *text;
    EXPECT_NE(outputs::list_of_codes().find("\n  " + code.get<std::string>() + " "), std::string::npos) << code;
  }
}

TEST(Explain, KeepsWithinATerminalsWidth) {
  for (const char* code :
       {"0", "9", "10", "too_shallow", "not_segmented", "dip", "itic", "en50160", "residual_voltage", "segment"}) {
    const std::string text = outputs::explanation_of(code).value_or("");
    ASSERT_NE(text, "") << code;
    const auto paragraphs = text.substr(text.find('\n'));  // behind the heading
    for (std::size_t at = 0; at < paragraphs.size();) {
      const std::size_t end = paragraphs.find('\n', at);
      EXPECT_LE(end - at, 78U) << paragraphs.substr(at, end - at);
      at = end + 1;
    }
  }
}

TEST(Explain, TakesCodesAsPeopleWriteThem) {
  for (const auto& [asked, code] : {std::pair("ITIC", "itic"),
                                    {"SEMI F47", "semi_f47"},
                                    {"not-recovered", "not_recovered"},
                                    {"Residual voltage", "residual_voltage"},
                                    {"D2", "en50160"},
                                    {"x5", "en50160"}}) {
    EXPECT_EQ(outputs::explanation_of(asked), outputs::explanation_of(code)) << asked;
  }
  for (const char* unknown : {"D6", "E1", "d", "11", ""}) EXPECT_FALSE(outputs::explanation_of(unknown)) << unknown;
}

TEST(PhasorSketch, DrawsUndisturbedPhasorsToTheirFullLength) {
  EXPECT_EQ(outputs::phasor_sketch({std::polar(1.0, 0.0), std::polar(1.0, -2.0943951), std::polar(1.0, 2.0943951)}),
            "             C\n"
            "              *\n"
            "               *\n"
            "                **\n"
            "                  *\n"
            "                   *\n"
            "                    +*************A\n"
            "                   *\n"
            "                  *\n"
            "                **\n"
            "               *\n"
            "              *\n"
            "             B\n");
}

TEST(PhasorSketch, LeavesSmallLettersWherePhasorsStoodBefore) {
  const auto sketch = outputs::phasor_sketch({0.5, std::polar(1.0, -2.0943951), std::polar(1.0, 2.0943951)});
  EXPECT_NE(sketch.find("+******A      a\n"), std::string::npos) << sketch;
}

TEST(Explain, PrintsACodesMeaningAndAllCodes) {
  const auto one = dipx({"explain", "7"});
  EXPECT_EQ(one.status, 0);
  EXPECT_EQ(one.out, outputs::explanation_of("7"));
  const auto all = dipx({"explain"});
  EXPECT_EQ(all.status, 0);
  EXPECT_EQ(all.out, outputs::list_of_codes());
}

TEST(Explain, SaysThatACodeIsNone) {
  const auto result = dipx({"explain", "11"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_NE(result.err.find("'11' is no code; dipx explain lists all"), std::string::npos) << result.err;
}

}  // namespace
