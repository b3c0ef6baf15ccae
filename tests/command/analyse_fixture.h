// Runs dipx analyse on records that a test makes.
#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/command/dipx_command.h"
#include "tests/command/made_record.h"
#include "tests/core/working_folder.h"

namespace tests {

/// Runs `dipx analyse` in a separate folder and keeps the printed output.
class Analysing : public testing::Test {
 protected:
  using Json = nlohmann::json;

  /// Returns the document; the analysis must succeed without a message.
  static Json analysed(const std::vector<std::string>& more, const std::string& file = "record.csv") {
    std::vector<std::string> arguments = {"analyse", "--json", file};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto result = dipx(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    return Json::parse(result.out);
  }
  static Json analysed(const MadeRecord& record, const std::vector<std::string>& more = {}) {
    record.write_csv("record.csv");
    return analysed(more);
  }
  /// The text for people.
  static std::string text(const MadeRecord& record, const std::vector<std::string>& more = {}) {
    record.write_csv("record.csv");
    std::vector<std::string> arguments = {"analyse", "record.csv"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto result = dipx(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
  }
  /// Expects a usage error: its status, an empty standard output, and exactly this text on standard error.
  static void expect_refused(const std::vector<std::string>& more, int status, const std::string& complaint,
                             const std::string& file = "record.csv") {
    std::vector<std::string> arguments = {"analyse", file};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const auto result = dipx(arguments);
    EXPECT_EQ(result.status, status) << testing::PrintToString(more);
    EXPECT_EQ(result.out, "") << testing::PrintToString(more);
    EXPECT_EQ(result.err, complaint + "\n") << testing::PrintToString(more);
  }

  tests::WorkingFolder folder;
};

/// The start of an event by the standard lies within the cycle before the change, its end within one and a half cycles
/// after it: the one-cycle windows move on by half a cycle, and the end of the first that is back ends the event.
inline void expect_event(const nlohmann::json& event, double from, double to, double cycle = 0.02) {
  EXPECT_GT(event["start"]["time_s"], from - cycle);
  EXPECT_LE(event["start"]["time_s"], from);
  EXPECT_GT(event["end"]["time_s"], to);
  EXPECT_LE(event["end"]["time_s"], to + 1.5 * cycle);
}

/// The instants on the waveform, within a quarter of a cycle.
inline void expect_course(const nlohmann::json& course, double from, double to, double cycle = 0.02) {
  EXPECT_NEAR(course["start_s"], from, cycle / 4);
  EXPECT_NEAR(course["end_s"], to, cycle / 4);
}

}  // namespace tests
