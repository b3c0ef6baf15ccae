// Describes one event by the rules of the standard as text for people.
#pragma once

#include <cstddef>
#include <string>

#include "analysis/findings.h"
#include "outputs/colours.h"
#include "readers/record.h"

namespace outputs {

/// Returns the reference of the percentages of rapid voltage changes: "declared voltage" if there is one.
const char* change_reference_words(const analysis::Analysis& analysis);

/// Describes the event at an index of `analysis.found.events`: its heading, its figures and, for a dip, its course on
/// the waveform. Lines have at most 80 columns and end in "\n"; the first line is empty.
std::string event_text(const readers::Record& record, const analysis::Analysis& analysis, std::size_t index,
                       const Colours& colours);

}  // namespace outputs
