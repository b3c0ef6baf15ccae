// What a record holds, as text for people: parts, voltage sets, channels, and what was odd or guessed.
#pragma once

#include <string>

#include "readers/record.h"

namespace command {

/// The whole summary, lines ending in "\n".
std::string info_of(const readers::Record& record);

}  // namespace command
