// The embedded library's own results, as text for people.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "outputs/colours.h"
#include "readers/record.h"

namespace outputs {

/// What a host of the library gets for the record, or why the library does not take it. `analysis.library` must be
/// there. Lines of at most 80 columns, ending in "\n"; the first line is empty.
std::string library_text(const readers::Record& record, const analysis::Analysis& analysis, const Colours& colours);

/// One line for each dip of the library, or one that says why it does not take the record; empty when it found no dip.
/// `analysis.library` must be there.
std::string library_lines(const readers::Record& record, const analysis::Analysis& analysis, const Colours& colours);

}  // namespace outputs
