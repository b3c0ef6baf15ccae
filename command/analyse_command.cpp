#include "command/analyse_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "analysis/analyse.h"
#include "analysis/choice/chosen_set.h"
#include "analysis/event_terms.h"
#include "analysis/refusal.h"
#include "command/event_options.h"
#include "command/known_charset.h"
#include "command/option_range.h"
#include "command/output_options.h"
#include "command/progress.h"
#include "readers/open_record.h"
#include "readers/text.h"

namespace command {

namespace {

struct Arguments {
  std::string record;
  std::string set;
  std::string part;
  std::string fail_on;
  EventOptions events;
  Outputs outputs;
  readers::OpenOptions open;
  analysis::AnalysisOptions options;
};

/// A number, or "all", which counts as 0 and is told by `all`.
std::size_t number_or_all(const std::string& text, bool& all) {
  all = text == "all";
  return all || text.empty() ? 0 : readers::parse_count(text).value_or(0);
}

CLI::Validator number_or_all_check() {
  return {[](const std::string& text) {
            const auto number = readers::parse_count(text);
            if (text == "all" || (number && *number >= 1 && *number <= 1000000000)) return std::string();
            return fmt::format("'{}' is neither a whole number from 1 on nor 'all'", text);
          },
          ""};
}

/// An empty text would count as no choice at all.
CLI::Validator not_empty() {
  return {[](const std::string& text) {
            return text.find_first_not_of(" \t") == std::string::npos ? std::string("the value is empty")
                                                                      : std::string();
          },
          ""};
}

/// Throws UnusableOptions for what the library's results do not have.
void check_library_options(const Arguments& arguments) {
  if (!arguments.options.library) return;
  if (arguments.outputs.csv) {
    throw UnusableOptions("--csv has no columns for the library's results; use --json or -q, or leave out --library");
  }
  if (!arguments.fail_on.empty() && arguments.fail_on != "dip") {
    throw UnusableOptions(fmt::format(
        "--fail-on {} does not go with --library, which finds dips alone; use --fail-on dip, or leave out --library",
        arguments.fail_on));
  }
}

/// Whether a finding is one that the user wants the status to show. Of the library's results it is any dip, as only
/// --fail-on dip goes with them.
bool fails(const std::string& fail_on, const analysis::Analysis& analysis) {
  if (fail_on.empty()) return false;
  if (analysis.library) return !analysis.library->dips.empty() || analysis.library->unfinished_dip;
  return std::any_of(analysis.found.events.begin(), analysis.found.events.end(), [&](const measure::Event& event) {
    return fail_on == "event" || fail_on == analysis::kind_code(event.kind);
  });
}

/// Analyses and shows one set and part; returns whether the status is to show what was found.
bool analyse_one(const readers::Record& record, const Arguments& arguments, const analysis::AnalysisOptions& options,
                 Progress& progress) {
  const analysis::Analysis analysis = analysis::analyse(record, options);
  show(record, analysis, arguments.outputs, progress);
  return fails(arguments.fail_on, analysis);
}

/// "set 2", "part 3" or "set 2, part 3": one of those that were asked for; 0 for a number that was not.
std::string name_of(std::size_t set, std::size_t part) {
  std::string name;
  if (set > 0) name = fmt::format("set {}", set);
  if (part > 0) name += fmt::format("{}part {}", name.empty() ? "" : ", ", part);
  return name;
}

/// Analyses all sets or parts, one after another. One that cannot be analysed is told on standard error and does not
/// keep the others from being shown; when none can, the first complaint is thrown.
bool analyse_all(const readers::Record& record, Arguments& arguments, bool all_sets, bool all_parts,
                 Progress& progress) {
  const Outputs& outputs = arguments.outputs;
  if (!outputs.svg.empty() || !outputs.html.empty() || !outputs.report.empty()) {
    throw UnusableOptions("--svg, --html and --report show one set and part; choose them by number, not all");
  }
  bool found = false;
  bool shown = false;
  std::exception_ptr first_complaint;
  for (const auto& [set, part] : analysis::all_of(record, arguments.options.choice, all_sets, all_parts)) {
    analysis::AnalysisOptions options = arguments.options;
    options.choice.set = set;
    options.choice.part = part;
    arguments.outputs.one_of_many = true;
    arguments.outputs.first = !shown;
    try {
      found = analyse_one(record, arguments, options, progress) || found;
      shown = true;
    } catch (const analysis::Refusal& refusal) {
      progress.finish();
      const std::string which = name_of(all_sets ? set : 0, all_parts ? part : 0);
      std::fprintf(stderr, "dipx: %s: %s\n", which.c_str(), readers::inert(refusal.what()).c_str());
      if (!first_complaint) first_complaint = std::current_exception();
    }
  }
  if (!shown && first_complaint) std::rethrow_exception(first_complaint);
  return found;
}

bool run(Arguments arguments) {
  arguments.options.report = !arguments.outputs.report.empty();
  take_event_options(arguments.events, arguments.options);
  check_library_options(arguments);
  bool all_sets = false;
  bool all_parts = false;
  arguments.options.choice.set = number_or_all(arguments.set, all_sets);
  arguments.options.choice.part = number_or_all(arguments.part, all_parts);
  arguments.open.wanted = [&choice = arguments.options.choice](const readers::Record& record) {
    return analysis::channels_to_read(record, choice);
  };
  Progress progress(!arguments.options.trace);
  progress.stage("reading " + (arguments.record == "-" ? "standard input" : arguments.record));
  const auto record = readers::open_record(arguments.record, arguments.open);
  check_files(record, arguments.outputs);
  arguments.options.report_stage = [&](const std::string& what, double done) { progress.stage(what, done); };
  if (all_sets || all_parts) return analyse_all(record, arguments, all_sets, all_parts, progress);
  return analyse_one(record, arguments, arguments.options, progress);
}

}  // namespace

void add_analyse(CLI::App& app, const std::string& statuses, bool& found) {
  CLI::App* analyse = app.add_subcommand("analyse", "Find and measure the dips, swells and other events of one record");
  const auto arguments = std::make_shared<Arguments>();
  analyse->alias("analyze");
  analyse->footer(
      "RECORD is a COMTRADE record (its .cfg, .dat or .cff file) or a CSV file with one to three\n"
      "voltages; - reads CSV or a .cff file from standard input.\n\n" +
      statuses);
  analyse->add_option("RECORD", arguments->record, "File to analyse")->type_name("")->required();
  analyse
      ->add_option("--channels", arguments->options.choice.channels,
                   "One to three voltages, as channel names or numbers")
      ->check(not_empty())
      ->type_name("A,B,C");
  analyse
      ->add_option("--set", arguments->set,
                   "Number of the voltage set, as dipx info lists them, or all (default: the set with the worst event)")
      ->check(number_or_all_check())
      ->excludes("--channels")
      ->type_name("N");
  analyse->add_flag("--line-to-line", arguments->options.choice.line_to_line,
                    "Analyse voltages between phases: those that are recorded, otherwise computed from phase voltages");
  analyse
      ->add_option("--part", arguments->part,
                   "Number of the record's part, where sampling rate or gaps divide it, or all")
      ->check(number_or_all_check())
      ->type_name("N");
  analyse
      ->add_option("--rate", arguments->open.sampling_rate,
                   "Samples per second, if neither the file nor its time stamps say")
      ->check(between(1.0, 1e9))
      ->type_name("HZ");
  analyse
      ->add_option("--frequency", arguments->options.choice.line_frequency,
                   "Nominal line frequency (10 to 100), if the file does not say or is wrong")
      ->check(between(10.0, 100.0))
      ->type_name("HZ");
  analyse
      ->add_option("--charset", arguments->open.charset, "Character set of the file's names, where the guess is wrong")
      ->check(known_charset())
      ->type_name("NAME");
  add_event_options(*analyse, arguments->events, arguments->options);
  analyse->add_option("--options", "Read options from FILE, one in a line; those of the command line win")
      ->type_name("FILE")
      ->group("Events");
  add_output_options(*analyse, arguments->outputs);
  analyse->add_flag("--library", arguments->options.library,
                    "Show the embedded library's own results in place of the events");
  analyse->add_flag("--trace", arguments->options.trace, "Show the embedded library's lines on standard error");
  analyse
      ->add_option("--fail-on", arguments->fail_on,
                   "Exit with status 10 if the record holds a dip, a swell or any event")
      ->check(CLI::IsMember({"dip", "swell", "event"}).description(""))
      ->type_name("dip|swell|event");
  analyse->callback([arguments, &found] { found = run(*arguments); });
}

}  // namespace command
