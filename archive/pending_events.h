// Events that were stored and that nobody has been told of yet. They are stored together with the events themselves, so
// that none is forgotten if a run is killed.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "archive/store.h"

namespace archive {

/// An event that waits for its announcement.
struct PendingEvent {
  Row key;           ///< of its row in the table
  std::string json;  ///< the event as `dipx archive export --format json-lines` prints it, without the line feed
  /// Its exported columns by their names, as text; empty where the event has no value.
  std::vector<std::pair<std::string, std::string>> columns;
};

/// Adds the rows that make the events among the new rows of a record pending.
void add_pending(std::vector<TableRows>& tables);

/// Returns up to `most` pending events in the order of their keys. Throws StoreError.
std::vector<PendingEvent> pending_events(Store& store, std::size_t most);

/// Removes an event that was announced from the pending ones. Throws StoreError.
void forget_pending(Store& store, const PendingEvent& event);

}  // namespace archive
