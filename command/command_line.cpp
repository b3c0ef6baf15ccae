#include "command/command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string>
#include <utility>

#include "analysis/embedded/instruction_set.h"
#include "command/analyse_command.h"
#include "command/explain_command.h"
#include "command/info_command.h"
#include "command/options_file.h"
#include "command/selftest_command.h"
#include "command/synth_command.h"

namespace command {

namespace {

constexpr const char* exit_statuses =
    "Exit status: 0 done (with or without events), 1 usage, 2 the input cannot be read,\n"
    "3 the record cannot be analysed, 4 an output cannot be written, 5 the self-test found faults,\n"
    "10 an event that --fail-on names was found.";

std::string version() {
  return fmt::format("dipx {} (instruction set: {})", DIPX_VERSION, analysis::embedded::instruction_set());
}

}  // namespace

void add_command_line(CLI::App& app, bool& found) {
  app.name("dipx");
  app.description("Voltage dip analysis of three-phase waveform records");
  app.set_version_flag("--version", version, "Show the version and the instruction set that the analysis runs with");
  app.footer(exit_statuses);
  app.require_subcommand(1);
  add_analyse(app, exit_statuses, found);
  add_info(app, exit_statuses);
  add_synth(app, exit_statuses);
  add_explain(app, exit_statuses);
  add_selftest(app, exit_statuses);
}

CommandEnd run_command_line(int argc, char** argv) {
  CLI::App app;
  bool found = false;
  add_command_line(app, found);
  try {
    auto arguments = with_options_file({argv, argv + argc}, *app.get_subcommand("analyse"));
    // The parser takes them from the last to the first, without the program's own name.
    std::reverse(arguments.begin() + 1, arguments.end());
    arguments.erase(arguments.begin());
    app.parse(std::move(arguments));
    return found ? CommandEnd::found : CommandEnd::done;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? CommandEnd::done : CommandEnd::usage;
  }
}

}  // namespace command
