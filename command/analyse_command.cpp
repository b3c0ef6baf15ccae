#include "command/analyse_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <string>

#include "analysis/analyse.h"
#include "analysis/choice/chosen_set.h"
#include "command/known_charset.h"
#include "command/option_range.h"
#include "command/output_options.h"
#include "command/progress.h"
#include "readers/open_record.h"

namespace command {

namespace {

struct Arguments {
  std::string record;
  std::string nominal;
  Outputs outputs;
  readers::OpenOptions open;
  analysis::AnalysisOptions options;
};

/// "230", "20kV", "0.4 kV".
double parse_volts(const std::string& text) {
  double value = 0;
  char unit[4] = "";
  int end = 0;
  const int read = std::sscanf(text.c_str(), "%lf %n%3s", &value, &end, unit);
  const std::string name = unit;
  const double factor = name == "kV" || name == "kv" ? 1e3 : name == "MV" ? 1e6 : 1;
  const bool known = name.empty() || name == "V" || name == "v" || factor != 1;
  if (read < 1 || !known || static_cast<std::size_t>(end) + name.size() != text.size() || !(value > 0) ||
      !(value * factor <= 1e7)) {
    throw analysis::UnknownChoice(fmt::format("--nominal: '{}' is no voltage; write it as in 230 or 20kV", text));
  }
  return value * factor;
}

void run(Arguments arguments) {
  arguments.options.report = !arguments.outputs.report.empty();
  if (!arguments.nominal.empty()) arguments.options.nominal = parse_volts(arguments.nominal);
  arguments.open.wanted = [&choice = arguments.options.choice](const readers::Record& record) {
    return analysis::channels_to_read(record, choice);
  };
  Progress progress(!arguments.options.trace);
  progress.stage("reading " + (arguments.record == "-" ? "standard input" : arguments.record));
  const auto record = readers::open_record(arguments.record, arguments.open);
  check_files(record, arguments.outputs);
  arguments.options.report_stage = [&](const std::string& what, double done) { progress.stage(what, done); };
  show(record, analysis::analyse(record, arguments.options), arguments.outputs, progress);
}

}  // namespace

void add_analyse(CLI::App& app, const std::string& statuses) {
  CLI::App* analyse = app.add_subcommand("analyse", "Find and measure the voltage dips of one record");
  const auto arguments = std::make_shared<Arguments>();
  analyse->alias("analyze");
  analyse->footer(
      "RECORD is a COMTRADE record (its .cfg, .dat or .cff file) or a CSV file with three phase\n"
      "voltages; - reads CSV or a .cff file from standard input.\n\n" +
      statuses);
  analyse->add_option("RECORD", arguments->record, "File to analyse")->type_name("")->required();
  analyse
      ->add_option("--channels", arguments->options.choice.channels, "The three voltages, as channel names or numbers")
      ->type_name("A,B,C");
  analyse
      ->add_option("--set", arguments->options.choice.set,
                   "Number of the voltage set, as dipx info lists them, where the record holds several")
      ->check(between(1, 1e6))
      ->excludes("--channels")
      ->type_name("N");
  analyse->add_flag("--line-to-line", arguments->options.choice.line_to_line,
                    "Analyse voltages between phases as they are; with --channels, these are such");
  analyse
      ->add_option("--part", arguments->options.choice.part,
                   "Number of the record's part, where it falls into several by sampling rate or gaps")
      ->check(between(1, 1e9))
      ->type_name("N");
  analyse
      ->add_option("--nominal", arguments->nominal,
                   "Declared voltage, phase or line (230, 20kV), for per-cent figures beside those of the level before "
                   "the event")
      ->type_name("V");
  analyse
      ->add_option("--rate", arguments->open.sampling_rate,
                   "Samples per second, where neither the file nor its times tell")
      ->check(between(1.0, 1e9))
      ->type_name("HZ");
  analyse
      ->add_option("--frequency", arguments->options.choice.line_frequency,
                   "Line frequency (10 to 100), where the file is silent or wrong")
      ->check(between(10.0, 100.0))
      ->type_name("HZ");
  analyse
      ->add_option("--charset", arguments->open.charset, "Character set of the file's names, where the guess is wrong")
      ->check(known_charset())
      ->type_name("NAME");
  add_output_options(*analyse, arguments->outputs);
  analyse->add_flag("--trace", arguments->options.trace, "Show the library's lines on standard error");
  analyse->callback([arguments] { run(*arguments); });
}

}  // namespace command
