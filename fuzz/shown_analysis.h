// Checks everything that the command shows of an analysis.
#pragma once

#include <string_view>

#include "analysis/findings.h"
#include "readers/record.h"

namespace fuzz {

/// Expects that a text for people has only characters that are safe to show.
void expect_inert_lines(std::string_view text);

/// Expects that the contents of a record are shown as text and as a document.
void expect_shown_record(const readers::Record& record);

/// Makes every output of an analysis and expects of each that programs can read it: text of at most 80 columns without
/// numbers that are not finite, documents that fit their schema, tables without formulas, figures of well-formed XML,
/// and pages in which a record adds no script.
void expect_shown(const readers::Record& record, const analysis::Analysis& analysis);

}  // namespace fuzz
