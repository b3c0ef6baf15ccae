// Writes an analysis as a table for spreadsheets and scripts.
#pragma once

#include <string>

#include "analysis/findings.h"

namespace outputs {

/// Returns a heading, then one row per segment of a dip, in order of time; events without segments have one row. Fields
/// follow RFC 4180, lines end in LF, and times are seconds from the record's first sample. No text field can act as a
/// formula in a spreadsheet.
std::string csv_of(const readers::Record& record, const analysis::Analysis& analysis);

/// The mark by which spreadsheets recognise UTF-8.
inline constexpr const char* byte_order_mark = "\xEF\xBB\xBF";

/// Returns rows of csv_of as spreadsheets with a decimal comma read them: semicolons between fields, and commas in
/// numbers. The rows end in LF.
std::string csv_for_excel(const std::string& table);

/// A text as one field. What a spreadsheet would calculate gets an apostrophe in front, also after a semicolon, which
/// some spreadsheets take as a separator; a text that holds a separator that any spreadsheet knows is quoted.
std::string csv_field(const std::string& text);

}  // namespace outputs
