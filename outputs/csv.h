// The analysis as a table for spreadsheets and scripts.
#pragma once

#include <string>

#include "analysis/findings.h"

namespace outputs {

/// A heading, then one row per segment, in order of time; a dip without segments has one row, which says why. Fields by
/// RFC 4180, lines end in LF, numbers in full. No text is taken for a formula by a spreadsheet.
std::string csv_of(const readers::Record& record, const analysis::Analysis& analysis);

/// A text as one field. One that a spreadsheet would calculate gets an apostrophe in front.
std::string csv_field(const std::string& text);

}  // namespace outputs
