// Runs a user's command for an event.
#pragma once

#include <functional>
#include <string>

#include "archive/pending_events.h"
#include "archive/watch.h"

namespace command {

/// Runs a command for one event and waits for its end.
struct EventCommand {
  std::string line;       ///< for /bin/sh
  double limit_s = 60;    ///< the command and the processes that it has started are killed after this time
  double patience_s = 5;  ///< time that is left to the command after `is_stopped` has become true
  std::function<bool()> is_stopped;
  std::function<void()> keep_alive;  ///< called at least every second while the command runs

  /// Gives the event as a line of JSON on standard input, and each of its columns as a variable such as DIPX_KIND in
  /// the environment, so that nothing from a record becomes part of the command line. Writes one line to standard error
  /// if the command fails. A command that had to be killed is `postponed`.
  [[nodiscard]] archive::Announcement run(const archive::PendingEvent& event) const;
};

}  // namespace command
