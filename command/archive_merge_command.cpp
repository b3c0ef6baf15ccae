#include "command/archive_merge_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <vector>

#include "archive/merge.h"
#include "archive/open_store.h"
#include "command/output_options.h"
#include "command/progress.h"
#include "command/standard_output.h"
#include "files/whole_file.h"

namespace command {

namespace {

struct Arguments {
  std::string store;
  std::vector<std::string> from;
};

void run(const Arguments& arguments) {
  // All sources are opened before anything is copied, so that a mistyped name changes nothing.
  std::vector<std::unique_ptr<archive::Store>> sources;
  for (const std::string& name : arguments.from) {
    if (name == arguments.store || files::is_same_file(name, arguments.store)) {
      throw OutputClash(fmt::format("{} is the database into which others are merged; name other databases", name));
    }
    sources.push_back(archive::open_store(name, archive::StoreUse::read));
  }
  const auto target = archive::open_store(arguments.store, archive::StoreUse::write);
  Progress progress;
  archive::MergeSummary sum;
  for (std::size_t i = 0; i < sources.size(); i++) {
    progress.stage("merging " + arguments.from[i], static_cast<double>(i) / static_cast<double>(sources.size()));
    const archive::MergeSummary one = archive::merge_store(*target, *sources[i]);
    sum.records += one.records;
    sum.known += one.known;
    sum.events += one.events;
  }
  progress.finish();
  write_standard_output(fmt::format("records copied    {}\nknown already     {}\nevents            {}\n", sum.records,
                                    sum.known, sum.events));
}

}  // namespace

void add_archive_merge(CLI::App& archive, const std::string& statuses) {
  CLI::App* command = archive.add_subcommand("merge", "Copy the records of databases into another one");
  const auto arguments = std::make_shared<Arguments>();
  command->footer(
      "Records that DB knows already are left as they are. A merge that was interrupted can be started again.\n\n"
      "  dipx archive merge events.db part1.db part2.db part3.db\n\n" +
      statuses);
  command->add_option("DB", arguments->store, "File of the database that receives the records, or its URL")
      ->type_name("")
      ->required();
  command->add_option("FROM", arguments->from, "Databases that are copied")->type_name("")->required();
  command->callback([arguments] { run(*arguments); });
}

}  // namespace command
