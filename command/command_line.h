// The dipx command line: all subcommands with their options. --help, the manual and the completions are made from it.
#pragma once

namespace CLI {
class App;
}

namespace command {

/// Adds everything to `app`; parsing then runs what was asked for.
void add_command_line(CLI::App& app);

/// Parses and runs. False when the command line cannot be understood, which has been said then.
bool run_command_line(int argc, char** argv);

}  // namespace command
