// `dipx info`: lists the contents of a record.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

/// Adds the subcommand. `statuses`: the exit statuses, for its help.
void add_info(CLI::App& app, const std::string& statuses);

}  // namespace command
