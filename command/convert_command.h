// `dipx convert`: writes a record in another format.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

/// Adds the subcommand. `statuses`: the exit statuses, for its help.
void add_convert(CLI::App& app, const std::string& statuses);

}  // namespace command
