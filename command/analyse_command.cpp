#include "command/analyse_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "analysis/analyse.h"
#include "analysis/choice/chosen_set.h"
#include "analysis/choice/record_voltages.h"
#include "analysis/event_terms.h"
#include "analysis/refusal.h"
#include "archive/found_files.h"
#include "archive/loaded_file.h"
#include "command/event_options.h"
#include "command/options_file.h"
#include "command/output_options.h"
#include "command/progress.h"
#include "command/record_options.h"
#include "command/records_failed.h"
#include "command/stretch_options.h"
#include "readers/open_record.h"
#include "readers/text.h"

namespace command {

namespace {

struct Arguments {
  std::vector<std::string> records;
  RecordOptions record_options;
  std::string fail_on;
  EventOptions events;
  Outputs outputs;
  analysis::AnalysisOptions options;
};

/// Throws UnusableOptions if an option asks for output that the library's results do not contain.
void check_library_options(const Arguments& arguments) {
  if (!arguments.options.library) return;
  if (arguments.outputs.csv) {
    throw UnusableOptions("--csv has no columns for the library's results; use --json or -q, or leave out --library");
  }
  if (!arguments.fail_on.empty() && arguments.fail_on != "dip") {
    throw UnusableOptions(fmt::format(
        "--fail-on {} cannot be used with --library, which finds only dips; use --fail-on dip, or leave out --library",
        arguments.fail_on));
  }
}

/// Returns whether the exit status shall report a finding. For the library's results this is any dip, because only
/// --fail-on dip can be combined with --library.
bool fails(const std::string& fail_on, const analysis::Analysis& analysis) {
  if (fail_on.empty()) return false;
  if (analysis.library) return !analysis.library->dips.empty() || analysis.library->unfinished_dip;
  return std::any_of(analysis.found.events.begin(), analysis.found.events.end(), [&](const measure::Event& event) {
    return fail_on == "event" || fail_on == analysis::kind_code(event.kind);
  });
}

/// Analyses and shows one set and part; returns whether the exit status shall report a finding.
bool analyse_one(analysis::RecordVoltages& voltages, const Arguments& arguments,
                 const analysis::AnalysisOptions& options, Progress& progress) {
  const analysis::Analysis analysis = analysis::analyse(voltages, options);
  const RecordOptions& given = arguments.record_options;
  const outputs::CertifiedRun run{given.open.sampling_rate, given.open.charset, given.stretch, options};
  show(voltages.record(), analysis, arguments.outputs, run, arguments.records.front(), progress);
  return fails(arguments.fail_on, analysis);
}

/// Analyses all sets or parts, one after another. A set or part that cannot be analysed is reported on standard error,
/// and the others are still shown. If none can be analysed, the first error is thrown.
bool analyse_all(analysis::RecordVoltages& voltages, Arguments& arguments, bool all_sets, bool all_parts,
                 Progress& progress) {
  const Outputs& outputs = arguments.outputs;
  if (outputs.files()) {
    throw UnusableOptions(
        "--svg, --pdf, --png, --html, --report and --certificate show one set and part; choose them by number, not all");
  }
  const bool first = arguments.outputs.first;
  bool found = false;
  bool shown = false;
  std::exception_ptr first_complaint;
  for (const auto& [set, part] : analysis::all_of(voltages, arguments.options.choice, all_sets, all_parts)) {
    analysis::AnalysisOptions options = arguments.options;
    options.choice.set = set;
    options.choice.part = part;
    arguments.outputs.one_of_many = true;
    arguments.outputs.first = first && !shown;
    try {
      found = analyse_one(voltages, arguments, options, progress) || found;
      shown = true;
    } catch (const analysis::Refusal& refusal) {
      progress.finish();
      const std::string which = analysis::name_of({all_sets ? set : 0, all_parts ? part : 0});
      std::fprintf(stderr, "dipx: %s: %s\n", which.c_str(), readers::inert(refusal.what()).c_str());
      if (!first_complaint) first_complaint = std::current_exception();
    }
  }
  if (!shown && first_complaint) std::rethrow_exception(first_complaint);
  return found;
}

/// Analyses and shows a record that was read: one set and part, or all of them. Returns whether the exit status shall
/// report a finding.
bool analyse_record(readers::Record record, Arguments& arguments, const AllOf& all, Progress& progress) {
  apply_stretch(record, arguments.record_options.stretch);
  check_files(record, arguments.outputs);
  arguments.options.report_stage = [&](const std::string& what, double done) { progress.stage(what, done); };
  analysis::RecordVoltages voltages(record, arguments.options.choice);
  if (all.sets || all.parts) return analyse_all(voltages, arguments, all.sets, all.parts, progress);
  return analyse_one(voltages, arguments, arguments.options, progress);
}

/// Analyses several records, one after another, and shows them in one table. A record that cannot be read or analysed
/// is reported on standard error, and the others are still shown. Throws RecordsFailed at the end if there was one.
class SeveralRecords {
 public:
  SeveralRecords(Arguments& arguments, const AllOf& all) : arguments_(arguments), all_(all) {
    const Outputs& outputs = arguments.outputs;
    if (outputs.files()) {
      throw UnusableOptions(
          "--svg, --pdf, --png, --html, --report and --certificate show one record; name a single file");
    }
    arguments.outputs.one_of_many = true;
  }

