#include "command/info_command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "command/known_charset.h"
#include "command/option_range.h"
#include "command/standard_output.h"
#include "outputs/record_info.h"
#include "readers/open_record.h"

namespace command {

namespace {

struct Arguments {
  std::string record;
  readers::OpenOptions open;
  bool json = false;
};

}  // namespace

void add_info(CLI::App& app, const std::string& statuses) {
  CLI::App* info = app.add_subcommand("info", "List what a record holds: parts, voltage sets, channels");
  const auto arguments = std::make_shared<Arguments>();
  info->footer(
      "The numbers of parts and sets are those that dipx analyse takes with --part and --set. A set is live\n"
      "when it carries a voltage worth analysing.\n\n" +
      statuses);
  info->add_option("RECORD", arguments->record, "File to look into")->type_name("")->required();
  info->add_option("--rate", arguments->open.sampling_rate,
                   "Samples per second, where neither the file nor its times tell")
      ->check(between(1.0, 1e9))
      ->type_name("HZ");
  info->add_option("--charset", arguments->open.charset, "Character set of the file's names, where the guess is wrong")
      ->check(known_charset())
      ->type_name("NAME");
  info->add_flag("--json", arguments->json, "Print one JSON document instead of text");
  info->callback([arguments] {
    const auto record = readers::open_record(arguments->record, arguments->open);
    write_standard_output(arguments->json ? outputs::info_json(record) : outputs::info_text(record));
  });
}

}  // namespace command
