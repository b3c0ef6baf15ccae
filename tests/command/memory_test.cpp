// The memory that the command takes for a long record, in terms of the analysed channels as doubles.
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <string>
#include <vector>

#include "tests/core/working_folder.h"

extern char** environ;

namespace {

constexpr double samples = 1200000;  // 20 minutes at 1 kHz
constexpr double analysed_bytes = 3 * samples * sizeof(double);

/// Runs the command and returns its largest resident size in bytes; -1 if it fails.
double peak_bytes(std::vector<std::string> arguments) {
  std::string command = DIPX_COMMAND;
  std::vector<char*> list = {command.data()};
  for (std::string& argument : arguments) list.push_back(argument.data());
  list.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 1, 0);
  pid_t process = 0;
  const int failed = posix_spawn(&process, command.c_str(), &actions, nullptr, list.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  rusage usage{};
  if (failed != 0 || wait4(process, &status, 0, &usage) != process || status != 0) return -1;
  return static_cast<double>(usage.ru_maxrss) * 1024;
}

class Memory : public testing::TestWithParam<std::vector<std::string>> {
 protected:
  tests::WorkingFolder folder;
};

TEST_P(Memory, StaysBelowThreeTimesTheAnalysedChannels) {
  std::vector<std::string> made = {"synth", "--rate", "1000", "--length", "1200", "--start", "5", "--noise", "0.2"};
  made.insert(made.end(), GetParam().begin(), GetParam().end());
  const std::string file = GetParam().back();
  ASSERT_GT(peak_bytes(made), 0);
  for (const char* form : {"-q", "--json", "--csv"}) {
    const double peak = peak_bytes({"analyse", form, file});
    EXPECT_GT(peak, analysed_bytes) << form << ": the record cannot have been read";
    EXPECT_LT(peak, 3 * analysed_bytes) << form;
  }
}

INSTANTIATE_TEST_SUITE_P(Record, Memory,
                         testing::Values(std::vector<std::string>{"-o", "table.csv"},
                                         std::vector<std::string>{"-o", "text.cfg"},
                                         std::vector<std::string>{"--binary", "-o", "binary.cfg"},
                                         std::vector<std::string>{"-o", "single.cff"},
                                         std::vector<std::string>{"--binary", "-o", "single_binary.cff"}));

}  // namespace
