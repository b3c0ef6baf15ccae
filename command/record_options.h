// The options for how a record is read and which of its voltages are analysed.
#pragma once

#include <string>

#include "analysis/choice/stretch.h"
#include "analysis/choice/voltage_choice.h"
#include "readers/open_options.h"

namespace CLI {
class App;
}

namespace command {

/// Values of these options as they were given.
struct RecordOptions {
  std::string set;   ///< a number, "all", or empty
  std::string part;  ///< the same
  readers::OpenOptions open;
  analysis::StretchChoice stretch;
};

/// Adds the options from --channels to --charset.
void add_record_options(CLI::App& app, RecordOptions& given, analysis::VoltageChoice& choice);

/// Whether all sets, or all parts, are requested.
struct AllOf {
  bool sets = false;
  bool parts = false;
};

/// Fills the set and the part of `choice`, with 0 for "all".
AllOf take_set_and_part(const RecordOptions& given, analysis::VoltageChoice& choice);

}  // namespace command
