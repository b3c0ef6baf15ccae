#include "command/archive_report_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cctype>
#include <filesystem>
#include <memory>
#include <string_view>

#include "archive/open_store.h"
#include "archive/report.h"
#include "archive/report_html.h"
#include "archive/report_text.h"
#include "command/event_options.h"
#include "command/option_range.h"
#include "command/standard_output.h"
#include "command/written_files.h"
#include "readers/text.h"

namespace command {

namespace {

struct Arguments {
  std::string store;
  archive::ReportOptions options;
  bool json = false;
  bool csv = false;
  std::string html;
  bool no_clobber = false;
};

/// Returns a path in a form in which an address may hold it (RFC 3986).
std::string address_of(const std::string& path) {
  std::string address;
  for (const char character : path) {
    const auto byte = static_cast<unsigned char>(character);
    const bool plain =
        byte < 0x80 && (std::isalnum(byte) != 0 || std::string_view("/._-~").find(character) != std::string_view::npos);
    address += plain ? std::string(1, character) : fmt::format("%{:02X}", byte);
  }
  return address;
}

CLI::Validator date() {
  return {[](const std::string& text) {
            if (archive::is_date(text)) return std::string();
            return fmt::format("{} is not a date; use a form such as 2024-12-31", readers::cited(text));
          },
          ""};
}

/// Returns the address of the page about a record, relative to the page of the report; empty if there is none. It is
/// next to the record under the record's name with the ending .html.
std::string page_of(const std::string& record, const std::string& report) {
  namespace fs = std::filesystem;
  std::error_code error;
  const fs::path page = fs::absolute(fs::path(record).replace_extension(".html"), error).lexically_normal();
  if (error || !fs::is_regular_file(page, error)) return {};
  const fs::path folder = fs::absolute(report, error).lexically_normal().parent_path();
  return address_of(page.lexically_relative(folder).string());
}

void run(const Arguments& arguments) {
  check_clobbering({arguments.html}, arguments.no_clobber);
  if (!arguments.options.from.empty() && !arguments.options.to.empty() &&
      arguments.options.from > arguments.options.to) {
    throw UnusableOptions("--from must not be later than --to");
  }
  const auto store = archive::open_store(arguments.store, archive::StoreUse::read);
  const archive::Report report = archive::report_of(*store, arguments.options);
  if (!arguments.html.empty()) {
    const auto link = [&](const std::string& file) { return page_of(file, arguments.html); };
    write_files({{arguments.html, archive::report_html(report, link)}}, arguments.no_clobber);
  }
  if (arguments.json) {
    write_standard_output(archive::report_json(report));
  } else if (arguments.csv) {
    write_standard_output(archive::report_csv(report));
  } else if (arguments.html.empty()) {
    write_standard_output(archive::report_text(report));
  }
}

}  // namespace

void add_archive_report(CLI::App& archive, const std::string& statuses) {
  CLI::App* command = archive.add_subcommand("report", "Count the events of a database in the tables of standards");
  const auto arguments = std::make_shared<Arguments>();
  command->footer(
      "A site is a station with its recorder, as the records name them. SARFI is the number of dips below a\n"
      "limit in the period, and for all sites the mean of the sites. The results for the options that were used\n"
      "last are counted. Durations and voltages are compared with the curves without their uncertainty.\n\n"
      "The page of --html links to the page of a record if that is next to the record under the same name with\n"
      "the ending .html, as dipx analyse --html writes it.\n\n"
      "  dipx archive report events.db\n"
      "  dipx archive report events.db --from 2024-01-01 --to 2024-12-31 --json\n"
      "  dipx archive report events.db --html report.html\n\n" +
      statuses);
  command->add_option("DB", arguments->store, "File of the database, or its URL")->type_name("")->required();
  command->add_option("--from", arguments->options.from, "Count from this day on, as the records' clocks give it")
      ->check(date())
      ->type_name("DATE");
  command->add_option("--to", arguments->options.to, "Count up to the end of this day")
      ->check(date())
      ->type_name("DATE");
  command
      ->add_option("--window", arguments->options.window_s,
                   "Count events of one kind at one site that begin within this time as one (60); 0 counts all of them")
      ->check(between(0.0, 1e6))
      ->type_name("S");
  command
      ->add_option("--network-window", arguments->options.network_window_s,
                   "Count dips of several sites that begin within this time as one dip of the network (1); 0 does not")
      ->check(between(0.0, 1e6))
      ->type_name("S");
  command->add_flag("--clocks-as-recorded", arguments->options.clocks_as_recorded,
                    "Do not correct clocks that differ when dips of several sites are combined");
  command
      ->add_option("--parameters", arguments->options.parameters,
                   "Count the results for other options, by the hash that the database gives them")
      ->type_name("HASH");
  CLI::Option* json = command->add_flag("--json", arguments->json, "Print one JSON document instead of text");
  command->add_flag("--csv", arguments->csv, "Print a table with a row for each site instead of text")->excludes(json);
  command->add_option("--html", arguments->html, "Write the report as a page for a browser to FILE, with a scatter")
      ->type_name("FILE");
  add_no_clobber(*command, arguments->no_clobber);
  command->callback([arguments] { run(*arguments); });
}

}  // namespace command
