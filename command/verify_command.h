// The subcommand verify.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace command {

/// Adds the subcommand. `differs` is set if a certificate and its record do not agree. `statuses` describes the exit
/// statuses.
void add_verify(CLI::App& app, const std::string& statuses, bool& differs);

}  // namespace command