  bool analyse() {
    const archive::FoundFiles found = archive::find_files(arguments_.records);
    for (const readers::ReadError& complaint : found.complaints) complain(complaint.what(), false);
    for (const archive::FoundFile& file : found.files) load(file);
    if (failed_ > 0) throw RecordsFailed(failed_, failed_ + analysed_, only_refused_);
    return found_;
  }

 private:
  void load(const archive::FoundFile& file) {
    try {
      archive::LoadedFile loaded = loader_.load(file, archive::stamp_of(file));
      if (loaded.kind == archive::FileKind::record) analyse(std::move(loaded.contents));
      for (const std::string& member : loaded.members) {
        archive::FoundFile inner = file;
        inner.member = member;
        load(inner);
      }
    } catch (const readers::ReadError& error) {
      complain(error.what(), false);
    } catch (const analysis::Refusal& error) {
      complain(error.what(), true);
    }
  }

  void analyse(readers::RecordContents contents) {
    Progress progress(!arguments_.options.trace);
    progress.stage("reading " + contents.name);
    arguments_.outputs.first = analysed_ == 0;
    auto record = readers::open_contents(std::move(contents), arguments_.record_options.open);
    found_ = analyse_record(std::move(record), arguments_, all_, progress) || found_;
    analysed_++;
  }

  void complain(const std::string& message, bool refused) {
    failed_++;
    only_refused_ = only_refused_ && refused;
    std::fprintf(stderr, "dipx: %s\n", readers::inert(message).c_str());
  }

  Arguments& arguments_;
  AllOf all_;
  archive::FileLoader loader_;
  std::size_t analysed_ = 0;
  std::size_t failed_ = 0;
  bool only_refused_ = true;
  bool found_ = false;
};

bool run(Arguments arguments) {
  arguments.options.report = !arguments.outputs.report.empty();
  take_event_options(arguments.events, arguments.options);
  check_library_options(arguments);
  check_parts(arguments.outputs);
  check_certificate(arguments.outputs, arguments.records.front(), arguments.options.library);
  const AllOf all = take_set_and_part(arguments.record_options, arguments.options.choice);
  readers::OpenOptions& open = arguments.record_options.open;
  if (arguments.outputs.json_lines) arguments.outputs.json = arguments.outputs.one_of_many = true;
  // Only the JSON document and the page show digital channels. Lines and tables show nothing of the currents.
  const Outputs& shown = arguments.outputs;
  open.digitals = shown.json || !shown.html.empty();
  const bool currents = open.digitals || !(shown.quiet || shown.csv) || !shown.certificate.empty();
  open.wanted = [&choice = arguments.options.choice, currents](const readers::Record& record) {
    return currents ? analysis::channels_to_read(record, choice) : analysis::voltages_to_read(record, choice);
  };
  const std::string& first = arguments.records.front();
  if (arguments.records.size() > 1 || archive::names_several(first)) {
    return SeveralRecords(arguments, all).analyse();
  }
  Progress progress(!arguments.options.trace);
  progress.stage("reading " + (first == "-" ? "standard input" : first));
  return analyse_record(readers::open_record(first, open), arguments, all, progress);
}

}  // namespace

void add_analyse(CLI::App& app, const std::string& statuses, bool& found) {
  CLI::App* analyse = app.add_subcommand("analyse", "Find and measure the dips, swells and other events of records");
  const auto arguments = std::make_shared<Arguments>();
  analyse->alias("analyze");
  analyse->footer(
      "RECORD is a COMTRADE record (its .cfg, .dat or .cff file), a PQDIF file (.pqd, .pqdif) or a CSV\n"
      "file with one to three voltages; - reads CSV, PQDIF or a .cff file from standard input. Each\n"
      "observation of a PQDIF file is a part. Several records, and folders with everything in them, are shown\n"
      "one after another; with --csv in one table, with --json-lines as one document in each line.\n\n" +
      statuses);
  analyse->add_option("RECORD", arguments->records, "Files or folders to analyse")->type_name("")->required();
  add_record_options(*analyse, arguments->record_options, arguments->options.choice);
  add_event_options(*analyse, arguments->events, arguments->options);
  add_through(*analyse, arguments->events);
  add_options_file(*analyse);
  add_output_options(*analyse, arguments->outputs);
  analyse->add_flag("--library", arguments->options.library,
                    "Show the embedded library's own results instead of the events");
  analyse->add_flag("--trace", arguments->options.trace, "Show the embedded library's lines on standard error");
  analyse
      ->add_option("--fail-on", arguments->fail_on,
                   "Exit with status 10 if the record holds a dip, a swell or any event")
      ->check(CLI::IsMember({"dip", "swell", "event"}).description(""))
      ->type_name("dip|swell|event");
  analyse->callback([arguments, &found] { found = run(*arguments); });
}

}  // namespace command
