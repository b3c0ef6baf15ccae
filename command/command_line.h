// The dipx command line: all subcommands with their options. --help, the manual and the completions are made from it.
#pragma once

#include <CLI/CLI.hpp>

namespace command {

/// Adds everything to `app`; parsing then runs what was asked for.
void add_command_line(CLI::App& app);

}  // namespace command
