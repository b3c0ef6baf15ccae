#include "command/worker_options.h"

#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <thread>

#include "command/option_range.h"
#include "command/options_file.h"
#include "command/stretch_options.h"

namespace command {

namespace {

std::size_t all_processors() {
  return std::max(1U, std::thread::hardware_concurrency());
}

/// Returns the memory of this machine divided by the workers, so that together they never need more than there is.
std::size_t fair_memory_mb(std::size_t jobs) {
  const long pages = sysconf(_SC_PHYS_PAGES);
  const long page = sysconf(_SC_PAGESIZE);
  if (pages <= 0 || page <= 0) return 0;
  return std::max<std::size_t>(64, (static_cast<std::size_t>(pages) * static_cast<std::size_t>(page) >> 20) / jobs);
}

}  // namespace

void add_worker_limits(CLI::App& app, WorkerOptions& given) {
  given.settings.jobs = all_processors();
  app.add_option("-j,--jobs", given.settings.jobs, "Number of worker processes (default: one for each processor)")
      ->check(counting_number())
      ->type_name("N");
  app.add_option("--timeout", given.settings.timeout_s, "Refuse a record that takes longer than this (300)")
      ->check(between(0.001, 1e6))
      ->type_name("S");
  app.add_option("--memory", given.settings.memory_mb,
                 "Refuse a record that needs more memory than this (default: the machine's memory divided by the jobs)")
      ->check(counting_number())
      ->type_name("MB");
}

void add_analysis_options(CLI::App& app, WorkerOptions& given) {
  add_record_options(app, given.records, given.settings.how.options.choice);
  add_event_options(app, given.events, given.settings.how.options);
  add_options_file(app);
}

archive::AddSettings settings_of(const WorkerOptions& given) {
  archive::AddSettings settings = given.settings;
  archive::RecordAnalysis& how = settings.how;
  take_event_options(given.events, how.options);
  check_stretch(given.records.stretch);
  const AllOf all = take_set_and_part(given.records, how.options.choice);
  how.all_sets = all.sets;
  how.all_parts = all.parts;
  how.open = given.records.open;
  how.stretch = given.records.stretch;
  if (settings.memory_mb == 0) settings.memory_mb = fair_memory_mb(settings.jobs);
  return settings;
}

std::string refusals_text(const archive::AddSummary& summary) {
  std::string text;
  for (const auto& [reason, count] : summary.refused) {
    text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, reason);
  }
  return text.empty() ? "" : " (" + text + ")";
}

}  // namespace command
