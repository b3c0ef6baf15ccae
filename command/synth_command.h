// `dipx synth`: makes a record with a dip whose every figure is known.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace command {

/// Adds the subcommand. `statuses`: the exit statuses, for its help.
void add_synth(CLI::App& app, const std::string& statuses);

}  // namespace command
