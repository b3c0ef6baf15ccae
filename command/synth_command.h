// `dipx synth`: makes a record with a dip whose figures are all known.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

/// Adds the subcommand. `statuses`: the exit statuses, for its help.
void add_synth(CLI::App& app, const std::string& statuses);

}  // namespace command
