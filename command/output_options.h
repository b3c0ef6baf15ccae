// What an analysis is shown as: the options that choose it, and the writing.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

#include "analysis/findings.h"
#include "command/progress.h"

namespace CLI {
class App;
}

namespace command {

struct Outputs {
  bool json = false;
  bool csv = false;
  bool quiet = false;
  std::string report;  ///< files; empty: not asked for
  std::string svg;
  std::string html;
  std::size_t event = 1;     ///< the one that the figure shows, from 1
  bool one_of_many = false;  ///< several analyses are shown one after another: JSON as one line each
  bool first = true;         ///< of those
};

/// The event that the user named is not in the record.
class UnknownEvent : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// A file to be written is one of the record's own, or another that is to be written.
class OutputClash : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Throws OutputClash.
void check_files(const readers::Record& record, const Outputs& outputs);

void add_output_options(CLI::App& app, Outputs& outputs);

/// Writes the files that were asked for, all or none, then standard output. Throws UnknownEvent.
void show(const readers::Record& record, const analysis::Analysis& analysis, const Outputs& outputs,
          Progress& progress);

}  // namespace command
