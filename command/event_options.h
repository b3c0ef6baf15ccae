// The options that say by which rules events are found.
#pragma once

#include <stdexcept>
#include <string>

#include "analysis/analyse.h"

namespace CLI {
class App;
}

namespace command {

/// Values of event options as they were given.
struct EventOptions {
  std::string nominal;    ///< "230", "20kV", "20kV:line"
  std::string reference;  ///< empty: not given
};

/// Options that contradict each other or have no meaning.
class UnusableOptions : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

void add_event_options(CLI::App& app, EventOptions& given, analysis::AnalysisOptions& options);

/// Fills in what was given as text. Throws UnusableOptions.
void take_event_options(const EventOptions& given, analysis::AnalysisOptions& options);

}  // namespace command
