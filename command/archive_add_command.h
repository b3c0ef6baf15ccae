// `dipx archive add`: analyses many records and keeps their results.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

/// Adds the subcommand. `statuses`: the exit statuses, for its help.
void add_archive_add(CLI::App& archive, const std::string& statuses);

}  // namespace command
