// One event by the rules of the standard, as text for people.
#pragma once

#include <cstddef>
#include <string>

#include "analysis/findings.h"
#include "outputs/colours.h"
#include "readers/record.h"

namespace outputs {

/// What per cents of rapid voltage changes are relative to: "declared voltage" where there is one.
const char* change_reference_words(const analysis::Analysis& analysis);

/// The event at an index of `analysis.found.events`: heading, figures and, of a dip, its course on the waveform. Lines
/// of at most 80 columns, ending in "\n"; the first line is empty.
std::string event_text(const readers::Record& record, const analysis::Analysis& analysis, std::size_t index,
                       const Colours& colours);

}  // namespace outputs
