// Writes an analysis as the JSON document that docs/analysis-json.md describes.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "readers/record.h"

namespace outputs {

/// The whole document with a final line feed.
std::string json_of(const readers::Record& record, const analysis::Analysis& analysis);

/// Returns the same on one line, for several documents in a row.
std::string json_line_of(const readers::Record& record, const analysis::Analysis& analysis);

}  // namespace outputs
