#include "command/watch_command.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>

#include "archive/open_store.h"
#include "archive/watch.h"
#include "command/ending_signals.h"
#include "command/event_command.h"
#include "command/health_file.h"
#include "command/option_range.h"
#include "command/service_manager.h"
#include "command/standard_output.h"
#include "command/worker_options.h"
#include "readers/text.h"

namespace command {

namespace {

struct Arguments {
  std::string inbox;
  std::string store;
  WorkerOptions workers;
  archive::WatchSettings settings;
  EventCommand on_event;
  std::string health;
};

/// Throws UnusableOptions if a file that the watch itself writes lies in the folder that it watches.
void check_outside(const std::string& file, const std::string& inbox, const char* what) {
  namespace fs = std::filesystem;
  if (file.empty() || file.find("://") != std::string::npos) return;
  std::error_code ignored;
  const fs::path inside = fs::weakly_canonical(fs::absolute(file, ignored), ignored);
  const fs::path folder = fs::weakly_canonical(fs::absolute(inbox, ignored), ignored);
  const auto ends = std::mismatch(folder.begin(), folder.end(), inside.begin(), inside.end());
  if (ends.first != folder.end()) return;
  throw UnusableOptions(fmt::format("{}: {} must not lie in the folder that is watched; choose another folder for it",
                                    readers::inert(file), what));
}

std::string status_text(const archive::WatchState& state) {
  if (!state.problems.empty()) return readers::inert(state.problems.front());
  return fmt::format("{} analysed, {} found, {} refused, {} incomplete", readers::plural(state.records, "record"),
                     readers::plural(state.events, "event"), state.refused, readers::plural(state.waiting, "file"));
}

/// Reports to systemd, to the health file and, about new problems, on standard error.
class Reports {
 public:
  explicit Reports(const std::string& health) : health_(health) {}

  void take(const archive::WatchState& state) {
    health_.write(state);
    if (!std::exchange(ready_, true)) manager_.ready(status_text(state));
    manager_.alive(status_text(state));
    std::set<std::string> problems(state.problems.begin(), state.problems.end());
    for (const std::string& problem : problems) {
      if (known_.count(problem) == 0) std::fprintf(stderr, "dipx: %s\n", readers::inert(problem).c_str());
    }
    known_ = std::move(problems);
    state_ = state;
  }
  void still_alive() { take(archive::WatchState(state_)); }

  void end(const std::string& problem) {
    manager_.stopping();
    health_.write_end(problem);
  }

 private:
  HealthFile health_;
  ServiceManager manager_;
  archive::WatchState state_;
  std::set<std::string> known_;  ///< problems that were printed
  bool ready_ = false;
};

void print_added(const archive::AddSummary& summary) {
  if (summary.read + summary.all_refused() == 0) return;
  write_standard_output(fmt::format("{} analysed, {}, {} refused{}\n", readers::plural(summary.read, "record"),
                                    readers::plural(summary.events, "event"), summary.all_refused(),
                                    refusals_text(summary)));
}

void run(Arguments arguments) {
  check_outside(arguments.store, arguments.inbox, "the database");
  check_outside(arguments.health, arguments.inbox, "the file for --health");
  archive::WatchSettings& settings = arguments.settings;
  settings.add = settings_of(arguments.workers);
  const EndingSignals signals;
  settings.stop = signals.descriptor();
  settings.add.is_stopped = [&] { return signals.arrived(); };
  Reports reports(arguments.health);
  settings.report = [&](const archive::WatchState& state) { reports.take(state); };
  settings.added = print_added;
  EventCommand& command = arguments.on_event;
  command.is_stopped = settings.add.is_stopped;
  command.keep_alive = [&] { reports.still_alive(); };
  if (!command.line.empty()) settings.announce = [&](const archive::PendingEvent& event) { return command.run(event); };
  try {
    const auto store = archive::open_store(arguments.store, archive::StoreUse::write);
    archive::watch(*store, arguments.inbox, settings);
  } catch (const std::exception& error) {
    reports.end(error.what());
    throw;
  }
  reports.end("");
}

}  // namespace

void add_watch(CLI::App& app, const std::string& statuses) {
  CLI::App* watch = app.add_subcommand("watch", "Analyse the records that arrive in a folder, as a service");
  const auto arguments = std::make_shared<Arguments>();
  watch->footer(
      "Records are added to DB as by dipx archive add: each once, as soon as its files have stopped growing and\n"
      "a .cfg file has its .dat file. Files whose names end in .part, .partial, .filepart, .tmp or .crdownload are\n"
      "unfinished transfers and left alone. The files in INBOX are only read.\n\n"
      "The command of --on-event is run by /bin/sh for each event of a record that the watch analyses. It gets\n"
      "the event as a line of JSON on standard input, and each column of dipx archive export as a variable such\n"
      "as DIPX_KIND. If it fails, it is repeated, also by a later watch. An event for which the watch is killed\n"
      "before it can note that the command has succeeded is announced again.\n\n"
      "SIGTERM and SIGINT end the watch with status 0. It can be killed and started again at any time.\n\n"
      "  dipx watch /srv/inbox events.db\n"
      "  dipx watch /srv/inbox events.db --on-event 'mail -s \"$DIPX_KIND at $DIPX_SITE\" grid@example.org'\n\n" +
      statuses);
  watch->add_option("INBOX", arguments->inbox, "Folder that is watched with all folders in it")
      ->type_name("")
      ->required();
  watch->add_option("DB", arguments->store, "File of the database, or a URL: postgresql://user@host/name")
      ->type_name("")
      ->required();
  watch->add_option("--on-event", arguments->on_event.line, "Run this command for each event that is found")
      ->type_name("COMMAND");
  watch
      ->add_option("--on-event-timeout", arguments->on_event.limit_s,
                   "Kill the command of --on-event after this time and repeat it later (60)")
      ->check(between(0.001, 1e6))
      ->type_name("S");
  watch->add_option("--health", arguments->health, "Keep the state of the watch in FILE, as JSON, for monitoring")
      ->type_name("FILE");
  watch
      ->add_option("--settle", arguments->settings.settle_s, "Analyse a file when it has not changed for this time (5)")
      ->check(between(0.0, 1e6))
      ->type_name("S");
  watch
      ->add_option("--rescan", arguments->settings.rescan_s,
                   "Search the folder at least so often, for shares that do not notify of new files (60)")
      ->check(between(0.1, 1e6))
      ->type_name("S");
  add_worker_limits(*watch, arguments->workers);
  add_analysis_options(*watch, arguments->workers);
  watch->callback([arguments] { run(*arguments); });
}

}  // namespace command
