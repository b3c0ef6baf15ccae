// The embedded library's own results, as text for people.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "outputs/colours.h"
#include "readers/record.h"

namespace outputs {

/// Describes the results that a host of the library gets for the record, or why the library refuses the record.
/// `analysis.library` must have a value. Lines have at most 80 columns and end in "\n"; the first line is empty.
std::string library_text(const readers::Record& record, const analysis::Analysis& analysis, const Colours& colours);

/// Returns one line for each dip of the library, or one line with the reason for which the library refuses the record;
/// empty if it found no dip. `analysis.library` must have a value.
std::string library_lines(const readers::Record& record, const analysis::Analysis& analysis, const Colours& colours);

}  // namespace outputs
