#include "command/archive_command.h"

#include <CLI/CLI.hpp>

#include "command/archive_add_command.h"
#include "command/archive_export_command.h"
#include "command/archive_merge_command.h"
#include "command/archive_report_command.h"

namespace command {

void add_archive(CLI::App& app, const std::string& statuses) {
  CLI::App* archive = app.add_subcommand("archive", "Keep the results of many records in a database");
  archive->require_subcommand(1);
  archive->footer(
      "DB is a file, which is made if it does not exist, or the URL of a PostgreSQL database.\n\n"
      "  dipx archive add events.db records/\n"
      "  dipx archive report events.db --from 2024-01-01 --to 2024-12-31\n"
      "  dipx archive export events.db -o events.csv\n\n" +
      statuses);
  add_archive_add(*archive, statuses);
  add_archive_export(*archive, statuses);
  add_archive_merge(*archive, statuses);
  add_archive_report(*archive, statuses);
}

}  // namespace command
