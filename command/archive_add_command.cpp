#include "command/archive_add_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include "archive/add.h"
#include "archive/open_store.h"
#include "command/event_options.h"
#include "command/listed_paths.h"
#include "command/progress.h"
#include "command/standard_output.h"
#include "command/worker_options.h"
#include "readers/record.h"
#include "readers/text.h"

namespace command {

namespace {

struct Arguments {
  std::string store;
  std::vector<std::string> paths;
  std::string list;
  WorkerOptions workers;
  std::string shard;
};

/// Returns the shard that a text such as "2/3" names; none if it names none.
std::optional<archive::Shard> shard_in(const std::string& text) {
  const std::size_t slash = text.find('/');
  if (slash == std::string::npos) return std::nullopt;
  const auto number = readers::parse_count(text.substr(0, slash));
  const auto of = readers::parse_count(text.substr(slash + 1));
  constexpr std::size_t most = 1000000;
  if (!number || !of || *number < 1 || *number > *of || *of > most) return std::nullopt;
  return archive::Shard{*number, *of};
}

CLI::Validator shard_check() {
  return {[](const std::string& text) {
            if (shard_in(text)) return std::string();
            return fmt::format("{} is not a shard; use a form such as 2/3, the second of three", readers::cited(text));
          },
          ""};
}

std::string summary_text(const archive::AddSummary& summary) {
  std::string text = fmt::format("records analysed  {}\nknown already     {}\n", summary.read, summary.known);
  if (summary.other_shard > 0) text += fmt::format("of other shards   {}\n", summary.other_shard);
  text += fmt::format("refused           {}{}\n", summary.all_refused(), refusals_text(summary));
  if (summary.no_record > 0) text += fmt::format("not records       {}\n", summary.no_record);
  return text + fmt::format("events            {}\nseconds           {:.1f}\n", summary.events, summary.seconds);
}

/// Throws the last complaint after all others are shown, so that the exit status reports that something is missing.
void complain(const std::vector<readers::ReadError>& complaints) {
  if (complaints.empty()) return;
  for (std::size_t i = 0; i + 1 < complaints.size(); i++) std::fprintf(stderr, "dipx: %s\n", complaints[i].what());
  throw complaints.back();
}

void run(Arguments arguments) {
  archive::AddSettings settings = settings_of(arguments.workers);
  if (!arguments.shard.empty()) settings.shard = shard_in(arguments.shard).value();
  if (!arguments.list.empty()) {
    for (std::string& path : listed_paths(arguments.list)) arguments.paths.push_back(std::move(path));
  } else if (arguments.paths.empty()) {
    throw UnusableOptions("there is no PATH to add; name files or folders, or a list of them with -@");
  }
  const auto store = archive::open_store(arguments.store, archive::StoreUse::write);
  Progress progress;
  settings.report_stage = [&](const std::string& what, double done) { progress.stage(what, done); };
  const archive::AddSummary summary = archive::add_records(*store, arguments.paths, settings);
  progress.finish();
  write_standard_output(summary_text(summary));
  complain(summary.complaints);
}

}  // namespace

void add_archive_add(CLI::App& archive, const std::string& statuses) {
  CLI::App* add = archive.add_subcommand("add", "Analyse records and keep their results in a database");
  const auto arguments = std::make_shared<Arguments>();
  add->footer(
      "PATH is a file, a folder, which is searched with all folders in it, a zip file, or a quoted pattern such\n"
      "as 'records/*.cfg'. Records are recognised by their content, and both files of a pair count once. Records\n"
      "that the database knows are not analysed again, whatever their file is called now, so that a run that was\n"
      "interrupted can be started again. Records that crash, hang, need too much memory or cannot be read are\n"
      "kept as refusals with the reason.\n\n"
      "  dipx archive add events.db records/ more.zip\n"
      "  find /srv/records -name '*.pqd' | dipx archive add events.db -@ - --part all\n"
      "  dipx archive add part2.db records/ --shard 2/3\n\n" +
      statuses);
  add->add_option("DB", arguments->store, "File of the database, or a URL: postgresql://user@host/name")
      ->type_name("")
      ->required();
  add->add_option("PATH", arguments->paths, "Files, folders and patterns")->type_name("");
  add->add_option("-@,--list", arguments->list, "Also add the paths in FILE, one in a line; - is standard input")
      ->type_name("FILE");
  add_worker_limits(*add, arguments->workers);
  add->add_option("--shard", arguments->shard,
                  "Add only the K-th of N parts of the records, which are divided by their content")
      ->check(shard_check())
      ->type_name("K/N");
  add->add_flag("--retry", arguments->workers.settings.retry, "Analyse records again that were refused before");
  add_analysis_options(*add, arguments->workers);
  add->callback([arguments] { run(*arguments); });
}

}  // namespace command
