// Writes the notes that a reader of the findings needs, one sentence each.
#pragma once

#include "analysis/findings.h"
#include "readers/record.h"

namespace analysis {

/// Adds notes on the wiring, on the frequency, and on dips that the record holds only in part.
void add_finding_notes(const readers::Record& record, Analysis& analysis);

}  // namespace analysis
