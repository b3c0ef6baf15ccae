// The analysis as a table for spreadsheets and scripts.
#pragma once

#include <string>

#include "analysis/findings.h"

namespace outputs {

/// A heading, then one row per segment of a dip, in order of time; events without segments have one row. Fields by RFC
/// 4180, lines end in LF, times are seconds from the record's first sample. A spreadsheet takes no text as a
/// formula.
std::string csv_of(const readers::Record& record, const analysis::Analysis& analysis);

/// A text as one field. One that a spreadsheet would calculate gets an apostrophe in front; one that holds a separator
/// that any spreadsheet knows is quoted.
std::string csv_field(const std::string& text);

}  // namespace outputs
