// `dipx analyse`: options, and what is done with them.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

/// Adds the subcommand. `statuses`: the exit statuses, for its help.
void add_analyse(CLI::App& app, const std::string& statuses);

}  // namespace command
