// `dipx analyse`: its options and what they do.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

/// Adds the subcommand. `statuses`: the exit statuses, for its help. `found` becomes true when the run finds an event
/// that --fail-on names.
void add_analyse(CLI::App& app, const std::string& statuses, bool& found);

}  // namespace command
