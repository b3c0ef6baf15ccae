// `dipx archive report`: counts the events of a database in the tables of standards.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

/// Adds the subcommand. `statuses`: the exit statuses, for its help.
void add_archive_report(CLI::App& archive, const std::string& statuses);

}  // namespace command
