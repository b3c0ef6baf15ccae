// An analysis as text for people, within 80 columns and a screen per dip.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "outputs/colours.h"
#include "readers/record.h"

namespace outputs {

/// The whole summary, lines ending in "\n".
std::string text_of(const readers::Record& record, const analysis::Analysis& analysis,
                    const Colours& colours = Colours(false));

/// One line per dip; nothing where there is none.
std::string lines_of(const readers::Record& record, const analysis::Analysis& analysis,
                     const Colours& colours = Colours(false));

}  // namespace outputs
