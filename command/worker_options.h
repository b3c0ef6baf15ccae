// The options of commands that have worker processes analyse records for a database.
#pragma once

#include <string>

#include "archive/add.h"
#include "command/event_options.h"
#include "command/record_options.h"

namespace command {

/// Values of these options as they were given. Number of jobs: one for each processor, unless it is given.
struct WorkerOptions {
  RecordOptions records;
  EventOptions events;
  archive::AddSettings settings;
};

/// Adds --jobs, --timeout and --memory.
void add_worker_limits(CLI::App& app, WorkerOptions& given);

/// Adds the options for how records are read and analysed, and --options.
void add_analysis_options(CLI::App& app, WorkerOptions& given);

/// Returns the settings that the options mean. Throws UnusableOptions.
archive::AddSettings settings_of(const WorkerOptions& given);

/// Returns the refused records by reason, as in " (1 timeout, 2 unreadable)"; empty if there are none.
std::string refusals_text(const archive::AddSummary& summary);

}  // namespace command
