#include "command/command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <string>

#include "analysis/embedded/library.h"
#include "command/analyse_command.h"
#include "command/explain_command.h"
#include "command/info_command.h"
#include "command/selftest_command.h"
#include "command/synth_command.h"

namespace command {

namespace {

constexpr const char* exit_statuses =
    "Exit status: 0 done (with or without dips), 1 usage, 2 the input cannot be read,\n"
    "3 the analysis does not take the record, 4 an output cannot be written, 5 the self-test found faults.";

std::string version() {
  return fmt::format("dipx {} (instruction set: {})", DIPX_VERSION, analysis::embedded::instruction_set());
}

}  // namespace

void add_command_line(CLI::App& app) {
  app.name("dipx");
  app.description("Voltage dip analysis of three-phase waveform records");
  app.set_version_flag("--version", version, "Show the version and the instruction set that the analysis runs with");
  app.footer(exit_statuses);
  app.require_subcommand(1);
  add_analyse(app, exit_statuses);
  add_info(app, exit_statuses);
  add_synth(app, exit_statuses);
  add_explain(app, exit_statuses);
  add_selftest(app, exit_statuses);
}

bool run_command_line(int argc, char** argv) {
  CLI::App app;
  add_command_line(app);
  try {
    app.parse(argc, argv);
    return true;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0;
  }
}

}  // namespace command
