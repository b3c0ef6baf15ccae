// An analysis as text for people.
#pragma once

#include <string>

#include "command/analysis.h"
#include "readers/record.h"

namespace command {

/// The whole summary, lines ending in "\n".
std::string text_of(const readers::Record& record, const Analysis& analysis);

}  // namespace command
