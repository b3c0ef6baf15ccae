#include "command/command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "analysis/embedded/instruction_set.h"
#include "command/analyse_command.h"
#include "command/archive_command.h"
#include "command/convert_command.h"
#include "command/explain_command.h"
#include "command/info_command.h"
#include "command/options_file.h"
#include "command/selftest_command.h"
#include "command/slips.h"
#include "command/standard_output.h"
#include "command/synth_command.h"
#include "command/verify_command.h"
#include "command/watch_command.h"
#include "readers/text.h"

namespace command {

namespace {

constexpr const char* exit_statuses =
    "Exit status: 0 done (with or without events), 1 the command line is wrong,\n"
    "2 the input cannot be read, 3 the record cannot be analysed, 4 an output cannot be written,\n"
    "5 the self-test found faults, 6 a certificate and its record do not agree,\n"
    "10 an event of the kind named by --fail-on was found.";

std::string version() {
  return fmt::format("dipx {} (instruction set: {})", DIPX_VERSION, analysis::embedded::instruction_set());
}

/// Shows what the parser has to say: help on standard output, and complaints on standard error. A complaint cites the
/// arguments, which may hold anything.
CommandEnd show(const CLI::App& app, const CLI::ParseError& error) {
  std::ostringstream help;
  std::ostringstream complaint;
  const bool done = app.exit(error, help, complaint) == 0;
  write_standard_output(help.str());
  const std::string text = complaint.str();
  readers::Lines lines(text);
  while (const auto line = lines.next()) std::fprintf(stderr, "%s\n", readers::inert(*line).c_str());
  return done ? CommandEnd::done : CommandEnd::usage;
}

}  // namespace

void add_command_line(CLI::App& app, Answers& answers) {
  app.name("dipx");
  // On Windows the parser would take paths such as /data/record.cfg for options.
  app.allow_windows_style_options(false);
  app.description("Voltage dip analysis of three-phase waveform records");
  app.set_version_flag("--version", version, "Show the version and the instruction set that the analysis runs with");
  app.footer(exit_statuses);
  app.require_subcommand(1);
  add_analyse(app, exit_statuses, answers.found);
  add_info(app, exit_statuses);
  add_convert(app, exit_statuses);
  add_archive(app, exit_statuses);
  add_watch(app, exit_statuses);
  add_synth(app, exit_statuses);
  add_explain(app, exit_statuses);
  add_verify(app, exit_statuses, answers.differs);
  add_selftest(app, exit_statuses);
}

CommandEnd run_command_line(const std::vector<std::string>& given) {
  CLI::App app;
  Answers answers;
  add_command_line(app, answers);
  const auto meant = with_meant_words(given, app);
  std::vector<std::string> arguments = meant;
  std::vector<const CLI::App*> with_options = {app.get_subcommand("analyse"), app.get_subcommand("watch")};
  // A build without databases has no subcommand of this name.
  for (const CLI::App* add :
       app.get_subcommand("archive")->get_subcommands([](const CLI::App* one) { return one->check_name("add"); })) {
    with_options.push_back(add);
  }
  for (const CLI::App* command : with_options) arguments = with_options_file(std::move(arguments), *command);
  try {
    // The parser expects the arguments in reverse order, without the program's own name.
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend() - 1));
    if (answers.differs) return CommandEnd::differs;
    return answers.found ? CommandEnd::found : CommandEnd::done;
  } catch (const CLI::Success& help) {
    return show(app, help);
  } catch (const CLI::ValidationError& error) {
    return show(app, error);  // The value of an option is wrong, and the complaint names it.
  } catch (const CLI::ParseError& error) {
    const std::string slip = slip_in(meant, app);
    if (slip.empty()) return show(app, error);
    std::fprintf(stderr, "dipx: %s\n", readers::inert(slip).c_str());
    return CommandEnd::usage;
  }
}

}  // namespace command
