#include "command/archive_export_command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "archive/export.h"
#include "archive/open_store.h"
#include "command/standard_output.h"
#include "command/written_files.h"

namespace command {

namespace {

struct Arguments {
  std::string store;
  std::string format = "csv";
  std::string output;
  bool segments = false;
  bool no_clobber = false;
};

void run(const Arguments& arguments) {
  check_clobbering({arguments.output}, arguments.no_clobber);
  const auto store = archive::open_store(arguments.store, archive::StoreUse::read);
  const bool to_file = !arguments.output.empty();
  constexpr std::size_t piece = 1 << 16;
  std::string text;
  archive::export_rows(*store, arguments.segments ? archive::ExportedView::segments : archive::ExportedView::events,
                       arguments.format == "csv" ? archive::ExportFormat::csv : archive::ExportFormat::json_lines,
                       [&](const std::string& line) {
                         text += line;
                         if (to_file || text.size() < piece) return;
                         write_standard_output(text);
                         text.clear();
                       });
  if (to_file) {
    write_files({{arguments.output, text}}, arguments.no_clobber);
  } else {
    write_standard_output(text);
  }
}

}  // namespace

void add_archive_export(CLI::App& archive, const std::string& statuses) {
  CLI::App* command = archive.add_subcommand("export", "Print the events of a database as CSV or JSON lines");
  const auto arguments = std::make_shared<Arguments>();
  command->footer(
      "The rows are in the order of their keys, so that databases with the same content give the same output.\n\n"
      "  dipx archive export events.db -o events.csv\n"
      "  dipx archive export events.db --segments --format json-lines\n\n" +
      statuses);
  command->add_option("DB", arguments->store, "File of the database, or its URL")->type_name("")->required();
  command->add_option("--format", arguments->format, "Form of the output (csv)")
      ->check(CLI::IsMember({"csv", "json-lines"}).description(""))
      ->type_name("csv|json-lines");
  command->add_flag("--segments", arguments->segments, "Print a row for each segment of a dip instead of each event");
  command->add_option("-o,--output", arguments->output, "Write to FILE instead of standard output")->type_name("FILE");
  add_no_clobber(*command, arguments->no_clobber);
  command->callback([arguments] { run(*arguments); });
}

}  // namespace command
