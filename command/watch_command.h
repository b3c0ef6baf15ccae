// `dipx watch`: a service that adds the records that arrive in a folder to a database.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

/// Adds the subcommand. `statuses`: the exit statuses, for its help.
void add_watch(CLI::App& app, const std::string& statuses);

}  // namespace command
