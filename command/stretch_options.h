// The options that choose a stretch of a record by its times.
#pragma once

#include "analysis/choice/stretch.h"
#include "readers/record.h"

namespace CLI {
class App;
}

namespace command {

/// Adds --from and --to, which fill `stretch`.
void add_stretch_options(CLI::App& app, analysis::StretchChoice& stretch);

/// Throws UnusableOptions if the stretch ends before it begins.
void check_stretch(const analysis::StretchChoice& stretch);

/// Limits the record to the stretch. Throws UnusableOptions if it ends before it begins, and UnknownChoice if nothing
/// of the record is left.
void apply_stretch(readers::Record& record, const analysis::StretchChoice& stretch);

}  // namespace command
