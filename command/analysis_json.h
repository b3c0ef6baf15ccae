// An analysis as the JSON document that docs/analysis-json.md describes.
#pragma once

#include <string>

#include "command/analysis.h"
#include "readers/record.h"

namespace command {

/// The whole document with a final line feed.
std::string json_of(const readers::Record& record, const Analysis& analysis);

}  // namespace command
