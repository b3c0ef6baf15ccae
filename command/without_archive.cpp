// Replaces the subcommands that need a database in a build without a database: the command line stays the same, and
// their use is refused.
#include <CLI/CLI.hpp>

#include "command/archive_command.h"
#include "command/left_out.h"
#include "command/watch_command.h"

namespace command {

namespace {

void add_refused(CLI::App& app, const std::string& name, const std::string& description, const std::string& statuses) {
  CLI::App* refused = app.add_subcommand(name, description + " (not in this build)");
  const LeftOut complaint("dipx " + name, "SQLite (libsqlite3-dev)");
  refused->footer(std::string(complaint.what()) + ".\n\n" + statuses);
  refused->allow_extras();
  refused->callback([complaint] { throw complaint; });
}

}  // namespace

void add_archive(CLI::App& app, const std::string& statuses) {
  add_refused(app, "archive", "Keep the results of many records in a database", statuses);
}

void add_watch(CLI::App& app, const std::string& statuses) {
  add_refused(app, "watch", "Analyse the records that arrive in a folder, as a service", statuses);
}

}  // namespace command
