#include "command/info_command.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "command/known_charset.h"
#include "command/option_range.h"
#include "command/standard_output.h"
#include "command/stretch_options.h"
#include "command/terminal_colours.h"
#include "outputs/figures_text.h"
#include "outputs/record_info.h"
#include "readers/open_record.h"
#include "readers/plausible.h"

namespace command {

namespace {

struct Arguments {
  std::string record;
  readers::OpenOptions open;
  analysis::StretchChoice stretch;
  bool json = false;
};

}  // namespace

void add_info(CLI::App& app, const std::string& statuses) {
  CLI::App* info = app.add_subcommand("info", "List what a record holds: parts, voltage sets, channels");
  const auto arguments = std::make_shared<Arguments>();
  info->footer(
      "Use the numbers of parts and sets with the options --part and --set of dipx analyse. A set is live if\n"
      "its voltages carry a usable signal.\n\n" +
      statuses);
  info->add_option("RECORD", arguments->record, "File whose contents are listed")->type_name("")->required();
  add_stretch_options(*info, arguments->stretch);
  info->add_option("--rate", arguments->open.sampling_rate,
                   "Samples per second; overrides the file and its time stamps")
      ->check(between(1.0, readers::highest_rate))
      ->type_name("HZ");
  info->add_option("--charset", arguments->open.charset, "Character set of the file's names, if the guess is wrong")
      ->check(known_charset())
      ->type_name("NAME");
  info->add_flag("--json", arguments->json, "Print one JSON document instead of text");
  info->callback([arguments] {
    arguments->open.digitals = true;
    auto record = readers::open_record(arguments->record, arguments->open);
    apply_stretch(record, arguments->stretch);
    write_standard_output(arguments->json ? outputs::info_json(record)
                                          : outputs::fitted(outputs::info_text(record), terminal_columns()));
  });
}

}  // namespace command
