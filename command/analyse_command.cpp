#include "command/analyse_command.h"

#include <memory>
#include <string>

#include "command/analysis.h"
#include "command/analysis_json.h"
#include "command/analysis_text.h"
#include "command/option_range.h"
#include "command/standard_output.h"
#include "command/whole_file.h"
#include "readers/open_record.h"

namespace command {

namespace {

struct Arguments {
  std::string record;
  std::string report;
  bool json = false;
  readers::OpenOptions open;
  AnalysisOptions options;
};

void run(Arguments arguments) {
  arguments.options.report = !arguments.report.empty();
  const auto record = readers::open_record(arguments.record, arguments.open);
  const auto analysis = analyse(record, arguments.options);
  if (!arguments.report.empty()) write_whole(arguments.report, analysis.report);
  write_standard_output(arguments.json ? json_of(record, analysis) : text_of(record, analysis));
}

}  // namespace

void add_analyse(CLI::App& app, const std::string& statuses) {
  CLI::App* analyse = app.add_subcommand("analyse", "Find and measure the voltage dips of one record");
  const auto arguments = std::make_shared<Arguments>();
  analyse->alias("analyze");
  analyse->footer(
      "RECORD is a COMTRADE record (its .cfg, .dat or .cff file, ASCII or BINARY) or a CSV file with\n"
      "three phase voltages; - reads CSV or a .cff file from standard input.\n\n" +
      statuses);
  analyse->add_option("RECORD", arguments->record, "File to analyse")->type_name("")->required();
  analyse
      ->add_option("--channels", arguments->options.channels, "The three phase voltages, as channel names or numbers")
      ->type_name("A,B,C");
  analyse->add_option("--rate", arguments->open.sampling_rate, "Samples per second of a CSV file without a time column")
      ->check(between(1.0, 1e9))
      ->type_name("HZ");
  analyse
      ->add_option("--frequency", arguments->options.line_frequency,
                   "Line frequency (10 to 100), where the file is silent or wrong")
      ->check(between(10.0, 100.0))
      ->type_name("HZ");
  analyse->add_flag("--json", arguments->json, "Print one JSON document instead of text");
  analyse->add_option("--report", arguments->report, "Write the library's own report of the whole record to FILE")
      ->type_name("FILE");
  analyse->add_flag("--trace", arguments->options.trace, "Show the library's lines on standard error");
  analyse->callback([arguments] { run(*arguments); });
}

}  // namespace command
