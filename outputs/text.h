// An analysis as text for people, within 80 columns.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "outputs/colours.h"
#include "readers/record.h"

namespace outputs {

/// The whole summary, lines ending in "\n": the record, the rules, the events. Where the embedded library's own results
/// were asked for, these are in place of the events.
std::string text_of(const readers::Record& record, const analysis::Analysis& analysis,
                    const Colours& colours = Colours(false));

/// One line per event; nothing where there is none.
std::string lines_of(const readers::Record& record, const analysis::Analysis& analysis,
                     const Colours& colours = Colours(false));

}  // namespace outputs
