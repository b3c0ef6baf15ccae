// Lists the contents of a record for people and for programs: parts, voltage sets, channels and notes.
#pragma once

#include <string>

#include "readers/record.h"

namespace outputs {

/// The whole summary as text, lines ending in "\n".
std::string info_text(const readers::Record& record);

/// The same as one JSON document.
std::string info_json(const readers::Record& record);

}  // namespace outputs
