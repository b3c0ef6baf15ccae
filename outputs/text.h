// Writes an analysis as text for people, within 80 columns except for notes, each of which is one line.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "outputs/colours.h"
#include "readers/record.h"

namespace outputs {

/// Returns the whole summary: the record, the rules, the events. Lines end in "\n". If the embedded library's own
/// results were requested, they replace the events.
std::string text_of(const readers::Record& record, const analysis::Analysis& analysis,
                    const Colours& colours = Colours(false));

/// Returns one line per event; empty if there are no events.
std::string lines_of(const readers::Record& record, const analysis::Analysis& analysis,
                     const Colours& colours = Colours(false));

}  // namespace outputs
