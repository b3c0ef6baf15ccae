#include "command/analyse_command.h"

#include <memory>
#include <string>

#include "command/analysis.h"
#include "command/option_range.h"
#include "command/outputs.h"
#include "command/progress.h"
#include "readers/open_record.h"

namespace command {

namespace {

struct Arguments {
  std::string record;
  Outputs outputs;
  readers::OpenOptions open;
  AnalysisOptions options;
};

void run(Arguments arguments) {
  arguments.options.report = !arguments.outputs.report.empty();
  Progress progress(!arguments.options.trace);
  progress.stage("reading " + (arguments.record == "-" ? "standard input" : arguments.record));
  const auto record = readers::open_record(arguments.record, arguments.open);
  progress.stage("searching for dips");
  arguments.options.progress = [&](const std::string& what, double done) { progress.stage(what, done); };
  const auto analysis = analyse(record, arguments.options);
  show(record, analysis, arguments.outputs, progress);
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
  add_output_options(*analyse, arguments->outputs);
  analyse->add_flag("--trace", arguments->options.trace, "Show the library's lines on standard error");
  analyse->callback([arguments] { run(*arguments); });
}

}  // namespace command
