// An analysis as the JSON document that docs/analysis-json.md describes.
#pragma once

#include <string>

#include "analysis/findings.h"
#include "readers/record.h"

namespace outputs {

/// The whole document with a final line feed.
std::string json_of(const readers::Record& record, const analysis::Analysis& analysis);

/// The same in one line, for documents that follow each other.
std::string json_line_of(const readers::Record& record, const analysis::Analysis& analysis);

}  // namespace outputs
