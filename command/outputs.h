// What an analysis is shown as: the options that choose it, and the writing.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "command/analysis.h"

namespace command {

struct Outputs {
  bool json = false;
  bool csv = false;
  bool quiet = false;
  std::string report;  ///< files; empty: not asked for
};

void add_output_options(CLI::App& app, Outputs& outputs);

/// Writes the files that were asked for, all or none, then standard output.
void show(const readers::Record& record, const Analysis& analysis, const Outputs& outputs);

}  // namespace command
