// The dipx command: what it is told, what it prints, and the status it ends with.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <system_error>

#include "command/analysis.h"
#include "command/analysis_json.h"
#include "command/analysis_text.h"
#include "command/refusal.h"
#include "command/whole_file.h"
#include "readers/open_record.h"

namespace {

enum ExitStatus { analysed = 0, usage = 1, unreadable = 2, refused = 3, failed = 4 };

constexpr const char* exit_statuses =
    "Exit status: 0 analysed (with or without dips), 1 usage, 2 the input cannot be read,\n"
    "3 the analysis does not take the record, 4 an output cannot be written.";

struct AnalyseArguments {
  std::string record;
  std::string report;
  bool json = false;
  readers::OpenOptions open;
  command::AnalysisOptions options;
};

void write_standard_output(const std::string& bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size() || std::fflush(stdout) != 0) {
    throw std::system_error(errno, std::generic_category(), "standard output");
  }
}

void run_analyse(AnalyseArguments arguments) {
  arguments.options.report = !arguments.report.empty();
  const auto record = readers::open_record(arguments.record, arguments.open);
  const auto analysis = command::analyse(record, arguments.options);
  if (!arguments.report.empty()) command::write_whole(arguments.report, analysis.report);
  write_standard_output(arguments.json ? command::json_of(record, analysis) : command::text_of(record, analysis));
}

void add_analyse(CLI::App& app, AnalyseArguments& arguments) {
  CLI::App* analyse = app.add_subcommand("analyse", "Find and measure the voltage dips of one record");
  analyse->alias("analyze");
  analyse->footer(
      "RECORD is a COMTRADE record (its .cfg or .dat file, ASCII or BINARY) or a CSV file with three\n"
      "phase voltages; - reads CSV from standard input.\n\n" +
      std::string(exit_statuses));
  analyse->add_option("RECORD", arguments.record, "File to analyse")->type_name("")->required();
  analyse->add_option("--channels", arguments.options.channels, "The three phase voltages, as channel names or numbers")
      ->type_name("A,B,C");
  analyse->add_option("--rate", arguments.open.sampling_rate, "Samples per second of a CSV file without a time column")
      ->check(CLI::Range(1.0, 1e9, ""))
      ->type_name("HZ");
  analyse
      ->add_option("--frequency", arguments.options.line_frequency,
                   "Line frequency (10 to 100), where the file is silent or wrong")
      ->check(CLI::Range(10.0, 100.0, ""))
      ->type_name("HZ");
  analyse->add_flag("--json", arguments.json, "Print one JSON document instead of text");
  analyse->add_option("--report", arguments.report, "Write the library's own report of the whole record to FILE")
      ->type_name("FILE");
  analyse->add_flag("--trace", arguments.options.trace, "Show the library's lines on standard error");
  analyse->callback([&arguments] { run_analyse(arguments); });
}

int complain(const std::string& line, ExitStatus status) {
  std::fprintf(stderr, "dipx: %s\n", line.c_str());
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Voltage dip analysis of three-phase waveform records", "dipx");
  app.set_version_flag("--version", "dipx " DIPX_VERSION);
  app.footer(exit_statuses);
  app.require_subcommand(1);
  AnalyseArguments arguments;
  add_analyse(app, arguments);
  try {
    app.parse(argc, argv);
    return analysed;
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? analysed : usage;
  } catch (const command::UnknownChannels& error) {
    return complain(error.what(), usage);
  } catch (const readers::ReadError& error) {
    return complain(error.what(), unreadable);
  } catch (const command::Refusal& error) {
    return complain(error.what(), refused);
  } catch (const std::bad_alloc&) {
    return complain("not enough memory", failed);
  } catch (const std::exception& error) {
    return complain(error.what(), failed);
  }
}
