// dipx selftest: passes on the detector as it is, and does not on one that errs.
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
  return analysis::analyse(synth::record_of(synth::waveform_of(dip.description)), {});
}

TEST(SelfTest, PassesAndSaysWhatWasMeasured) {
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
  EXPECT_FALSE(command::self_test([](const auto&) { return Analysis(); }, [&](const auto& line) { shown += line; }));
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
        Error{"Start", [](Analysis& a) { a.dips[0].start += 140, *a.dips[0].end += 140; }, "it starts at "},
        Error{"Duration", [](Analysis& a) { *a.dips[0].end += 140; }, "it lasts "},
        Error{"Recovery", [](Analysis& a) { a.dips[0].end.reset(); }, "it lasts 0.0000 s instead of 0.2000 s"},
        Error{"Obstacle", [](Analysis& a) { a.dips[0].obstacle = analysis::Obstacle::unstable; },
              "not analysed: the RMS"},
        Error{"Segments", [](Analysis& a) { a.dips[0].segments.clear(); }, "0 segments instead of 1"},
        Error{"Category", [](Analysis& a) { a.dips[0].segments[0].category = 5; },
              "segment 1: category 5 instead of 3"},
        Error{"Residual", [](Analysis& a) { a.dips[0].segments[0].residual[0] *= 1.03; },
              "% left of phase A instead of"},
        Error{"HealthyPhase", [](Analysis& a) { a.dips[0].segments[0].residual[2] *= 0.98; },
              "% left of phase C instead"},
        Error{"PhaseJump", [](Analysis& a) { a.dips[0].segments[0].phase_jump[0] += 3; }, "phase A turned by -2"},
        Error{"NotANumber", [](Analysis& a) { a.dips[0].segments[0].residual[1] = NAN; }, "nan % left of phase B"}),
    [](const auto& error) { return std::string(error.param.name); });

}  // namespace
