// Watches a folder and adds the records that arrive in it to a store.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "archive/add.h"
#include "archive/pending_events.h"
#include "archive/store.h"

namespace archive {

/// What a watch has done so far, and what is wrong at the moment.
struct WatchState {
  std::size_t records = 0;                 ///< analysed
  std::size_t events = 0;                  ///< found in them
  std::size_t refused = 0;                 ///< records
  std::size_t waiting = 0;                 ///< files that are not complete yet
  std::size_t announced = 0;               ///< events
  std::vector<std::string> waiting_files;  ///< the first ten of them
  std::vector<std::string> problems;

  bool operator==(const WatchState&) const = default;
};

/// The outcome of an announcement. After `failed` the next event is announced; after `postponed` all wait for the next
/// attempt.
enum class Announcement { done, failed, postponed };

struct WatchSettings {
  AddSettings add;       ///< `is_stopped` ends the watch too
  double settle_s = 5;   ///< time after which a file that does not change counts as complete
  double rescan_s = 60;  ///< the folder is searched at least so often
  int stop = -1;         ///< a descriptor that becomes readable when the watch shall end, so that it need not wait
  /// Tells somebody of an event. Empty: nobody is told.
  std::function<Announcement(const PendingEvent&)> announce = {};
  /// Called after records were added, after problems have changed, and at least every ten seconds.
  std::function<void(const WatchState&)> report;
  /// Called with what has become of the records that were complete at the same time.
  std::function<void(const AddSummary&)> added = [](const AddSummary&) {};
};

/// Watches a folder until `add.is_stopped` returns true. Each file is analysed once when it is complete, and again if
/// it changes. Announcements that fail are repeated every `rescan_s`, also by later watches of the same store. Throws
/// StoreError, readers::ReadError if the folder does not exist at the beginning, and std::system_error.
void watch(Store& store, const std::string& folder, const WatchSettings& settings);

}  // namespace archive
