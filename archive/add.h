// Adds records to a store: finds them, has worker processes analyse those that are new, and stores the results.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "analysis/stage_report.h"
#include "archive/found_files.h"
#include "archive/parameters.h"
#include "archive/store.h"

namespace archive {

/// A part of all records, chosen by their content: shard 2 of 3 has the same records in every run and on every machine.
struct Shard {
  std::size_t number = 1;  ///< from 1 to `of`
  std::size_t of = 1;

  /// Returns whether a record belongs to the shard.
  [[nodiscard]] bool holds(const std::string& sha256) const;
};

struct AddSettings {
  RecordAnalysis how;
  std::size_t jobs = 1;
  double timeout_s = 300;     ///< for one record
  std::size_t memory_mb = 0;  ///< for one record; 0: no limit
  Shard shard;
  bool retry = false;     ///< records that were refused before are analysed again
  bool announce = false;  ///< new events become pending events (pending_events.h)
  /// Asked before each record and at least once a second; true ends the run early. Records that are being analysed then
  /// count as never begun. Empty: never.
  std::function<bool()> is_stopped = {};
  analysis::StageReport report_stage = analysis::no_report;
};

/// What became of the files.
struct AddSummary {
  std::size_t files = 0;        ///< found
  std::size_t read = 0;         ///< records that were analysed in this run
  std::size_t known = 0;        ///< records that were in the store already, or came twice
  std::size_t other_shard = 0;  ///< records of other shards
  std::size_t no_record = 0;    ///< files that are something else
  std::size_t events = 0;
  std::map<std::string, std::size_t> refused;  ///< records by reason
  std::vector<readers::ReadError> complaints;  ///< folders that cannot be listed or have vanished
  double seconds = 0;

  [[nodiscard]] std::size_t all_refused() const;
};

/// Adds all records that the paths name. All rows about a record are written in one transaction, at most a second after
/// it was analysed, so that a run can be killed at any moment and started again. Throws StoreError, readers::ReadError
/// for paths that name nothing, and std::system_error if no worker can be started.
AddSummary add_records(Store& store, const std::vector<std::string>& paths, const AddSettings& settings);

/// Does the same for files that were found before.
AddSummary add_files(Store& store, FoundFiles files, const AddSettings& settings);

}  // namespace archive
