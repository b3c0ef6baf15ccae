#include "command/selftest_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "command/selftest.h"
#include "command/standard_output.h"

namespace command {

void add_selftest(CLI::App& app, const std::string& statuses) {
  CLI::App* selftest = app.add_subcommand("selftest", "Show that this program measures known dips right");
  selftest->footer(
      "Makes records whose dips are known, measures them and compares: number of dips and segments, start and\n"
      "end (within a quarter of a cycle), voltages (within 1 % of nominal), phase jumps (within 2 degrees),\n"
      "categories. The embedded library's own results are compared on the records that it is made for.\n\n" +
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
