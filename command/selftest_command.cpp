#include "command/selftest_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "command/selftest.h"
#include "command/standard_output.h"

namespace command {

void add_selftest(CLI::App& app, const std::string& statuses) {
  CLI::App* selftest = app.add_subcommand("selftest", "Check that this program measures known dips correctly");
  selftest->footer(
      "The self-test makes records with known dips, measures them and compares the number of dips and\n"
      "segments, the start and end (within a quarter of a cycle), the voltages (within 1 % of nominal), the\n"
      "phase jumps (within 2 degrees) and the categories. The embedded library's own results are compared on\n"
      "the records that it is made for.\n\n" +
      statuses);
  selftest->callback([] {
    const Detector detector = [](const readers::Record& record) {
      analysis::AnalysisOptions options;
      options.library = true;
      return analysis::analyse(record, options);
    };
    if (!self_test(detector, write_standard_output)) {
      throw SelfTestFailure("the self-test found faults; do not trust this program's figures");
    }
    write_standard_output(
        fmt::format("dipx {}: all {} known records measured right\n", DIPX_VERSION, known_dips().size()));
  });
}

}  // namespace command
