// Tests dipx selftest: it passes with the real detector and fails with one that makes errors.
#include "command/selftest.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "tests/command/dipx_command.h"

namespace {

using analysis::Analysis;
using command::known_dips;

const command::KnownDip& known(const std::string& name) {
  const auto& list = known_dips();
  return *std::find_if(list.begin(), list.end(), [&](const auto& dip) { return dip.name == name; });
}

Analysis analysis_of(const command::KnownDip& dip) {
  auto analysis = analysis::analyse(synth::record_of(synth::waveform_of(dip.description)), {});
  analysis.measured = {};  // the record it refers to is gone
  return analysis;
}

TEST(SelfTest, PassesAndReportsTheMeasuredRecords) {
  const auto result = tests::dipx({"selftest"});
  EXPECT_EQ(result.status, 0) << result.out << result.err;
  EXPECT_EQ(result.err, "");
  for (const auto& dip : known_dips()) {
    EXPECT_NE(result.out.find(std::string("ok      ") + dip.name + "\n"), std::string::npos) << dip.name;
  }
  EXPECT_TRUE(result.out.ends_with("known records measured right\n"));
}

TEST(SelfTest, CoversEveryCategory) {
  for (int category = 0; category < 10; category++) {
    EXPECT_TRUE(std::any_of(known_dips().begin(), known_dips().end(), [&](const auto& dip) {
      return std::find(dip.categories.begin(), dip.categories.end(), category) != dip.categories.end();
    })) << category;
  }
}

TEST(SelfTest, FailsForADetectorThatFindsNothing) {
  std::string shown;
  const auto nothing = [](const auto&) {
    Analysis analysis;
    analysis.library.emplace();
    return analysis;
  };
  EXPECT_FALSE(command::self_test(nothing, [&](const auto& line) { shown += line; }));
  EXPECT_NE(shown.find("ok      no dip\n"), std::string::npos);
  EXPECT_NE(shown.find("FAILED  two steps: 0 dips instead of 1\n"), std::string::npos) << shown;
}

TEST(SelfTest, FailsForADetectorThatThrows) {
  std::string shown;
  EXPECT_FALSE(command::self_test([](const auto&) -> Analysis { throw std::runtime_error("it broke"); },
                                  [&](const auto& line) { shown += line; }));
  EXPECT_TRUE(shown.starts_with("FAILED  no dip: it broke\n")) << shown;
}

struct Error {
  const char* name;
  void (*make)(Analysis&);
  const char* fault;
};

measure::Event& dip_of(Analysis& analysis) {
  return analysis.found.events[0];
}

measure::Segment& segment_of(Analysis& analysis) {
  return dip_of(analysis).course->segments[0];
}

class SelfTestFinds : public testing::TestWithParam<Error> {};

TEST_P(SelfTestFinds, AFigureThatIsOff) {
  const auto& dip = known("phase jump");
  auto analysis = analysis_of(dip);
  ASSERT_EQ(command::fault_of(dip, analysis), "");
  GetParam().make(analysis);
  EXPECT_NE(command::fault_of(dip, analysis).find(GetParam().fault), std::string::npos)
      << command::fault_of(dip, analysis);
}

INSTANTIATE_TEST_SUITE_P(
    Figures, SelfTestFinds,
    testing::Values(
        Error{"Start", [](Analysis& a) { dip_of(a).course->start_s->value += 0.006; }, "it starts at 0.30"},
        Error{"NoStart", [](Analysis& a) { dip_of(a).course->start_s.reset(); },
              "it starts at no time instead of 0.3000 s"},
        Error{"End", [](Analysis& a) { dip_of(a).course->end_s->value -= 0.006; }, "it ends at 0.49"},
        Error{"Recovery", [](Analysis& a) { dip_of(a).course->end_s.reset(); },
              "it ends at no time instead of 0.5000 s"},
        Error{"Dips", [](Analysis& a) { a.found.events.push_back(dip_of(a)); }, "2 dips instead of 1"},
        Error{"Swell", [](Analysis& a) { dip_of(a).kind = measure::EventKind::swell; }, "0 dips instead of 1"},
        Error{"Course", [](Analysis& a) { dip_of(a).course.reset(); }, "the dip has no course"},
        Error{"Segments", [](Analysis& a) { dip_of(a).course->segments.clear(); }, "0 segments instead of 1"},
        Error{"Category", [](Analysis& a) { segment_of(a).type->category = 5; }, "segment 1: category 5 instead of 3"},
        Error{"Type", [](Analysis& a) { segment_of(a).type.reset(); }, "segment 1: category -1 instead of 3"},
        Error{"Voltage", [](Analysis& a) { segment_of(a).phases[0].voltage_v.value *= 1.03; },
              "% left of phase A instead of"},
        Error{"HealthyPhase", [](Analysis& a) { segment_of(a).phases[2].voltage_v.value *= 0.98; },
              "% left of phase C instead"},
        Error{"PhaseJump", [](Analysis& a) { segment_of(a).phases[0].phase_jump_degrees->value += 3; },
              "phase A turned by -2"},
        Error{"NoPhaseJump", [](Analysis& a) { segment_of(a).phases[1].phase_jump_degrees.reset(); },
              "phase B has no phase jump"},
        Error{"NotANumber", [](Analysis& a) { segment_of(a).phases[1].voltage_v.value = NAN; },
              "nan % left of phase B"}),
    [](const auto& error) { return std::string(error.param.name); });

class SelfTestFindsInTheLibrary : public testing::TestWithParam<Error> {};

TEST_P(SelfTestFindsInTheLibrary, AFigureThatIsOff) {
  const auto& dip = known("phase jump");
  analysis::AnalysisOptions options;
  options.library = true;
  const auto record = synth::record_of(synth::waveform_of(dip.description));
  auto analysis = analysis::analyse(record, options);
  ASSERT_EQ(command::library_fault_of(dip, analysis), "");
  GetParam().make(analysis);
  EXPECT_NE(command::library_fault_of(dip, analysis).find(GetParam().fault), std::string::npos)
      << command::library_fault_of(dip, analysis);
}

INSTANTIATE_TEST_SUITE_P(
    Figures, SelfTestFindsInTheLibrary,
    testing::Values(
        Error{"NotAsked", [](Analysis& a) { a.library.reset(); }, "the library was not asked"},
        Error{"Refused", [](Analysis& a) { a.library->refusal = "it does not take it"; }, "it does not take it"},
        Error{"Dips", [](Analysis& a) { a.library->dips.clear(); }, "0 dips instead of 1"},
        Error{"Start", [](Analysis& a) { a.library->dips[0].begin += 140; }, "it starts at another time"},
        Error{"End", [](Analysis& a) { a.library->dips[0].end += 140; }, "it ends at another time"},
        Error{"Segments", [](Analysis& a) { a.library->dips[0].segments.clear(); }, "0 segments instead of 1"},
        Error{"Category", [](Analysis& a) { a.library->dips[0].segments[0].category = 5; },
              "segment 1: category 5 instead of 3"},
        Error{"Residual", [](Analysis& a) { a.library->dips[0].segments[0].residual_v[0] *= 1.03; },
              "% left of phase A instead of"}),
    [](const auto& error) { return std::string(error.param.name); });

TEST(SelfTest, GivesTheLibraryOnlyRecordsThatItSupports) {
  EXPECT_EQ(command::library_fault_of(known("8 samples per cycle"), Analysis()), "");
}

}  // namespace
