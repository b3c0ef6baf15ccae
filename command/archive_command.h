// `dipx archive`: its subcommands for stores of results.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

/// Adds the subcommand. `statuses`: the exit statuses, for its help.
void add_archive(CLI::App& app, const std::string& statuses);

}  // namespace command
