#include "command/stretch_options.h"

#include <CLI/CLI.hpp>

#include "command/event_options.h"
#include "command/option_range.h"

namespace command {

void add_stretch_options(CLI::App& app, analysis::StretchChoice& stretch) {
  app.add_option("--from", stretch.from, "Use the record only from this time on, in seconds from its first sample")
      ->check(between(0.0, 1e9))
      ->type_name("S");
  app.add_option("--to", stretch.to, "Use the record only up to this time, in seconds from its first sample")
      ->check(between(0.0, 1e9))
      ->type_name("S");
}

void check_stretch(const analysis::StretchChoice& stretch) {
  if (stretch.from && stretch.to && !(*stretch.from < *stretch.to)) {
    throw UnusableOptions("--from must be less than --to");
  }
}

void apply_stretch(readers::Record& record, const analysis::StretchChoice& stretch) {
  check_stretch(stretch);
  analysis::keep_stretch(record, stretch);
}

}  // namespace command
