// Writes the events of a record in columns for a terminal.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "outputs/colours.h"
#include "readers/record.h"

namespace outputs {

/// Returns a line with the record, then one line per event with number, kind, start, duration, residual or highest
/// voltage or largest change in per cent of the reference, voltages and types. The columns of all records are equally
/// wide. Lines end in "\n".
std::string event_columns_of(const readers::Record& record, const analysis::Analysis& analysis, const Colours& colours);

}  // namespace outputs
