// The dipx command line: all subcommands with their options. --help, the manual and the completions are made from it.
#pragma once

namespace CLI {
class App;
}

namespace command {

/// Adds everything to `app`; parsing then runs what was asked for. `found`: see add_analyse.
void add_command_line(CLI::App& app, bool& found);

/// How a run ended that threw nothing.
enum class CommandEnd {
  done,
  found,  ///< an event that --fail-on names
  usage   ///< the command line could not be understood; the user has been told
};
CommandEnd run_command_line(int argc, char** argv);

}  // namespace command
