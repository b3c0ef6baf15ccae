// The options for the rules by which events are found.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "analysis/analyse.h"

namespace CLI {
class App;
}

namespace command {

/// Values of event options as they were given.
struct EventOptions {
  std::string nominal;              ///< "230", "20kV", "20kV:line"
  std::string reference;            ///< empty: not given
  std::vector<std::string> curves;  ///< files with voltage-tolerance curves
  std::string through;              ///< vector groups of transformers, separated by commas
};

/// Options that contradict each other or have no meaning.
class UnusableOptions : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

void add_event_options(CLI::App& app, EventOptions& given, analysis::AnalysisOptions& options);

/// Adds --through, which shows the voltages of a load; stores do not keep them.
void add_through(CLI::App& app, EventOptions& given);

/// Converts the options that were given as text. Throws UnusableOptions.
void take_event_options(const EventOptions& given, analysis::AnalysisOptions& options);

}  // namespace command
